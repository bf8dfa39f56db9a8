#include "graphics/renderer_p.h"

#include "graphics/matrices.h"
#include "graphics/quad.h"
#include "graphics/texture2d.h"
#include "support/glpictures.h"
#include "support/glrecorder.h"
#include "support/glwindow.h"
#include "support/logcapture.h"
#include "support/picturecompare.h"

#include <QApplication>
#include <QProcess>
#include <QResource>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>
#include <cstring>
#include <memory>

using namespace graphics;

namespace {

const char ACTION[] = "PIXMOTH_TEST_ACTION";
const char SHADER_FILE[] = "PIXMOTH_TEST_SHADER_FILE";

/// What becomes of this binary when it runs itself.
struct ChildEnd
{
    bool finished = false;
    bool crashed = false;
    int exitCode = -1;
    QStringList lines; ///< On the error channel.
};

std::unique_ptr<Texture2d> makeTexture(QImage picture)
{
    auto texture =
        std::make_unique<Texture2d>(static_cast<unsigned int>(picture.width()),
                                    static_cast<unsigned int>(picture.height()), Texture::Nearest);
    texture->setBuffer(picture.bits(), 0, 0, 0);
    return texture;
}

QImage filled(int width, int height, const QColor& color)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    image.fill(color);
    return image;
}

GLint current(GLenum name)
{
    GLint value = -1;
    glGetIntegerv(name, &value);
    return value;
}

/// The colour uniform of a program that is in use, as bytes.
QColor highlightOf(GLuint program)
{
    GLfloat values[4] = {};
    glGetUniformfv(program, glGetUniformLocation(program, "a_highlightColor"), values);
    return QColor::fromRgbF(values[0], values[1], values[2], values[3]);
}

const char VERTEX_FILE[] = ":/shaders/default_vs.glsl";
const char FRAGMENT_FILE[] = ":/shaders/contrast2_fs.glsl";
const QRgb CLEAR = 0;

} // namespace

class RendererGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void initSaysWhatItDoes();
    void initLinksTheBuiltInPrograms();
    void initFindsTheUniforms();
    void attributeLocations_data();
    void attributeLocations();
    void attributeLocationsAreBound_data();
    void attributeLocationsAreBound();
    void loadShaderSaysWhatItDoes();
    void loadShaderLinksAtTheFirstDraw();
    void loadShaderReplaces();
    void replacedShaderStaysCurrent_data();
    void replacedShaderStaysCurrent();

    void enableShaderMakesItCurrent();
    void unknownShaderIsTheDefaultOne();
    void resetEndsAUserShader();
    void enableMatrixPaletteEndsAUserShader();
    void enableShaderReleasesTheFormer();
    void enableMatrixPaletteReleasesTheFormer();
    void releaseShaderKeepsItCurrent();

    void drawMatrixIsProjectionViewWorld_data();
    void drawMatrixIsProjectionViewWorld();
    void highlightGoesToTheBuiltInPrograms();
    void bindShaderDoesNotDraw();
    void renderCalls_data();
    void renderCalls();
    void renderTakesAPartOfTheBuffer();
    void indexedCalls_data();
    void indexedCalls();
    void indexedDrawsTheWholeBuffer();
    void onlyIndexedDrawsRelease();
    void indexBufferIsBoundWhenItChanges();
    void lastVertexBufferIsRecorded();
    void drawSeesTextureAndBlending();

    void highlightIsAddedAndClamped();
    void userShadersHaveNoHighlight();
    void paletteMovesTheVertices();
    void paletteTakesNineMatrices();
    void coplanarDrawsCover();

    void fatalEnds_data();
    void fatalEnds();
    void goodShadersAreNotFatal();
    void brokenBuiltInFragmentShaderIsNotFatal();

private:
    std::unique_ptr<GlWindow> m_window;
    std::unique_ptr<Renderer> m_renderer;
    std::unique_ptr<Texture2d> m_white;
    QTemporaryDir m_dir;
};

namespace {

ChildEnd runChild(const QString& action, const QString& file)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(ACTION, action);
    environment.insert(SHADER_FILE, file);
    // Nothing else is to take the messages, nor to change them.
    environment.insert("QT_FORCE_STDERR_LOGGING", "1");
    environment.remove("QT_MESSAGE_PATTERN");
    QProcess child;
    child.setProcessEnvironment(environment);
    child.start(QApplication::applicationFilePath(), QStringList());
    ChildEnd end;
    end.finished = child.waitForFinished(60000);
    if (!end.finished) {
        child.kill();
        child.waitForFinished();
        return end;
    }
    end.crashed = child.exitStatus() == QProcess::CrashExit;
    end.exitCode = child.exitCode();
    end.lines = QString::fromLocal8Bit(child.readAllStandardError()).split('\n');
    return end;
}

} // namespace

