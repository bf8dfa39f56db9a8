#include "graphics/renderer_p.h"

#include "demo/stage.h"

#include <QDir>
#include <QFile>
#include <QTest>

/// The raw GL calls of loading, of a frame of each kind of part, and of the end, against the lists
/// in the folder calls. There, names of textures and buffers are written as whose they are, and a
/// draw says what it is drawn with. A list that differs is saved in the folder where the test runs.
class CallsGlTest : public QObject
{
    Q_OBJECT

private slots:
    void setUp();
    void frame_data();
    void frame();
    void death();
};

namespace {

/// Who owns which GL name in a show.
struct Owners
{
    explicit Owners(Stage& stage)
    {
        DemoMain::DemoMainPrivate& d = stage.d();
        buffers = {{d.quad->vertexBuffer().id(), "quad"},
                   {d.quad->indexBuffer().id(), "quadIndices"},
                   {d.faceQuad->vertexBuffer().id(), "faceQuad"},
                   {d.faceQuad->indexBuffer().id(), "faceQuadIndices"},
                   {d.fadeQuad->vertexBuffer().id(), "fadeQuad"},
                   {d.fadeQuad->indexBuffer().id(), "fadeQuadIndices"}};
        textures = {{d.testTexture.textureId(), "testTexture"},
                    {d.faceTextures[0].textureId(), "coyFace"},
                    {d.faceTextures[1].textureId(), "tenderFace"},
                    {d.faceTextures[2].textureId(), "jealousFace"},
                    {d.effectTarget.textureId(), "effectTarget"},
                    {d.titleTarget.textureId(), "titleTarget"}};
        programs = {{d.renderer.d->defaultProgram.programId(), "the default program"}};
        for (const Look& look : LOOKS) {
            programs.insert(stage.program(look.name), look.name);
        }
    }

    /// "glBindTexture(GL_TEXTURE_2D, 7)" as "glBindTexture(GL_TEXTURE_2D, coyFace)".
    QString named(const QString& call) const
    {
        const bool ofBuffer = call.startsWith("glBindBuffer") || call.startsWith("glDeleteBuffers");
        const bool ofTexture =
            call.startsWith("glBindTexture") || call.startsWith("glDeleteTextures");
        const int begin = qMax(call.lastIndexOf(' '), call.indexOf('(')) + 1;
        const unsigned int name = call.mid(begin).chopped(1).toUInt();
        if ((!ofBuffer && !ofTexture) || name == 0) {
            return call;
        }
        return call.left(begin) + (ofBuffer ? buffers : textures).value(name, "stranger") + ")";
    }

    QMap<unsigned int, QString> buffers;
    QMap<unsigned int, QString> textures;
    QMap<unsigned int, QString> programs;
};

/// What was recorded, as the lists have it.
QStringList recorded(const Owners& owners)
{
    QStringList lines;
    const QVector<glrecorder::Draw> draws = glrecorder::draws();
    int draw = 0;
    for (const QString& call : glrecorder::calls()) {
        QString line = owners.named(call);
        if (call.startsWith("glDraw")) {
            const glrecorder::Draw& state = draws.at(draw++);
            line += "  # " + owners.programs.value(state.program, "a stranger") + " on " +
                    owners.textures.value(state.texture, "a stranger");
        }
        lines.append(line);
    }
    glrecorder::start(glrecorder::PassThrough);
    return lines;
}

void compareWithList(const QStringList& lines, const QString& name)
{
    const QString path = QFINDTESTDATA("calls/" + name + ".txt");
    QFile file(path);
    QVERIFY2(file.open(QIODevice::ReadOnly), qPrintable("no list of calls is called " + name));
    const QStringList expected = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    if (lines == expected) {
        return;
    }
    const QString saved = QDir::current().filePath("calls-" + name + ".txt");
    QFile actual(saved);
    actual.open(QIODevice::WriteOnly);
    actual.write(lines.join('\n').toUtf8() + '\n');
    int at = 0;
    while (lines.value(at) == expected.value(at)) {
        ++at;
    }
    QFAIL(qPrintable(QString("call %1 is \"%2\", not \"%3\"; all calls are in %4")
                         .arg(at + 1)
                         .arg(lines.value(at), expected.value(at), saved)));
}

} // namespace

void CallsGlTest::setUp()
{
    Stage stage;
    glrecorder::start(glrecorder::Record);
    stage.open();
    compareWithList(recorded(Owners(stage)), "set-up");
}

void CallsGlTest::frame_data()
{
    QTest::addColumn<DemoPart::Face>("face");
    QTest::addColumn<QString>("shader");
    QTest::addColumn<int>("spread");
    QTest::addColumn<int>("fade");
    QTest::addColumn<int>("title");
    QTest::newRow("single-quad") << DemoPart::NoFace << "contrast" << int(DemoPart::OneQuad)
                                 << int(DemoPart::NoFade) << int(DemoPart::NoTitle);
    QTest::newRow("seven-copies-with-face")
        << DemoPart::JealousFace << "contrast2" << int(DemoPart::WideCopies)
        << int(DemoPart::NoFade) << int(DemoPart::NoTitle);
    QTest::newRow("title-with-fade") << DemoPart::NoFace << "contrast2" << int(DemoPart::OneQuad)
                                     << int(DemoPart::FadeOut) << int(DemoPart::PaintedTitle);
}

void CallsGlTest::frame()
{
    QFETCH(DemoPart::Face, face);
    QFETCH(QString, shader);
    QFETCH(int, spread);
    QFETCH(int, fade);
    QFETCH(int, title);
    Stage stage;
    stage.open();
    const auto part = QSharedPointer<DemoPart>::create();
    part->face = face;
    part->shader = shader;
    part->spread = spread;
    part->fade = fade;
    part->title = title;
    stage.d().parts = {part, part};
    // The first frame of all also builds and links; what repeats is the second.
    stage.frame(0);
    glrecorder::start(glrecorder::Record);
    stage.frame();
    compareWithList(recorded(Owners(stage)), QTest::currentDataTag());
}

void CallsGlTest::death()
{
    Stage stage;
    stage.open();
    const Owners owners(stage);
    glrecorder::start(glrecorder::Record);
    stage.close();
    compareWithList(recorded(owners), "death");
}

QTEST_MAIN(CallsGlTest)
#include "callsgltest.moc"
