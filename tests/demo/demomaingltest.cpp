#include "stage.h"

#include "demo/demobuilder.h"
#include "graphics/renderer_p.h"

#include "support/logcapture.h"
#include "support/picturecompare.h"

#include <QGLFramebufferObject>
#include <QGLShaderProgram>
#include <QPainter>
#include <QPointer>

#include <GLES2/gl2.h>

#include <cmath>
#include <functional>
#include <new>

/// The driver's set-up, its rules of time, and what it paints. Every function has a process of its
/// own, since paint() keeps some of its state in static variables.
class DemoMainGlTest : public QObject
{
    Q_OBJECT

private slots:
    void nullWidgetIsAnAllocationFailure();
    void constructorSeedsTheSequence();
    void initLogsInThisOrder();
    void initLoadsEverything();
    void initSeedsByTheClock();
    void initClearsTheTargets();
    void accessorsNameTheMembers();
    void raysLeaveTheCentre();
    void emptyScriptEndsAtOnce();
    void singlePartEndsAfterItsTime();
    void speechHoldsThePart();
    void silentPartDoesNotSpeak();
    void switchChoosesTheColour();
    void titleOpensAndCloses_data();
    void titleOpensAndCloses();
    void otherTitleIsShownAsItStands();
    void captionStartsWhereTheEffectLeftThePainter_data();
    void captionStartsWhereTheEffectLeftThePainter();
    void captionFadesIn_data();
    void captionFadesIn();
    void frameCountsFromTheSwitch();
    void trailsAreDimmedToTheRim_data();
    void trailsAreDimmedToTheRim();
    void undimmedTrailsPileUp();
    void latticePausesWhereDrawsAreGathered();
    void drawsOfAFrame_data();
    void drawsOfAFrame();
    void copiesAreTurnedAndGrow_data();
    void copiesAreTurnedAndGrow();
    void unknownIsToldAndLeftOut_data();
    void unknownIsToldAndLeftOut();
    void faceComesAndGoes_data();
    void faceComesAndGoes();
    void shakeIsDrawnXBeforeY();
    void musicStartsWithTheFirstFrame();
    void playerDiesFirst();

    void cleanupTestCase();

private:
    /// One show for all rows of a table.
    Stage& sharedStage();

    std::unique_ptr<Stage> shared;
};

namespace {

/// Two parts, the first to be set by a test; long enough for anything.
void useScript(Stage& stage)
{
    stage.d().parts.clear();
    for (int part = 0; part < 2; ++part) {
        stage.d().parts.append(QSharedPointer<DemoPart>::create());
    }
}

DemoPart& firstPart(Stage& stage)
{
    return *stage.d().parts.first();
}

QImage content(const graphics::RenderTarget& target)
{
    return target.fbo()->toImage();
}

/// What a painter makes of `before` on a framebuffer like the target's.
QImage paintedOver(const QImage& before, const std::function<void(QPainter&)>& paint)
{
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    QGLFramebufferObject fbo(before.size(), GL_TEXTURE_2D);
    QPainter painter(&fbo);
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(0, 0, before);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    paint(painter);
    painter.end();
    return fbo.toImage();
}

float jitterOf(int draw)
{
    return static_cast<float>(draw - 1073741823) * 4.656613e-10f;
}

/// The number of draws between a seed and what the sequence gives next; -1 for more than 20,000.
int drawsSince(unsigned int seed, int next)
{
    qsrand(seed);
    for (int n = 0; n < 20000; ++n) {
        if (qrand() == next) {
            return n;
        }
    }
    return -1;
}

} // namespace

Stage& DemoMainGlTest::sharedStage()
{
    if (!shared) {
        shared = std::make_unique<Stage>();
        shared->open();
    }
    return *shared;
}

void DemoMainGlTest::cleanupTestCase()
{
    shared.reset();
}

void DemoMainGlTest::nullWidgetIsAnAllocationFailure()
{
    QVERIFY_EXCEPTION_THROWN(DemoMain(nullptr), std::bad_alloc);
}

void DemoMainGlTest::constructorSeedsTheSequence()
{
    Stage stage;
    stage.demo = std::make_unique<DemoMain>(&stage.window);
    const int next = qrand();
    qsrand(32451);
    QCOMPARE(next, qrand());
    QCOMPARE(stage.demo->parent(), &stage.window);
    QVERIFY(!stage.d().player);
    QCOMPARE(stage.d().partIndex, -1);
    QVERIFY(stage.d().partTime.isNull());
    QVERIFY(!stage.d().backgroundColor.isValid());
}

