#pragma once

#include <QSharedPointer>

namespace graphics {

/// A handle on a GL element array buffer and its copy in memory; copies of the handle share both.
/// createIndexBuffer() makes the GL buffer (glGenBuffers), the last handle deletes it
/// (glDeleteBuffers), so that one must die while the GL context is current.
class IndexBuffer
{
public:
    enum IndexTypeEnum : int { Index8 = 1, Index16 = 2, Index32 = 3 };

    /// No buffer: id 0, no indices.
    IndexBuffer();

    /// Makes room for `count` indices of undefined value; the buffer stays bound. An unknown type
    /// has indices of no bytes. A second call makes a new GL buffer and forgets the old one without
    /// deleting it.
    void createIndexBuffer(int count, IndexTypeEnum type);

    /// The copy in memory, to write to; unlock() uploads it. For other types than Index16 cast the
    /// pointer.
    unsigned short* lock();
    /// glBufferData of the whole copy; no element array buffer is bound afterwards.
    void unlock();

    void bind();
    void unbind();

    /// The `i`-th index, whatever its width; 0 for an unknown type. `i` must be below size().
    unsigned int index(int i) const;

    IndexTypeEnum type() const;
    /// Bytes of an index: 1, 2 or 4; 0 for an unknown type.
    int typeSize() const;
    /// The number of indices.
    int size() const;
    /// GL name; 0 until created.
    unsigned int id() const;

private:
    struct IndexBufferPrivate;
    QSharedPointer<IndexBufferPrivate> d;
};

} // namespace graphics
