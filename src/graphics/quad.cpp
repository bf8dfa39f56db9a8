#include "graphics/quad.h"

#include <cstdint>

namespace graphics {

namespace {

const int NUM_VERTICES = 4;

/// A vertex as it lies in the buffer.
struct QuadVertex
{
    float x, y, z;
    std::uint32_t color;
    float u, v;
};
static_assert(sizeof(QuadVertex) == 24, "the vertex buffer takes vertices without gaps");

} // namespace

struct Quad::QuadPrivate
{
    void setCorners(float x1, float y1, float x2, float y2);

    bool dirty = false;
    unsigned int color = 0;
    VertexBuffer vertexBuffer;
    IndexBuffer indexBuffer;
    QVector3D corners[NUM_VERTICES];
};

void Quad::QuadPrivate::setCorners(float x1, float y1, float x2, float y2)
{
    corners[0] = QVector3D(x1, y1, 0.0f);
    corners[1] = QVector3D(x2, y1, 0.0f);
    corners[2] = QVector3D(x1, y2, 0.0f);
    corners[3] = QVector3D(x2, y2, 0.0f);
}

Quad::Quad(unsigned int color, float x1, float y1, float x2, float y2) : d(new QuadPrivate)
{
    VertexDeclaration declaration;
    declaration.addComponent(PositionLocation, 0, Float3, Position, 0);
    declaration.addComponent(ColorLocation, 12, UByte4, Color, 0);
    declaration.addComponent(TexCoordLocation, 16, Float2, TexCoord0, 0);
    d->vertexBuffer.createVertexBuffer(NUM_VERTICES, declaration);
    d->indexBuffer.createIndexBuffer(NUM_VERTICES, IndexBuffer::Index16);

    d->color = color;
    d->setCorners(x1, y1, x2, y2);
    updateChanges();

    unsigned short* indices = d->indexBuffer.lock();
    for (unsigned short i = 0; i < NUM_VERTICES; ++i) {
        indices[i] = i;
    }
    d->indexBuffer.unlock();
}

Quad::Quad(const Quad& other) : d(new QuadPrivate(*other.d)) {}

Quad& Quad::operator=(const Quad& other)
{
    *d = *other.d;
    return *this;
}

Quad::~Quad() = default;

void Quad::setVertices(float x1, float y1, float x2, float y2)
{
    d->setCorners(x1, y1, x2, y2);
    d->dirty = true;
}

void Quad::setVertices(const QVector3D& p0, const QVector3D& p1, const QVector3D& p2,
                       const QVector3D& p3)
{
    d->corners[0] = p0;
    d->corners[1] = p1;
    d->corners[2] = p2;
    d->corners[3] = p3;
}

void Quad::setColor(unsigned int color)
{
    d->color = color;
    d->dirty = true;
}

void Quad::updateChanges()
{
    // In the order of the strip: each corner with its texture coordinate.
    static const struct
    {
        int corner;
        float u, v;
    } STRIP[NUM_VERTICES] = {{2, 0.0f, 1.0f}, {0, 0.0f, 0.0f}, {3, 1.0f, 1.0f}, {1, 1.0f, 0.0f}};

    auto* vertices = static_cast<QuadVertex*>(d->vertexBuffer.lock());
    for (int i = 0; i < NUM_VERTICES; ++i) {
        const QVector3D& corner = d->corners[STRIP[i].corner];
        vertices[i] =
            QuadVertex{corner.x(), corner.y(), corner.z(), d->color, STRIP[i].u, STRIP[i].v};
    }
    d->vertexBuffer.unlock();
    d->dirty = false;
}

void Quad::render(Renderer* renderer)
{
    if (d->dirty) {
        updateChanges();
    }
    renderer->render(primitiveType(), d->vertexBuffer, 0, numVertices());
}

VertexBuffer& Quad::vertexBuffer()
{
    return d->vertexBuffer;
}

IndexBuffer& Quad::indexBuffer()
{
    return d->indexBuffer;
}

const VertexDeclaration& Quad::vertexDeclaration() const
{
    return d->vertexBuffer.vertexDeclaration();
}

PrimitiveListType Quad::primitiveType() const
{
    return TriangleStrip;
}

int Quad::numVertices() const
{
    return NUM_VERTICES;
}

} // namespace graphics