void DemoMainGlTest::initLogsInThisOrder()
{
    Stage stage;
    LogCapture log;
    stage.open();
    const graphics::Texture2d* faces = stage.d().faceTextures;
    const QString looks =
        QString("Load user shader|Load user vshader|Load user fshader|").repeated(NUM_LOOKS);
    const QStringList lines =
        QString("Maker|Model|Product|IMEI|IMSI|vertex shader|fragment shader|"
                "Created vbuffer %1|Created vbuffer %2|Created vbuffer %3|"
                "Image size: 512 x 512|Texture id: %4|Image size: 256 x 256|Texture id: %5|"
                "Image size: 256 x 256|Texture id: %6|Image size: 256 x 256|Texture id: %7|" +
                looks + "BATTERY: 73")
            .arg(stage.d().quad->vertexBuffer().id())
            .arg(stage.d().fadeQuad->vertexBuffer().id())
            .arg(stage.d().faceQuad->vertexBuffer().id())
            .arg(stage.d().testTexture.textureId())
            .arg(faces[0].textureId())
            .arg(faces[1].textureId())
            .arg(faces[2].textureId())
            .split('|');
    QCOMPARE(log.lines(QtDebugMsg), lines);
}

void DemoMainGlTest::initLoadsEverything()
{
    Stage stage;
    glrecorder::start(glrecorder::Record);
    stage.open();
    DemoMain::DemoMainPrivate& d = stage.d();
    QCOMPARE(d.widget, &stage.window);
    QCOMPARE(d.testTexture.filename(), QString(":/textures/test1.jpg"));
    for (int face = 0; face < NUM_FACES; ++face) {
        QCOMPARE(d.faceTextures[face].filename(), QString(FACE_FILES[face]));
        QCOMPARE(d.faceTextures[face].width(), 256u);
        QCOMPARE(d.faceTextures[face].height(), 256u);
    }
    QCOMPARE(d.testTexture.width(), 512u);
    QCOMPARE(d.testTexture.height(), 512u);
    QCOMPARE(d.titlePixmap.size(), QSize(427, 77));
    QCOMPARE(QSize(d.effectTarget.width(), d.effectTarget.height()), QSize(256, 256));
    QCOMPARE(QSize(d.titleTarget.width(), d.titleTarget.height()), QSize(800, 480));
    for (const auto& program : d.shaderPrograms) {
        QVERIFY(program);
        QVERIFY(program->link());
    }
    for (const auto& quad : {d.quad, d.fadeQuad, d.faceQuad}) {
        const QByteArray vertices = glrecorder::bufferData(quad->vertexBuffer().id());
        QCOMPARE(vertices.size(), 96);
        const auto* floats = reinterpret_cast<const float*>(vertices.constData());
        const float corners[4][3] = {{-1, 1, 0}, {-1, -1, 0}, {1, 1, 0}, {1, -1, 0}};
        for (int i = 0; i < 4; ++i) {
            for (int k = 0; k < 3; ++k) {
                QCOMPARE(floats[6 * i + k], corners[i][k]);
            }
        }
    }
    QCOMPARE(d.parts.size(), DemoBuilder().build(*stage.demo).size());
    QCOMPARE(d.partIndex, -1);
    QCOMPARE(d.player->parent(), &stage.window);
    QCOMPARE(d.player->volume(), 0);
    QCOMPARE(d.player->state(), QMediaPlayer::StoppedState);
    QCOMPARE(d.player->media().request().url().fileName(), QString("beat.mp3"));
    QVERIFY(d.player->media().request().url().isLocalFile());
}

void DemoMainGlTest::initSeedsByTheClock()
{
    Stage stage;
    testclock::advance(5123);
    stage.open();
    const int next = qrand();
    // 123 of the second's milliseconds; then 3 draws for each of 200 ray points, and one for each
    // of four names.
    qsrand(123);
    const QColor first = stage.d().rays[0][0].color;
    const int red = qrand() % 255;
    const int green = qrand() % 255;
    const int blue = qrand() % 255;
    QCOMPARE(first, QColor(red, green, blue).darker(400));
    for (int i = 0; i < 3 * 200 - 3 + 4; ++i) {
        qrand();
    }
    QCOMPARE(next, qrand());
}