void RendererGlTest::initTestCase()
{
    m_window = std::make_unique<GlWindow>();
    QVERIFY2(m_window->isReady(), "there is no GL context");
    m_white = makeTexture(filled(1, 1, Qt::white));
}

void RendererGlTest::init()
{
    m_renderer = std::make_unique<Renderer>();
    m_renderer->init();
    m_renderer->reset();
    glrecorder::start(glrecorder::Record);
}

void RendererGlTest::cleanup()
{
    glrecorder::start(glrecorder::PassThrough);
    m_renderer.reset();
}

void RendererGlTest::initSaysWhatItDoes()
{
    LogCapture log;
    Renderer renderer;
    renderer.init();
    QCOMPARE(log.lines(), (QStringList{"vertex shader", "fragment shader"}));
}

void RendererGlTest::initLinksTheBuiltInPrograms()
{
    glUseProgram(0);
    Renderer renderer;
    renderer.init();
    QVERIFY(renderer.d->defaultProgram.isLinked());
    QVERIFY(renderer.d->matrixPaletteProgram.isLinked());
    QCOMPARE(renderer.d->defaultProgram.shaders().size(), 2);
    QCOMPARE(renderer.d->matrixPaletteProgram.shaders().size(), 2);
    QVERIFY(renderer.d->spareProgram.shaders().isEmpty());
    QCOMPARE(current(GL_CURRENT_PROGRAM),
             static_cast<GLint>(renderer.d->defaultProgram.programId()));
    // A draw needs reset() first.
    QVERIFY(renderer.d->currentProgram == nullptr);
}

void RendererGlTest::initFindsTheUniforms()
{
    const GLuint plain = m_renderer->d->defaultProgram.programId();
    const GLuint palette = m_renderer->d->matrixPaletteProgram.programId();
    QVERIFY(m_renderer->d->defaultHighlightLoc >= 0);
    QVERIFY(m_renderer->d->paletteArrayLoc >= 0);
    QCOMPARE(m_renderer->d->defaultHighlightLoc, glGetUniformLocation(plain, "a_highlightColor"));
    QCOMPARE(m_renderer->d->defaultViewProjLoc, glGetUniformLocation(plain, "u_viewProjMatrix"));
    QCOMPARE(m_renderer->d->paletteHighlightLoc, glGetUniformLocation(palette, "a_highlightColor"));
    QCOMPARE(m_renderer->d->paletteViewProjLoc, glGetUniformLocation(palette, "u_viewProjMatrix"));
    QCOMPARE(m_renderer->d->paletteArrayLoc, glGetUniformLocation(palette, "u_matrixPalette"));
}

void RendererGlTest::attributeLocations_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("attribute");
    QTest::addColumn<int>("location");
    for (const char* program : {"default", "palette", "user"}) {
        const QByteArray name(program);
        QTest::newRow(name + " position") << QString(program) << "a_pos" << 0;
        QTest::newRow(name + " colour") << QString(program) << "a_color" << 1;
        QTest::newRow(name + " texture coordinate") << QString(program) << "a_tex0" << 2;
    }
    QTest::newRow("palette weights") << "palette"
                                     << "a_matrixWeights" << 3;
    QTest::newRow("palette indices") << "palette"
                                     << "a_matrixIndices" << 4;
}

void RendererGlTest::attributeLocations()
{
    QFETCH(QString, program);
    QFETCH(QString, attribute);
    QFETCH(int, location);
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    if (program == "palette") {
        m_renderer->enableMatrixPalette(true);
    } else if (program == "user") {
        m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
        m_renderer->enableShader("look");
    }
    quad.render(m_renderer.get());
    const auto drawnWith = static_cast<GLuint>(current(GL_CURRENT_PROGRAM));
    QCOMPARE(glGetAttribLocation(drawnWith, attribute.toLatin1().constData()), location);
}

void RendererGlTest::attributeLocationsAreBound_data()
{
    QTest::addColumn<QString>("program");
    QTest::newRow("default") << "default";
    QTest::newRow("palette") << "palette";
    QTest::newRow("user") << "user";
}

void RendererGlTest::attributeLocationsAreBound()
{
    QFETCH(QString, program);
    const ChildEnd end =
        runChild("locations of " + program, BROKEN_SHADERS "/broken-backwards.rcc");
    QVERIFY(end.finished);
    QVERIFY2(!end.crashed && end.exitCode == 0, qPrintable(end.lines.join("\n")));
}

void RendererGlTest::loadShaderSaysWhatItDoes()
{
    LogCapture log;
    m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    QCOMPARE(log.lines(QtDebugMsg),
             (QStringList{"Load user shader", "Load user vshader", "Load user fshader"}));
}

void RendererGlTest::loadShaderLinksAtTheFirstDraw()
{
    const QSharedPointer<QGLShaderProgram> program =
        m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    QVERIFY(program);
    QCOMPARE(m_renderer->d->userShaders.value("look"), program);
    QCOMPARE(program->shaders().size(), 2);
    QVERIFY(!program->isLinked());
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    m_renderer->enableShader("look");
    QVERIFY(!program->isLinked());
    quad.render(m_renderer.get());
    QVERIFY(program->isLinked());
}

