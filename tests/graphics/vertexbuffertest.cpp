#include "graphics/vertexbuffer.h"

#include "graphics/bufferhandles.h"
#include "support/glrecorder.h"
#include "support/logcapture.h"

#include <QTest>

#include <GLES2/gl2.h>

#include <cstring>

using namespace graphics;

Q_DECLARE_METATYPE(graphics::VertexComponentType)

namespace {

/// A bit that the engine has no name for.
const auto OTHER_USAGE = static_cast<VertexFormatFlag>(2);
const auto UNKNOWN_TYPE = static_cast<VertexComponentType>(6);

/// The layout of a quad.
VertexDeclaration quadDeclaration()
{
    VertexDeclaration declaration;
    declaration.addComponent(0, 0, Float3, Position, 0);
    declaration.addComponent(1, 12, UByte4, Color, 0);
    declaration.addComponent(2, 16, Float2, TexCoord0, 0);
    return declaration;
}

/// A buffer of one vertex, with nothing recorded since.
VertexBuffer createdWith(const VertexDeclaration& declaration)
{
    VertexBuffer buffer;
    buffer.createVertexBuffer(1, declaration);
    glrecorder::takeCalls();
    return buffer;
}

VertexBuffer created()
{
    return createdWith(quadDeclaration());
}

} // namespace

class VertexBufferTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void componentTypes_data();
    void componentTypes();
    void unknownTypeWritesNothing_data();
    void unknownTypeWritesNothing();
    void declarationAddsUp();
    void componentsAreKept();
    void offsetsAreTheCallers();
    void declarationCopiesAreDeep();
    void emptyBufferMakesNoCall();
    void createMakesAndSizesTheBuffer();
    void createSaysTheName();
    void createdVerticesAreZero();
    void bufferCopiesTheDeclaration();
    void unlockUploadsTheCopy();
    void bindPointsTheAttributes();
    void bindWithoutComponents();
    void unknownTypeGoesByTheOneBefore();
    void unbindDisablesTheAttributes();
    void componentOffsets_data();
    void componentOffsets();
    void firstOfTwoOffsetsCounts();
    void hasComponent_data();
    void hasComponent();
    void copiesShare();
    void lastHandleDeletes();
    void assignmentDeletesTheFormer();
    void secondCreateForgetsTheName();
    void positionBackup();
    void backupOutlivesASecondCreate_data();
    void backupOutlivesASecondCreate();
    void copiesShareThePositionBackup();
    void dirtyOnceCreated();
    void setDirtyMarks();
    void renderDoesNothing();
};

void VertexBufferTest::init()
{
    glrecorder::start(glrecorder::Fake);
}

void VertexBufferTest::cleanup()
{
    QVERIFY2(glrecorder::livingBuffers().isEmpty(), "a buffer was not deleted");
}

void VertexBufferTest::componentTypes_data()
{
    QTest::addColumn<VertexComponentType>("type");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("count");
    QTest::addColumn<unsigned int>("glType");
    QTest::addColumn<unsigned int>("normalised");
    const unsigned int FLOATS = GL_FLOAT;
    const unsigned int BYTES = GL_UNSIGNED_BYTE;
    QTest::newRow("Float1") << Float1 << 4 << 1 << FLOATS << 0u;
    QTest::newRow("Float2") << Float2 << 8 << 2 << FLOATS << 0u;
    QTest::newRow("Float3") << Float3 << 12 << 3 << FLOATS << 0u;
    QTest::newRow("Float4") << Float4 << 16 << 4 << FLOATS << 0u;
    QTest::newRow("UByte4") << UByte4 << 4 << 4 << BYTES << 1u;
}

void VertexBufferTest::componentTypes()
{
    QFETCH(VertexComponentType, type);
    QFETCH(int, size);
    QFETCH(int, count);
    QFETCH(unsigned int, glType);
    QFETCH(unsigned int, normalised);
    QCOMPARE(getVertexComponentTypeSize(type), size);
    int gotCount = -1;
    unsigned int gotType = 0;
    unsigned char gotNormalised = 77;
    getVertexComponentTypeInfo(type, &gotCount, &gotType, &gotNormalised);
    QCOMPARE(gotCount, count);
    QCOMPARE(gotType, glType);
    QCOMPARE(static_cast<unsigned int>(gotNormalised), normalised);
}