void DemoMainGlTest::initClearsTheTargets()
{
    Stage stage;
    stage.open();
    QImage black(256, 256, QImage::Format_RGB32);
    black.fill(Qt::black);
    QCOMPARE(content(stage.d().effectTarget).convertToFormat(QImage::Format_RGB32), black);
    black = QImage(800, 480, QImage::Format_RGB32);
    black.fill(Qt::black);
    QCOMPARE(content(stage.d().titleTarget).convertToFormat(QImage::Format_RGB32), black);
}

void DemoMainGlTest::accessorsNameTheMembers()
{
    Stage stage;
    stage.demo = std::make_unique<DemoMain>(&stage.window);
    QCOMPARE(stage.demo->renderer(), &stage.d().renderer);
    QCOMPARE(stage.demo->speech(), &stage.d().speech);
    QCOMPARE(stage.demo->systemState(), &stage.d().systemState);
    QCOMPARE(stage.demo->friends(), &stage.d().friends);
}

void DemoMainGlTest::raysLeaveTheCentre()
{
    Stage stage;
    stage.open();
    const auto& rays = stage.d().rays;
    QCOMPARE(rays.size(), 20);
    for (int i = 0; i < 20; ++i) {
        QCOMPARE(rays[i].size(), 10);
        const double angle = i / 10.0 * 3.14;
        for (int j = 0; j < 10; ++j) {
            const EfPoint& point = rays[i][j];
            QVERIFY(std::fabs(point.direction.x() - std::sin(angle)) < 1e-5);
            QVERIFY(std::fabs(point.direction.y() + std::cos(angle)) < 1e-5);
            QVERIFY(std::fabs(point.position.x() - (128.0 + 25.0 * j * std::sin(angle))) < 1e-3);
            QVERIFY(std::fabs(point.position.y() - (128.0 - 25.0 * j * std::cos(angle))) < 1e-3);
            QCOMPARE(point.color.alpha(), 255);
        }
    }
}

void DemoMainGlTest::emptyScriptEndsAtOnce()
{
    Stage stage;
    stage.open();
    stage.d().parts.clear();
    glrecorder::start(glrecorder::Record);
    QCOMPARE(stage.demo->paint(), 0);
    QVERIFY(glrecorder::calls().isEmpty());
    QCOMPARE(stage.demo->paint(), 0);
}

void DemoMainGlTest::singlePartEndsAfterItsTime()
{
    Stage stage;
    stage.open();
    stage.d().parts.resize(1);
    QCOMPARE(stage.frame(0), 1);
    QCOMPARE(stage.frame(4200), 1);
    QCOMPARE(stage.frame(1), 0);
    QCOMPARE(stage.d().partIndex, 1);
}

void DemoMainGlTest::speechHoldsThePart()
{
    Stage stage;
    stage.open();
    useScript(stage);
    DemoPart& part = firstPart(stage);
    part.text = "A long line";
    part.title = DemoPart::PaintedTitle;
    part.face = DemoPart::CoyFace;
    part.fade = DemoPart::FadeOut;
    stage.setTalking(true);
    stage.frame(0);
    stage.frame(4100);
    QCOMPARE(stage.d().player->volume(), 9);

    // The time of the part is over and that of its arcs too, but not the line.
    for (int passed : {4250, 5050, 6000, 9000}) {
        glrecorder::start(glrecorder::Record);
        QCOMPARE(stage.frame(passed - stage.d().partTime.elapsed()), 1);
        QCOMPARE(stage.d().partIndex, 0);
        QCOMPARE(stage.d().partTime.elapsed(), passed);
        if (passed > 5100) {
            const QVector<glrecorder::Draw> draws = glrecorder::draws();
            QCOMPARE(draws[draws.size() - 2].color(), 0x00FFFFFFu); // The face has gone.
            QCOMPARE(draws.last().color(), 0xFF000000u);            // The fade is complete.
            QCOMPARE(stage.d().player->volume(), 0);
        }
    }
    stage.setTalking(false);
    stage.frame(50);
    QCOMPARE(stage.d().partIndex, 1);
    QCOMPARE(stage.d().partTime.elapsed(), 0);
    QCOMPARE(stage.frame(4800), 1);
    QCOMPARE(stage.frame(1), 0);
}

void DemoMainGlTest::silentPartDoesNotSpeak()
{
    Stage stage;
    stage.open();
    useScript(stage);
    stage.setTalking(true);
    stage.frame(0);
    QVERIFY(stage.demo->speech()->isReady());
    firstPart(stage).text = "Too late";
    stage.frame();
    QVERIFY(stage.demo->speech()->isReady());
    QVERIFY(stage.spoken().isEmpty());
}