void RendererGlTest::loadShaderReplaces()
{
    const QSharedPointer<QGLShaderProgram> first =
        m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    const QSharedPointer<QGLShaderProgram> second =
        m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    QVERIFY(first != second);
    QCOMPARE(m_renderer->d->userShaders.size(), 1);
    QCOMPARE(m_renderer->d->userShaders.value("look"), second);
    // Loading alone does not change what is drawn with.
    QCOMPARE(m_renderer->d->currentProgram, &m_renderer->d->defaultProgram);
}

void RendererGlTest::replacedShaderStaysCurrent_data()
{
    QTest::addColumn<bool>("held");
    QTest::addColumn<int>("times");
    QTest::newRow("held by its loader") << true << 1;
    QTest::newRow("held by nobody else") << false << 1;
    QTest::newRow("held by nobody else, twice") << false << 2;
}

void RendererGlTest::replacedShaderStaysCurrent()
{
    QFETCH(bool, held);
    QFETCH(int, times);
    QSharedPointer<QGLShaderProgram> first =
        m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    const QWeakPointer<QGLShaderProgram> watched(first);
    m_renderer->enableShader("look");
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    quad.render(m_renderer.get());
    const auto program = static_cast<GLint>(first->programId());
    if (!held) {
        first.reset();
    }
    QSharedPointer<QGLShaderProgram> last;
    for (int i = 0; i < times; ++i) {
        last = m_renderer->loadShader("look", VERTEX_FILE, ":/shaders/default_fs.glsl");
    }
    // A draw through one that is gone would be one through freed memory.
    QVERIFY(watched);
    quad.render(m_renderer.get());
    QCOMPARE(current(GL_CURRENT_PROGRAM), program);
    QVERIFY(m_renderer->d->userShaderActive);

    m_renderer->enableShader("look");
    quad.render(m_renderer.get());
    QCOMPARE(current(GL_CURRENT_PROGRAM), static_cast<GLint>(last->programId()));
    // Replaced in its turn, that one is the one to be kept, and the first goes.
    m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    QCOMPARE(watched.isNull(), !held);
    m_renderer->reset();
    QCOMPARE(m_renderer->d->currentProgram, &m_renderer->d->defaultProgram);
}

void RendererGlTest::enableShaderMakesItCurrent()
{
    const auto one = m_renderer->loadShader("one", VERTEX_FILE, FRAGMENT_FILE);
    const auto two = m_renderer->loadShader("two", VERTEX_FILE, FRAGMENT_FILE);
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    m_renderer->enableShader("one");
    quad.render(m_renderer.get());
    m_renderer->enableShader("two");
    quad.render(m_renderer.get());
    m_renderer->enableShader("one");
    quad.render(m_renderer.get());
    QCOMPARE(glrecorder::draws().size(), 3);
    QCOMPARE(glrecorder::draws()[0].program, static_cast<unsigned int>(one->programId()));
    QCOMPARE(glrecorder::draws()[1].program, static_cast<unsigned int>(two->programId()));
    QCOMPARE(glrecorder::draws()[2].program, static_cast<unsigned int>(one->programId()));
    QVERIFY(m_renderer->d->userShaderActive);
}

void RendererGlTest::unknownShaderIsTheDefaultOne()
{
    m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    m_renderer->enableShader("look");
    m_renderer->enableShader("no such look");
    QCOMPARE(m_renderer->d->currentProgram, &m_renderer->d->defaultProgram);
    QVERIFY(!m_renderer->d->userShaderActive);
    QCOMPARE(m_renderer->d->userShaders.size(), 2);
    QVERIFY(m_renderer->d->userShaders.contains("no such look"));

    // The highlight shows that the default program is served as such.
    const glpictures::Canvas canvas(4, 4);
    m_renderer->setTexture2d(m_white.get(), 0);
    m_renderer->setHighlightColor(QColor(0, 255, 0, 0));
    Quad quad(0xFF0000FF, -1, -1, 1, 1);
    quad.render(m_renderer.get());
    QCOMPARE(canvas.pixels().pixelColor(1, 1), QColor(255, 255, 0));
}

void RendererGlTest::resetEndsAUserShader()
{
    m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    m_renderer->enableShader("look");
    m_renderer->reset();
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    quad.render(m_renderer.get());
    QCOMPARE(glrecorder::draws().last().program,
             static_cast<unsigned int>(m_renderer->d->defaultProgram.programId()));
    QVERIFY(!m_renderer->d->userShaderActive);
}

