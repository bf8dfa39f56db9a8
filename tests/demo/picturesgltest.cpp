#include "stage.h"

#include "support/lookmodels.h"
#include "support/picturecompare.h"

#include <QGLFramebufferObject>
#include <QPainter>

#include <cmath>

/// The pictures of the show. What GL lays on the screen is compared with a model of it in plain
/// arithmetic, which shares no code with the engine; what a painter draws, with the same painting
/// on a raster image.
class PicturesGlTest : public QObject
{
    Q_OBJECT

private slots:
    void screenIsWhatTheModelSays_data();
    void screenIsWhatTheModelSays();
    void effectIsWhatRasterPaints_data();
    void effectIsWhatRasterPaints();
    void cleanupTestCase();

private:
    /// One show for all rows.
    Stage& openStage();

    std::unique_ptr<Stage> stage;
};

namespace {

const int WIDTH = 800;
const int HEIGHT = 480;

using lookmodels::Color;

/// A texture with linear filtering.
class Sampler
{
public:
    /// `firstRowAtTop`: painted targets have their first row at v = 1, uploaded images at v = 0.
    Sampler(const QImage& picture, bool firstRowAtTop, bool repeats)
        : image(picture.convertToFormat(QImage::Format_ARGB32_Premultiplied))
        , top(firstRowAtTop)
        , repeat(repeats)
    {
    }

    Color operator()(double u, double v) const
    {
        const double x = u * image.width() - 0.5;
        const double y = (top ? 1.0 - v : v) * image.height() - 0.5;
        const int x0 = static_cast<int>(std::floor(x));
        const int y0 = static_cast<int>(std::floor(y));
        const double fx = x - x0;
        const double fy = y - y0;
        return (texel(x0, y0) * (1 - fx) + texel(x0 + 1, y0) * fx) * (1 - fy) +
               (texel(x0, y0 + 1) * (1 - fx) + texel(x0 + 1, y0 + 1) * fx) * fy;
    }

private:
    int wrap(int i, int size) const
    {
        return repeat ? (i % size + size) % size : qBound(0, i, size - 1);
    }

    Color texel(int x, int y) const
    {
        const QRgb p = reinterpret_cast<const QRgb*>(
            image.constScanLine(wrap(y, image.height())))[wrap(x, image.width())];
        return {qRed(p) / 255.0, qGreen(p) / 255.0, qBlue(p) / 255.0, qAlpha(p) / 255.0};
    }

    QImage image;
    bool top;
    bool repeat;
};

enum BlendMode { Replace, Add, AddByAlpha, Cover };

double clamp01(double v)
{
    return qBound(0.0, v, 1.0);
}

/// A framebuffer of eight bits a channel, and the quad from (-1, -1) to (1, 1) drawn into it.
class Screen
{
public:
    Screen() : picture(WIDTH, HEIGHT, QImage::Format_RGB32)
    {
        picture.fill(Qt::black);
    }

    /// The quad is turned by `degrees`, scaled, and then moved.
    void draw(const lookmodels::Texture& texture, lookmodels::Look look, BlendMode blend,
              const Color& color, double scaleX = 1.0, double scaleY = 1.0, double degrees = 0.0,
              double moveX = 0.0, double moveY = 0.0)
    {
        if (scaleX == 0.0 || scaleY == 0.0) {
            return;
        }
        const double c = std::cos(degrees * M_PI / 180.0);
        const double s = std::sin(degrees * M_PI / 180.0);
        for (int row = 0; row < HEIGHT; ++row) {
            auto* line = reinterpret_cast<QRgb*>(picture.scanLine(row));
            for (int column = 0; column < WIDTH; ++column) {
                const double sx = ((column + 0.5) / WIDTH * 2.0 - 1.0 - moveX) / scaleX;
                const double sy = (1.0 - (row + 0.5) / HEIGHT * 2.0 - moveY) / scaleY;
                const double x = c * sx + s * sy;
                const double y = -s * sx + c * sy;
                if (x < -1.0 || x > 1.0 || y < -1.0 || y > 1.0) {
                    continue;
                }
                const Color out = look(texture, (x + 1.0) / 2.0, (y + 1.0) / 2.0, color);
                const double a = clamp01(out.a);
                const double source = blend == AddByAlpha || blend == Cover ? a : 1.0;
                const double kept = blend == Replace ? 0.0 : blend == Cover ? 1.0 - a : 1.0;
                const auto mix = [&](double o, int there) {
                    return qRound(clamp01(clamp01(o) * source + there / 255.0 * kept) * 255.0);
                };
                line[column] =
                    qRgb(mix(out.r, qRed(line[column])), mix(out.g, qGreen(line[column])),
                         mix(out.b, qBlue(line[column])));
            }
        }
    }

