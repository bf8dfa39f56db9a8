#include "demo/demomain_p.h"

#include "addressbook/vcardreader.h"
#include "demo/stage.h"
#include "effects/effectbase.h"
#include "graphics/renderer.h"
#include "platform/servicelog.h"
#include "support/files.h"
#include "support/glpictures.h"
#include "support/glwindow.h"
#include "support/logcapture.h"
#include "support/lookmodels.h"

#include <QFile>
#include <QFileInfo>
#include <QPainter>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

// The examples as they stand on the page.
#include "how-to/src/addressbook/mailaliases.h"
#include "how-to/src/platform/temperature.h"

#include "how-to/src/addressbook/mailaliases.cpp"
#include "how-to/src/platform/temperature.cpp"

// By another name than on the page, should anyone add it to the show by that one.
#define Rain ExampleRain
#include "how-to/src/effects/rain.h"

#include "how-to/src/effects/rain.cpp"
#undef Rain

namespace examples {
using namespace lookmodels;
#include "how-to/tests/support/lookmodels.h"
} // namespace examples

/// The examples of docs/how-to.md do what the page says.
class HowToGlTest : public QObject
{
    Q_OBJECT

private slots:
    void partPlays();
    void lookIsWhatItsModelSays();
    void effectIsPaintedByTheDriver();
    void effectStaysWithinItsPicture();
    void namesAreRead();
    void namesEndByTheDeadline();
    void serviceTellsWhatIsMissing();
};

namespace examples {

/// With the enumerator that the page asks for.
struct DemoPart : ::DemoPart
{
    enum MoreEffects { Rain = NUM_EFFECTS };
};

QVector<QSharedPointer<::DemoPart>> script()
{
    using ::DemoPart;
    const auto newPart = [] { return QSharedPointer<DemoPart>::create(); };
    QSharedPointer<DemoPart> part;
    QVector<QSharedPointer<DemoPart>> parts;
#include "how-to/src/demo/demobuilder.cpp"
    return parts;
}

/// The driver's frame, as far as the page tells of it.
void paintEffect(QPainter& painter, int effect, ExampleRain& rain, int frame)
{
    const int width = painter.device()->width();
    const int height = painter.device()->height();
    const QPoint centre(width / 2, height / 2);
    const auto trailColor = [] { return QColor(0, 0, 0, 75); };
    switch (effect) {
#include "how-to/src/demo/demomain.cpp"
    }
}

/// The pixels that are not black.
QRect painted(const QImage& picture)
{
    QRect all;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixelColor(x, y) != QColor(Qt::black)) {
                all |= QRect(x, y, 1, 1);
            }
        }
    }
    return all;
}

} // namespace examples

void HowToGlTest::partPlays()
{
    Stage stage;
    QVERIFY2(stage.window.isReady(), "no GL context");
    stage.open();
    stage.d().parts = examples::script();
    QCOMPARE(stage.d().parts.size(), 1);
    LogCapture log;
    glrecorder::start(glrecorder::Record);
    QCOMPARE(stage.frame(0), 1);
    QCOMPARE(log.lines(QtWarningMsg), QStringList());
    const QVector<glrecorder::Draw> draws = glrecorder::draws();
    QCOMPARE(draws.size(), 2);
    QCOMPARE(draws[0].program, stage.program("contrast"));
    QCOMPARE(draws[1].texture, stage.d().faceTextures[DemoPart::CoyFace].textureId());
    stage.awaitSilence();
    QCOMPARE(stage.spoken(), QStringList{"\"Look at me\""});
}

