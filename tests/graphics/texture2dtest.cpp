#include "graphics/texture2d.h"

#include "support/glrecorder.h"

#include <QTest>

#include <memory>

using graphics::Texture;
using graphics::Texture2d;

Q_DECLARE_METATYPE(graphics::Texture::Filtering)

class Texture2dTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void defaultHandleMakesNoCall();
    void adoptedTextureIsDeletedByTheLast();
    void createCalls_data();
    void createCalls();
    void copiesShare();
    void assignmentDeletesTheFormer();
    void setBufferCalls_data();
    void setBufferCalls();
    void setBufferIsSharedByCopies();
    void bindAndUnbind();
    void emptyHandleBindsNothing();
};

void Texture2dTest::init()
{
    glrecorder::start(glrecorder::Fake);
}

void Texture2dTest::cleanup()
{
    QVERIFY2(glrecorder::livingTextures().isEmpty(), "a texture was not deleted");
}

void Texture2dTest::defaultHandleMakesNoCall()
{
    {
        const Texture2d texture;
        const Texture2d copy(texture);
        Texture2d assigned;
        assigned = texture;
        QCOMPARE(texture.textureId(), 0u);
        QCOMPARE(texture.filename(), QString());
        QCOMPARE(texture.width(), 0u);
        QCOMPARE(texture.height(), 0u);
    }
    QCOMPARE(glrecorder::calls(), QStringList());
}

void Texture2dTest::adoptedTextureIsDeletedByTheLast()
{
    auto texture = std::make_unique<Texture2d>(77);
    auto copy = std::make_unique<Texture2d>(*texture);
    QCOMPARE(texture->textureId(), 77u);
    QCOMPARE(texture->width(), 0u);
    QCOMPARE(texture->height(), 0u);
    texture.reset();
    QCOMPARE(glrecorder::calls(), QStringList());
    copy.reset();
    QCOMPARE(glrecorder::calls(), QStringList{"glDeleteTextures(77)"});
}

void Texture2dTest::createCalls_data()
{
    QTest::addColumn<Texture::Filtering>("filtering");
    QTest::addColumn<QString>("filter");
    QTest::newRow("nearest") << Texture::Nearest << "GL_NEAREST";
    QTest::newRow("linear") << Texture::Linear << "GL_LINEAR";
    QTest::newRow("any other") << Texture::Filtering(2) << "GL_NEAREST";
}

void Texture2dTest::createCalls()
{
    QFETCH(Texture::Filtering, filtering);
    QFETCH(QString, filter);
    const Texture2d texture(64, 32, filtering);
    QVERIFY(texture.textureId() != 0);
    QCOMPARE(glrecorder::calls(),
             (QStringList{
                 "glGenTextures(1)",
                 QString("glBindTexture(GL_TEXTURE_2D, %1)").arg(texture.textureId()),
                 "glTexImage2D(GL_TEXTURE_2D, 0, 4, 64, 32, 0, GL_RGBA, GL_UNSIGNED_BYTE, null)",
                 "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT)",
                 "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT)",
                 QString("glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, %1)").arg(filter),
                 QString("glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, %1)").arg(filter),
                 "glBindTexture(GL_TEXTURE_2D, 0)"}));
    QCOMPARE(texture.width(), 64u);
    QCOMPARE(texture.height(), 32u);
    QCOMPARE(texture.filename(), QString());
}

void Texture2dTest::copiesShare()
{
    auto texture = std::make_unique<Texture2d>(8, 4, Texture::Nearest);
    const unsigned int id = texture->textureId();
    auto copy = std::make_unique<Texture2d>(*texture);
    QCOMPARE(copy->textureId(), id);
    glrecorder::takeCalls();
    texture.reset();
    QCOMPARE(glrecorder::calls(), QStringList());
    QCOMPARE(copy->textureId(), id);
    QCOMPARE(copy->width(), 8u);
    copy.reset();
    QCOMPARE(glrecorder::calls(), QStringList{QString("glDeleteTextures(%1)").arg(id)});
}

void Texture2dTest::assignmentDeletesTheFormer()
{
    Texture2d texture(8, 4, Texture::Nearest);
    const Texture2d other(2, 2, Texture::Nearest);
    const unsigned int former = texture.textureId();
    glrecorder::takeCalls();
    texture = other;
    QCOMPARE(glrecorder::calls(), QStringList{QString("glDeleteTextures(%1)").arg(former)});
    QCOMPARE(texture.textureId(), other.textureId());
    QCOMPARE(texture.width(), 2u);
}

void Texture2dTest::setBufferCalls_data()
{
    QTest::addColumn<unsigned int>("width");
    QTest::addColumn<unsigned int>("height");
    QTest::addColumn<unsigned int>("format");
    QTest::addColumn<unsigned int>("newWidth");
    QTest::addColumn<unsigned int>("newHeight");
    QTest::newRow("both kept") << 0u << 0u << 0u << 16u << 8u;
    QTest::newRow("both new") << 64u << 32u << 0u << 64u << 32u;
    QTest::newRow("width kept") << 0u << 32u << 0u << 16u << 32u;
    QTest::newRow("height kept") << 64u << 0u << 0u << 64u << 8u;
    QTest::newRow("the format says nothing") << 0u << 0u << 0x1907u << 16u << 8u;
}

void Texture2dTest::setBufferCalls()
{
    QFETCH(unsigned int, width);
    QFETCH(unsigned int, height);
    QFETCH(unsigned int, format);
    QFETCH(unsigned int, newWidth);
    QFETCH(unsigned int, newHeight);
    Texture2d texture(16, 8, Texture::Linear);
    glrecorder::takeCalls();
    unsigned char pixels[64 * 32 * 4] = {};
    texture.setBuffer(pixels, width, height, format);
    QCOMPARE(glrecorder::calls(),
             (QStringList{QString("glBindTexture(GL_TEXTURE_2D, %1)").arg(texture.textureId()),
                          QString("glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, %1, %2, 0, GL_RGBA, "
                                  "GL_UNSIGNED_BYTE, data)")
                              .arg(newWidth)
                              .arg(newHeight),
                          "glBindTexture(GL_TEXTURE_2D, 0)"}));
    QCOMPARE(texture.width(), newWidth);
    QCOMPARE(texture.height(), newHeight);
}

void Texture2dTest::setBufferIsSharedByCopies()
{
    Texture2d texture(16, 8, Texture::Linear);
    const Texture2d copy(texture);
    unsigned char pixels[4] = {};
    texture.setBuffer(pixels, 1, 1, 0);
    QCOMPARE(copy.width(), 1u);
    QCOMPARE(copy.height(), 1u);
}

void Texture2dTest::bindAndUnbind()
{
    const Texture2d texture(2, 2, Texture::Nearest);
    glrecorder::takeCalls();
    texture.bind();
    QCOMPARE(glrecorder::takeCalls(),
             QStringList{QString("glBindTexture(GL_TEXTURE_2D, %1)").arg(texture.textureId())});
    texture.unbind();
    QCOMPARE(glrecorder::calls(), QStringList{"glBindTexture(GL_TEXTURE_2D, 0)"});
}

void Texture2dTest::emptyHandleBindsNothing()
{
    Texture2d().bind();
    QCOMPARE(glrecorder::calls(), QStringList{"glBindTexture(GL_TEXTURE_2D, 0)"});
}

QTEST_GUILESS_MAIN(Texture2dTest)
#include "texture2dtest.moc"
