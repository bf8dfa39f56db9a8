#include "graphics/texture.h"

#include "graphics/texture_p.h"
#include "support/glrecorder.h"

#include <QTest>

#include <memory>

using graphics::Texture;
using graphics::TexturePrivate;
using graphics::TexturePrivateData;

class TextureTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void emptyHandleMakesNoCall();
    void filteringValues();
    void accessorsReadTheRecord();
    void copiesShare();
    void lastHandleDeletesOnce();
    void lastHandleFreesTheRecord();
    void assignmentDeletesTheFormerAtOnce();
    void assignmentLeavesASharedFormer();
    void selfAssignmentKeepsTheTexture();
};

namespace {

/// A handle on the GL texture of that name.
Texture textureNamed(unsigned int id)
{
    auto record = std::make_unique<TexturePrivateData>();
    record->filename = QString("picture %1").arg(id);
    record->textureId = id;
    record->width = id + 1;
    record->height = id + 2;
    Texture texture;
    *texture.d = TexturePrivate(record.release());
    return texture;
}

} // namespace

void TextureTest::init()
{
    glrecorder::start(glrecorder::Fake);
}

void TextureTest::emptyHandleMakesNoCall()
{
    {
        const Texture texture;
        const Texture copy(texture);
        QCOMPARE(copy.textureId(), 0u);
        QCOMPARE(copy.filename(), QString());
        QCOMPARE(copy.width(), 0u);
        QCOMPARE(copy.height(), 0u);
        QCOMPARE(texture.d->data->reserved, 0u);
    }
    QCOMPARE(glrecorder::calls(), QStringList());
}

void TextureTest::filteringValues()
{
    // Callers store them as numbers.
    QCOMPARE(static_cast<int>(Texture::Nearest), 0);
    QCOMPARE(static_cast<int>(Texture::Linear), 1);
}

void TextureTest::accessorsReadTheRecord()
{
    const Texture texture = textureNamed(30);
    QCOMPARE(texture.textureId(), 30u);
    QCOMPARE(texture.filename(), QString("picture 30"));
    QCOMPARE(texture.width(), 31u);
    QCOMPARE(texture.height(), 32u);
}

void TextureTest::copiesShare()
{
    const Texture texture = textureNamed(30);
    const Texture copy(texture);
    Texture assigned;
    assigned = texture;
    texture.d->data->width = 99;
    QCOMPARE(copy.width(), 99u);
    QCOMPARE(assigned.width(), 99u);
    QCOMPARE(glrecorder::calls(), QStringList());
}

void TextureTest::lastHandleDeletesOnce()
{
    auto texture = std::make_unique<Texture>(textureNamed(30));
    auto copy = std::make_unique<Texture>(*texture);
    texture.reset();
    QCOMPARE(glrecorder::calls(), QStringList());
    copy.reset();
    QCOMPARE(glrecorder::calls(), QStringList{"glDeleteTextures(30)"});
}

void TextureTest::lastHandleFreesTheRecord()
{
    const QString name = QString("picture %1").arg(30);
    {
        const Texture texture = textureNamed(30);
        texture.d->data->filename = name;
        // Whoever holds the same text keeps it from being ours alone.
        QVERIFY(!name.isDetached());
    }
    QVERIFY(name.isDetached());
}

void TextureTest::assignmentDeletesTheFormerAtOnce()
{
    Texture texture = textureNamed(30);
    const Texture other = textureNamed(40);
    texture = other;
    QCOMPARE(glrecorder::calls(), QStringList{"glDeleteTextures(30)"});
    QCOMPARE(texture.textureId(), 40u);
}

void TextureTest::assignmentLeavesASharedFormer()
{
    Texture texture = textureNamed(30);
    const Texture holder(texture);
    texture = textureNamed(40);
    QCOMPARE(glrecorder::calls(), QStringList());
    QCOMPARE(holder.textureId(), 30u);
}

void TextureTest::selfAssignmentKeepsTheTexture()
{
    Texture texture = textureNamed(30);
    const Texture& itself = texture;
    texture = itself;
    QCOMPARE(glrecorder::calls(), QStringList());
    QCOMPARE(texture.textureId(), 30u);
}

QTEST_GUILESS_MAIN(TextureTest)
#include "texturetest.moc"
