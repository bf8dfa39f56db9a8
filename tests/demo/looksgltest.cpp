#include "demo/looks.h"

#include "graphics/quad.h"
#include "graphics/renderer.h"
#include "graphics/texture2d.h"
#include "support/glpictures.h"
#include "support/glwindow.h"
#include "support/lookmodels.h"
#include "support/picturecompare.h"

#include <QTest>

#include <cmath>
#include <cstring>
#include <memory>

/// Every look against its model, pixel by pixel, on a texture without a pattern.
class LooksGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void isWhatItsModelSays_data();
    void isWhatItsModelSays();

private:
    std::unique_ptr<GlWindow> window;
};

namespace {

using lookmodels::Color;

/// Bytes without a pattern, the same in every run.
QImage noise(int size)
{
    QImage image(size, size, QImage::Format_RGBA8888);
    quint32 state = 12345;
    for (int y = 0; y < size; ++y) {
        for (int i = 0; i < size * 4; ++i) {
            state = state * 1664525u + 1013904223u;
            image.scanLine(y)[i] = static_cast<uchar>(state >> 24);
        }
    }
    return image;
}

/// Unfiltered, repeating texels, as a shader reads them.
class Texels
{
public:
    explicit Texels(const QImage& picture) : picture(picture) {}

    Color at(double u, double v)
    {
        const QColor texel = picture.pixelColor(index(u), index(v));
        return Color{texel.redF(), texel.greenF(), texel.blueF(), texel.alphaF()} + offset;
    }

    double offset = 0.0;   ///< Added to what is read.
    bool onTheRim = false; ///< Something was read so near to a rim that a shader may read beyond.

private:
    int index(double coordinate)
    {
        const double texel = coordinate * picture.width();
        const double lower = std::floor(texel);
        if (texel - lower < 0.01 || texel - lower > 0.99) {
            onTheRim = true;
        }
        const int size = picture.width();
        return ((static_cast<int>(lower) % size) + size) % size;
    }

    QImage picture;
};

double largestDifference(const Color& c, const Color& d)
{
    return qMax(qMax(std::fabs(c.r - d.r), std::fabs(c.g - d.g)),
                qMax(std::fabs(c.b - d.b), std::fabs(c.a - d.a)));
}

int toByte(double value)
{
    return static_cast<int>(std::lround(qBound(0.0, value, 1.0) * 255.0));
}

} // namespace

void LooksGlTest::initTestCase()
{
    window = std::make_unique<GlWindow>();
    QVERIFY2(window->isReady(), "there is no GL context");
}

void LooksGlTest::isWhatItsModelSays_data()
{
    QTest::addColumn<QString>("fragmentFile");
    QTest::newRow("plain") << QString();
    QTest::newRow("plain, by name") << ":/shaders/default_fs.glsl";
    for (const Look& look : LOOKS) {
        QTest::newRow(look.name) << look.fragmentFile;
    }
}

void LooksGlTest::isWhatItsModelSays()
{
    QFETCH(QString, fragmentFile);
    const QString name = QTest::currentDataTag();
    const lookmodels::Look model =
        name.startsWith("plain") ? lookmodels::plain : lookmodels::look(name);
    QVERIFY2(model, qPrintable("write a model of the look " + name +
                               " in tests/support/lookmodels.h, and enter it there by its name"));

    // So many pixels that they meet the texels at all places, and small displacements show.
    const int SIZE = 317;
    const QImage texels = noise(64);
    graphics::Renderer renderer;
    renderer.init();
    renderer.reset();
    graphics::Texture2d texture(64, 64, graphics::Texture::Nearest);
    QImage bytes = texels;
    texture.setBuffer(bytes.bits(), 0, 0, 0);
    const glpictures::Canvas canvas(SIZE, SIZE);
    graphics::Quad quad(0xE6C8F0DC, -1, -1, 1, 1);
    if (!fragmentFile.isNull()) {
        renderer.loadShader("look", LOOKS_VERTEX_FILE, fragmentFile);
        renderer.enableShader("look");
    }
    renderer.setTexture2d(&texture, 0);
    quad.render(&renderer);
    const QImage actual = canvas.pixels();

    Texels source(texels);
    const auto read = [&](double u, double v) { return source.at(u, v); };
    const Color color = {0xDC / 255.0, 0xF0 / 255.0, 0xC8 / 255.0, 0xE6 / 255.0};
    QImage expected(SIZE, SIZE, QImage::Format_RGBA8888);
    int compared = 0;
    int halfTones = 0;
    for (int y = 0; y < SIZE; ++y) {
        uchar* row = expected.scanLine(y);
        for (int x = 0; x < SIZE; ++x) {
            const double u = (x + 0.5) / SIZE;
            const double v = (y + 0.5) / SIZE;
            source.onTheRim = false;
            source.offset = 0.0;
            const Color c = model(read, u, v, color);
            // Where a look has a cliff, the shader may stand on the other side of it.
            double cliff = 0.0;
            for (double offset : {-0.0015, 0.0015}) {
                source.offset = offset;
                cliff = qMax(cliff, largestDifference(c, model(read, u, v, color)));
            }
            if (source.onTheRim || cliff > 0.1) {
                std::memcpy(row + 4 * x, actual.constScanLine(y) + 4 * x, 4);
                continue;
            }
            const int channels[4] = {toByte(c.r), toByte(c.g), toByte(c.b), toByte(c.a)};
            for (int i = 0; i < 4; ++i) {
                row[4 * x + i] = static_cast<uchar>(channels[i]);
                halfTones += channels[i] > 0 && channels[i] < 255;
            }
            compared += 1;
        }
    }
    COMPARE_PICTURES("look " + name, actual, expected, 2, 0.5);
    // Neither the doubtful pixels nor the clamped ones may leave nothing to compare.
    QVERIFY2(compared > SIZE * SIZE * 8 / 10, qPrintable(QString::number(compared)));
    QVERIFY2(halfTones > SIZE * SIZE / 10, qPrintable(QString::number(halfTones)));
}

QTEST_MAIN(LooksGlTest)
#include "looksgltest.moc"