void DemoMainGlTest::switchChoosesTheColour()
{
    Stage stage;
    stage.open();
    int battery = 0;
    for (unsigned int seed = 1; seed < 60; ++seed) {
        useScript(stage);
        firstPart(stage).effect = DemoPart::NoEffect;
        stage.d().partIndex = -1;
        battery = static_cast<int>(seed * 37 % 101);
        fakedevice::notifyBattery(battery);
        qsrand(seed);
        stage.frame(0);
        const int next = qrand();

        qsrand(seed);
        const int red = qrand() % 40 + 80;
        const int green = qrand() % 25 + 65;
        const int blue = qrand() % 20 + 45;
        const QColor color = QColor(red, green, blue)
                                 .darker(qrand() % 20 + 100)
                                 .darker(static_cast<int>(90.0f + battery * 0.2f));
        QCOMPARE(stage.d().backgroundColor, color);
        QCOMPARE(next, qrand());
        QVERIFY(red >= 80 && red <= 119 && green >= 65 && green <= 89 && blue >= 45 && blue <= 64);
    }
}

void DemoMainGlTest::titleOpensAndCloses_data()
{
    QTest::addColumn<int>("ms");
    QTest::newRow("shut") << 0;
    QTest::newRow("first line") << 50;
    QTest::newRow("half open") << 400;
    QTest::newRow("nearly open") << 800;
    QTest::newRow("open") << 850;
    QTest::newRow("still open") << 4150;
    QTest::newRow("closing") << 4500;
    QTest::newRow("at the end of the part") << 4800;
    QTest::newRow("held: as high as the picture, half a height lower") << 6000;
}

void DemoMainGlTest::titleOpensAndCloses()
{
    QFETCH(int, ms);
    const bool opened = shared != nullptr;
    Stage& stage = sharedStage();
    if (!opened) {
        useScript(stage);
        firstPart(stage).title = DemoPart::PaintedTitle;
        firstPart(stage).text = "A line that holds the part";
        firstPart(stage).effect = DemoPart::NoEffect;
        stage.setTalking(true);
        stage.frame(0);
    }
    // What the target showed before.
    QImage canvas(800, 480, QImage::Format_ARGB32_Premultiplied);
    {
        canvas.fill(Qt::darkCyan);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        QPainter painter(stage.d().titleTarget.fbo());
        painter.fillRect(0, 0, 800, 480, Qt::darkCyan);
    }
    stage.frame(ms - stage.d().partTime.elapsed());

    const double opening = qMin(1.0, 2.0 * std::sin(ms / 5000.0 * 3.14));
    const double height = opening * 77;
    {
        QPainter painter(&canvas);
        painter.fillRect(canvas.rect(), QColor(0, 0, 0, 75));
        const int top = static_cast<int>(400.0 - height * 0.5);
        const int shown = static_cast<int>(height) < 0 ? 77 : static_cast<int>(height);
        if (shown > 0) {
            const QImage title(":/textures/title.jpg");
            painter.drawImage(QRect(20, top, 427, shown), title);
        }
    }
    // Nearest pixels of a picture squeezed in height may fall on another row: a row of the letters'
    // edges, and no more.
    const bool squeezed = opening < 1.0 && opening > 0.0;
    const QString name = QString("title-%1").arg(ms);
    COMPARE_PICTURES(name, content(stage.d().titleTarget), canvas, squeezed ? 255 : 2,
                     squeezed ? 0.6 : 0.1);
}

void DemoMainGlTest::otherTitleIsShownAsItStands()
{
    Stage stage;
    stage.open();
    useScript(stage);
    firstPart(stage).title = DemoPart::KeptTitle;
    {
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        QPainter painter(stage.d().titleTarget.fbo());
        painter.fillRect(0, 0, 800, 480, QColor(10, 200, 30));
    }
    const QImage before = content(stage.d().titleTarget);
    stage.frame(0);
    stage.frame(1000);
    QCOMPARE(content(stage.d().titleTarget), before);
    QCOMPARE(stage.window.pixels().pixelColor(5, 5), QColor(10, 200, 30));
}

void DemoMainGlTest::captionStartsWhereTheEffectLeftThePainter_data()
{
    QTest::addColumn<DemoPart::Effect>("effect");
    QTest::addColumn<bool>("centred");
    QTest::newRow("tree") << DemoPart::Tree << true;
    QTest::newRow("tunnel") << DemoPart::Tunnel << false;
    QTest::newRow("lattice") << DemoPart::Lattice << true;
    QTest::newRow("none") << DemoPart::NoEffect << false;
    QTest::newRow("none, by an unknown number") << DemoPart::NUM_EFFECTS << false;
}

