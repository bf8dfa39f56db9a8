#include "graphics/textureloader.h"

#include "graphics/texture_p.h"
#include "support/glrecorder.h"

#include <QTest>

#include <memory>

using namespace graphics;

class TextureLoaderTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void handleOwnsTheRecord();
    void handleOwnsATextureOfUnknownSize();
    void nullGivesAnEmptyHandle();
    void isDestroyedThroughItsBase();
};

namespace {

int alive = 0;

/// As the loader of a program with its own file format would be.
class OwnLoader : public TextureLoader
{
public:
    OwnLoader()
    {
        alive += 1;
    }

    ~OwnLoader() override
    {
        alive -= 1;
    }

    Texture2d loadTexture(const QString& filename, int width, int height) override
    {
        if (filename.isEmpty()) {
            return createTexture2d(nullptr);
        }
        auto record = std::make_unique<TexturePrivateData>();
        record->filename = filename;
        record->textureId = 50;
        record->width = static_cast<unsigned int>(width);
        record->height = static_cast<unsigned int>(height);
        return createTexture2d(record.release());
    }
};

} // namespace

void TextureLoaderTest::init()
{
    glrecorder::start(glrecorder::Fake);
}

void TextureLoaderTest::handleOwnsTheRecord()
{
    {
        OwnLoader loader;
        const Texture2d texture = loader.loadTexture("own.raw", 3, 5);
        QCOMPARE(texture.filename(), QString("own.raw"));
        QCOMPARE(texture.textureId(), 50u);
        QCOMPARE(texture.width(), 3u);
        QCOMPARE(texture.height(), 5u);
        const Texture2d copy(texture);
        QCOMPARE(glrecorder::calls(), QStringList());
    }
    QCOMPARE(glrecorder::calls(), QStringList{"glDeleteTextures(50)"});
}

void TextureLoaderTest::handleOwnsATextureOfUnknownSize()
{
    QCOMPARE(OwnLoader().loadTexture("own.raw", 0, 0).textureId(), 50u);
    QCOMPARE(glrecorder::calls(), QStringList{"glDeleteTextures(50)"});
}

void TextureLoaderTest::nullGivesAnEmptyHandle()
{
    {
        OwnLoader loader;
        const Texture2d texture = loader.loadTexture(QString(), 3, 5);
        QCOMPARE(texture.textureId(), 0u);
        QCOMPARE(texture.width(), 0u);
    }
    QCOMPARE(glrecorder::calls(), QStringList());
}

void TextureLoaderTest::isDestroyedThroughItsBase()
{
    std::unique_ptr<TextureLoader> loader = std::make_unique<OwnLoader>();
    QCOMPARE(alive, 1);
    loader.reset();
    QCOMPARE(alive, 0);
}

QTEST_GUILESS_MAIN(TextureLoaderTest)
#include "textureloadertest.moc"
