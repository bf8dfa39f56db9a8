#include "graphics/texturemanager.h"

#include "graphics/defaulttextureloader.h"
#include "platform/warningbox.h"

#include <QFileInfo>
#include <QMap>

namespace graphics {

struct TextureManager::TextureManagerPrivate
{
    /// Writes the first file that exists for `name`, and its loader, through the outputs that are
    /// not null. False, and nothing written, where there is none.
    bool findCorrectFilename(const QString& name, QString* filename, TextureLoader** loader);

    QMap<QString, Texture2d> textures;                    ///< By name without extension.
    QMap<QString, QSharedPointer<TextureLoader>> loaders; ///< By extension without dot.
    QSharedPointer<TextureLoader> defaultLoader;
};

bool TextureManager::TextureManagerPrivate::findCorrectFilename(const QString& name,
                                                                QString* filename,
                                                                TextureLoader** loader)
{
    for (auto it = loaders.constBegin(); it != loaders.constEnd(); ++it) {
        const QString candidate = "texture:" + name + "." + it.key();
        if (QFileInfo::exists(candidate)) {
            if (filename) {
                *filename = candidate;
            }
            if (loader) {
                *loader = it.value().data();
            }
            return true;
        }
    }
    return false;
}

TextureManager::TextureManager() : d(new TextureManagerPrivate)
{
    d->defaultLoader = QSharedPointer<DefaultTextureLoader>::create();
}

TextureManager::~TextureManager() = default;

void TextureManager::registerExtension(const QString& extension,
                                       const QSharedPointer<TextureLoader>& loader)
{
    d->loaders.insert(extension, loader);
}

bool TextureManager::loadTexture2d(Texture2d* texture, const QString& name, int width, int height)
{
    const int dot = name.lastIndexOf(".");
    const QString key = dot < 0 ? name : name.left(dot);

    auto cached = d->textures.constFind(key);
    if (cached == d->textures.constEnd()) {
        QString filename;
        TextureLoader* loader = nullptr;
        if (!d->findCorrectFilename(key, &filename, &loader)) {
            platform::showWarningBox("Textures", "Unable to find image: " + key);
            return false;
        }
        if (!loader) {
            loader = d->defaultLoader.data();
        }
        // A failed load is remembered too, so that it is reported only once.
        cached = d->textures.insert(key, loader->loadTexture(filename, width, height));
    }
    if (texture) {
        *texture = *cached;
    }
    return true;
}

} // namespace graphics
