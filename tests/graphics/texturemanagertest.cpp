#include "graphics/texturemanager.h"

#include "graphics/texture_p.h"
#include "support/boxcloser.h"
#include "support/glrecorder.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

using namespace graphics;

namespace {

/// Remembers what it is asked for, and gives textures named from 100 on.
class NotingLoader : public TextureLoader
{
public:
    Texture2d loadTexture(const QString& filename, int width, int height) override
    {
        loads.append(QString("%1 %2x%3").arg(filename).arg(width).arg(height));
        return Texture2d(static_cast<unsigned int>(99 + loads.size()));
    }

    QStringList loads;
};

} // namespace

class TextureManagerTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void loadsTheFileFound();
    void extensionsGoInAscendingOrder_data();
    void extensionsGoInAscendingOrder();
    void laterLoaderReplaces();
    void anyExtensionIsTheSameTexture();
    void sizesAreNotCompared();
    void nameIsCutAtItsLastDot_data();
    void nameIsCutAtItsLastDot();
    void cachedTextureNeedsNoFile();
    void everySearchDirectoryCounts();
    void nullTextureIsCached();
    void nullLoaderIsTheDefaultOne();
    void failedDecodeWarnsOnce();
    void missingFileWarnsAndWritesNothing_data();
    void missingFileWarnsAndWritesNothing();
    void missingFileIsLookedForAgain();
    void destructorLetsGoOfTheTextures();

private:
    void addFile(const QString& name, const QByteArray& content = QByteArray());

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<BoxCloser> m_closer;
    QSharedPointer<NotingLoader> m_loader;
};

void TextureManagerTest::addFile(const QString& name, const QByteArray& content)
{
    QVERIFY(QFileInfo(m_dir->filePath(name)).dir().mkpath("."));
    QFile file(m_dir->filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(content);
}

void TextureManagerTest::init()
{
    glrecorder::start(glrecorder::Fake);
    m_dir = std::make_unique<QTemporaryDir>();
    m_closer = std::make_unique<BoxCloser>();
    m_loader = QSharedPointer<NotingLoader>::create();
    QDir::setSearchPaths("texture", {m_dir->path()});
}

void TextureManagerTest::loadsTheFileFound()
{
    addFile("sky.jpg");
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    Texture2d texture;
    QVERIFY(manager.loadTexture2d(&texture, "sky.jpg", 64, 32));
    QCOMPARE(texture.textureId(), 100u);
    QCOMPARE(m_loader->loads, QStringList{"texture:sky.jpg 64x32"});
    QCOMPARE(m_closer->boxes().size(), 0);
}

void TextureManagerTest::extensionsGoInAscendingOrder_data()
{
    QTest::addColumn<QStringList>("registered");
    QTest::addColumn<QStringList>("files");
    QTest::addColumn<QString>("found");
    QTest::newRow("the first of two")
        << QStringList{"png", "jpg"} << QStringList{"sky.png", "sky.jpg"} << "texture:sky.jpg";
    QTest::newRow("the one that is there")
        << QStringList{"jpg", "png"} << QStringList{"sky.png"} << "texture:sky.png";
    QTest::newRow("only registered ones")
        << QStringList{"png", "tga"} << QStringList{"sky.bmp", "sky.tga"} << "texture:sky.tga";
}

void TextureManagerTest::extensionsGoInAscendingOrder()
{
    QFETCH(QStringList, registered);
    QFETCH(QStringList, files);
    QFETCH(QString, found);
    for (const QString& file : files) {
        addFile(file);
    }
    TextureManager manager;
    for (const QString& extension : registered) {
        manager.registerExtension(extension, m_loader);
    }
    // The extension asked for does not matter, not even where there is such a file.
    Texture2d texture;
    QVERIFY(manager.loadTexture2d(&texture, files.first(), 0, 0));
    QCOMPARE(m_loader->loads, QStringList{found + " 0x0"});
}

void TextureManagerTest::laterLoaderReplaces()
{
    addFile("sky.jpg");
    auto later = QSharedPointer<NotingLoader>::create();
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    manager.registerExtension("jpg", later);
    QVERIFY(manager.loadTexture2d(nullptr, "sky", 0, 0));
    QCOMPARE(m_loader->loads, QStringList());
    QCOMPARE(later->loads.size(), 1);
}

void TextureManagerTest::anyExtensionIsTheSameTexture()
{
    addFile("sky.jpg");
    addFile("sky.png");
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    manager.registerExtension("png", m_loader);
    Texture2d jpg;
    Texture2d png;
    Texture2d bare;
    QVERIFY(manager.loadTexture2d(&jpg, "sky.jpg", 0, 0));
    QVERIFY(manager.loadTexture2d(&png, "sky.png", 0, 0));
    QVERIFY(manager.loadTexture2d(&bare, "sky", 0, 0));
    QCOMPARE(jpg.textureId(), 100u);
    QCOMPARE(png.textureId(), 100u);
    QCOMPARE(bare.textureId(), 100u);
    QCOMPARE(m_loader->loads.size(), 1);
}

void TextureManagerTest::sizesAreNotCompared()
{
    addFile("sky.jpg");
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    Texture2d texture;
    QVERIFY(manager.loadTexture2d(&texture, "sky", 64, 64));
    QVERIFY(manager.loadTexture2d(&texture, "sky", 128, 128));
    QCOMPARE(m_loader->loads, QStringList{"texture:sky.jpg 64x64"});
}

void TextureManagerTest::nameIsCutAtItsLastDot_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("name");
    QTest::newRow("the last dot only") << "sky.v2.jpg"
                                       << "sky.v2.png";
    QTest::newRow("a directory is kept") << "outside/sky.jpg"
                                         << "outside/sky.jpg";
    QTest::newRow("a dot in a directory counts") << "outside.jpg"
                                                 << "outside.v2/sky";
    QTest::newRow("a dot at the end") << "sky.jpg"
                                      << "sky.";
}

