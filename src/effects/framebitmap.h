#pragma once

#include <QColor>
#include <QImage>
#include <QObject>
#include <QString>

#include <memory>

/// The picture that the bitmap effects draw into: 256 × 256 opaque pixels, black at first.
class FrameBitmap : public QObject
{
    Q_OBJECT

public:
    explicit FrameBitmap(QObject* parent = nullptr);
    ~FrameBitmap() override;

    QImage& image();
    const QImage& image() const;

    /// Always 256, whatever the image holds: the effects assume it.
    int width() const;
    int height() const;

    /// The pixels as 32-bit words 0xffRRGGBB, row after row without a gap.
    unsigned int* buffer();

    /// Paints the whole picture; a translucent colour lets what is there shine through.
    void clear(const QColor& color);

    /// Writes the picture to `name` + five digits of `frame` + ".png"; a path that cannot be
    /// written is ignored. Reserve: for films of an effect.
    void saveFrame(const QString& name, int frame);

private:
    std::unique_ptr<QImage> m_image;
};
