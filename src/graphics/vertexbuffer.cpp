#include "graphics/vertexbuffer.h"

#include <QByteArray>
#include <QVector>
#include <QtDebug>

#include <GLES2/gl2.h>

#include <algorithm>
#include <cstdint>

namespace graphics {

int getVertexComponentTypeSize(VertexComponentType type)
{
    switch (type) {
    case Float1:
        return 4;
    case Float2:
        return 8;
    case Float3:
        return 12;
    case Float4:
        return 16;
    case UByte4:
        return 4;
    }
    return 0;
}

void getVertexComponentTypeInfo(VertexComponentType type, int* count, unsigned int* glType,
                                unsigned char* normalised)
{
    switch (type) {
    case Float1:
    case Float2:
    case Float3:
    case Float4:
        *count = static_cast<int>(type);
        *glType = GL_FLOAT;
        *normalised = GL_FALSE;
        break;
    case UByte4:
        *count = 4;
        *glType = GL_UNSIGNED_BYTE;
        *normalised = GL_TRUE;
        break;
    }
}

struct VertexDeclaration::VertexDeclarationPrivate
{
    QVector<VertexComponent> components;
    int vertexSize = 0;
    unsigned int flags = 0;
};

VertexDeclaration::VertexDeclaration() : d(new VertexDeclarationPrivate)
{
    d->components.reserve(10);
}

VertexDeclaration::VertexDeclaration(const VertexDeclaration& other)
    : d(new VertexDeclarationPrivate(*other.d))
{
}

VertexDeclaration& VertexDeclaration::operator=(const VertexDeclaration& other)
{
    *d = *other.d;
    return *this;
}

VertexDeclaration::~VertexDeclaration() = default;

void VertexDeclaration::addComponent(int location, unsigned int offset, VertexComponentType type,
                                     VertexFormatFlag usage, int extra)
{
    d->components.append(VertexComponent{location, offset, type, usage, extra});
    d->flags |= static_cast<unsigned int>(usage);
    d->vertexSize += getVertexComponentTypeSize(type);
}

const VertexDeclaration::VertexComponent& VertexDeclaration::component(unsigned int index) const
{
    return d->components.at(static_cast<int>(index));
}

int VertexDeclaration::numComponents() const
{
    return d->components.size();
}

int VertexDeclaration::vertexSize() const
{
    return d->vertexSize;
}

unsigned int VertexDeclaration::flags() const
{
    return d->flags;
}

struct VertexBuffer::VertexBufferPrivate
{
    VertexBufferPrivate() = default;
    Q_DISABLE_COPY(VertexBufferPrivate)
    ~VertexBufferPrivate();

    int unused = 0; ///< Reserve.
    QByteArray data;
    unsigned int id = 0;
    VertexDeclaration declaration;
    int numVertices = 0;
    bool dirty = false;
    bool unusedFlag = false; ///< Reserve.
    bool hasPositionBackup = false;
    std::unique_ptr<QVector3D[]> positionBackup;
    int backupSize = 0; ///< Positions that the backup has room for.
};

VertexBuffer::VertexBufferPrivate::~VertexBufferPrivate()
{
    if (id != 0) {
        glDeleteBuffers(1, &id);
    }
}

VertexBuffer::VertexBuffer() : d(new VertexBufferPrivate) {}

bool VertexBuffer::createVertexBuffer(int numVertices, const VertexDeclaration& declaration)
{
    d->declaration = declaration;
    d->numVertices = numVertices;
    d->data = QByteArray(numVertices * declaration.vertexSize(), '\0');
    glGenBuffers(1, &d->id);
    glBindBuffer(GL_ARRAY_BUFFER, d->id);
    glBufferData(GL_ARRAY_BUFFER, d->data.size(), nullptr, GL_STATIC_DRAW);
    qDebug("Created vbuffer %i", d->id);
    d->dirty = true;
    return true;
}

void* VertexBuffer::lock()
{
    return d->data.data();
}

void* VertexBuffer::data()
{
    return d->data.data();
}

void VertexBuffer::unlock()
{
    glBindBuffer(GL_ARRAY_BUFFER, d->id);
    glBufferData(GL_ARRAY_BUFFER, d->data.size(), d->data.constData(), GL_STATIC_DRAW);
}

void VertexBuffer::bind()
{
    glBindBuffer(GL_ARRAY_BUFFER, d->id);
    const auto components = static_cast<unsigned int>(d->declaration.numComponents());
    // Outside the loop: a component of an unknown type goes by what the one before it was.
    int count = 0;
    unsigned int glType = 0;
    unsigned char normalised = 0;
    for (unsigned int i = 0; i < components; ++i) {
        const VertexDeclaration::VertexComponent& component = d->declaration.component(i);
        getVertexComponentTypeInfo(component.type, &count, &glType, &normalised);
        const auto location = static_cast<GLuint>(component.location);
        glVertexAttribPointer(location, count, glType, normalised, d->declaration.vertexSize(),
                              reinterpret_cast<const void*>(std::uintptr_t{component.offset}));
        glEnableVertexAttribArray(location);
    }
}

void VertexBuffer::unbind()
{
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    const auto components = static_cast<unsigned int>(d->declaration.numComponents());
    for (unsigned int i = 0; i < components; ++i) {
        glDisableVertexAttribArray(static_cast<GLuint>(d->declaration.component(i).location));
    }
}

int VertexBuffer::getComponentOffset(VertexFormatFlag usage) const
{
    const auto components = static_cast<unsigned int>(d->declaration.numComponents());
    for (unsigned int i = 0; i < components; ++i) {
        const VertexDeclaration::VertexComponent& component = d->declaration.component(i);
        if (component.usage == usage) {
            return static_cast<int>(component.offset);
        }
    }
    return 0;
}

bool VertexBuffer::hasComponent(VertexFormatFlag usage) const
{
    const auto bits = static_cast<unsigned int>(usage);
    return (d->declaration.flags() & bits) == bits;
}

void VertexBuffer::setPositionBackup(QVector3D* positions)
{
    if (!d->hasPositionBackup || d->backupSize < d->numVertices) {
        d->positionBackup = std::make_unique<QVector3D[]>(static_cast<size_t>(d->numVertices));
        d->backupSize = d->numVertices;
        d->hasPositionBackup = true;
    }
    std::copy_n(positions, d->numVertices, d->positionBackup.get());
}

QVector3D* VertexBuffer::getPositionBackup() const
{
    return d->positionBackup.get();
}

bool VertexBuffer::hasPositionBackup() const
{
    return d->hasPositionBackup;
}

void VertexBuffer::setDirty()
{
    d->dirty = true;
}

bool VertexBuffer::isDirty() const
{
    return d->dirty;
}

unsigned int VertexBuffer::id() const
{
    return d->id;
}

int VertexBuffer::numVertices() const
{
    return d->numVertices;
}

int VertexBuffer::getVertexSize() const
{
    return d->declaration.vertexSize();
}

const VertexDeclaration& VertexBuffer::vertexDeclaration() const
{
    return d->declaration;
}

void VertexBuffer::render() {}

} // namespace graphics
