#pragma once

#include "graphics/textureloader.h"

namespace graphics {

/// Loads whatever Qt's image reader knows, as a linear-filtered, repeating RGBA texture.
class DefaultTextureLoader : public TextureLoader
{
public:
    /// A `width` or `height` below 1 is the image's own; any other stretches it, smoothly. A file
    /// that cannot be read raises a warning box "Textures" and gives an empty handle.
    Texture2d loadTexture(const QString& filename, int width, int height) override;
};

} // namespace graphics