void VertexBufferTest::unknownTypeWritesNothing_data()
{
    QTest::addColumn<VertexComponentType>("type");
    QTest::newRow("below the first") << static_cast<VertexComponentType>(0);
    QTest::newRow("above the last") << UNKNOWN_TYPE;
}

void VertexBufferTest::unknownTypeWritesNothing()
{
    QFETCH(VertexComponentType, type);
    QCOMPARE(getVertexComponentTypeSize(type), 0);
    int count = -1;
    unsigned int glType = 4711;
    unsigned char normalised = 77;
    getVertexComponentTypeInfo(type, &count, &glType, &normalised);
    QCOMPARE(count, -1);
    QCOMPARE(glType, 4711u);
    QCOMPARE(static_cast<int>(normalised), 77);
}

void VertexBufferTest::declarationAddsUp()
{
    const VertexDeclaration empty;
    QCOMPARE(empty.numComponents(), 0);
    QCOMPARE(empty.vertexSize(), 0);
    QCOMPARE(empty.flags(), 0u);

    const VertexDeclaration declaration = quadDeclaration();
    QCOMPARE(declaration.numComponents(), 3);
    QCOMPARE(declaration.vertexSize(), 24);
    QCOMPARE(declaration.flags(), 41u);
}

void VertexBufferTest::componentsAreKept()
{
    VertexDeclaration declaration;
    declaration.addComponent(3, 4, Float4, TexCoord0, 11);
    declaration.addComponent(1, 20, UByte4, OTHER_USAGE, -5);
    const VertexDeclaration::VertexComponent& first = declaration.component(0);
    QCOMPARE(first.location, 3);
    QCOMPARE(first.offset, 4u);
    QCOMPARE(first.type, Float4);
    QCOMPARE(first.usage, TexCoord0);
    QCOMPARE(first.extra, 11);
    const VertexDeclaration::VertexComponent& second = declaration.component(1);
    QCOMPARE(second.location, 1);
    QCOMPARE(second.offset, 20u);
    QCOMPARE(second.type, UByte4);
    QCOMPARE(second.usage, OTHER_USAGE);
    QCOMPARE(second.extra, -5);
}

void VertexBufferTest::offsetsAreTheCallers()
{
    VertexDeclaration declaration;
    declaration.addComponent(0, 100, Float2, Position, 0);
    declaration.addComponent(1, 2, Float1, Color, 0);
    QCOMPARE(declaration.component(0).offset, 100u);
    QCOMPARE(declaration.component(1).offset, 2u);
    QCOMPARE(declaration.vertexSize(), 12);
}

void VertexBufferTest::declarationCopiesAreDeep()
{
    VertexDeclaration declaration = quadDeclaration();
    VertexDeclaration copy(declaration);
    VertexDeclaration assigned;
    assigned = declaration;
    declaration.addComponent(3, 24, Float1, OTHER_USAGE, 0);
    QCOMPARE(copy.numComponents(), 3);
    QCOMPARE(copy.vertexSize(), 24);
    QCOMPARE(copy.flags(), 41u);
    QCOMPARE(assigned.numComponents(), 3);
    QCOMPARE(assigned.vertexSize(), 24);
    QCOMPARE(assigned.component(2).offset, 16u);
    assigned.addComponent(3, 24, Float4, OTHER_USAGE, 0);
    QCOMPARE(declaration.vertexSize(), 28);
    QCOMPARE(copy.vertexSize(), 24);
}

void VertexBufferTest::emptyBufferMakesNoCall()
{
    {
        VertexBuffer buffer;
        const VertexBuffer copy(buffer);
        QCOMPARE(copy.id(), 0u);
        QCOMPARE(copy.numVertices(), 0);
        QCOMPARE(copy.getVertexSize(), 0);
        QCOMPARE(copy.vertexDeclaration().numComponents(), 0);
        QVERIFY(!copy.isDirty());
        QVERIFY(!copy.hasPositionBackup());
    }
    QCOMPARE(glrecorder::calls(), QStringList());
}