void TextureManagerTest::nameIsCutAtItsLastDot()
{
    QFETCH(QString, file);
    QFETCH(QString, name);
    addFile(file);
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    QVERIFY(manager.loadTexture2d(nullptr, name, 0, 0));
    QCOMPARE(m_loader->loads, QStringList{"texture:" + file + " 0x0"});
}

void TextureManagerTest::cachedTextureNeedsNoFile()
{
    addFile("sky.jpg");
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    QVERIFY(manager.loadTexture2d(nullptr, "sky", 0, 0));
    QVERIFY(QFile::remove(m_dir->filePath("sky.jpg")));
    Texture2d texture;
    QVERIFY(manager.loadTexture2d(&texture, "sky.png", 0, 0));
    QCOMPARE(texture.textureId(), 100u);
    QCOMPARE(m_closer->boxes().size(), 0);
}

void TextureManagerTest::everySearchDirectoryCounts()
{
    addFile("second/sky.jpg");
    QDir::setSearchPaths("texture", {m_dir->filePath("first"), m_dir->filePath("second")});
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    QVERIFY(manager.loadTexture2d(nullptr, "sky", 0, 0));
    QCOMPARE(m_loader->loads.size(), 1);
}

void TextureManagerTest::nullTextureIsCached()
{
    addFile("sky.jpg");
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    QVERIFY(manager.loadTexture2d(nullptr, "sky", 0, 0));
    QVERIFY(manager.loadTexture2d(nullptr, "sky", 0, 0));
    Texture2d texture;
    QVERIFY(manager.loadTexture2d(&texture, "sky", 0, 0));
    QCOMPARE(texture.textureId(), 100u);
    QCOMPARE(m_loader->loads.size(), 1);
}

