#include "graphics/renderer_p.h"

#include "graphics/camera.h"
#include "graphics/matrices.h"
#include "graphics/texture2d.h"
#include "support/glrecorder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryFile>
#include <QTest>

#include <GLES2/gl2.h>

#include <cmath>
#include <memory>

using namespace graphics;

/// What the renderer asks of GL without a program: none of it needs a context.
class RendererTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void enumerationValues();
    void primitiveModes_data();
    void primitiveModes();
    void indexTypes_data();
    void indexTypes();
    void loadShaderEndsEveryLine_data();
    void loadShaderEndsEveryLine();
    void embeddedShadersAreReadWhole_data();
    void embeddedShadersAreReadWhole();
    void startsWithoutAProgram();
    void resetCalls();
    void resetCallsForBoundTextures();
    void resetForgetsTheFrame();
    void resetKeepsThePaletteFlag();
    void endDoesNothing();
    void blendings_data();
    void blendings();
    void clearBits_data();
    void clearBits();
    void renderStates_data();
    void renderStates();
    void textureIsBoundOnce();
    void textureIsBoundOncePerSlot();
    void anotherTextureIsBound();
    void noTextureUnbindsOnce_data();
    void noTextureUnbindsOnce();
    void textureIsBoundAgainAfterNone();
    void colorIsKept();
    void contrastIsKept();
    void transformationsAreKeptApart();
    void worldViewFollows();
    void disableTransformationIsIdentity();
    void cameraSetsViewAndProjection();
    void cameraScale_data();
    void cameraScale();
    void cameraAspectRatio_data();
    void cameraAspectRatio();
    void paletteMatricesAreKept();

private:
    std::unique_ptr<Renderer> m_renderer;
};

namespace {

Camera slantedCamera()
{
    Camera camera;
    camera.setPosition(QVector3D(1, 2, 3));
    camera.setTarget(QVector3D(4, -2, 3));
    camera.setUp(QVector3D(0, 0, 1));
    camera.setPlanes(1, 100);
    camera.setAspectRatio(3);
    camera.setFov(45);
    return camera;
}

QString bindTexture(unsigned int id)
{
    return QString("glBindTexture(GL_TEXTURE_2D, %1)").arg(id);
}

QStringList callsOfReset()
{
    return {"glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0)",
            "glBindBuffer(GL_ARRAY_BUFFER, 0)",
            "glBindTexture(GL_TEXTURE_2D, 0)",
            "glEnable(GL_DEPTH_TEST)",
            "glDisable(GL_BLEND)",
            "glDisable(GL_CULL_FACE)",
            "glFrontFace(GL_CW)",
            "glDepthFunc(GL_LEQUAL)"};
}

} // namespace

void RendererTest::init()
{
    glrecorder::start(glrecorder::Fake);
    m_renderer = std::make_unique<Renderer>();
}

void RendererTest::cleanup()
{
    m_renderer.reset();
    QVERIFY2(glrecorder::livingTextures().isEmpty(), "a texture was not deleted");
}

void RendererTest::enumerationValues()
{
    // Users count on the numbers.
    QCOMPARE(static_cast<int>(World), 0);
    QCOMPARE(static_cast<int>(View), 1);
    QCOMPARE(static_cast<int>(Projection), 2);
    QCOMPARE(static_cast<int>(TriangleList), 0);
    QCOMPARE(static_cast<int>(TriangleStrip), 1);
    QCOMPARE(static_cast<int>(TriangleFan), 2);
    QCOMPARE(static_cast<int>(DepthTest), 2);
}

void RendererTest::primitiveModes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<unsigned int>("mode");
    QTest::newRow("list") << 0 << static_cast<unsigned int>(GL_TRIANGLES);
    QTest::newRow("strip") << 1 << static_cast<unsigned int>(GL_TRIANGLE_STRIP);
    QTest::newRow("fan") << 2 << static_cast<unsigned int>(GL_TRIANGLE_FAN);
    QTest::newRow("unknown") << 3 << static_cast<unsigned int>(GL_POINTS);
    QTest::newRow("below zero") << -1 << static_cast<unsigned int>(GL_POINTS);
}

void RendererTest::primitiveModes()
{
    QFETCH(int, type);
    QFETCH(unsigned int, mode);
    QCOMPARE(getOpenGlPrimitiveListEnum(static_cast<PrimitiveListType>(type)), mode);
}

