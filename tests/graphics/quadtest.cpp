#include "graphics/quad.h"

#include "support/glrecorder.h"

#include <QTest>

#include <cstring>
#include <memory>

using namespace graphics;

namespace {

struct Vertex
{
    float x, y, z;
    unsigned char red, green, blue, alpha;
    float u, v;

    bool operator==(const Vertex& other) const
    {
        return std::memcmp(this, &other, sizeof other) == 0;
    }
};
static_assert(sizeof(Vertex) == 24, "as it lies in the buffer");

QVector<Vertex> uploaded(Quad& quad)
{
    const QByteArray bytes = glrecorder::bufferData(quad.vertexBuffer().id());
    QVector<Vertex> vertices(bytes.size() / static_cast<int>(sizeof(Vertex)));
    std::memcpy(vertices.data(), bytes.constData(), vertices.size() * sizeof(Vertex));
    return vertices;
}

/// The vertices of a strip over these corners, in the colour of OPAQUE.
QVector<Vertex> strip(const QVector3D& p0, const QVector3D& p1, const QVector3D& p2,
                      const QVector3D& p3)
{
    return {{p2.x(), p2.y(), p2.z(), 0x11, 0x22, 0x33, 0xff, 0, 1},
            {p0.x(), p0.y(), p0.z(), 0x11, 0x22, 0x33, 0xff, 0, 0},
            {p3.x(), p3.y(), p3.z(), 0x11, 0x22, 0x33, 0xff, 1, 1},
            {p1.x(), p1.y(), p1.z(), 0x11, 0x22, 0x33, 0xff, 1, 0}};
}

QVector<Vertex> rectangle(float x1, float y1, float x2, float y2)
{
    return strip({x1, y1, 0}, {x2, y1, 0}, {x1, y2, 0}, {x2, y2, 0});
}

const unsigned int OPAQUE = 0xFF332211;

} // namespace

namespace QTest {

template <>
char* toString(const QVector<Vertex>& vertices)
{
    QString text;
    for (const Vertex& v : vertices) {
        text += QString("(%1 %2 %3; %4 %5 %6 %7; %8 %9) ")
                    .arg(v.x)
                    .arg(v.y)
                    .arg(v.z)
                    .arg(v.red)
                    .arg(v.green)
                    .arg(v.blue)
                    .arg(v.alpha)
                    .arg(v.u)
                    .arg(v.v);
    }
    return qstrdup(qPrintable(text));
}

} // namespace QTest

class QuadTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void creationCalls();
    void layout();
    void verticesGoInStripOrder_data();
    void verticesGoInStripOrder();
    void colorIsFourBytes();
    void indicesCountUp();
    void settersDoNotUpload();
    void updateChangesUploads();
    void updateChangesTakesFreeCorners();
    void isAStripOfFour();
    void copiesShareTheBuffers();
    void copiesHaveTheirOwnColourAndCorners();
    void assignmentDeletesTheFormerBuffers();
    void lastCopyDeletesTheBuffers();
};

void QuadTest::init()
{
    glrecorder::start(glrecorder::Fake);
}

void QuadTest::cleanup()
{
    QVERIFY2(glrecorder::livingBuffers().isEmpty(), "a buffer was not deleted");
}

void QuadTest::creationCalls()
{
    Quad quad(OPAQUE, -1, -1, 1, 1);
    const QString vertices =
        QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(quad.vertexBuffer().id());
    const QString indices =
        QString("glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, %1)").arg(quad.indexBuffer().id());
    QCOMPARE(
        glrecorder::calls(),
        (QStringList{"glGenBuffers(1)", vertices,
                     "glBufferData(GL_ARRAY_BUFFER, 96, null, GL_STATIC_DRAW)", "glGenBuffers(1)",
                     indices, "glBufferData(GL_ELEMENT_ARRAY_BUFFER, 8, null, GL_STATIC_DRAW)",
                     vertices, "glBufferData(GL_ARRAY_BUFFER, 96, data, GL_STATIC_DRAW)", indices,
                     "glBufferData(GL_ELEMENT_ARRAY_BUFFER, 8, data, GL_STATIC_DRAW)",
                     "glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0)"}));
}

void QuadTest::layout()
{
    const Quad quad(OPAQUE, -1, -1, 1, 1);
    const VertexDeclaration& declaration = quad.vertexDeclaration();
    QCOMPARE(declaration.vertexSize(), 24);
    QCOMPARE(declaration.flags(), 41u);
    QCOMPARE(declaration.numComponents(), 3);
    const VertexDeclaration::VertexComponent expected[] = {
        {0, 0, Float3, Position, 0}, {1, 12, UByte4, Color, 0}, {2, 16, Float2, TexCoord0, 0}};
    for (unsigned int i = 0; i < 3; ++i) {
        const VertexDeclaration::VertexComponent& component = declaration.component(i);
        QCOMPARE(component.location, expected[i].location);
        QCOMPARE(component.offset, expected[i].offset);
        QCOMPARE(component.type, expected[i].type);
        QCOMPARE(component.usage, expected[i].usage);
        QCOMPARE(component.extra, expected[i].extra);
    }
}

void QuadTest::verticesGoInStripOrder_data()
{
    QTest::addColumn<QVector<float>>("corners");
    QTest::newRow("full screen") << QVector<float>{-1, -1, 1, 1};
    QTest::newRow("four different numbers") << QVector<float>{-0.5f, -0.25f, 2, 3};
    QTest::newRow("left and right exchanged") << QVector<float>{1, -1, -1, 1};
    QTest::newRow("top and bottom exchanged") << QVector<float>{-1, 1, 1, -1};
}

