#include "graphics/rendertarget.h"

#include "graphics/quad.h"
#include "graphics/renderer.h"
#include "support/glpictures.h"
#include "support/glrecorder.h"
#include "support/glwindow.h"
#include "support/picturecompare.h"

#include <QGLFramebufferObject>
#include <QPainter>
#include <QTest>

#include <memory>

using namespace graphics;

using Painting = void (*)(QPainter&);
Q_DECLARE_METATYPE(Painting)

class RenderTargetGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void neverMadeMakesNoCall();
    void isAsLargeAsTold();
    void initCalls();
    void texturesAreFilteredLinearly();
    void bindSetsTheViewport();
    void releaseBindsTheWindow();
    void destructorDeletesBoth();
    void destructorTakesTheTextureFromItsHandles();
    void secondInitForgetsTheFirst();
    void painterDraws_data();
    void painterDraws();
    void topOfThePainterIsTheTopOfTheTexture();

private:
    std::unique_ptr<GlWindow> m_window;
};

namespace {

GLint current(GLenum name)
{
    GLint value = -1;
    glGetIntegerv(name, &value);
    return value;
}

QVector<int> viewport()
{
    GLint values[4] = {};
    glGetIntegerv(GL_VIEWPORT, values);
    return {values[0], values[1], values[2], values[3]};
}

/// What a painter put into the target, its first row at the painter's top.
QImage painted(const RenderTarget& target)
{
    return glpictures::textureTexels(target.textureId(), target.width(), target.height())
        .mirrored();
}

/// Everything that both rasterisers put on the same pixels.
void paintPicture(QPainter& painter)
{
    painter.fillRect(0, 0, 120, 80, QColor(20, 40, 60));
    painter.fillRect(10, 5, 50, 30, QColor(250, 128, 3));
    painter.fillRect(0, 0, 7, 3, Qt::white);
    painter.fillRect(40, 20, 60, 50, QColor(0, 200, 255, 100));
    painter.setOpacity(0.5);
    painter.fillRect(90, 60, 30, 20, Qt::red);
    painter.setOpacity(1.0);
    painter.setCompositionMode(QPainter::CompositionMode_Plus);
    painter.fillRect(5, 50, 40, 20, QColor(60, 120, 200));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    QImage sprite(16, 8, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 16; ++x) {
            sprite.setPixelColor(x, y, QColor(x * 16, y * 32, 255 - x * 10, 255));
        }
    }
    painter.drawImage(70, 10, sprite);
}

void paintLines(QPainter& painter)
{
    painter.fillRect(0, 0, 120, 80, Qt::black);
    painter.setPen(QPen(QColor(255, 220, 180), 6));
    painter.drawLine(10, 10, 110, 45);
    painter.drawLine(15, 70, 90, 30);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(40, 90, 250));
    painter.drawEllipse(70, 40, 36, 30);
}

} // namespace

void RenderTargetGlTest::initTestCase()
{
    m_window = std::make_unique<GlWindow>();
    QVERIFY2(m_window->isReady(), "there is no GL context");
}

void RenderTargetGlTest::init()
{
    m_window->makeCurrent();
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    // A painter on a framebuffer paints nothing while a vertex buffer is bound.
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glViewport(0, 0, 800, 480);
    glrecorder::start(glrecorder::Record);
}

void RenderTargetGlTest::neverMadeMakesNoCall()
{
    {
        const RenderTarget target;
        QVERIFY(target.fbo() == nullptr);
        QCOMPARE(target.texture().textureId(), 0u);
    }
    QCOMPARE(glrecorder::calls(), QStringList());
}

void RenderTargetGlTest::isAsLargeAsTold()
{
    RenderTarget target;
    target.init(120, 80);
    QCOMPARE(target.width(), 120);
    QCOMPARE(target.height(), 80);
    QCOMPARE(target.fbo()->size(), QSize(120, 80));
    QCOMPARE(target.fbo()->attachment(), QGLFramebufferObject::NoAttachment);
    QVERIFY(target.textureId() != 0);
    QCOMPARE(target.textureId(), static_cast<unsigned int>(target.fbo()->texture()));
    QCOMPARE(target.texture().textureId(), target.textureId());
}

void RenderTargetGlTest::initCalls()
{
    RenderTarget target;
    target.init(120, 80);
    QCOMPARE(glrecorder::calls(),
             (QStringList{QString("glBindTexture(GL_TEXTURE_2D, %1)").arg(target.textureId()),
                          "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR)",
                          "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR)",
                          "glBindTexture(GL_TEXTURE_2D, 0)"}));
}

void RenderTargetGlTest::texturesAreFilteredLinearly()
{
    RenderTarget target;
    target.init(120, 80);
    QCOMPARE(current(GL_TEXTURE_BINDING_2D), 0);
    target.texture().bind();
    for (GLenum name : {GL_TEXTURE_MAG_FILTER, GL_TEXTURE_MIN_FILTER}) {
        GLint value = 0;
        glGetTexParameteriv(GL_TEXTURE_2D, name, &value);
        QCOMPARE(value, GL_LINEAR);
    }
    target.texture().unbind();
}

