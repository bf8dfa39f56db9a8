#include "graphics/textureloader.h"

#include "graphics/texture_p.h"

namespace graphics {

TextureLoader::~TextureLoader() = default;

Texture2d TextureLoader::createTexture2d(TexturePrivateData* data)
{
    Texture2d texture;
    if (data) {
        *texture.d = TexturePrivate(data);
    }
    return texture;
}

} // namespace graphics