void RendererGlTest::enableMatrixPaletteEndsAUserShader()
{
    m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    m_renderer->enableShader("look");
    m_renderer->enableMatrixPalette(true);
    QVERIFY(!m_renderer->d->userShaderActive);
    QVERIFY(m_renderer->d->matrixPaletteEnabled);
    quad.render(m_renderer.get());
    m_renderer->enableShader("look");
    m_renderer->enableMatrixPalette(false);
    QVERIFY(!m_renderer->d->userShaderActive);
    QVERIFY(!m_renderer->d->matrixPaletteEnabled);
    quad.render(m_renderer.get());
    QCOMPARE(glrecorder::draws()[0].program,
             static_cast<unsigned int>(m_renderer->d->matrixPaletteProgram.programId()));
    QCOMPARE(glrecorder::draws()[1].program,
             static_cast<unsigned int>(m_renderer->d->defaultProgram.programId()));
}

void RendererGlTest::enableShaderReleasesTheFormer()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    quad.render(m_renderer.get());
    QVERIFY(current(GL_CURRENT_PROGRAM) != 0);
    m_renderer->enableShader("look");
    QCOMPARE(current(GL_CURRENT_PROGRAM), 0);
}

void RendererGlTest::enableMatrixPaletteReleasesTheFormer()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    quad.render(m_renderer.get());
    QVERIFY(current(GL_CURRENT_PROGRAM) != 0);
    m_renderer->enableMatrixPalette(true);
    QCOMPARE(current(GL_CURRENT_PROGRAM), 0);
}

void RendererGlTest::releaseShaderKeepsItCurrent()
{
    const auto program = m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    m_renderer->enableShader("look");
    quad.render(m_renderer.get());
    m_renderer->releaseShader();
    QCOMPARE(current(GL_CURRENT_PROGRAM), 0);
    quad.render(m_renderer.get());
    QCOMPARE(glrecorder::draws().last().program, static_cast<unsigned int>(program->programId()));
}

void RendererGlTest::drawMatrixIsProjectionViewWorld_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<bool>("indexed");
    QTest::newRow("default") << "default" << false;
    QTest::newRow("default, indexed") << "default" << true;
    QTest::newRow("palette") << "palette" << false;
    QTest::newRow("user") << "user" << false;
    QTest::newRow("user, indexed") << "user" << true;
    // What the flag would send is not what a user program takes.
    QTest::newRow("user, palette enabled") << "user after palette" << false;
}

void RendererGlTest::drawMatrixIsProjectionViewWorld()
{
    QFETCH(QString, program);
    QFETCH(bool, indexed);
    if (program.contains("palette")) {
        m_renderer->enableMatrixPalette(true);
    }
    if (program.startsWith("user")) {
        m_renderer->loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
        m_renderer->enableShader("look");
    }
    // No two of them commute.
    QMatrix4x4 world = translation(1, 2, 3);
    QMatrix4x4 view;
    view.rotate(90, 0, 0, 1);
    QMatrix4x4 projection;
    projection.frustum(-1, 1, -2, 2, 1, 10);
    m_renderer->setTransformation(World, world);
    m_renderer->setTransformation(View, view);
    m_renderer->setTransformation(Projection, projection);

    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    if (indexed) {
        m_renderer->renderWithIndexBuffer(TriangleStrip, quad.vertexBuffer(), quad.indexBuffer(), 0,
                                          -1);
    } else {
        quad.render(m_renderer.get());
    }
    QCOMPARE(glrecorder::draws().size(), 1);
    const QMatrix4x4 matrix = glrecorder::draws().first().matrix;
    // By what becomes of a vertex: the world moves it first.
    const QVector4D vertex(5, 6, 7, 1);
    const QVector4D expected = projection * (view * (world * vertex));
    QVERIFY2((matrix * vertex - expected).length() < 1e-3f,
             qPrintable(QString("%1 off").arg((matrix * vertex - expected).length())));
}

void RendererGlTest::highlightGoesToTheBuiltInPrograms()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    m_renderer->setHighlightColor(QColor(255, 51, 0, 102));
    quad.render(m_renderer.get());
    QCOMPARE(highlightOf(m_renderer->d->defaultProgram.programId()), QColor(255, 51, 0, 102));
    m_renderer->enableMatrixPalette(true);
    m_renderer->setHighlightColor(QColor(0, 255, 51, 0));
    quad.render(m_renderer.get());
    QCOMPARE(highlightOf(m_renderer->d->matrixPaletteProgram.programId()), QColor(0, 255, 51, 0));
    QCOMPARE(highlightOf(m_renderer->d->defaultProgram.programId()), QColor(255, 51, 0, 102));
}