void RendererTest::indexTypes_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<unsigned int>("glType");
    QTest::newRow("8 bits") << 1 << 0x1401u;
    QTest::newRow("16 bits") << 2 << 0x1403u;
    QTest::newRow("32 bits") << 3 << 0x1405u;
    QTest::newRow("unknown") << 4 << 0u;
    QTest::newRow("none") << 0 << 0u;
}

void RendererTest::indexTypes()
{
    QFETCH(int, type);
    QFETCH(unsigned int, glType);
    QCOMPARE(getOpenGlType(static_cast<IndexBuffer::IndexTypeEnum>(type)), glType);
}

void RendererTest::loadShaderEndsEveryLine_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("text");
    QTest::newRow("DOS line ends") << QByteArray("one\r\ntwo\r\n") << "one\ntwo\n";
    QTest::newRow("Unix line ends") << QByteArray("one\ntwo\n") << "one\ntwo\n";
    QTest::newRow("last line not ended") << QByteArray("one\r\ntwo") << "one\ntwo\n";
    QTest::newRow("empty lines") << QByteArray("\r\none\n\n\r\ntwo\n") << "\none\n\n\ntwo\n";
    // The file is opened as text, where carriage returns are dropped wherever they stand.
    QTest::newRow("carriage return within") << QByteArray("one\rtwo\n") << "onetwo\n";
    QTest::newRow("nothing") << QByteArray() << "";
}

void RendererTest::loadShaderEndsEveryLine()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, text);
    QTemporaryFile file;
    QVERIFY(file.open());
    file.write(content);
    file.close();
    QCOMPARE(g_loadShader(file.fileName()), text);
}

void RendererTest::embeddedShadersAreReadWhole_data()
{
    QTest::addColumn<QString>("path");
    const QStringList names = QDir(":/shaders").entryList();
    QVERIFY(names.contains("default_vs.glsl") && names.contains("default_fs.glsl"));
    for (const QString& name : names) {
        QTest::newRow(qPrintable(name)) << ":/shaders/" + name;
    }
}

void RendererTest::embeddedShadersAreReadWhole()
{
    QFETCH(QString, path);
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray content = file.readAll();
    QVERIFY2(content.endsWith("\r\n"), "the shaders are kept with DOS line ends");
    content.replace("\r\n", "\n");
    QCOMPARE(g_loadShader(path), QString::fromLatin1(content));
}

void RendererTest::startsWithoutAProgram()
{
    QVERIFY(m_renderer->d->currentProgram == nullptr);
    QVERIFY(!m_renderer->d->userShaderActive);
    QVERIFY(!m_renderer->d->matrixPaletteEnabled);
    QCOMPARE(m_renderer->d->boundTextures, QVector<unsigned int>(8, 0));
    QCOMPARE(m_renderer->d->aspectRatio, 1.0f);
    QCOMPARE(m_renderer->transformation(World), QMatrix4x4());
    QCOMPARE(m_renderer->getCameraMatrix(), QMatrix4x4());
    // Nothing to release, and so no call that would need a program.
    m_renderer->releaseShader();
    QCOMPARE(glrecorder::calls(), QStringList());
}

void RendererTest::resetCalls()
{
    m_renderer->reset();
    QCOMPARE(glrecorder::calls(), callsOfReset());
}

void RendererTest::resetCallsForBoundTextures()
{
    const Texture2d texture(2, 2, Texture::Nearest);
    m_renderer->setTexture2d(&texture, 0);
    m_renderer->setTexture2d(&texture, 7);
    glrecorder::takeCalls();
    m_renderer->reset();
    const QStringList unbinding = {bindTexture(0), bindTexture(0)};
    QCOMPARE(glrecorder::takeCalls(), callsOfReset() + unbinding);
    m_renderer->reset();
    QCOMPARE(glrecorder::calls(), callsOfReset());
}

