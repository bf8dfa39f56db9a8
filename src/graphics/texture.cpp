#include "graphics/texture.h"

#include "graphics/texture_p.h"

#include <GLES2/gl2.h>

namespace graphics {

namespace {

void deleteRecord(TexturePrivateData* record)
{
    if (record->textureId != 0) {
        glDeleteTextures(1, &record->textureId);
        record->textureId = 0;
    }
    delete record;
}

} // namespace

TexturePrivate::TexturePrivate() : TexturePrivate(new TexturePrivateData) {}

TexturePrivate::TexturePrivate(TexturePrivateData* record) : data(record, deleteRecord) {}

Texture::Texture() : d(new TexturePrivate) {}

Texture::Texture(const Texture& other) : d(new TexturePrivate(*other.d)) {}

Texture& Texture::operator=(const Texture& other)
{
    *d = *other.d;
    return *this;
}

Texture::~Texture() = default;

unsigned int Texture::textureId() const
{
    return d->data->textureId;
}

QString Texture::filename() const
{
    return d->data->filename;
}

unsigned int Texture::width() const
{
    return d->data->width;
}

unsigned int Texture::height() const
{
    return d->data->height;
}

} // namespace graphics
