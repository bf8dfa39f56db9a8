#pragma once

#include "graphics/texture2d.h"

namespace graphics {

struct TexturePrivateData;

/// The base of what turns image files into textures.
class TextureLoader
{
public:
    virtual ~TextureLoader();

    /// Loads `filename` at `width` × `height` texels. What a size below 1 means, and what a file
    /// that cannot be read gives, is the loader's to say.
    virtual Texture2d loadTexture(const QString& filename, int width, int height) = 0;

protected:
    /// A handle on a record that the loader has filled in. Takes ownership of `data` and of the GL
    /// texture named in it; null gives an empty handle.
    Texture2d createTexture2d(TexturePrivateData* data);
};

} // namespace graphics