void VertexBufferTest::createMakesAndSizesTheBuffer()
{
    VertexBuffer buffer;
    QVERIFY(buffer.createVertexBuffer(5, quadDeclaration()));
    QVERIFY(buffer.id() != 0);
    QCOMPARE(glrecorder::calls(),
             (QStringList{"glGenBuffers(1)",
                          QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(buffer.id()),
                          "glBufferData(GL_ARRAY_BUFFER, 120, null, GL_STATIC_DRAW)"}));
    QCOMPARE(buffer.numVertices(), 5);
    QCOMPARE(buffer.getVertexSize(), 24);
}

void VertexBufferTest::createSaysTheName()
{
    LogCapture log;
    VertexBuffer buffer;
    buffer.createVertexBuffer(1, quadDeclaration());
    QCOMPARE(log.lines(QtDebugMsg), QStringList{QString("Created vbuffer %1").arg(buffer.id())});
}

void VertexBufferTest::createdVerticesAreZero()
{
    VertexBuffer buffer;
    buffer.createVertexBuffer(3, quadDeclaration());
    const QByteArray bytes(static_cast<const char*>(buffer.lock()), 72);
    QCOMPARE(bytes, QByteArray(72, '\0'));
}

void VertexBufferTest::bufferCopiesTheDeclaration()
{
    VertexDeclaration declaration = quadDeclaration();
    VertexBuffer buffer;
    buffer.createVertexBuffer(1, declaration);
    declaration.addComponent(3, 24, Float1, OTHER_USAGE, 0);
    QCOMPARE(buffer.vertexDeclaration().numComponents(), 3);
    QCOMPARE(buffer.getVertexSize(), 24);
}

void VertexBufferTest::unlockUploadsTheCopy()
{
    VertexBuffer buffer;
    buffer.createVertexBuffer(2, quadDeclaration());
    glrecorder::takeCalls();
    QCOMPARE(buffer.data(), buffer.lock());
    QByteArray bytes(48, '\0');
    for (int i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(i + 1);
    }
    std::memcpy(buffer.lock(), bytes.constData(), 48);
    QCOMPARE(glrecorder::calls(), QStringList());

    buffer.unlock();
    // Nothing is unbound: the buffer is about to be drawn.
    QCOMPARE(glrecorder::calls(),
             (QStringList{QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(buffer.id()),
                          "glBufferData(GL_ARRAY_BUFFER, 48, data, GL_STATIC_DRAW)"}));
    QCOMPARE(glrecorder::bufferData(buffer.id()), bytes);
}

void VertexBufferTest::bindPointsTheAttributes()
{
    VertexBuffer buffer = createdWith(quadDeclaration());
    buffer.bind();
    QCOMPARE(glrecorder::calls(),
             (QStringList{QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(buffer.id()),
                          "glVertexAttribPointer(0, 3, GL_FLOAT, false, 24, 0)",
                          "glEnableVertexAttribArray(0)",
                          "glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, true, 24, 12)",
                          "glEnableVertexAttribArray(1)",
                          "glVertexAttribPointer(2, 2, GL_FLOAT, false, 24, 16)",
                          "glEnableVertexAttribArray(2)"}));
}

void VertexBufferTest::bindWithoutComponents()
{
    VertexBuffer buffer = createdWith(VertexDeclaration());
    buffer.bind();
    QCOMPARE(glrecorder::calls(),
             QStringList{QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(buffer.id())});
}

void VertexBufferTest::unknownTypeGoesByTheOneBefore()
{
    VertexDeclaration declaration;
    declaration.addComponent(0, 0, UByte4, Color, 0);
    declaration.addComponent(4, 8, UNKNOWN_TYPE, OTHER_USAGE, 0);
    VertexBuffer buffer = createdWith(declaration);
    buffer.bind();
    QCOMPARE(glrecorder::calls().mid(1),
             (QStringList{"glVertexAttribPointer(0, 4, GL_UNSIGNED_BYTE, true, 4, 0)",
                          "glEnableVertexAttribArray(0)",
                          "glVertexAttribPointer(4, 4, GL_UNSIGNED_BYTE, true, 4, 8)",
                          "glEnableVertexAttribArray(4)"}));
}

