#pragma once

#include "graphics/indexbuffer.h"
#include "graphics/renderer.h"
#include "graphics/vertexbuffer.h"

#include <QVector3D>

#include <memory>

namespace graphics {

/// A textured rectangle of one colour in the plane z = 0, drawn as a strip of four vertices.
/// Copies take over colour and corners and share the buffers, which the last copy deletes; it must
/// die while the GL context is current. The texture is bound by the caller.
class Quad
{
public:
    /// The rectangle from (x1, y1) to (x2, y2), texture (0, 0) at (x1, y1); a reversed order
    /// mirrors the texture. `color` is four bytes in memory: red in bits 0–7, green, blue, alpha.
    Quad(unsigned int color, float x1, float y1, float x2, float y2);
    Quad(const Quad& other);
    Quad& operator=(const Quad& other);
    ~Quad();

    void setVertices(float x1, float y1, float x2, float y2);
    /// Corners at texture (0, 0), (1, 0), (0, 1), (1, 1). Unlike the other setters it leaves the
    /// drawn quad alone until updateChanges() or the next change that does not: corners that are
    /// set in every frame are then uploaded when the caller says.
    void setVertices(const QVector3D& p0, const QVector3D& p1, const QVector3D& p2,
                     const QVector3D& p3);
    void setColor(unsigned int color);

    /// Uploads the vertices (glBufferData).
    void updateChanges();
    /// Uploads the vertices if they have changed, and draws (glDrawArrays).
    void render(Renderer* renderer);

    VertexBuffer& vertexBuffer();
    /// Indices 0..3, for callers that draw by index. Reserve: render() does not need them.
    IndexBuffer& indexBuffer();
    const VertexDeclaration& vertexDeclaration() const;
    /// TriangleStrip.
    PrimitiveListType primitiveType() const;
    /// 4.
    int numVertices() const;

private:
    struct QuadPrivate;
    std::unique_ptr<QuadPrivate> d;
};

} // namespace graphics