void RenderTargetGlTest::bindSetsTheViewport()
{
    RenderTarget target;
    target.init(120, 80);
    target.bind();
    QCOMPARE(viewport(), (QVector<int>{0, 0, 120, 80}));
    QCOMPARE(current(GL_FRAMEBUFFER_BINDING), static_cast<GLint>(target.fbo()->handle()));
    glClearColor(1, 0.5f, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT);
    target.release();
    QCOMPARE(painted(target).pixelColor(119, 79), QColor(255, 128, 0));
}

void RenderTargetGlTest::releaseBindsTheWindow()
{
    RenderTarget target;
    target.init(120, 80);
    target.bind();
    target.release();
    QCOMPARE(current(GL_FRAMEBUFFER_BINDING), 0);
    // The viewport is the caller's to set.
    QCOMPARE(viewport(), (QVector<int>{0, 0, 120, 80}));
}

void RenderTargetGlTest::destructorDeletesBoth()
{
    auto target = std::make_unique<RenderTarget>();
    target->init(120, 80);
    const unsigned int texture = target->textureId();
    const unsigned int framebuffer = target->fbo()->handle();
    QVERIFY(glIsTexture(texture));
    QVERIFY(glIsFramebuffer(framebuffer));
    glrecorder::takeCalls();
    target.reset();
    QVERIFY(!glIsTexture(texture));
    QVERIFY(!glIsFramebuffer(framebuffer));
    QCOMPARE(glrecorder::calls(), QStringList{QString("glDeleteTextures(%1)").arg(texture)});
}

void RenderTargetGlTest::destructorTakesTheTextureFromItsHandles()
{
    auto target = std::make_unique<RenderTarget>();
    target->init(120, 80);
    const Texture2d kept = target->texture();
    glrecorder::takeCalls();
    target.reset();
    // The framebuffer's own deletion, not the handle's.
    QCOMPARE(glrecorder::calls(), QStringList());
    QVERIFY(!glIsTexture(kept.textureId()));
}

void RenderTargetGlTest::secondInitForgetsTheFirst()
{
    RenderTarget target;
    target.init(120, 80);
    const std::unique_ptr<QGLFramebufferObject> first(target.fbo());
    const GLuint texture = target.textureId();
    target.init(40, 30);
    QVERIFY(target.fbo() != first.get());
    QCOMPARE(target.width(), 40);
    // Whoever took it has it still. Nobody took its texture.
    QVERIFY(glIsFramebuffer(first->handle()));
    QCOMPARE(first->size(), QSize(120, 80));
    QVERIFY(!glIsTexture(texture));
    const Texture2d taken = target.texture();
    const std::unique_ptr<QGLFramebufferObject> second(target.fbo());
    target.init(20, 10);
    QVERIFY(glIsTexture(taken.textureId()));
}

void RenderTargetGlTest::painterDraws_data()
{
    QTest::addColumn<Painting>("paint");
    QTest::addColumn<int>("maximum");
    QTest::addColumn<double>("mean");
    QTest::newRow("rectangles and pictures") << &paintPicture << 2 << 0.2;
    // At the rims one may have a pixel that the other has not.
    QTest::newRow("slanted lines") << &paintLines << 255 << 1.5;
}

void RenderTargetGlTest::painterDraws()
{
    QFETCH(Painting, paint);
    QFETCH(int, maximum);
    QFETCH(double, mean);
    RenderTarget target;
    target.init(120, 80);
    QPainter painter(target.fbo());
    paint(painter);
    painter.end();
    QImage expected(120, 80, QImage::Format_RGB32);
    QPainter raster(&expected);
    paint(raster);
    raster.end();
    COMPARE_PICTURES(QString("painterDraws ") + QTest::currentDataTag(), painted(target), expected,
                     maximum, mean);
}

void RenderTargetGlTest::topOfThePainterIsTheTopOfTheTexture()
{
    RenderTarget target;
    target.init(120, 80);
    QPainter painter(target.fbo());
    painter.fillRect(0, 0, 120, 40, Qt::red);
    painter.fillRect(0, 40, 120, 40, Qt::blue);
    painter.end();
    const QImage texels = glpictures::textureTexels(target.textureId(), 120, 80);
    QCOMPARE(texels.pixelColor(60, 79), QColor(Qt::red));
    QCOMPARE(texels.pixelColor(60, 0), QColor(Qt::blue));

    // So it stands upright on a quad, whose v = 1 is at its top.
    Renderer renderer;
    renderer.init();
    renderer.reset();
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glViewport(0, 0, 800, 480);
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    renderer.clear(3);
    renderer.setTexture2d(&target.texture(), 0);
    quad.render(&renderer);
    const QImage window = m_window->pixels();
    QCOMPARE(window.pixelColor(400, 10), QColor(Qt::red));
    QCOMPARE(window.pixelColor(400, 470), QColor(Qt::blue));
}

QTEST_MAIN(RenderTargetGlTest)
#include "rendertargetgltest.moc"