void RendererGlTest::bindShaderDoesNotDraw()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    m_renderer->setTransformation(World, scaling(3));
    m_renderer->releaseShader();
    glrecorder::takeCalls();
    m_renderer->bindShader(quad.vertexBuffer());
    QCOMPARE(glrecorder::draws().size(), 0);
    QCOMPARE(glrecorder::calls().first(),
             QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(quad.vertexBuffer().id()));
    QCOMPARE(glrecorder::calls().filter("glEnableVertexAttribArray").size(), 3);
    const auto program = static_cast<GLuint>(current(GL_CURRENT_PROGRAM));
    QCOMPARE(program, static_cast<GLuint>(m_renderer->d->defaultProgram.programId()));
    GLfloat matrix[16] = {};
    glGetUniformfv(program, glGetUniformLocation(program, "u_viewProjMatrix"), matrix);
    QCOMPARE(matrix[0], 3.0f);
}

void RendererGlTest::renderCalls_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("mode");
    QTest::newRow("list") << 0 << "GL_TRIANGLES";
    QTest::newRow("strip") << 1 << "GL_TRIANGLE_STRIP";
    QTest::newRow("fan") << 2 << "GL_TRIANGLE_FAN";
    QTest::newRow("unknown") << 9 << "GL_POINTS";
}

void RendererGlTest::renderCalls()
{
    QFETCH(int, type);
    QFETCH(QString, mode);
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    glrecorder::takeCalls();
    m_renderer->render(static_cast<PrimitiveListType>(type), quad.vertexBuffer(), 1, 3);
    QCOMPARE(
        glrecorder::calls(),
        (QStringList{
            QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(quad.vertexBuffer().id()),
            "glVertexAttribPointer(0, 3, GL_FLOAT, false, 24, 0)", "glEnableVertexAttribArray(0)",
            "glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, true, 24, 12)",
            "glEnableVertexAttribArray(1)", "glVertexAttribPointer(2, 2, GL_FLOAT, false, 24, 16)",
            "glEnableVertexAttribArray(2)", QString("glDrawArrays(%1, 1, 3)").arg(mode)}));
}

void RendererGlTest::renderTakesAPartOfTheBuffer()
{
    const glpictures::Canvas canvas(16, 16);
    m_renderer->setTexture2d(m_white.get(), 0);
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    // The strip without its first vertex is the half at the right and the bottom.
    m_renderer->render(TriangleStrip, quad.vertexBuffer(), 1, 3);
    const QImage pixels = canvas.pixels();
    QCOMPARE(pixels.pixel(14, 8), qRgba(255, 255, 255, 255));
    QCOMPARE(pixels.pixel(1, 8), CLEAR);
}

void RendererGlTest::indexedCalls_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("first");
    QTest::addColumn<int>("count");
    QTest::addColumn<QString>("call");
    QTest::newRow("all, 16 bits") << 2 << 0 << -1
                                  << "glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_SHORT, 0)";
    QTest::newRow("all, 8 bits") << 1 << 0 << -1
                                 << "glDrawElements(GL_TRIANGLES, 6, GL_UNSIGNED_BYTE, 0)";
    QTest::newRow("a part, 8 bits")
        << 1 << 3 << 3 << "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_BYTE, 3)";
    QTest::newRow("a part, 16 bits")
        << 2 << 3 << 3 << "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_SHORT, 6)";
    QTest::newRow("a part, 32 bits")
        << 3 << 3 << 3 << "glDrawElements(GL_TRIANGLES, 3, GL_UNSIGNED_INT, 12)";
    QTest::newRow("none") << 2 << 0 << 0 << "glDrawElements(GL_TRIANGLES, 0, GL_UNSIGNED_SHORT, 0)";
}

void RendererGlTest::indexedCalls()
{
    QFETCH(int, type);
    QFETCH(int, first);
    QFETCH(int, count);
    QFETCH(QString, call);
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    IndexBuffer indices;
    indices.createIndexBuffer(6, static_cast<IndexBuffer::IndexTypeEnum>(type));
    std::memset(indices.lock(), 0, static_cast<size_t>(6 * indices.typeSize()));
    indices.unlock();
    glrecorder::takeCalls();
    m_renderer->renderWithIndexBuffer(TriangleList, quad.vertexBuffer(), indices, first, count);
    QCOMPARE(glrecorder::calls().first(),
             QString("glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, %1)").arg(indices.id()));
    QCOMPARE(glrecorder::calls().value(1),
             QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(quad.vertexBuffer().id()));
    QCOMPARE(glrecorder::calls().last(), call);
}

void RendererGlTest::indexedDrawsTheWholeBuffer()
{
    const glpictures::Canvas canvas(16, 16);
    m_renderer->setTexture2d(m_white.get(), 0);
    Quad quad(0xFF2010FF, -1, -1, 1, 1);
    m_renderer->renderWithIndexBuffer(quad.primitiveType(), quad.vertexBuffer(), quad.indexBuffer(),
                                      0, -1);
    COMPARE_PICTURES("indexedDrawsTheWholeBuffer", canvas.pixels(),
                     filled(16, 16, QColor(0xFF, 0x10, 0x20)), 0, 0.0);
}