void DemoMainGlTest::captionStartsWhereTheEffectLeftThePainter()
{
    QFETCH(DemoPart::Effect, effect);
    QFETCH(bool, centred);
    Stage& stage = sharedStage();
    useScript(stage);
    DemoPart& part = firstPart(stage);
    part.effect = effect;
    part.caption = "Hq";
    stage.d().partIndex = -1;
    stage.frame(0);
    for (int i = 0; i < 15; ++i) { // The tree is grown, and draws no more numbers.
        stage.frame();
    }
    stage.d().backgroundColor = Qt::black;
    const QImage before = content(stage.d().effectTarget);

    // The tunnel draws before the caption does: 1 + 3 for each of its 25 dots.
    const unsigned int seed = 4711;
    qsrand(seed);
    stage.frame(2500);
    qsrand(seed);
    for (int i = 0; effect == DemoPart::Tunnel && i < 76; ++i) {
        qrand();
    }
    const int drawX = qrand();
    const int drawY = qrand();
    const QPoint point(static_cast<int>(20.0 + jitterOf(drawX) * 0.5),
                       static_cast<int>(20.0 + jitterOf(drawY) * 0.5));

    Wireframes wireframes;
    const QImage expected = paintedOver(before, [&](QPainter& painter) {
        if (effect == DemoPart::Tree || effect == DemoPart::Lattice) {
            painter.fillRect(0, 0, 256, 256, QColor(0, 0, 0, 75));
            painter.translate(128, 128);
        }
        if (effect == DemoPart::Tree) {
            painter.setPen(Qt::black);
            stage.d().radialEffect.render(painter);
        } else if (effect == DemoPart::Tunnel) {
            painter.drawImage(0, 0, stage.d().frameBitmap.image());
        } else if (effect == DemoPart::Lattice) {
            wireframes.renderFrame(painter, 16);
        }
        painter.setPen(QColor(255, 255, 255, 128));
        QCOMPARE(painter.transform().dx(), centred ? 128.0 : 0.0);
        painter.drawText(point, "Hq");
    });
    COMPARE_PICTURES(QString("caption-%1").arg(effect), content(stage.d().effectTarget), expected,
                     1, 0.01);
}

void DemoMainGlTest::captionFadesIn_data()
{
    QTest::addColumn<int>("ms");
    QTest::addColumn<int>("alpha");
    QTest::newRow("nothing yet") << 0 << 0;
    QTest::newRow("a quarter") << 500 << 32;
    QTest::newRow("half of half") << 1000 << 64;
    QTest::newRow("all of half") << 2000 << 128;
    QTest::newRow("and stays") << 4000 << 128;
}

void DemoMainGlTest::captionFadesIn()
{
    QFETCH(int, ms);
    QFETCH(int, alpha);
    Stage& stage = sharedStage();
    useScript(stage);
    firstPart(stage).effect = DemoPart::NoEffect;
    firstPart(stage).caption = "WWW";
    stage.d().partIndex = -1;
    stage.frame(0);
    const QImage before = content(stage.d().effectTarget);
    qsrand(1);
    stage.frame(ms);
    qsrand(1);
    const float r1 = jitterOf(qrand());
    const float r2 = jitterOf(qrand());
    const QImage expected = paintedOver(before, [&](QPainter& painter) {
        painter.setPen(QColor(255, 255, 255, alpha));
        painter.drawText(
            QPoint(static_cast<int>(20.0 + r1 * 0.5), static_cast<int>(20.0 + r2 * 0.5)), "WWW");
    });
    // The same painter on the same driver: to the bit.
    COMPARE_PICTURES(QString("caption-%1ms").arg(ms), content(stage.d().effectTarget), expected, 0,
                     0.0);
}

