#include "graphics/defaulttextureloader.h"

#include "graphics/texture_p.h"
#include "platform/warningbox.h"

#include <QImage>
#include <QtDebug>

#include <GLES2/gl2.h>

#include <memory>
#include <utility>

namespace graphics {

Texture2d DefaultTextureLoader::loadTexture(const QString& filename, int width, int height)
{
    QImage image(filename);
    if (image.isNull()) {
        platform::showWarningBox("Textures", "Unable to load image: " + filename);
        return Texture2d();
    }
    // ARGB words with red and blue swapped are the bytes R, G, B, A on a little-endian processor.
    image = std::move(image).convertToFormat(QImage::Format_ARGB32).rgbSwapped();
    qDebug() << "Image size:" << image.width() << "x" << image.height();

    if (width < 1) {
        width = image.width();
    }
    if (height < 1) {
        height = image.height();
    }
    if (width != image.width() || height != image.height()) {
        image = image.scaled(width, height, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    }

    auto record = std::make_unique<TexturePrivateData>();
    record->filename = filename;
    record->width = static_cast<unsigned int>(width);
    record->height = static_cast<unsigned int>(height);
    glGenTextures(1, &record->textureId);
    glBindTexture(GL_TEXTURE_2D, record->textureId);
    qDebug() << "Texture id:" << record->textureId;

    const QImage& pixels = image;
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, pixels.width(), pixels.height(), 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, pixels.bits());
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glBindTexture(GL_TEXTURE_2D, 0);
    return createTexture2d(record.release());
}

} // namespace graphics