void QuadTest::verticesGoInStripOrder()
{
    QFETCH(QVector<float>, corners);
    Quad quad(OPAQUE, corners[0], corners[1], corners[2], corners[3]);
    QCOMPARE(uploaded(quad), rectangle(corners[0], corners[1], corners[2], corners[3]));
}

void QuadTest::colorIsFourBytes()
{
    Quad quad(0x88664422, -1, -1, 1, 1);
    for (const Vertex& vertex : uploaded(quad)) {
        QCOMPARE(static_cast<int>(vertex.red), 0x22);
        QCOMPARE(static_cast<int>(vertex.green), 0x44);
        QCOMPARE(static_cast<int>(vertex.blue), 0x66);
        QCOMPARE(static_cast<int>(vertex.alpha), 0x88);
    }
}

void QuadTest::indicesCountUp()
{
    Quad quad(OPAQUE, -1, -1, 1, 1);
    QCOMPARE(quad.indexBuffer().type(), IndexBuffer::Index16);
    QCOMPARE(quad.indexBuffer().size(), 4);
    QCOMPARE(glrecorder::bufferData(quad.indexBuffer().id()), QByteArray("\0\0\1\0\2\0\3\0", 8));
}

void QuadTest::settersDoNotUpload()
{
    Quad quad(OPAQUE, -1, -1, 1, 1);
    glrecorder::takeCalls();
    quad.setColor(0);
    quad.setVertices(0, 0, 1, 1);
    quad.setVertices({0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0});
    QCOMPARE(glrecorder::calls(), QStringList());
}

void QuadTest::updateChangesUploads()
{
    Quad quad(0, -1, -1, 1, 1);
    quad.setColor(OPAQUE);
    quad.setVertices(-0.5f, -0.25f, 2, 3);
    glrecorder::takeCalls();
    quad.updateChanges();
    QCOMPARE(
        glrecorder::calls(),
        (QStringList{QString("glBindBuffer(GL_ARRAY_BUFFER, %1)").arg(quad.vertexBuffer().id()),
                     "glBufferData(GL_ARRAY_BUFFER, 96, data, GL_STATIC_DRAW)"}));
    QCOMPARE(uploaded(quad), rectangle(-0.5f, -0.25f, 2, 3));
}

void QuadTest::updateChangesTakesFreeCorners()
{
    Quad quad(OPAQUE, -1, -1, 1, 1);
    const QVector3D p0(1, 2, 3);
    const QVector3D p1(4, 5, 6);
    const QVector3D p2(7, 8, 9);
    const QVector3D p3(10, 11, 12);
    quad.setVertices(p0, p1, p2, p3);
    QCOMPARE(uploaded(quad), rectangle(-1, -1, 1, 1));
    quad.updateChanges();
    QCOMPARE(uploaded(quad), strip(p0, p1, p2, p3));
    // Back in the plane.
    quad.setVertices(-1, -1, 1, 1);
    quad.updateChanges();
    QCOMPARE(uploaded(quad), rectangle(-1, -1, 1, 1));
}

void QuadTest::isAStripOfFour()
{
    const Quad quad(OPAQUE, -1, -1, 1, 1);
    QCOMPARE(static_cast<int>(quad.primitiveType()), 1);
    QCOMPARE(quad.numVertices(), 4);
}

void QuadTest::copiesShareTheBuffers()
{
    Quad quad(OPAQUE, -1, -1, 1, 1);
    Quad other(0, 0, 0, 1, 1);
    Quad copy(quad);
    other = quad;
    QCOMPARE(copy.vertexBuffer().id(), quad.vertexBuffer().id());
    QCOMPARE(copy.indexBuffer().id(), quad.indexBuffer().id());
    QCOMPARE(other.vertexBuffer().id(), quad.vertexBuffer().id());
    QCOMPARE(other.indexBuffer().id(), quad.indexBuffer().id());
}

void QuadTest::copiesHaveTheirOwnColourAndCorners()
{
    Quad quad(OPAQUE, -1, -1, 1, 1);
    Quad copy(quad);
    copy.setColor(0);
    copy.setVertices(5, 5, 6, 6);
    quad.updateChanges();
    QCOMPARE(uploaded(quad), rectangle(-1, -1, 1, 1));
}

void QuadTest::assignmentDeletesTheFormerBuffers()
{
    Quad quad(OPAQUE, -1, -1, 1, 1);
    Quad other(OPAQUE, -1, -1, 1, 1);
    const QSet<unsigned int> former = {other.vertexBuffer().id(), other.indexBuffer().id()};
    other = quad;
    QVERIFY(!glrecorder::livingBuffers().intersects(former));
    QCOMPARE(glrecorder::livingBuffers().size(), 2);
}

void QuadTest::lastCopyDeletesTheBuffers()
{
    auto quad = std::make_unique<Quad>(OPAQUE, -1.0f, -1.0f, 1.0f, 1.0f);
    auto copy = std::make_unique<Quad>(*quad);
    const QSet<unsigned int> buffers = {copy->vertexBuffer().id(), copy->indexBuffer().id()};
    quad.reset();
    QCOMPARE(glrecorder::livingBuffers(), buffers);
    copy.reset();
    QCOMPARE(glrecorder::livingBuffers(), QSet<unsigned int>());
}

QTEST_GUILESS_MAIN(QuadTest)
#include "quadtest.moc"
