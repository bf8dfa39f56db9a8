#pragma once

#include "graphics/texture2d.h"
#include "graphics/textureloader.h"

#include <QSharedPointer>
#include <QString>

#include <memory>

namespace graphics {

/// A cache of textures by name, and the loaders by file extension that fill it. Reserve: the
/// show loads its few pictures directly.
class TextureManager
{
public:
    TextureManager();
    /// Lets go of every cached texture; needs the GL context current.
    ~TextureManager();

    /// Sets the loader for `extension`, given without its dot. A null loader stands for the
    /// default one.
    void registerExtension(const QString& extension, const QSharedPointer<TextureLoader>& loader);

    /// Finds or loads the texture `name`, whose extension is dropped (everything from the last dot
    /// on, wherever it stands), at `width` × `height` texels (below 1: the image's own), and
    /// writes it through `texture` unless that is null. The file is looked for in the directories
    /// that the caller has registered for Qt's search prefix "texture", one extension after the
    /// other in ascending order. False, a warning box "Textures" and nothing written where there
    /// is none; a file that cannot be decoded gives true and an empty texture, now and later.
    bool loadTexture2d(Texture2d* texture, const QString& name, int width, int height);

private:
    struct TextureManagerPrivate;
    std::unique_ptr<TextureManagerPrivate> d;
};

} // namespace graphics