void DemoMainGlTest::frameCountsFromTheSwitch()
{
    Stage stage;
    stage.open();
    useScript(stage);
    for (const auto& part : qAsConst(stage.d().parts)) {
        part->effect = DemoPart::Lattice;
    }
    Wireframes wireframes;
    const auto isFrame = [&](int number, int step) {
        const QImage before = content(stage.d().effectTarget);
        stage.frame(step);
        const QImage expected = paintedOver(before, [&](QPainter& painter) {
            painter.fillRect(0, 0, 256, 256, QColor(0, 0, 0, 75));
            painter.translate(128, 128);
            wireframes.renderFrame(painter, number);
        });
        COMPARE_PICTURES(QString("lattice-%1").arg(number), content(stage.d().effectTarget),
                         expected, 1, 0.01);
    };
    for (int i = 0; i < 5; ++i) {
        isFrame(i, i == 0 ? 0 : 50);
    }
    // It counts frames, not time, and begins anew with each part.
    isFrame(5, 3000);
    isFrame(0, 2000);
    isFrame(1, 50);
    QCOMPARE(stage.d().partIndex, 1);
}

void DemoMainGlTest::trailsAreDimmedToTheRim_data()
{
    QTest::addColumn<DemoPart::Effect>("effect");
    QTest::newRow("tree") << DemoPart::Tree;
    QTest::newRow("lattice") << DemoPart::Lattice;
}

void DemoMainGlTest::trailsAreDimmedToTheRim()
{
    QFETCH(DemoPart::Effect, effect);
    Stage& stage = sharedStage();
    useScript(stage);
    firstPart(stage).effect = effect;
    stage.d().partIndex = -1;
    stage.frame(0);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    QPainter painter(stage.d().effectTarget.fbo());
    painter.fillRect(0, 0, 256, 256, Qt::white);
    painter.end();
    stage.frame();
    const QImage after = content(stage.d().effectTarget);
    for (int i = 0; i < 256; ++i) {
        for (const QPoint& point : {QPoint(i, 0), QPoint(i, 255), QPoint(0, i), QPoint(255, i)}) {
            // Black of alpha 75 over white.
            QVERIFY2(std::abs(qRed(after.pixel(point)) - 180) <= 1,
                     qPrintable(QString("%1, %2").arg(point.x()).arg(point.y())));
        }
    }
}

void DemoMainGlTest::undimmedTrailsPileUp()
{
    Stage stage;
    stage.open();
    useScript(stage);
    firstPart(stage).effect = DemoPart::Lattice;
    firstPart(stage).dimTrails = 0;
    stage.frame(0);
    const QImage before = content(stage.d().effectTarget);
    stage.frame();
    Wireframes wireframes;
    const QImage expected = paintedOver(before, [&](QPainter& painter) {
        painter.translate(128, 128);
        wireframes.renderFrame(painter, 1);
    });
    COMPARE_PICTURES("undimmed", content(stage.d().effectTarget), expected, 1, 0.01);
}

void DemoMainGlTest::latticePausesWhereDrawsAreGathered()
{
    Stage stage;
    stage.open();
    const QByteArray driver(reinterpret_cast<const char*>(glGetString(GL_RENDERER)));
    useScript(stage);
    firstPart(stage).effect = DemoPart::Lattice;
    stage.frame(0);
    glrecorder::start(glrecorder::Record);
    stage.frame();
    QCOMPARE(glrecorder::calls().count("glFinish()"), driver.contains("llvmpipe") ? 49 : 0);
}

void DemoMainGlTest::drawsOfAFrame_data()
{
    QTest::addColumn<DemoPart::Effect>("effect");
    QTest::addColumn<DemoPart::Face>("face");
    QTest::addColumn<QString>("caption");
    QTest::addColumn<int>("draws");
    QTest::newRow("nothing random") << DemoPart::NoEffect << DemoPart::NoFace << "" << 0;
    QTest::newRow("grown tree") << DemoPart::Tree << DemoPart::NoFace << "" << 0;
    QTest::newRow("lattice") << DemoPart::Lattice << DemoPart::NoFace << "" << 0;
    QTest::newRow("caption") << DemoPart::NoEffect << DemoPart::NoFace << "x" << 2;
    QTest::newRow("face") << DemoPart::NoEffect << DemoPart::TenderFace << "" << 2;
    QTest::newRow("caption and face") << DemoPart::Lattice << DemoPart::JealousFace << "x" << 4;
    QTest::newRow("tunnel, settled") << DemoPart::Tunnel << DemoPart::NoFace << "" << 76;
    QTest::newRow("tunnel with caption and face")
        << DemoPart::Tunnel << DemoPart::CoyFace << "x" << 80;
}

