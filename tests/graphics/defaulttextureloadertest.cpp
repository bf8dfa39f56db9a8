#include "graphics/defaulttextureloader.h"

#include "support/boxcloser.h"
#include "support/glrecorder.h"
#include "support/logcapture.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using graphics::DefaultTextureLoader;
using graphics::Texture2d;

class DefaultTextureLoaderTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void sizes_data();
    void sizes();
    void uploadCalls();
    void logsSizeAndName();
    void suffixDoesNotDecideTheFormat();
    void unreadableRaisesABox_data();
    void unreadableRaisesABox();
    void readableRaisesNoBox();
    void handleOwnsTheTexture();

private:
    QString path(const QString& name) const;

    QTemporaryDir m_dir;
};

QString DefaultTextureLoaderTest::path(const QString& name) const
{
    return m_dir.filePath(name);
}

void DefaultTextureLoaderTest::initTestCase()
{
    QImage picture(427, 77, QImage::Format_RGB32);
    picture.fill(Qt::red);
    QVERIFY(picture.save(path("title.png")));
    QVERIFY(picture.save(path("disguised.jpg"), "PNG"));

    QFile garbage(path("garbage.png"));
    QVERIFY(garbage.open(QIODevice::WriteOnly));
    garbage.write("this is no picture");
}

void DefaultTextureLoaderTest::init()
{
    glrecorder::start(glrecorder::Fake);
}

void DefaultTextureLoaderTest::cleanup()
{
    QVERIFY2(glrecorder::livingTextures().isEmpty(), "a texture was not deleted");
}

void DefaultTextureLoaderTest::sizes_data()
{
    QTest::addColumn<QString>("filename");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<unsigned int>("newWidth");
    QTest::addColumn<unsigned int>("newHeight");
    const QString square = ":/textures/test1.jpg";
    const QString title = path("title.png");
    QTest::newRow("the picture's own") << title << 0 << 0 << 427u << 77u;
    QTest::newRow("below 1 is the picture's own") << title << -3 << -1 << 427u << 77u;
    QTest::newRow("as large as it is") << title << 427 << 77 << 427u << 77u;
    QTest::newRow("both given") << title << 1 << 200 << 1u << 200u;
    QTest::newRow("height given") << title << 0 << 64 << 427u << 64u;
    QTest::newRow("embedded") << square << 0 << 0 << 512u << 512u;
    QTest::newRow("embedded, width given") << square << 256 << 0 << 256u << 512u;
}

void DefaultTextureLoaderTest::sizes()
{
    QFETCH(QString, filename);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(unsigned int, newWidth);
    QFETCH(unsigned int, newHeight);
    const Texture2d texture = DefaultTextureLoader().loadTexture(filename, width, height);
    QCOMPARE(texture.width(), newWidth);
    QCOMPARE(texture.height(), newHeight);
    QCOMPARE(texture.filename(), filename);
    QCOMPARE(glrecorder::calls().value(2),
             QString("glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, %1, %2, 0, GL_RGBA, "
                     "GL_UNSIGNED_BYTE, data)")
                 .arg(newWidth)
                 .arg(newHeight));
}

void DefaultTextureLoaderTest::uploadCalls()
{
    const Texture2d texture = DefaultTextureLoader().loadTexture(path("title.png"), 0, 0);
    QVERIFY(texture.textureId() != 0);
    QCOMPARE(
        glrecorder::calls(),
        (QStringList{
            "glGenTextures(1)",
            QString("glBindTexture(GL_TEXTURE_2D, %1)").arg(texture.textureId()),
            "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 427, 77, 0, GL_RGBA, GL_UNSIGNED_BYTE, data)",
            "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT)",
            "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT)",
            "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR)",
            "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR)",
            "glBindTexture(GL_TEXTURE_2D, 0)"}));
}

void DefaultTextureLoaderTest::logsSizeAndName()
{
    LogCapture log;
    const Texture2d texture = DefaultTextureLoader().loadTexture(path("title.png"), 20, 10);
    // The picture's own size, whatever it is stretched to.
    QCOMPARE(
        log.lines(QtDebugMsg),
        (QStringList{"Image size: 427 x 77", QString("Texture id: %1").arg(texture.textureId())}));
}

void DefaultTextureLoaderTest::suffixDoesNotDecideTheFormat()
{
    BoxCloser closer;
    const Texture2d texture = DefaultTextureLoader().loadTexture(path("disguised.jpg"), 0, 0);
    QCOMPARE(texture.width(), 427u);
    QCOMPARE(closer.boxes().size(), 0);
}

void DefaultTextureLoaderTest::unreadableRaisesABox_data()
{
    QTest::addColumn<QString>("filename");
    QTest::newRow("no picture in it") << path("garbage.png");
    QTest::newRow("not there") << path("nowhere.png");
    QTest::newRow("not embedded") << QString(":/textures/nowhere.jpg");
}

void DefaultTextureLoaderTest::unreadableRaisesABox()
{
    QFETCH(QString, filename);
    BoxCloser closer;
    LogCapture log;
    {
        const Texture2d texture = DefaultTextureLoader().loadTexture(filename, 64, 64);
        COMPARE_ONLY_BOX(closer, "Unable to load image: " + filename);
        QCOMPARE(texture.textureId(), 0u);
        QCOMPARE(texture.width(), 0u);
        QCOMPARE(texture.filename(), QString());
    }
    QCOMPARE(glrecorder::calls(), QStringList());
    QCOMPARE(log.lines(QtDebugMsg), QStringList());
}

void DefaultTextureLoaderTest::readableRaisesNoBox()
{
    BoxCloser closer;
    DefaultTextureLoader().loadTexture(path("title.png"), 0, 0);
    QCOMPARE(closer.boxes().size(), 0);
}

void DefaultTextureLoaderTest::handleOwnsTheTexture()
{
    unsigned int id = 0;
    {
        const Texture2d texture = DefaultTextureLoader().loadTexture(path("title.png"), 0, 0);
        id = texture.textureId();
        glrecorder::takeCalls();
    }
    QCOMPARE(glrecorder::calls(), QStringList{QString("glDeleteTextures(%1)").arg(id)});
}

QTEST_MAIN(DefaultTextureLoaderTest)
#include "defaulttextureloadertest.moc"
