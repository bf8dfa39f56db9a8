#pragma once

#include <QString>

#include <memory>

namespace graphics {

struct TexturePrivate;

/// A handle on a GL texture. Copies share the texture; the last handle deletes it
/// (glDeleteTextures), so it must die while the GL context is current.
class Texture
{
public:
    enum Filtering : int { Nearest = 0, Linear = 1 };

    Texture();
    Texture(const Texture& other);
    Texture& operator=(const Texture& other);
    ~Texture();

    /// GL name; 0: no texture.
    unsigned int textureId() const;
    /// The file that it was loaded from; empty for one made in code.
    QString filename() const;
    /// Texels; 0 where unknown, as for an adopted texture.
    unsigned int width() const;
    unsigned int height() const;

protected:
    std::unique_ptr<TexturePrivate> d;
};

} // namespace graphics
