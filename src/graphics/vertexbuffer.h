#pragma once

#include <QSharedPointer>
#include <QVector3D>

#include <memory>

namespace graphics {

enum VertexComponentType : int { Float1 = 1, Float2, Float3, Float4, UByte4 };

/// What a component is for; one bit each, other bits are free for further usages.
enum VertexFormatFlag : int { Position = 1, Color = 8, TexCoord0 = 32 };

/// Where a component enters a shader; the same in every program, so that any vertex buffer goes
/// with any of them. The last two are those of the matrix palette.
enum AttributeLocation : int {
    PositionLocation,
    ColorLocation,
    TexCoordLocation,
    MatrixWeightsLocation,
    MatrixIndicesLocation
};

/// Bytes of a component; 0 for an unknown type.
int getVertexComponentTypeSize(VertexComponentType type);

/// What glVertexAttribPointer wants to know of a component; nothing is written for an unknown type.
void getVertexComponentTypeInfo(VertexComponentType type, int* count, unsigned int* glType,
                                unsigned char* normalised);

/// The layout of one interleaved vertex. A value: copies are deep.
class VertexDeclaration
{
public:
    struct VertexComponent
    {
        int location;        ///< The shader's attribute index, an AttributeLocation for ours.
        unsigned int offset; ///< Bytes from the start of the vertex.
        VertexComponentType type;
        VertexFormatFlag usage;
        int extra; ///< Reserve: the caller's own.
    };

    VertexDeclaration();
    VertexDeclaration(const VertexDeclaration& other);
    VertexDeclaration& operator=(const VertexDeclaration& other);
    ~VertexDeclaration();

    /// Appends a component. The offset is the caller's: it is not computed from what came before.
    void addComponent(int location, unsigned int offset, VertexComponentType type,
                      VertexFormatFlag usage, int extra);

    /// `index` must be below numComponents().
    const VertexComponent& component(unsigned int index) const;
    int numComponents() const;
    /// Bytes of a vertex: the sum of its components' sizes.
    int vertexSize() const;
    /// All usages in one.
    unsigned int flags() const;

private:
    struct VertexDeclarationPrivate;
    std::unique_ptr<VertexDeclarationPrivate> d;
};

/// A handle on a GL vertex buffer and its copy in memory; copies of the handle share both.
/// createVertexBuffer() makes the GL buffer (glGenBuffers), the last handle deletes it
/// (glDeleteBuffers), so that one must die while the GL context is current.
class VertexBuffer
{
public:
    /// No buffer: id 0, no vertices.
    VertexBuffer();

    /// Makes room for `numVertices` zeroed vertices; always true. A second call makes a new GL
    /// buffer and forgets the old one without deleting it; the position backup stays as it is.
    bool createVertexBuffer(int numVertices, const VertexDeclaration& declaration);

    /// The copy in memory, numVertices() × getVertexSize() bytes, to write to; unlock() uploads it.
    void* lock();
    void* data();
    /// glBufferData of the whole copy; the buffer stays bound.
    void unlock();

    /// Binds the buffer and points the shader's attributes at it.
    void bind();
    /// Binds no buffer and disables the attributes.
    void unbind();

    /// The offset of the first component with exactly this usage; 0 where there is none.
    int getComponentOffset(VertexFormatFlag usage) const;
    /// True when the declaration has all bits of `usage`.
    bool hasComponent(VertexFormatFlag usage) const;

    /// Reserve: keeps a copy of numVertices() positions for callers that rewrite them.
    void setPositionBackup(QVector3D* positions);
    /// As many positions as there were vertices when they were set; null before. Valid until the
    /// last handle goes, or until more positions are set than it has room for.
    QVector3D* getPositionBackup() const;
    bool hasPositionBackup() const;

    void setDirty();
    /// True from creation on: nothing here clears it.
    bool isDirty() const;
    /// GL name; 0 until created.
    unsigned int id() const;
    int numVertices() const;
    /// Bytes.
    int getVertexSize() const;
    const VertexDeclaration& vertexDeclaration() const;

    /// Reserve: does nothing. The renderer draws.
    void render();

private:
    struct VertexBufferPrivate;
    QSharedPointer<VertexBufferPrivate> d;
};

} // namespace graphics