void DemoMainGlTest::drawsOfAFrame()
{
    QFETCH(DemoPart::Effect, effect);
    QFETCH(DemoPart::Face, face);
    QFETCH(QString, caption);
    Stage& stage = sharedStage();
    useScript(stage);
    firstPart(stage).effect = effect;
    firstPart(stage).face = face;
    firstPart(stage).caption = caption;
    stage.d().partIndex = -1;
    stage.frame(0);
    for (int i = 0; i < 20; ++i) {
        stage.frame();
    }
    qsrand(99);
    stage.frame();
    const int next = qrand();
    QTEST(drawsSince(99, next), "draws");
}

void DemoMainGlTest::copiesAreTurnedAndGrow_data()
{
    QTest::addColumn<int>("spread");
    QTest::addColumn<double>("factor");
    QTest::newRow("all over the screen") << int(DemoPart::WideCopies) << 48.1;
    QTest::newRow("2") << 2 << 10.2;
    QTest::newRow("6") << 6 << 30.6;
}

void DemoMainGlTest::copiesAreTurnedAndGrow()
{
    QFETCH(int, spread);
    QFETCH(double, factor);
    Stage& stage = sharedStage();
    useScript(stage);
    firstPart(stage).effect = DemoPart::NoEffect;
    firstPart(stage).spread = spread;
    stage.d().partIndex = -1;
    stage.frame(0);
    glrecorder::start(glrecorder::Record);
    stage.frame();
    const QVector<glrecorder::Draw> draws = glrecorder::draws();
    QCOMPARE(draws.size(), 7);
    // The turn goes on from frame to frame of the whole show; each copy is a step ahead.
    const QMatrix4x4& second = draws[1].matrix;
    const double turn = std::atan2(second(1, 0), second(0, 0));
    for (int i = 0; i < 7; ++i) {
        const double scale = i / 200.0 * factor;
        const double angle = turn + (i - 1) * 25.5 * M_PI / 180.0;
        const double expected[3][3] = {{scale * std::cos(angle), -scale * std::sin(angle), 0.0},
                                       {scale * std::sin(angle), scale * std::cos(angle), 0.0},
                                       {0.0, 0.0, scale}};
        for (int row = 0; row < 3; ++row) {
            for (int column = 0; column < 3; ++column) {
                QVERIFY2(std::fabs(draws[i].matrix(row, column) - expected[row][column]) < 1e-4,
                         qPrintable(QString("copy %1: %2, %3").arg(i).arg(row).arg(column)));
            }
        }
    }
}

void DemoMainGlTest::unknownIsToldAndLeftOut_data()
{
    QTest::addColumn<QString>("look");
    QTest::addColumn<int>("face");
    QTest::addColumn<int>("effect");
    QTest::addColumn<QStringList>("lines");
    const QStringList nothing;
    QTest::newRow("all known") << "contrast4" << int(DemoPart::JealousFace)
                               << int(DemoPart::Lattice) << nothing;
    QTest::newRow("none") << "contrast" << int(DemoPart::NoFace) << int(DemoPart::NoEffect)
                          << nothing;
    QTest::newRow("look") << "contrast5" << 0 << 0
                          << QStringList{"Part 1: there is no look \"contrast5\""};
    QTest::newRow("no look") << "" << 0 << 0 << QStringList{"Part 1: there is no look \"\""};
    QTest::newRow("next face") << "contrast" << NUM_FACES << 0
                               << QStringList{
                                      QString("Part 1: there is no face %1").arg(NUM_FACES)};
    QTest::newRow("face far away")
        << "contrast" << (1 << 30) << 0 << QStringList{"Part 1: there is no face 1073741824"};
    const int nextEffect = DemoPart::NUM_EFFECTS;
    QTest::newRow("next effect") << "contrast" << 0 << nextEffect
                                 << QStringList{
                                        QString("Part 1: there is no effect %1").arg(nextEffect)};
    QTest::newRow("all of them") << "gloss" << 70 << 80
                                 << QStringList{"Part 1: there is no look \"gloss\"",
                                                "Part 1: there is no face 70",
                                                "Part 1: there is no effect 80"};
}

void DemoMainGlTest::unknownIsToldAndLeftOut()
{
    QFETCH(QString, look);
    QFETCH(int, face);
    QFETCH(int, effect);
    QFETCH(QStringList, lines);
    Stage& stage = sharedStage();
    useScript(stage);
    firstPart(stage).shader = look;
    firstPart(stage).face = face;
    firstPart(stage).effect = effect;
    stage.d().partIndex = -1;
    LogCapture log;
    stage.frame(0);
    glrecorder::start(glrecorder::Record);
    stage.frame();
    // Once a part, not once a frame.
    QCOMPARE(log.lines(QtWarningMsg), lines);
    const QVector<glrecorder::Draw> draws = glrecorder::draws();
    const bool faceIsThere = face >= 0 && face < NUM_FACES;
    QCOMPARE(draws.size(), 7 + (faceIsThere ? 1 : 0));
    const unsigned int program =
        lines.filter("look").isEmpty()
            ? stage.program(look)
            : static_cast<unsigned int>(stage.demo->renderer()->d->defaultProgram.programId());
    QCOMPARE(draws.first().program, program);
}

