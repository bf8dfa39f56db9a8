#pragma once

#include <QSharedPointer>
#include <QString>

namespace graphics {

/// What all handles on one texture share.
struct TexturePrivateData
{
    QString filename;           ///< Empty for a texture made in code.
    unsigned int textureId = 0; ///< GL name; 0: no GL texture.
    unsigned int width = 0;     ///< Texels; 0: unknown.
    unsigned int height = 0;    ///< Texels; 0: unknown.
    unsigned int reserved = 0;  ///< Reserve.
};

/// A counted reference to the shared record. The last one gone deletes the GL texture
/// (glDeleteTextures, if there is one), so it must go while the GL context is current.
struct TexturePrivate
{
    TexturePrivate();
    /// Takes ownership of `record` and of the GL texture named in it.
    explicit TexturePrivate(TexturePrivateData* record);

    QSharedPointer<TexturePrivateData> data;
};

} // namespace graphics