    QImage picture;
};

const Color WHITE = {1, 1, 1, 1};

} // namespace

Stage& PicturesGlTest::openStage()
{
    if (!stage) {
        stage = std::make_unique<Stage>();
        if (stage->window.isReady()) {
            stage->open();
        }
    }
    return *stage;
}

void PicturesGlTest::screenIsWhatTheModelSays_data()
{
    QTest::addColumn<int>("part");
    QTest::addColumn<int>("ms");
    for (int part = 1; part <= openStage().d().parts.size(); ++part) {
        for (int ms : {300, 2000, 4000}) {
            QTest::addRow("part %d at %d ms", part, ms) << part << ms;
        }
    }
}

void PicturesGlTest::screenIsWhatTheModelSays()
{
    QFETCH(int, part);
    QFETCH(int, ms);
    openStage();
    QVERIFY2(stage->window.isReady(), "no GL context");
    if (stage->d().partIndex == -1) {
        stage->frame(0);
    }
    // In the precision that the show has: its rounding adds up to a third of a degree by the end.
    static float phase = 0.0f;
    while (stage->d().partIndex != part - 1 || stage->d().partTime.elapsed() < ms) {
        glrecorder::start(glrecorder::Record);
        stage->frame();
        phase = static_cast<float>(phase - 0.08);
    }
    QCOMPARE(stage->d().partTime.elapsed(), ms);
    const double turn = phase * 20.0;
    const QImage actual = stage->window.pixels();

    const DemoPart& script = *stage->d().parts[part - 1];
    const Sampler effect(stage->d().effectTarget.fbo()->toImage(), true, false);
    const bool torn = script.shader == "contrast";
    const lookmodels::Look look = lookmodels::look(script.shader);
    if (!look) {
        QSKIP("looksgltest says what is missing");
    }
    Screen screen;
    if (script.title != DemoPart::NoTitle) {
        const Sampler title(stage->d().titleTarget.fbo()->toImage(), true, false);
        screen.draw(title, lookmodels::plain, Replace, WHITE);
    }
    if (script.spread == DemoPart::OneQuad) {
        screen.draw(effect, look, Add, WHITE);
    } else {
        const double factor = script.spread == DemoPart::WideCopies ? 48.1 : script.spread * 5.1;
        for (int i = 0; i < 7; ++i) {
            const double scale = i / 200.0 * factor;
            screen.draw(effect, look, Add, WHITE, scale, scale, i * 25.5 + turn);
        }
    }
    if (script.face != DemoPart::NoFace) {
        const QImage picture{QString(FACE_FILES[script.face])};
        const Sampler face(picture, false, true);
        // The shake is random; where it went is all that is taken from the draw itself.
        const glrecorder::Draw draw = glrecorder::draws().at(
            glrecorder::draws().size() - (script.fade != DemoPart::NoFade ? 2 : 1));
        const int alpha = static_cast<int>(std::sin(ms / 5000.0 * 3.14) * 255.0);
        const double growth = 1.0 + ms / 5000.0 * 0.75;
        screen.draw(face, lookmodels::plain, AddByAlpha, {1, 1, 1, alpha / 255.0},
                    growth * 0.23333333, growth * -0.33333334, 0.0, draw.matrix(0, 3),
                    draw.matrix(1, 3));
    }
    if (script.fade != DemoPart::NoFade) {
        const double passed = ms / 5000.0;
        const double dark = script.fade == DemoPart::FadeIn ? 1.0 - passed : passed;
        screen.draw(effect, look, Cover, {0, 0, 0, static_cast<int>(dark * 255) / 255.0});
    }

    // The driver filters textures with eight-bit weights, half a step of 255 off; the looks
    // multiply that, by 2.5 or by 14, and up to six copies add up. 7 is the most that was seen of
    // the smooth look. The torn look has a cliff besides: where a pixel lies just on it, the driver
    // and the model may stand on different sides, along the rims of the shapes.
    const int maximum = torn ? 255 : 12;
    const double mean = torn ? 0.8 : 0.3;
    COMPARE_PICTURES(QString("screen-%1-%2").arg(part).arg(ms), actual, screen.picture, maximum,
                     mean);
}

