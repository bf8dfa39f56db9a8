#include "graphics/texture2d.h"

#include "support/glpictures.h"
#include "support/glwindow.h"
#include "support/picturecompare.h"

#include <QTest>

#include <memory>

using graphics::Texture;
using graphics::Texture2d;

class Texture2dGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void fourComponentsAreATexture();
    void setBufferUploadsRedGreenBlueAlpha();
    void lastHandleDeletesTheGlTexture();

private:
    std::unique_ptr<GlWindow> m_window;
};

namespace {

/// A picture whose every byte differs from its neighbours.
QImage noise(int width, int height)
{
    QImage image(width, height, QImage::Format_RGBA8888);
    for (int y = 0; y < height; ++y) {
        for (int i = 0; i < width * 4; ++i) {
            image.scanLine(y)[i] = static_cast<uchar>(37 * i + 101 * y + 5);
        }
    }
    return image;
}

} // namespace

void Texture2dGlTest::initTestCase()
{
    m_window = std::make_unique<GlWindow>();
    QVERIFY2(m_window->isReady(), "there is no GL context");
}

void Texture2dGlTest::fourComponentsAreATexture()
{
    // The driver has to take the bare number for a format.
    while (glGetError() != GL_NO_ERROR) {
    }
    const Texture2d texture(16, 8, Texture::Linear);
    QCOMPARE(static_cast<unsigned int>(glGetError()), static_cast<unsigned int>(GL_NO_ERROR));
    QVERIFY(!glpictures::textureTexels(texture.textureId(), 16, 8).isNull());
}

void Texture2dGlTest::setBufferUploadsRedGreenBlueAlpha()
{
    Texture2d texture(16, 8, Texture::Linear);
    QImage picture = noise(16, 8);
    texture.setBuffer(picture.bits(), 0, 0, 0);
    COMPARE_PICTURES("kept-size", glpictures::textureTexels(texture.textureId(), 16, 8), picture, 0,
                     0.0);
    QImage larger = noise(32, 4);
    texture.setBuffer(larger.bits(), 32, 4, 0);
    COMPARE_PICTURES("new-size", glpictures::textureTexels(texture.textureId(), 32, 4), larger, 0,
                     0.0);
}

void Texture2dGlTest::lastHandleDeletesTheGlTexture()
{
    auto texture = std::make_unique<Texture2d>(4, 4, Texture::Nearest);
    auto copy = std::make_unique<Texture2d>(*texture);
    const unsigned int id = copy->textureId();
    texture.reset();
    QVERIFY(glIsTexture(id));
    copy.reset();
    QVERIFY(!glIsTexture(id));
}

QTEST_MAIN(Texture2dGlTest)
#include "texture2dgltest.moc"