void DemoMainGlTest::faceComesAndGoes_data()
{
    QTest::addColumn<int>("ms");
    QTest::addColumn<int>("alpha");
    QTest::newRow("dark") << 0 << 0;
    QTest::newRow("50 ms") << 50 << 8;
    QTest::newRow("a quarter") << 1250 << 180;
    QTest::newRow("half") << 2500 << 254;
    QTest::newRow("three quarters") << 3750 << 180;
    QTest::newRow("nearly gone") << 4950 << 8;
    QTest::newRow("over the time, still speaking") << 5050 << 0;
}

void DemoMainGlTest::faceComesAndGoes()
{
    QFETCH(int, ms);
    QFETCH(int, alpha);
    Stage& stage = sharedStage();
    useScript(stage);
    firstPart(stage).effect = DemoPart::NoEffect;
    firstPart(stage).face = DemoPart::CoyFace;
    firstPart(stage).text = "Do you call me cute";
    stage.d().partIndex = -1;
    stage.setTalking(true);
    stage.frame(0);
    glrecorder::start(glrecorder::Record);
    stage.frame(ms);
    const unsigned int color = glrecorder::draws().last().color();
    stage.setTalking(false);
    stage.awaitSilence();
    QCOMPARE(color & 0xFFFFFF, 0xFFFFFFu);
    QVERIFY2(std::abs(static_cast<int>(color >> 24) - alpha) <= 1,
             qPrintable(QString::number(color >> 24)));
}

void DemoMainGlTest::shakeIsDrawnXBeforeY()
{
    Stage stage;
    stage.open();
    useScript(stage);
    firstPart(stage).effect = DemoPart::NoEffect;
    firstPart(stage).face = DemoPart::CoyFace;
    stage.frame(0);
    glrecorder::start(glrecorder::Record);
    qsrand(5);
    stage.frame();
    const QMatrix4x4 matrix = glrecorder::draws().last().matrix;
    qsrand(5);
    const float x = jitterOf(qrand()) * 0.5f * 0.01f;
    const float y = jitterOf(qrand()) * 0.5f * 0.01f;
    QVERIFY(std::fabs(matrix(0, 3) - x) < 1e-6f);
    QVERIFY(std::fabs(matrix(1, 3) - (0.2f + y)) < 1e-6f);
    QVERIFY(std::fabs(x - y) > 1e-4f);
}

void DemoMainGlTest::musicStartsWithTheFirstFrame()
{
    Stage stage;
    stage.open();
    QCOMPARE(stage.d().player->state(), QMediaPlayer::StoppedState);
    QVERIFY(stage.d().partTime.isNull());
    stage.frame(0);
    QTRY_COMPARE(stage.d().player->state(), QMediaPlayer::PlayingState);
    QCOMPARE(stage.d().partTime.elapsed(), 0);
    QCOMPARE(stage.d().player->volume(), 0);
    stage.frame(2500);
    QCOMPARE(stage.d().player->volume(), 25);
    stage.frame(1250);
    QCOMPARE(stage.d().player->volume(), 37);
    // The next part has no fade and leaves the volume where it is.
    stage.frame(500);
    QCOMPARE(stage.d().partIndex, 1);
    QCOMPARE(stage.d().player->volume(), 37);
}

void DemoMainGlTest::playerDiesFirst()
{
    Stage stage;
    stage.open();
    QPointer<QMediaPlayer> player = stage.d().player.get();
    const int devices = fakedevice::state().alive;
    bool deviceAlive = false;
    // Told by a child, since the player sends nothing when it is destroyed.
    auto* child = new QObject(player);
    connect(child, &QObject::destroyed,
            [&] { deviceAlive = fakedevice::state().alive == devices; });
    stage.close();
    QVERIFY(!player);
    QVERIFY(deviceAlive);
    QCOMPARE(fakedevice::state().alive, devices - 1);
}

QTEST_MAIN(DemoMainGlTest)
#include "demomaingltest.moc"
