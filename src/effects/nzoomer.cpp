#include "effects/nzoomer.h"

#include "effects/framebitmap.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QTransform>

#include <cmath>

namespace {

const int NUM_COLORS = 8;

/// The ring of new dots: (2n + 1) × (2m + 1) of them, up to `spread` pixels wide.
struct Ring
{
    int n = 0;
    int m = 0;
    double spread = 0.0;
};

/// It widens for ten frames, narrows until the seventeenth and then stays as it is.
Ring ringAfter(int frames)
{
    float v = static_cast<float>(frames) / 1.5f;
    if (v > 7.0f) {
        v = (7.0f - v) + 7.0f;
        if (v < 2.5f) {
            return Ring{2, 2, 7.5};
        }
    }
    const double wide = v;
    return Ring{static_cast<int>(0.4f * v + 0.4f * v), static_cast<int>(0.4 * wide + 0.4 * wide),
                wide * 0.2 * 15.0};
}

} // namespace

struct NZoomer::NZoomerPrivate
{
    QColor palette[NUM_COLORS];
    int counter = 0; ///< Frames since the last reset; sizes the ring.
    QImage feedback{256, 256, QImage::Format_RGB32};
};

NZoomer::NZoomer(QObject* parent) : EffectBase(parent), d(new NZoomerPrivate) {}

NZoomer::~NZoomer() = default;

void NZoomer::init()
{
    d->palette[0] = QColor(171, 86, 252).darker(200);
    d->palette[1] = QColor(141, 90, 55).darker(200);
    d->palette[2] = QColor(0, 254, 71).lighter(500);
    d->palette[3] = QColor(218, 88, 94).darker(200);
    d->palette[4] = QColor(53, 248, 92).darker(300);
    d->palette[5] = QColor(57, 45, 31).darker(300);
    d->palette[6] = QColor(122, 73, 98).lighter(400);
    d->palette[7] = QColor(39, 33, 12).darker(200);
}

void NZoomer::renderFrame(FrameBitmap* bitmap, int frame)
{
    static float a = 0.0f;

    Ring ring;
    if (frame == -1) {
        d->counter = 0;
    } else {
        d->counter += 1;
        ring = ringAfter(d->counter);
    }

    QImage& image = bitmap->image();
    const int cx = bitmap->width() >> 1;
    const int cy = bitmap->height() >> 1;

    // Never seen, since each dot picks again; but this draw has its place in the random sequence.
    QColor color = d->palette[qrand() % NUM_COLORS];
    for (int i = -ring.n; i <= ring.n; ++i) {
        for (int j = -ring.m; j <= ring.m; ++j) {
            const int angleDraw = qrand();
            const int radiusDraw = qrand();
            const double angle = (angleDraw % 31400) / 1000.0;
            const double radius = 2.0 + ring.spread * ((radiusDraw % 10000) / 10000.0);
            const float x = static_cast<float>(std::sin(angle) * radius) + static_cast<float>(cx);
            const float y = static_cast<float>(-std::cos(angle) * radius) + static_cast<float>(cy);
            color = d->palette[qrand() % NUM_COLORS];
            image.setPixel(static_cast<int>(x), static_cast<int>(y), color.rgb());
        }
    }

    {
        QPainter painter(&d->feedback);
        painter.drawImage(0, 0, image);
    }

    a += 0.001f;
    const float t = a + static_cast<float>(frame) * 0.001f;

    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform, true);
    const double sidewise = std::sin(t);
    const double upright = std::cos(t);
    const double turn = std::cos(a);
    QTransform zoom;
    // The centre sways sidewise only: for its height the factor is zero.
    zoom.translate(cx + sidewise * 0.1, cy + upright * -0.0);
    zoom.scale(1.05, 1.03);
    zoom.rotate(turn * 0.5 + 1.6);
    zoom.translate(-cx, -cy);
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setWorldTransform(zoom, false);
    painter.setBrush(QBrush(Qt::white));
    painter.setPen(QPen(Qt::white));
    painter.drawImage(0, 0, d->feedback);
}