void VertexBufferTest::unbindDisablesTheAttributes()
{
    VertexDeclaration declaration;
    declaration.addComponent(2, 0, Float2, TexCoord0, 0);
    declaration.addComponent(0, 8, Float3, Position, 0);
    VertexBuffer buffer = createdWith(declaration);
    buffer.unbind();
    QCOMPARE(glrecorder::calls(),
             (QStringList{"glBindBuffer(GL_ARRAY_BUFFER, 0)", "glDisableVertexAttribArray(2)",
                          "glDisableVertexAttribArray(0)"}));
}

void VertexBufferTest::componentOffsets_data()
{
    QTest::addColumn<int>("usage");
    QTest::addColumn<int>("offset");
    QTest::newRow("position") << 1 << 4;
    QTest::newRow("colour") << 8 << 16;
    QTest::newRow("texture coordinate") << 32 << 20;
    QTest::newRow("not there") << 2 << 0;
    QTest::newRow("two at once are no usage") << 40 << 0;
}

void VertexBufferTest::componentOffsets()
{
    QFETCH(int, usage);
    QFETCH(int, offset);
    // Behind four unused bytes, so that the position's offset is not the 0 of "not there".
    VertexDeclaration declaration;
    declaration.addComponent(0, 4, Float3, Position, 0);
    declaration.addComponent(1, 16, UByte4, Color, 0);
    declaration.addComponent(2, 20, Float2, TexCoord0, 0);
    VertexBuffer buffer;
    buffer.createVertexBuffer(1, declaration);
    QCOMPARE(buffer.getComponentOffset(static_cast<VertexFormatFlag>(usage)), offset);
}

void VertexBufferTest::firstOfTwoOffsetsCounts()
{
    VertexDeclaration declaration;
    declaration.addComponent(0, 0, Float3, Position, 0);
    declaration.addComponent(1, 12, Float2, TexCoord0, 0);
    declaration.addComponent(2, 20, Float2, TexCoord0, 0);
    VertexBuffer buffer;
    buffer.createVertexBuffer(1, declaration);
    QCOMPARE(buffer.getComponentOffset(TexCoord0), 12);
}

void VertexBufferTest::hasComponent_data()
{
    QTest::addColumn<int>("usage");
    QTest::addColumn<bool>("has");
    QTest::newRow("one") << 8 << true;
    QTest::newRow("two at once") << 9 << true;
    QTest::newRow("all") << 41 << true;
    QTest::newRow("not there") << 2 << false;
    QTest::newRow("one of two there") << 3 << false;
}

void VertexBufferTest::hasComponent()
{
    QFETCH(int, usage);
    QFETCH(bool, has);
    VertexBuffer buffer;
    buffer.createVertexBuffer(1, quadDeclaration());
    QCOMPARE(buffer.hasComponent(static_cast<VertexFormatFlag>(usage)), has);
}

void VertexBufferTest::copiesShare()
{
    VertexBuffer buffer;
    const VertexBuffer early(buffer);
    buffer.createVertexBuffer(4, quadDeclaration());
    VertexBuffer copy(buffer);
    VertexBuffer assigned;
    assigned = buffer;
    QVERIFY(buffer.id() != 0);
    QCOMPARE(early.id(), buffer.id());
    QCOMPARE(copy.id(), buffer.id());
    QCOMPARE(assigned.id(), buffer.id());
    QCOMPARE(copy.lock(), buffer.lock());
    QCOMPARE(assigned.numVertices(), 4);
}

void VertexBufferTest::lastHandleDeletes()
{
    bufferhandles::lastOneDeletes(created);
}

void VertexBufferTest::assignmentDeletesTheFormer()
{
    bufferhandles::assignmentDeletesTheFormer(created);
}

