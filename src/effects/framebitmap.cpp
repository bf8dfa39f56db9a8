#include "effects/framebitmap.h"

#include <QPainter>

namespace {
const int SIZE = 256;
}

FrameBitmap::FrameBitmap(QObject* parent)
    : QObject(parent), m_image(new QImage(SIZE, SIZE, QImage::Format_RGB32))
{
    m_image->fill(Qt::black);
}

FrameBitmap::~FrameBitmap() = default;

QImage& FrameBitmap::image()
{
    return *m_image;
}

const QImage& FrameBitmap::image() const
{
    return *m_image;
}

int FrameBitmap::width() const
{
    return SIZE;
}

int FrameBitmap::height() const
{
    return SIZE;
}

unsigned int* FrameBitmap::buffer()
{
    return reinterpret_cast<unsigned int*>(m_image->bits());
}

void FrameBitmap::clear(const QColor& color)
{
    QPainter painter(m_image.get());
    painter.fillRect(QRect(QPoint(0, 0), QPoint(SIZE - 1, SIZE - 1)), color);
}

void FrameBitmap::saveFrame(const QString& name, int frame)
{
    m_image->save(name + QString::asprintf("%05i.png", frame), "PNG");
}