void RendererGlTest::onlyIndexedDrawsRelease()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    m_renderer->render(TriangleStrip, quad.vertexBuffer(), 0, 4);
    QCOMPARE(current(GL_CURRENT_PROGRAM),
             static_cast<GLint>(m_renderer->d->defaultProgram.programId()));
    m_renderer->renderWithIndexBuffer(TriangleStrip, quad.vertexBuffer(), quad.indexBuffer(), 0,
                                      -1);
    QCOMPARE(current(GL_CURRENT_PROGRAM), 0);
    // It was bound for the draw, and is for the next one.
    QCOMPARE(m_renderer->d->currentProgram, &m_renderer->d->defaultProgram);
    QCOMPARE(glrecorder::draws().last().program,
             static_cast<unsigned int>(m_renderer->d->defaultProgram.programId()));
}

void RendererGlTest::indexBufferIsBoundWhenItChanges()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    Quad other(0xFFFFFFFF, -1, -1, 1, 1);
    const auto boundIndices = [this, &quad](IndexBuffer& indices) {
        glrecorder::takeCalls();
        m_renderer->renderWithIndexBuffer(TriangleStrip, quad.vertexBuffer(), indices, 0, -1);
        return glrecorder::calls().filter("GL_ELEMENT_ARRAY_BUFFER");
    };
    const QStringList first = {
        QString("glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, %1)").arg(quad.indexBuffer().id())};
    const QStringList second = {
        QString("glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, %1)").arg(other.indexBuffer().id())};
    QCOMPARE(boundIndices(quad.indexBuffer()), first);
    QCOMPARE(boundIndices(quad.indexBuffer()), QStringList());
    QCOMPARE(boundIndices(other.indexBuffer()), second);
    QCOMPARE(boundIndices(quad.indexBuffer()), first);
    // Another vertex buffer is no reason, and a draw without indices forgets nothing.
    quad.render(m_renderer.get());
    other.render(m_renderer.get());
    QCOMPARE(boundIndices(quad.indexBuffer()), QStringList());
    m_renderer->reset();
    QCOMPARE(boundIndices(quad.indexBuffer()), first);
}

void RendererGlTest::lastVertexBufferIsRecorded()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    Quad other(0xFFFFFFFF, -1, -1, 1, 1);
    quad.render(m_renderer.get());
    QCOMPARE(m_renderer->d->lastVertexBuffer, quad.vertexBuffer().id());
    m_renderer->renderWithIndexBuffer(TriangleStrip, other.vertexBuffer(), quad.indexBuffer(), 0,
                                      -1);
    QCOMPARE(m_renderer->d->lastVertexBuffer, other.vertexBuffer().id());
    // Recorded only: a second draw from the same buffer points the attributes at it again.
    glrecorder::takeCalls();
    other.render(m_renderer.get());
    QCOMPARE(glrecorder::calls().filter("glVertexAttribPointer").size(), 3);
}

void RendererGlTest::drawSeesTextureAndBlending()
{
    Quad quad(0xFF332211, -1, -1, 1, 1);
    m_renderer->setTexture2d(m_white.get(), 0);
    m_renderer->setBlending(BlendInvertAdd);
    quad.render(m_renderer.get());
    m_renderer->setTexture2d(nullptr, 0);
    m_renderer->setBlending(BlendNone);
    quad.render(m_renderer.get());
    const QVector<glrecorder::Draw> draws = glrecorder::draws();
    QCOMPARE(draws[0].texture, m_white->textureId());
    QVERIFY(draws[0].blend);
    QCOMPARE(draws[0].blendSource, static_cast<unsigned int>(GL_ONE_MINUS_SRC_COLOR));
    QCOMPARE(draws[0].blendDestination, static_cast<unsigned int>(GL_ONE));
    QCOMPARE(draws[0].color(), 0xFF332211u);
    QCOMPARE(draws[1].texture, 0u);
    QVERIFY(!draws[1].blend);
}

void RendererGlTest::highlightIsAddedAndClamped()
{
    const glpictures::Canvas canvas(4, 4);
    const auto texture = makeTexture(filled(1, 1, QColor(100, 200, 50, 100)));
    m_renderer->setTexture2d(texture.get(), 0);
    m_renderer->setHighlightColor(QColor(50, 100, 0, 20));
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    quad.render(m_renderer.get());
    QCOMPARE(canvas.pixels().pixelColor(2, 2), QColor(150, 255, 50, 120));
}

void RendererGlTest::userShadersHaveNoHighlight()
{
    const glpictures::Canvas canvas(4, 4);
    const auto texture = makeTexture(filled(1, 1, QColor(100, 110, 50, 100)));
    m_renderer->loadShader("look", VERTEX_FILE, ":/shaders/default_fs.glsl");
    m_renderer->enableShader("look");
    m_renderer->setTexture2d(texture.get(), 0);
    m_renderer->setHighlightColor(QColor(50, 100, 60, 20));
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    quad.render(m_renderer.get());
    QCOMPARE(canvas.pixels().pixelColor(2, 2), QColor(100, 110, 50, 100));
}

