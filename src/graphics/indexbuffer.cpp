#include "graphics/indexbuffer.h"

#include <GLES2/gl2.h>

#include <cstdint>
#include <memory>

namespace graphics {

struct IndexBuffer::IndexBufferPrivate
{
    IndexBufferPrivate() = default;
    Q_DISABLE_COPY(IndexBufferPrivate)
    ~IndexBufferPrivate();

    int unused = 0; ///< Reserve.
    IndexTypeEnum type = IndexTypeEnum(0);
    unsigned int id = 0;
    bool locked = false; ///< Reserve, like `bound`: it forbids nothing.
    bool bound = false;
    int size = 0;
    int unusedSize = 0; ///< Reserve.
    std::unique_ptr<unsigned char[]> data;
};

IndexBuffer::IndexBufferPrivate::~IndexBufferPrivate()
{
    if (id != 0) {
        glDeleteBuffers(1, &id);
        id = 0;
    }
}

IndexBuffer::IndexBuffer() : d(new IndexBufferPrivate) {}

void IndexBuffer::createIndexBuffer(int count, IndexTypeEnum type)
{
    d->type = type;
    d->size = count;
    glGenBuffers(1, &d->id);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, d->id);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, count * typeSize(), nullptr, GL_STATIC_DRAW);
    d->data.reset(new unsigned char[static_cast<size_t>(count) * static_cast<size_t>(typeSize())]);
}

unsigned short* IndexBuffer::lock()
{
    d->locked = true;
    return reinterpret_cast<unsigned short*>(d->data.get());
}

void IndexBuffer::unlock()
{
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, d->id);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, d->size * typeSize(), d->data.get(), GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    d->locked = false;
}

void IndexBuffer::bind()
{
    d->bound = true;
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, d->id);
}

void IndexBuffer::unbind()
{
    d->bound = false;
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
}

unsigned int IndexBuffer::index(int i) const
{
    switch (d->type) {
    case Index8:
        return d->data[static_cast<size_t>(i)];
    case Index16:
        return reinterpret_cast<const std::uint16_t*>(d->data.get())[i];
    case Index32:
        return reinterpret_cast<const std::uint32_t*>(d->data.get())[i];
    }
    return 0;
}

IndexBuffer::IndexTypeEnum IndexBuffer::type() const
{
    return d->type;
}

int IndexBuffer::typeSize() const
{
    switch (d->type) {
    case Index8:
        return 1;
    case Index16:
        return 2;
    case Index32:
        return 4;
    }
    return 0;
}

int IndexBuffer::size() const
{
    return d->size;
}

unsigned int IndexBuffer::id() const
{
    return d->id;
}

} // namespace graphics