void PicturesGlTest::effectIsWhatRasterPaints_data()
{
    QTest::addColumn<DemoPart::Effect>("effect");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<double>("mean");
    // Each limit: what two rasterisers may make of the same figure.
    // A line of one pixel is stroked as a thin rectangle by one, and stepped by the other: some of
    // its pixels lie one beside, and are as bright as the line.
    QTest::newRow("tree") << DemoPart::Tree << "" << 200 << 0.6;
    // The bitmap is copied pixel by pixel.
    QTest::newRow("tunnel") << DemoPart::Tunnel << "" << 1 << 0.01;
    // Squares that overlap: the rims of hundreds fall on one pixel or the next.
    QTest::newRow("lattice") << DemoPart::Lattice << "" << 16 << 0.05;
    // Letters are rasterised once, for both.
    QTest::newRow("caption alone") << DemoPart::NoEffect << "Battery 73%" << 2 << 0.01;
    QTest::newRow("caption over the tunnel") << DemoPart::Tunnel << "Battery 73%" << 2 << 0.01;
}

void PicturesGlTest::effectIsWhatRasterPaints()
{
    QFETCH(DemoPart::Effect, effect);
    QFETCH(QString, caption);
    QFETCH(int, maximum);
    QFETCH(double, mean);
    openStage();
    QVERIFY2(stage->window.isReady(), "no GL context");
    DemoMain::DemoMainPrivate& d = stage->d();
    d.parts = {QSharedPointer<DemoPart>::create(), QSharedPointer<DemoPart>::create()};
    d.parts[0]->effect = effect;
    d.parts[0]->caption = caption;
    d.partIndex = -1;
    stage->frame(0);
    for (int i = 0; i < 30; ++i) {
        stage->frame();
    }
    d.backgroundColor = QColor(200, 150, 90);
    QImage expected = d.effectTarget.fbo()->toImage();
    const unsigned int seed = 11;
    qsrand(seed);
    stage->frame(1000);
    const QImage actual = d.effectTarget.fbo()->toImage();

    QPainter painter(&expected);
    qsrand(seed);
    if (effect == DemoPart::Tree || effect == DemoPart::Lattice) {
        painter.fillRect(expected.rect(), QColor(0, 0, 0, 75));
        painter.translate(128, 128);
    }
    if (effect == DemoPart::Tree) {
        painter.setPen(
            QPen(QColor(200, 150, 90), 1.0, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
        d.radialEffect.render(painter);
    } else if (effect == DemoPart::Tunnel) {
        painter.drawImage(0, 0, d.frameBitmap.image());
        for (int i = 0; i < 76; ++i) {
            qrand();
        }
    } else if (effect == DemoPart::Lattice) {
        Wireframes().renderFrame(painter, 31);
    }
    if (!caption.isEmpty()) {
        painter.setPen(QColor(255, 255, 255, 128));
        const auto coordinate = [] {
            return static_cast<int>(20.0 + (qrand() - 1073741823) / 2147483648.0 * 0.5);
        };
        const int x = coordinate();
        const int y = coordinate();
        painter.drawText(QPoint(x, y), caption);
    }
    painter.end();
    COMPARE_PICTURES(QString("effect-%1%2").arg(effect).arg(caption.isEmpty() ? "" : "-caption"),
                     actual, expected, maximum, mean);
}

void PicturesGlTest::cleanupTestCase()
{
    stage.reset();
}

QTEST_MAIN(PicturesGlTest)
#include "picturesgltest.moc"