void RendererTest::resetForgetsTheFrame()
{
    m_renderer->setColor(Qt::red);
    m_renderer->setHighlightColor(Qt::red);
    m_renderer->setCamera(slantedCamera(), 2);
    m_renderer->setTransformation(World, translation(1, 2, 3));
    m_renderer->d->lastVertexBuffer = 5;
    m_renderer->d->lastIndexBuffer = 6;
    m_renderer->d->userShaderActive = true;
    m_renderer->d->currentProgram = nullptr;

    m_renderer->reset();
    QCOMPARE(m_renderer->color(), QColor::fromRgbF(1, 1, 1, 1));
    QCOMPARE(m_renderer->d->highlightColor, QColor::fromRgbF(0, 0, 0, 0));
    for (TransformationType type : {World, View, Projection}) {
        QCOMPARE(m_renderer->transformation(type), QMatrix4x4());
    }
    QCOMPARE(m_renderer->d->worldView, QMatrix4x4());
    QCOMPARE(m_renderer->getCameraMatrix(), QMatrix4x4());
    QCOMPARE(m_renderer->d->lastVertexBuffer, 0u);
    QCOMPARE(m_renderer->d->lastIndexBuffer, 0u);
    QVERIFY(!m_renderer->d->userShaderActive);
    QCOMPARE(m_renderer->d->currentProgram, &m_renderer->d->defaultProgram);
}

void RendererTest::resetKeepsThePaletteFlag()
{
    m_renderer->enableMatrixPalette(true);
    QCOMPARE(m_renderer->d->currentProgram, &m_renderer->d->matrixPaletteProgram);
    m_renderer->reset();
    QVERIFY(m_renderer->d->matrixPaletteEnabled);
    QCOMPARE(m_renderer->d->currentProgram, &m_renderer->d->defaultProgram);
}

void RendererTest::endDoesNothing()
{
    m_renderer->end();
    QCOMPARE(glrecorder::calls(), QStringList());
}

void RendererTest::blendings_data()
{
    QTest::addColumn<int>("blending");
    QTest::addColumn<QStringList>("calls");
    const QString enable = "glEnable(GL_BLEND)";
    QTest::newRow("none") << 0 << QStringList{"glDisable(GL_BLEND)"};
    QTest::newRow("alpha") << 1
                           << QStringList{enable,
                                          "glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA)"};
    QTest::newRow("additive") << 2 << QStringList{enable, "glBlendFunc(GL_ONE, GL_ONE)"};
    QTest::newRow("inverse additive")
        << 3 << QStringList{enable, "glBlendFunc(GL_ONE_MINUS_SRC_COLOR, GL_ONE)"};
    QTest::newRow("one above the last") << 4 << QStringList();
    QTest::newRow("unknown") << 7 << QStringList();
}

void RendererTest::blendings()
{
    QFETCH(int, blending);
    QFETCH(QStringList, calls);
    m_renderer->setBlending(static_cast<Blending>(blending));
    QCOMPARE(glrecorder::calls(), calls);
}

void RendererTest::clearBits_data()
{
    QTest::addColumn<unsigned int>("flags");
    QTest::addColumn<QString>("call");
    QTest::newRow("nothing is still a call") << 0u << "glClear(0)";
    QTest::newRow("colours") << 1u << "glClear(GL_COLOR_BUFFER_BIT)";
    QTest::newRow("depths") << 2u << "glClear(GL_DEPTH_BUFFER_BIT)";
    QTest::newRow("both") << 3u << "glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT)";
    QTest::newRow("other bits say nothing") << 0xFFFFFFFCu << "glClear(0)";
}

void RendererTest::clearBits()
{
    QFETCH(unsigned int, flags);
    QFETCH(QString, call);
    m_renderer->clear(flags);
    QCOMPARE(glrecorder::calls(), QStringList{call});
}

void RendererTest::renderStates_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<unsigned int>("value");
    QTest::addColumn<QStringList>("calls");
    const QStringList off = {"glDisable(GL_DEPTH_TEST)"};
    QTest::newRow("depth test on") << 2 << 1u << QStringList{"glEnable(GL_DEPTH_TEST)"};
    QTest::newRow("depth test off") << 2 << 0u << off;
    QTest::newRow("only 1 is on") << 2 << 2u << off;
    QTest::newRow("state 0") << 0 << 1u << QStringList();
    QTest::newRow("state 1") << 1 << 1u << QStringList();
    QTest::newRow("state 3") << 3 << 0u << QStringList();
}

void RendererTest::renderStates()
{
    QFETCH(int, state);
    QFETCH(unsigned int, value);
    QFETCH(QStringList, calls);
    m_renderer->setRenderState(static_cast<RenderStateEnum>(state), value);
    QCOMPARE(glrecorder::calls(), calls);
}