void VertexBufferTest::secondCreateForgetsTheName()
{
    unsigned int first = 0;
    unsigned int second = 0;
    {
        VertexBuffer buffer;
        buffer.createVertexBuffer(1, quadDeclaration());
        first = buffer.id();
        buffer.createVertexBuffer(7, quadDeclaration());
        second = buffer.id();
        QVERIFY(second != first);
        QCOMPARE(buffer.numVertices(), 7);
        // Whoever remembers the first name may go on drawing from it.
        QCOMPARE(glrecorder::livingBuffers(), (QSet<unsigned int>{first, second}));
    }
    QCOMPARE(glrecorder::livingBuffers(), QSet<unsigned int>{first});
    glDeleteBuffers(1, &first);
}

void VertexBufferTest::positionBackup()
{
    VertexBuffer buffer;
    buffer.createVertexBuffer(3, quadDeclaration());
    QVERIFY(!buffer.hasPositionBackup());
    QVERIFY(buffer.getPositionBackup() == nullptr);

    QVector3D positions[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    buffer.setPositionBackup(positions);
    QVERIFY(buffer.hasPositionBackup());
    QVector3D* backup = buffer.getPositionBackup();
    positions[2] = QVector3D(-1, -1, -1);
    QCOMPARE(backup[0], QVector3D(1, 2, 3));
    QCOMPARE(backup[2], QVector3D(7, 8, 9));

    buffer.setPositionBackup(positions);
    // Callers hold on to the pointer while they rewrite positions.
    QCOMPARE(buffer.getPositionBackup(), backup);
    QCOMPARE(backup[2], QVector3D(-1, -1, -1));
}

void VertexBufferTest::backupOutlivesASecondCreate_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("newCount");
    QTest::addColumn<bool>("madeAnew");
    QTest::newRow("as many vertices") << 2 << 2 << false;
    QTest::newRow("fewer") << 3 << 1 << false;
    // What there was room for is too little: the copy would run over its end.
    QTest::newRow("more") << 1 << 3 << true;
    QTest::newRow("some after none") << 0 << 3 << true;
}

void VertexBufferTest::backupOutlivesASecondCreate()
{
    QFETCH(int, count);
    QFETCH(int, newCount);
    QFETCH(bool, madeAnew);
    VertexBuffer buffer;
    buffer.createVertexBuffer(count, quadDeclaration());
    unsigned int first = buffer.id();
    QVector3D positions[] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    buffer.setPositionBackup(positions);
    QVector3D* backup = buffer.getPositionBackup();

    buffer.createVertexBuffer(newCount, quadDeclaration());
    glDeleteBuffers(1, &first);
    QVERIFY(buffer.hasPositionBackup());
    QCOMPARE(buffer.getPositionBackup(), backup);
    for (int i = 0; i < count; ++i) {
        QCOMPARE(backup[i], positions[i]);
    }

    for (QVector3D& position : positions) {
        position *= 10;
    }
    buffer.setPositionBackup(positions);
    QCOMPARE(buffer.getPositionBackup() != backup, madeAnew);
    for (int i = 0; i < newCount; ++i) {
        QCOMPARE(buffer.getPositionBackup()[i], positions[i]);
    }
}

void VertexBufferTest::copiesShareThePositionBackup()
{
    VertexBuffer buffer;
    buffer.createVertexBuffer(1, quadDeclaration());
    const VertexBuffer copy(buffer);
    QVector3D position(1, 2, 3);
    buffer.setPositionBackup(&position);
    QVERIFY(copy.hasPositionBackup());
    QCOMPARE(copy.getPositionBackup(), buffer.getPositionBackup());
}

void VertexBufferTest::dirtyOnceCreated()
{
    VertexBuffer buffer;
    buffer.createVertexBuffer(1, quadDeclaration());
    QVERIFY(buffer.isDirty());
    buffer.lock();
    buffer.unlock();
    QVERIFY(buffer.isDirty());
}

void VertexBufferTest::setDirtyMarks()
{
    VertexBuffer buffer;
    QVERIFY(!buffer.isDirty());
    buffer.setDirty();
    QVERIFY(buffer.isDirty());
}

void VertexBufferTest::renderDoesNothing()
{
    VertexBuffer buffer;
    buffer.createVertexBuffer(4, quadDeclaration());
    glrecorder::takeCalls();
    buffer.render();
    QCOMPARE(glrecorder::calls(), QStringList());
}

QTEST_GUILESS_MAIN(VertexBufferTest)
#include "vertexbuffertest.moc"
