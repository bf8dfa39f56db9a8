#include "graphics/texture2d.h"

#include "graphics/texture_p.h"

#include <GLES2/gl2.h>

namespace graphics {

Texture2d::Texture2d() = default;

Texture2d::Texture2d(unsigned int textureId)
{
    d->data->textureId = textureId;
}

Texture2d::Texture2d(unsigned int width, unsigned int height, Texture::Filtering filtering)
{
    TexturePrivate created;
    created.data->width = width;
    created.data->height = height;
    glGenTextures(1, &created.data->textureId);
    glBindTexture(GL_TEXTURE_2D, created.data->textureId);
    // The internal format is the number of components, as GL took it from its first version on.
    glTexImage2D(GL_TEXTURE_2D, 0, 4, static_cast<GLsizei>(width), static_cast<GLsizei>(height), 0,
                 GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    const GLint filter = filtering == Linear ? GL_LINEAR : GL_NEAREST;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glBindTexture(GL_TEXTURE_2D, 0);
    *d = created;
}

void Texture2d::setBuffer(unsigned char* pixels, unsigned int width, unsigned int height,
                          unsigned int)
{
    TexturePrivateData& record = *d->data;
    if (width != 0) {
        record.width = width;
    }
    if (height != 0) {
        record.height = height;
    }
    glBindTexture(GL_TEXTURE_2D, record.textureId);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, static_cast<GLsizei>(record.width),
                 static_cast<GLsizei>(record.height), 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    glBindTexture(GL_TEXTURE_2D, 0);
}

void Texture2d::bind() const
{
    glBindTexture(GL_TEXTURE_2D, textureId());
}

void Texture2d::unbind() const
{
    glBindTexture(GL_TEXTURE_2D, 0);
}

} // namespace graphics