namespace {

/// A strip over the square from (0, 0) to (size, size), every vertex with these weights and
/// indices of palette matrices.
VertexBuffer paletteSquare(float size, const QVector3D& weights, const QVector3D& indices)
{
    VertexDeclaration declaration;
    declaration.addComponent(0, 0, Float3, Position, 0);
    declaration.addComponent(1, 12, UByte4, Color, 0);
    declaration.addComponent(2, 16, Float2, TexCoord0, 0);
    declaration.addComponent(3, 24, Float3, static_cast<VertexFormatFlag>(64), 0);
    declaration.addComponent(4, 36, Float3, static_cast<VertexFormatFlag>(128), 0);
    VertexBuffer buffer;
    buffer.createVertexBuffer(4, declaration);
    auto* bytes = static_cast<unsigned char*>(buffer.lock());
    for (int i = 0; i < 4; ++i) {
        const float numbers[] = {i / 2 ? size : 0.0f, i % 2 ? size : 0.0f, 0.0f};
        const unsigned char red[] = {255, 0, 0, 255};
        std::memcpy(bytes + 48 * i, numbers, 12);
        std::memcpy(bytes + 48 * i + 12, red, 4);
        for (int k = 0; k < 3; ++k) {
            const float weight = weights[k];
            const float index = indices[k];
            std::memcpy(bytes + 48 * i + 24 + 4 * k, &weight, 4);
            std::memcpy(bytes + 48 * i + 36 + 4 * k, &index, 4);
        }
    }
    buffer.unlock();
    return buffer;
}

/// A rectangle of pixels on nothing.
QImage rectangle(int left, int right, int bottom, int top, QRgb color)
{
    QImage image = filled(16, 16, Qt::transparent);
    for (int y = bottom; y < top; ++y) {
        for (int x = left; x < right; ++x) {
            image.setPixel(x, y, color);
        }
    }
    return image;
}

} // namespace

void RendererGlTest::paletteMovesTheVertices()
{
    const glpictures::Canvas canvas(16, 16);
    VertexBuffer square =
        paletteSquare(8 / 9.0f, QVector3D(0.5f, 0.375f, 0.125f), QVector3D(2, 8, 0));
    m_renderer->enableMatrixPalette(true);
    m_renderer->setMatrixToMatrixPalette(2, translation(-1, -1, 0));
    m_renderer->setMatrixToMatrixPalette(8, translation(1 / 3.0f, 0, 0));
    m_renderer->setMatrixToMatrixPalette(0, scaling(2));
    m_renderer->setTransformation(World, translation(0.125f, 0, 0));
    m_renderer->setTexture2d(m_white.get(), 0);
    m_renderer->setHighlightColor(QColor(0, 51, 0, 0));
    m_renderer->render(TriangleStrip, square, 0, 4);
    // The weighted mean takes x to 1.125 x − 0.375 and y to 1.125 y − 0.5, and then the world moves
    // it by a pixel.
    COMPARE_PICTURES("paletteMovesTheVertices", canvas.pixels(),
                     rectangle(6, 14, 4, 12, qRgb(255, 51, 0)), 0, 0.0);
}

void RendererGlTest::paletteTakesNineMatrices()
{
    VertexBuffer square = paletteSquare(0.25f, QVector3D(1, 0, 0), QVector3D(0, 0, 0));
    m_renderer->enableMatrixPalette(true);
    for (unsigned int i = 0; i < 9; ++i) {
        m_renderer->setMatrixToMatrixPalette(i, translation(static_cast<float>(i), 0, 0));
    }
    m_renderer->render(TriangleStrip, square, 0, 4);
    const GLuint program = m_renderer->d->matrixPaletteProgram.programId();
    for (int i = 0; i < 9; ++i) {
        GLfloat matrix[16] = {};
        const QByteArray name = "u_matrixPalette[" + QByteArray::number(i) + "]";
        glGetUniformfv(program, glGetUniformLocation(program, name.constData()), matrix);
        QCOMPARE(matrix[12], static_cast<float>(i));
    }
}

void RendererGlTest::coplanarDrawsCover()
{
    // The show lays its pictures over each other, all in the plane z = 0.
    const glpictures::Canvas canvas(4, 4);
    m_renderer->setTexture2d(m_white.get(), 0);
    Quad below(0xFF0000FF, -1, -1, 1, 1);
    Quad above(0xFF00FF00, -1, -1, 1, 1);
    below.render(m_renderer.get());
    above.render(m_renderer.get());
    QCOMPARE(canvas.pixels().pixelColor(1, 1), QColor(0, 255, 0));
}