void TextureManagerTest::nullLoaderIsTheDefaultOne()
{
    QImage picture(6, 4, QImage::Format_RGB32);
    picture.fill(Qt::green);
    QVERIFY(picture.save(m_dir->filePath("sky.png")));
    TextureManager manager;
    manager.registerExtension("png", QSharedPointer<TextureLoader>());
    Texture2d texture;
    QVERIFY(manager.loadTexture2d(&texture, "sky", 0, 8));
    QVERIFY(texture.textureId() != 0);
    QCOMPARE(texture.width(), 6u);
    QCOMPARE(texture.height(), 8u);
    QCOMPARE(texture.filename(), QString("texture:sky.png"));
}

void TextureManagerTest::failedDecodeWarnsOnce()
{
    addFile("sky.png", "this is no picture");
    TextureManager manager;
    manager.registerExtension("png", QSharedPointer<TextureLoader>());
    Texture2d texture(77);
    QVERIFY(manager.loadTexture2d(&texture, "sky.png", 0, 0));
    QCOMPARE(texture.textureId(), 0u);
    COMPARE_ONLY_BOX(*m_closer, "Unable to load image: texture:sky.png");

    QVERIFY(manager.loadTexture2d(&texture, "sky.png", 0, 0));
    QCOMPARE(texture.textureId(), 0u);
    QCOMPARE(m_closer->boxes().size(), 1);
}

void TextureManagerTest::missingFileWarnsAndWritesNothing_data()
{
    QTest::addColumn<QString>("extension");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("key");
    QTest::newRow("no such file") << "jpg"
                                  << "cloud.jpg"
                                  << "cloud";
    QTest::newRow("no such extension") << "tga"
                                       << "sky.jpg"
                                       << "sky";
    QTest::newRow("nothing registered") << QString() << "sky.jpg"
                                        << "sky";
    QTest::newRow("cut in the directory") << "jpg"
                                          << "outside.v2/sky"
                                          << "outside";
    QTest::newRow("no dot") << "jpg"
                            << "cloud"
                            << "cloud";
}

void TextureManagerTest::missingFileWarnsAndWritesNothing()
{
    QFETCH(QString, extension);
    QFETCH(QString, name);
    QFETCH(QString, key);
    addFile("sky.jpg");
    TextureManager manager;
    if (!extension.isNull()) {
        manager.registerExtension(extension, m_loader);
    }
    Texture2d texture(77);
    QVERIFY(!manager.loadTexture2d(&texture, name, 0, 0));
    COMPARE_ONLY_BOX(*m_closer, "Unable to find image: " + key);
    QCOMPARE(texture.textureId(), 77u);
    QCOMPARE(m_loader->loads, QStringList());
}

void TextureManagerTest::missingFileIsLookedForAgain()
{
    TextureManager manager;
    manager.registerExtension("jpg", m_loader);
    QVERIFY(!manager.loadTexture2d(nullptr, "sky", 0, 0));
    QVERIFY(!manager.loadTexture2d(nullptr, "sky", 0, 0));
    QCOMPARE(m_closer->boxes().size(), 2);
    addFile("sky.jpg");
    QVERIFY(manager.loadTexture2d(nullptr, "sky", 0, 0));
    QCOMPARE(m_loader->loads.size(), 1);
}

void TextureManagerTest::destructorLetsGoOfTheTextures()
{
    addFile("sky.jpg");
    addFile("sea.jpg");
    Texture2d sea;
    {
        TextureManager manager;
        manager.registerExtension("jpg", m_loader);
        QVERIFY(manager.loadTexture2d(nullptr, "sky", 0, 0));
        QVERIFY(manager.loadTexture2d(&sea, "sea", 0, 0));
        QCOMPARE(glrecorder::calls(), QStringList());
    }
    // The other one is still held.
    QCOMPARE(glrecorder::calls(), QStringList{"glDeleteTextures(100)"});
    QCOMPARE(sea.textureId(), 101u);
}

QTEST_MAIN(TextureManagerTest)
#include "texturemanagertest.moc"
