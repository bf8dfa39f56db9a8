#pragma once

#include "graphics/texture.h"

namespace graphics {

/// A two-dimensional texture without mipmaps. Ownership: see Texture. Needs a current GL context
/// wherever a GL call is named.
class Texture2d : public Texture
{
public:
    /// No texture: id 0, and no GL call in its life.
    Texture2d();

    /// Adopts an existing GL texture, which the last copy then deletes. Its size stays unknown.
    explicit Texture2d(unsigned int textureId);

    /// Creates an empty, repeating RGBA texture (glGenTextures, glTexImage2D) of `width` × `height`
    /// texels. Any `filtering` but Linear is taken as Nearest.
    Texture2d(unsigned int width, unsigned int height, Texture::Filtering filtering);

    /// Uploads a whole picture (glTexImage2D): bytes R, G, B, A, rows from v = 0 on. A size of 0
    /// keeps the stored one. `format` has no effect, on purpose: there is only one format.
    void setBuffer(unsigned char* pixels, unsigned int width, unsigned int height,
                   unsigned int format);

    /// glBindTexture(GL_TEXTURE_2D) on the active unit; id 0 binds no texture.
    void bind() const;
    /// Binds texture 0, whatever is bound.
    void unbind() const;

private:
    friend class TextureLoader;
};

} // namespace graphics