void HowToGlTest::lookIsWhatItsModelSays()
{
    GlWindow window;
    QVERIFY2(window.isReady(), "no GL context");
    const QColor texel(200, 60, 120);
    QImage bytes(1, 1, QImage::Format_RGBA8888);
    bytes.fill(texel);
    graphics::Renderer renderer;
    renderer.init();
    renderer.reset();
    graphics::Texture2d texture(1, 1, graphics::Texture::Nearest);
    texture.setBuffer(bytes.bits(), 0, 0, 0);
    const glpictures::Canvas canvas(4, 4);
    graphics::Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    renderer.loadShader("dusk", LOOKS_VERTEX_FILE, EXAMPLES "/src/resources/shaders/dusk_fs.glsl");
    renderer.enableShader("dusk");
    renderer.setTexture2d(&texture, 0);
    quad.render(&renderer);

    const lookmodels::Color c = examples::dusk(
        [&](double, double) {
            return lookmodels::Color{texel.redF(), texel.greenF(), texel.blueF(), 1.0};
        },
        0.5, 0.5, {1, 1, 1, 1});
    const QColor actual = canvas.pixels().pixelColor(2, 2);
    QVERIFY(std::fabs(actual.redF() - c.r) < 0.01);
    QVERIFY(std::fabs(actual.greenF() - c.g) < 0.01);
    QVERIFY(std::fabs(actual.blueF() - c.b) < 0.01);
}

void HowToGlTest::effectIsPaintedByTheDriver()
{
    QImage picture(256, 256, QImage::Format_RGB32);
    picture.fill(Qt::black);
    QPainter painter(&picture);
    ExampleRain rain;
    examples::paintEffect(painter, examples::DemoPart::Lattice, rain, 0);
    QVERIFY(examples::painted(picture).isEmpty());
    examples::paintEffect(painter, examples::DemoPart::Rain, rain, 0);
    painter.end();
    const QRect painted = examples::painted(picture);
    QVERIFY(painted.width() > 200 && painted.height() > 200);
}

void HowToGlTest::effectStaysWithinItsPicture()
{
    ExampleRain rain;
    for (int frame = 0; frame < 100; ++frame) {
        QImage picture(300, 300, QImage::Format_RGB32);
        picture.fill(Qt::black);
        QPainter painter(&picture);
        painter.translate(150, 150);
        rain.renderFrame(painter, frame);
        painter.end();
        QVERIFY(QRect(22, 22, 256, 256).contains(examples::painted(picture)));
    }
}

void HowToGlTest::namesAreRead()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("aliases");
    QVERIFY(writeFile(
        path, "# mine\nalias anna Anna Berg <anna@example.org>\nset x\nalias bo Bo <b@c>\n"));
    const QDeadlineTimer soon(5000);
    addressbook::VCardReader reader(soon);
    QCOMPARE(addressbook::MailAliases(path).read(reader, soon), QString());
    QCOMPARE(reader.labels(), QStringList({"Anna Berg", "Bo"}));

    QCOMPARE(addressbook::MailAliases(folder.filePath("none")).read(reader, soon), QString());
    const QString pipe = folder.filePath("pipe");
    QCOMPARE(mkfifo(qPrintable(pipe), 0600), 0);
    QCOMPARE(addressbook::MailAliases(pipe).read(reader, soon), QString());
    QCOMPARE(reader.labels().size(), 2);
}

void HowToGlTest::namesEndByTheDeadline()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("aliases");
    QVERIFY(writeFile(path, "alias anna Anna Berg <anna@example.org>\n"));
    const QDeadlineTimer over(0);
    addressbook::VCardReader reader(over);
    QCOMPARE(addressbook::MailAliases(path).read(reader, over),
             QString("the mail aliases took too long"));
    QVERIFY(reader.labels().isEmpty());
}

void HowToGlTest::serviceTellsWhatIsMissing()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("temp");
    LogCapture log;
    QCOMPARE(platform::temperature(path), 0.0);
    QCOMPARE(log.platformLines().size(), 1);
    QVERIFY(log.platformLines().first().startsWith("No temperature: "));

    QVERIFY(writeFile(path, "41500\n"));
    QCOMPARE(platform::temperature(path), 41.5);
    QCOMPARE(log.platformLines().size(), 1);
}

QTEST_MAIN(HowToGlTest)
#include "howtogltest.moc"