void RendererTest::textureIsBoundOnce()
{
    const Texture2d texture(2, 2, Texture::Nearest);
    const Texture2d copy(texture);
    glrecorder::takeCalls();
    m_renderer->setTexture2d(&texture, 0);
    m_renderer->setTexture2d(&texture, 0);
    // Another handle on the same GL texture.
    m_renderer->setTexture2d(&copy, 0);
    QCOMPARE(glrecorder::calls(), QStringList{bindTexture(texture.textureId())});
}

void RendererTest::textureIsBoundOncePerSlot()
{
    const Texture2d texture(2, 2, Texture::Nearest);
    glrecorder::takeCalls();
    for (unsigned int slot = 0; slot < 8; ++slot) {
        m_renderer->setTexture2d(&texture, slot);
        QCOMPARE(glrecorder::takeCalls(), QStringList{bindTexture(texture.textureId())});
    }
    for (unsigned int slot = 0; slot < 8; ++slot) {
        m_renderer->setTexture2d(&texture, slot);
    }
    QCOMPARE(glrecorder::calls(), QStringList());
}

void RendererTest::anotherTextureIsBound()
{
    const Texture2d first(2, 2, Texture::Nearest);
    const Texture2d second(2, 2, Texture::Nearest);
    glrecorder::takeCalls();
    m_renderer->setTexture2d(&first, 1);
    m_renderer->setTexture2d(&second, 1);
    m_renderer->setTexture2d(&first, 1);
    QCOMPARE(glrecorder::calls(),
             (QStringList{bindTexture(first.textureId()), bindTexture(second.textureId()),
                          bindTexture(first.textureId())}));
}

void RendererTest::noTextureUnbindsOnce_data()
{
    QTest::addColumn<bool>("null");
    QTest::newRow("null") << true;
    QTest::newRow("an empty one") << false;
}

void RendererTest::noTextureUnbindsOnce()
{
    QFETCH(bool, null);
    const Texture2d empty;
    const Texture2d* none = null ? nullptr : &empty;
    m_renderer->setTexture2d(none, 2);
    QCOMPARE(glrecorder::calls(), QStringList());

    const Texture2d texture(2, 2, Texture::Nearest);
    m_renderer->setTexture2d(&texture, 2);
    glrecorder::takeCalls();
    m_renderer->setTexture2d(none, 3);
    QCOMPARE(glrecorder::calls(), QStringList());
    m_renderer->setTexture2d(none, 2);
    m_renderer->setTexture2d(none, 2);
    QCOMPARE(glrecorder::calls(), QStringList{bindTexture(0)});
}

void RendererTest::textureIsBoundAgainAfterNone()
{
    const Texture2d texture(2, 2, Texture::Nearest);
    m_renderer->setTexture2d(&texture, 0);
    m_renderer->setTexture2d(nullptr, 0);
    glrecorder::takeCalls();
    m_renderer->setTexture2d(&texture, 0);
    QCOMPARE(glrecorder::calls(), QStringList{bindTexture(texture.textureId())});
}

void RendererTest::colorIsKept()
{
    const QColor color = QColor::fromRgbF(0.1, 0.2, 0.3, 0.4);
    m_renderer->setColor(color);
    QCOMPARE(m_renderer->color(), color);
    m_renderer->setHighlightColor(Qt::green);
    QCOMPARE(m_renderer->color(), color);
    QCOMPARE(glrecorder::calls(), QStringList());
}

void RendererTest::contrastIsKept()
{
    QCOMPARE(m_renderer->d->contrast, 1.0f);
    m_renderer->setContrast(0.25f);
    QCOMPARE(m_renderer->d->contrast, 0.25f);
}

void RendererTest::transformationsAreKeptApart()
{
    m_renderer->setTransformation(World, translation(1, 0, 0));
    m_renderer->setTransformation(View, translation(2, 0, 0));
    m_renderer->setTransformation(Projection, translation(3, 0, 0));
    QCOMPARE(m_renderer->transformation(World), translation(1, 0, 0));
    QCOMPARE(m_renderer->transformation(View), translation(2, 0, 0));
    QCOMPARE(m_renderer->transformation(Projection), translation(3, 0, 0));
}

void RendererTest::worldViewFollows()
{
    m_renderer->setTransformation(World, translation(1, 2, 3));
    QCOMPARE(m_renderer->d->worldView, translation(1, 2, 3));
    m_renderer->setTransformation(View, scaling(2));
    QMatrix4x4 viewAfterWorld = scaling(2);
    viewAfterWorld.translate(1, 2, 3);
    QCOMPARE(m_renderer->d->worldView, viewAfterWorld);
    m_renderer->setTransformation(Projection, translation(7, 7, 7));
    QCOMPARE(m_renderer->d->worldView, viewAfterWorld);
}

