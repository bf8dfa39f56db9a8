#include "graphics/defaulttextureloader.h"

#include "support/glpictures.h"
#include "support/glwindow.h"
#include "support/picturecompare.h"

#include <QTemporaryDir>
#include <QTest>

#include <memory>

using graphics::DefaultTextureLoader;
using graphics::Texture2d;

class DefaultTextureLoaderGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void bytesAreRedGreenBlueAlpha_data();
    void bytesAreRedGreenBlueAlpha();
    void picturesWithoutAlphaAreOpaque();
    void stretchingIsSmooth();
    void embeddedPictureIsUploadedWhole();
    void filtersAndRepeats();

private:
    QTemporaryDir m_dir;
    std::unique_ptr<GlWindow> m_window;
};

void DefaultTextureLoaderGlTest::initTestCase()
{
    m_window = std::make_unique<GlWindow>();
    QVERIFY2(m_window->isReady(), "there is no GL context");
}

void DefaultTextureLoaderGlTest::bytesAreRedGreenBlueAlpha_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::newRow("words") << QImage::Format_ARGB32;
    QTest::newRow("bytes") << QImage::Format_RGBA8888;
    QTest::newRow("a palette") << QImage::Format_Indexed8;
}

void DefaultTextureLoaderGlTest::bytesAreRedGreenBlueAlpha()
{
    QFETCH(QImage::Format, format);
    QImage picture(3, 2, QImage::Format_ARGB32);
    picture.setPixel(0, 0, qRgba(255, 0, 0, 255));
    picture.setPixel(1, 0, qRgba(0, 255, 0, 255));
    picture.setPixel(2, 0, qRgba(0, 0, 255, 255));
    picture.setPixel(0, 1, qRgba(200, 100, 50, 128));
    picture.setPixel(1, 1, qRgba(10, 20, 30, 255));
    picture.setPixel(2, 1, qRgba(255, 255, 255, 1));
    const QString file = m_dir.filePath("bytes.png");
    // Exactly these colours in the palette, where there is one.
    QVector<QRgb> colors;
    for (int i = 0; i < 6; ++i) {
        colors.append(picture.pixel(i % 3, i / 3));
    }
    QVERIFY(picture.convertToFormat(format, colors).save(file));

    const Texture2d texture = DefaultTextureLoader().loadTexture(file, 0, 0);
    const QImage texels = glpictures::textureTexels(texture.textureId(), 3, 2);
    // The colours are not multiplied by their alpha, and the first row is at v = 0.
    const unsigned char expected[] = {255, 0,   0,  255, 0,  255, 0,  255, 0,   0,   255, 255,
                                      200, 100, 50, 128, 10, 20,  30, 255, 255, 255, 255, 1};
    for (int y = 0; y < 2; ++y) {
        QCOMPARE(QByteArray(reinterpret_cast<const char*>(texels.constScanLine(y)), 12).toHex(' '),
                 QByteArray(reinterpret_cast<const char*>(expected + 12 * y), 12).toHex(' '));
    }
}

void DefaultTextureLoaderGlTest::picturesWithoutAlphaAreOpaque()
{
    QImage picture(1, 1, QImage::Format_RGB888);
    picture.setPixel(0, 0, qRgb(200, 100, 50));
    const QString file = m_dir.filePath("opaque.png");
    QVERIFY(picture.save(file));
    const Texture2d texture = DefaultTextureLoader().loadTexture(file, 0, 0);
    QCOMPARE(glpictures::textureTexels(texture.textureId(), 1, 1).pixelColor(0, 0),
             QColor(200, 100, 50, 255));
}

void DefaultTextureLoaderGlTest::stretchingIsSmooth()
{
    QImage picture(64, 2, QImage::Format_RGB32);
    for (int x = 0; x < 64; ++x) {
        const QRgb color = x % 2 ? qRgb(255, 255, 255) : qRgb(0, 0, 0);
        picture.setPixel(x, 0, color);
        picture.setPixel(x, 1, color);
    }
    const QString file = m_dir.filePath("stripes.png");
    QVERIFY(picture.save(file));
    const Texture2d texture = DefaultTextureLoader().loadTexture(file, 16, 0);
    // Picking single pixels would give black or white.
    QImage grey(16, 2, QImage::Format_RGBA8888);
    grey.fill(QColor(127, 127, 127));
    COMPARE_PICTURES("stretchingIsSmooth", glpictures::textureTexels(texture.textureId(), 16, 2),
                     grey, 2, 2.0);
}

void DefaultTextureLoaderGlTest::embeddedPictureIsUploadedWhole()
{
    const QString file = ":/face/facetestinv.jpg";
    const Texture2d texture = DefaultTextureLoader().loadTexture(file, 0, 0);
    COMPARE_PICTURES("embeddedPictureIsUploadedWhole",
                     glpictures::textureTexels(texture.textureId(), 256, 256), QImage(file), 0,
                     0.0);
}

void DefaultTextureLoaderGlTest::filtersAndRepeats()
{
    const Texture2d texture = DefaultTextureLoader().loadTexture(":/face/facetestinv.jpg", 0, 0);
    GLint bound = -1;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &bound);
    QCOMPARE(bound, 0);

    texture.bind();
    const struct
    {
        GLenum name;
        GLint value;
    } expected[] = {{GL_TEXTURE_MAG_FILTER, GL_LINEAR},
                    {GL_TEXTURE_MIN_FILTER, GL_LINEAR},
                    {GL_TEXTURE_WRAP_S, GL_REPEAT},
                    {GL_TEXTURE_WRAP_T, GL_REPEAT}};
    for (const auto& parameter : expected) {
        GLint value = 0;
        glGetTexParameteriv(GL_TEXTURE_2D, parameter.name, &value);
        QCOMPARE(value, parameter.value);
    }
    texture.unbind();
}

QTEST_MAIN(DefaultTextureLoaderGlTest)
#include "defaulttextureloadergltest.moc"