void RendererGlTest::fatalEnds_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("message");
    const QString broken = m_dir.filePath("broken.glsl");
    QTest::newRow("shader file not there") << "load text"
                                           << "/nowhere/none.glsl"
                                           << "Shader not opened. /nowhere/none.glsl";
    QTest::newRow("user vertex shader not there") << "user vertex"
                                                  << ":/shaders/none.glsl"
                                                  << "Shader not opened. :/shaders/none.glsl";
    QTest::newRow("user fragment shader not there") << "user fragment"
                                                    << ":/shaders/none.glsl"
                                                    << "Shader not opened. :/shaders/none.glsl";
    QTest::newRow("broken user vertex shader")
        << "user vertex" << broken << "Shader compilation failed. " + broken;
    QTest::newRow("broken user fragment shader")
        << "user fragment" << broken << "Shader compilation failed. " + broken;
    QTest::newRow("built-in shaders not there")
        << "init" << QString() << "Shader not opened. :/shaders/default_vs.glsl";
    QTest::newRow("broken default vertex shader")
        << "init" << QString(BROKEN_SHADERS "/broken-vertex.rcc")
        << "Shader compilation failed. shaders/default_vs.glsl";
    QTest::newRow("broken palette vertex shader")
        << "init" << QString(BROKEN_SHADERS "/broken-palette.rcc")
        << "Shader compilation failed. shaders/matrixpalette_vs.glsl";
}

void RendererGlTest::fatalEnds()
{
    QFETCH(QString, action);
    QFETCH(QString, file);
    QFETCH(QString, message);
    QFile broken(m_dir.filePath("broken.glsl"));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write("void main()\n{\n    this is no shader\n}\n");
    broken.close();

    const ChildEnd end = runChild(action, file);
    QVERIFY(end.finished);
    QVERIFY2(end.lines.contains(message), qPrintable(end.lines.join("\n")));
    QVERIFY2(end.crashed, qPrintable(QString("exit code %1").arg(end.exitCode)));
}

void RendererGlTest::goodShadersAreNotFatal()
{
    // Were this child to end like the others, they would show nothing about their shaders.
    const ChildEnd end = runChild("user fragment", FRAGMENT_FILE);
    QVERIFY(end.finished);
    QVERIFY2(!end.crashed && end.exitCode == 0, qPrintable(end.lines.join("\n")));
    QCOMPARE(end.lines.filter("Shader "), QStringList());
}

void RendererGlTest::brokenBuiltInFragmentShaderIsNotFatal()
{
    const ChildEnd end = runChild("init", BROKEN_SHADERS "/broken-fragment.rcc");
    QVERIFY(end.finished);
    QVERIFY2(!end.crashed && end.exitCode == 0, qPrintable(end.lines.join("\n")));
    // The toolkit's own report of it.
    QVERIFY2(!end.lines.filter("QGLShader::compile").isEmpty(), qPrintable(end.lines.join("\n")));
}

/// Takes the embedded files away, and puts a set in their place.
static bool replaceShaders(const QString& set)
{
    Q_CLEANUP_RESOURCE(pixmoth);
    return set.isEmpty() || QResource::registerResource(set);
}

/// 0 where the attributes of a program drawn with are where vertex buffers look for them, although
/// its shader names them in another order, by which a driver likes to number them.
static int findAttributes(Renderer& renderer, const QString& program)
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    renderer.reset();
    if (program == "palette") {
        renderer.enableMatrixPalette(true);
    } else if (program == "user") {
        renderer.loadShader("look", VERTEX_FILE, FRAGMENT_FILE);
        renderer.enableShader("look");
    }
    quad.render(&renderer);
    const auto drawnWith = static_cast<GLuint>(current(GL_CURRENT_PROGRAM));
    const int number = program == "palette" ? 5 : 3;
    const char* const names[] = {"a_pos", "a_color", "a_tex0", "a_matrixWeights",
                                 "a_matrixIndices"};
    for (int i = 0; i < number; ++i) {
        const int location = glGetAttribLocation(drawnWith, names[i]);
        if (location != i) {
            qWarning("%s is at %i", names[i], location);
            return 4;
        }
    }
    return 0;
}

/// What a child does, which is to die of it or to return 0.
static int act(const QString& action, const QString& file)
{
    GlWindow window;
    if (!window.isReady()) {
        return 2;
    }
    if (action == "load text") {
        g_loadShader(file);
        return 0;
    }
    const bool locations = action.startsWith("locations of ");
    if ((action == "init" || locations) && !replaceShaders(file)) {
        return 3;
    }
    Renderer renderer;
    renderer.init();
    if (locations) {
        return findAttributes(renderer, action.section(' ', -1));
    }
    if (action == "user vertex") {
        renderer.loadShader("look", file, FRAGMENT_FILE);
    } else if (action == "user fragment") {
        renderer.loadShader("look", VERTEX_FILE, file);
    }
    return 0;
}

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    if (qEnvironmentVariableIsSet(ACTION)) {
        return act(qEnvironmentVariable(ACTION), qEnvironmentVariable(SHADER_FILE));
    }
    RendererGlTest test;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&test, argc, argv);
}

#include "renderergltest.moc"