void RendererTest::disableTransformationIsIdentity()
{
    m_renderer->setTransformation(World, translation(1, 2, 3));
    m_renderer->setTransformation(View, scaling(2));
    m_renderer->setTransformation(Projection, translation(7, 7, 7));
    m_renderer->disableTransformation(View);
    QCOMPARE(m_renderer->transformation(View), QMatrix4x4());
    QCOMPARE(m_renderer->d->worldView, translation(1, 2, 3));
    m_renderer->disableTransformation(Projection);
    QCOMPARE(m_renderer->transformation(Projection), QMatrix4x4());
    QCOMPARE(m_renderer->transformation(World), translation(1, 2, 3));
    m_renderer->disableTransformation(World);
    QCOMPARE(m_renderer->d->worldView, QMatrix4x4());
}

void RendererTest::cameraSetsViewAndProjection()
{
    const Camera camera = slantedCamera();
    QMatrix4x4 view;
    QMatrix4x4 projection;
    camera.buildViewMatrix(&view);
    camera.buildProjectionMatrix(&projection, 1);

    m_renderer->setTransformation(World, translation(1, 2, 3));
    m_renderer->setCamera(camera, 1);
    QCOMPARE(m_renderer->transformation(View), view);
    QCOMPARE(m_renderer->transformation(Projection), projection);
    QCOMPARE(m_renderer->transformation(World), translation(1, 2, 3));
    QCOMPARE(m_renderer->d->worldView, view * translation(1, 2, 3));
    // The other way round from what is drawn with.
    QCOMPARE(m_renderer->getCameraMatrix(), view * projection);
    QVERIFY(!qFuzzyCompare(view * projection, projection * view));
}

void RendererTest::cameraScale_data()
{
    QTest::addColumn<float>("scale");
    QTest::newRow("none") << 1.0f;
    QTest::newRow("double") << 2.0f;
    QTest::newRow("half") << 0.5f;
}

void RendererTest::cameraScale()
{
    QFETCH(float, scale);
    m_renderer->setCamera(slantedCamera(), scale);
    const QMatrix4x4 scaled = m_renderer->transformation(View);
    QMatrix4x4 view;
    slantedCamera().buildViewMatrix(&view);
    // The world grows around its origin before it is looked at.
    for (const QVector3D& point : {QVector3D(0, 0, 0), QVector3D(1, 0, 0), QVector3D(0, 1, 0),
                                   QVector3D(0, 0, 1), QVector3D(4, -2, 3)}) {
        const QVector3D difference = scaled * point - view * (point * scale);
        QVERIFY2(difference.length() < 1e-4f, qPrintable(QString::number(difference.length())));
    }
    QVERIFY(qFuzzyCompare(m_renderer->getCameraMatrix(),
                          scaled * m_renderer->transformation(Projection)));
}

void RendererTest::cameraAspectRatio_data()
{
    QTest::addColumn<float>("ratio");
    QTest::addColumn<float>("used");
    QTest::newRow("the renderer's") << 2.0f << 2.0f;
    QTest::newRow("0 leaves it to the camera") << 0.0f << 3.0f;
}

void RendererTest::cameraAspectRatio()
{
    QFETCH(float, ratio);
    QFETCH(float, used);
    m_renderer->setAspectRatio(ratio);
    m_renderer->setCamera(slantedCamera(), 1);
    const QVector3D edge =
        m_renderer->transformation(Projection) * QVector3D(std::tan(0.25f) * used, 0, -1);
    QVERIFY2(std::abs(edge.x() - 1) < 1e-4f, qPrintable(QString::number(edge.x())));
}

void RendererTest::paletteMatricesAreKept()
{
    m_renderer->setMatrixToMatrixPalette(0, scaling(2));
    m_renderer->setMatrixToMatrixPalette(8, scaling(3));
    QCOMPARE(m_renderer->d->matrixPalette[0], scaling(2));
    QCOMPARE(m_renderer->d->matrixPalette[8], scaling(3));
    QCOMPARE(m_renderer->d->matrixPalette[4], QMatrix4x4());
}

QTEST_GUILESS_MAIN(RendererTest)
#include "renderertest.moc"
