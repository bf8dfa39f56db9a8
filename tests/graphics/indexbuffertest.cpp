#include "graphics/indexbuffer.h"

#include "graphics/bufferhandles.h"
#include "support/glrecorder.h"

#include <QTest>

#include <cstring>

using graphics::IndexBuffer;

Q_DECLARE_METATYPE(graphics::IndexBuffer::IndexTypeEnum)

namespace {

IndexBuffer created()
{
    IndexBuffer buffer;
    buffer.createIndexBuffer(2, IndexBuffer::Index16);
    return buffer;
}

} // namespace

class IndexBufferTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void emptyBufferMakesNoCall();
    void createMakesAndSizesTheBuffer_data();
    void createMakesAndSizesTheBuffer();
    void indicesAreReadAtTheirWidth_data();
    void indicesAreReadAtTheirWidth();
    void unknownTypeHasNoBytes_data();
    void unknownTypeHasNoBytes();
    void unlockUploadsAndUnbinds_data();
    void unlockUploadsAndUnbinds();
    void bindAndUnbind();
    void lockedAndBoundForbidNothing();
    void copiesShare();
    void lastHandleDeletes();
    void assignmentDeletesTheFormer();
};

void IndexBufferTest::init()
{
    glrecorder::start(glrecorder::Fake);
}

void IndexBufferTest::cleanup()
{
    QVERIFY2(glrecorder::livingBuffers().isEmpty(), "a buffer was not deleted");
}

void IndexBufferTest::emptyBufferMakesNoCall()
{
    {
        IndexBuffer buffer;
        const IndexBuffer copy(buffer);
        QCOMPARE(copy.id(), 0u);
        QCOMPARE(copy.size(), 0);
        QCOMPARE(copy.typeSize(), 0);
    }
    QCOMPARE(glrecorder::calls(), QStringList());
}

void IndexBufferTest::createMakesAndSizesTheBuffer_data()
{
    QTest::addColumn<IndexBuffer::IndexTypeEnum>("type");
    QTest::addColumn<int>("typeSize");
    QTest::addColumn<int>("bytes");
    QTest::newRow("8 bits") << IndexBuffer::Index8 << 1 << 7;
    QTest::newRow("16 bits") << IndexBuffer::Index16 << 2 << 14;
    QTest::newRow("32 bits") << IndexBuffer::Index32 << 4 << 28;
    QTest::newRow("unknown") << IndexBuffer::IndexTypeEnum(4) << 0 << 0;
}

void IndexBufferTest::createMakesAndSizesTheBuffer()
{
    QFETCH(IndexBuffer::IndexTypeEnum, type);
    QFETCH(int, typeSize);
    QFETCH(int, bytes);
    IndexBuffer buffer;
    buffer.createIndexBuffer(7, type);
    QVERIFY(buffer.id() != 0);
    QCOMPARE(glrecorder::calls(),
             (QStringList{"glGenBuffers(1)",
                          QString("glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, %1)").arg(buffer.id()),
                          QString("glBufferData(GL_ELEMENT_ARRAY_BUFFER, %1, null, GL_STATIC_DRAW)")
                              .arg(bytes)}));
    QCOMPARE(buffer.type(), type);
    QCOMPARE(buffer.typeSize(), typeSize);
    QCOMPARE(buffer.size(), 7);
}

void IndexBufferTest::indicesAreReadAtTheirWidth_data()
{
    QTest::addColumn<IndexBuffer::IndexTypeEnum>("type");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<unsigned int>("first");
    QTest::addColumn<unsigned int>("last");
    // The highest bits are set, so that a signed reading shows.
    QTest::newRow("8 bits") << IndexBuffer::Index8 << QByteArray("\x01\xf2\x03\xf4", 4) << 0x01u
                            << 0xf4u;
    QTest::newRow("16 bits") << IndexBuffer::Index16
                             << QByteArray("\x01\xf2\x03\x04\x05\x06\x07\xf8", 8) << 0xf201u
                             << 0xf807u;
    QTest::newRow("32 bits")
        << IndexBuffer::Index32
        << QByteArray("\x01\x02\x03\xf4\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\xf0", 16)
        << 0xf4030201u << 0xf00f0e0du;
}

void IndexBufferTest::indicesAreReadAtTheirWidth()
{
    QFETCH(IndexBuffer::IndexTypeEnum, type);
    QFETCH(QByteArray, bytes);
    QFETCH(unsigned int, first);
    QFETCH(unsigned int, last);
    IndexBuffer buffer;
    buffer.createIndexBuffer(4, type);
    std::memcpy(buffer.lock(), bytes.constData(), static_cast<size_t>(bytes.size()));
    QCOMPARE(buffer.index(0), first);
    QCOMPARE(buffer.index(3), last);
}

void IndexBufferTest::unknownTypeHasNoBytes_data()
{
    QTest::addColumn<IndexBuffer::IndexTypeEnum>("type");
    QTest::newRow("below the first") << IndexBuffer::IndexTypeEnum(0);
    QTest::newRow("above the last") << IndexBuffer::IndexTypeEnum(4);
}

void IndexBufferTest::unknownTypeHasNoBytes()
{
    QFETCH(IndexBuffer::IndexTypeEnum, type);
    IndexBuffer buffer;
    buffer.createIndexBuffer(3, type);
    QCOMPARE(buffer.typeSize(), 0);
    QCOMPARE(buffer.index(0), 0u);
    QCOMPARE(buffer.size(), 3);
    glrecorder::takeCalls();
    buffer.lock();
    buffer.unlock();
    QVERIFY2(glrecorder::calls().value(1).startsWith("glBufferData(GL_ELEMENT_ARRAY_BUFFER, 0, "),
             qPrintable(glrecorder::calls().join("\n")));
}

void IndexBufferTest::unlockUploadsAndUnbinds_data()
{
    QTest::addColumn<IndexBuffer::IndexTypeEnum>("type");
    QTest::addColumn<int>("size");
    QTest::newRow("8 bits") << IndexBuffer::Index8 << 6;
    QTest::newRow("16 bits") << IndexBuffer::Index16 << 12;
    QTest::newRow("32 bits") << IndexBuffer::Index32 << 24;
}

void IndexBufferTest::unlockUploadsAndUnbinds()
{
    QFETCH(IndexBuffer::IndexTypeEnum, type);
    QFETCH(int, size);
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i) {
        bytes[i] = static_cast<char>(i + 1);
    }
    IndexBuffer buffer;
    buffer.createIndexBuffer(6, type);
    glrecorder::takeCalls();
    std::memcpy(buffer.lock(), bytes.constData(), static_cast<size_t>(size));
    QCOMPARE(glrecorder::calls(), QStringList());

    buffer.unlock();
    QCOMPARE(
        glrecorder::calls(),
        (QStringList{
            QString("glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, %1)").arg(buffer.id()),
            QString("glBufferData(GL_ELEMENT_ARRAY_BUFFER, %1, data, GL_STATIC_DRAW)").arg(size),
            "glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0)"}));
    QCOMPARE(glrecorder::bufferData(buffer.id()), bytes);
}

void IndexBufferTest::bindAndUnbind()
{
    IndexBuffer buffer;
    buffer.createIndexBuffer(1, IndexBuffer::Index16);
    glrecorder::takeCalls();
    buffer.bind();
    QCOMPARE(glrecorder::takeCalls(),
             QStringList{QString("glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, %1)").arg(buffer.id())});
    buffer.unbind();
    QCOMPARE(glrecorder::calls(), QStringList{"glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0)"});
}

void IndexBufferTest::lockedAndBoundForbidNothing()
{
    IndexBuffer buffer;
    buffer.createIndexBuffer(1, IndexBuffer::Index16);
    unsigned short* indices = buffer.lock();
    buffer.bind();
    glrecorder::takeCalls();
    QCOMPARE(buffer.lock(), indices);
    buffer.bind();
    QCOMPARE(glrecorder::takeCalls().size(), 1);
    buffer.unlock();
    QCOMPARE(glrecorder::takeCalls().size(), 3);
    buffer.unlock();
    QCOMPARE(glrecorder::takeCalls().size(), 3);
}

void IndexBufferTest::copiesShare()
{
    IndexBuffer buffer;
    const IndexBuffer early(buffer);
    buffer.createIndexBuffer(2, IndexBuffer::Index16);
    IndexBuffer copy(buffer);
    IndexBuffer assigned;
    assigned = buffer;
    QVERIFY(buffer.id() != 0);
    QCOMPARE(early.id(), buffer.id());
    QCOMPARE(copy.id(), buffer.id());
    QCOMPARE(assigned.id(), buffer.id());
    buffer.lock()[1] = 4711;
    QCOMPARE(copy.index(1), 4711u);
    QCOMPARE(assigned.index(1), 4711u);
}

void IndexBufferTest::lastHandleDeletes()
{
    bufferhandles::lastOneDeletes(created);
}

void IndexBufferTest::assignmentDeletesTheFormer()
{
    bufferhandles::assignmentDeletesTheFormer(created);
}

QTEST_GUILESS_MAIN(IndexBufferTest)
#include "indexbuffertest.moc"
