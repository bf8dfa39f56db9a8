#include "effects/effectbase.h"

#include "effects/framebitmap.h"

#include <QColor>

#include <cmath>

namespace {

/// One qrand(), in single precision.
double randomPhase()
{
    return static_cast<float>(qrand()) * 0.00001f;
}

/// A sine turned into a colour channel; leans to the bright side, and wraps rather than clamps.
int channel(double v)
{
    const double level = (v + 0.9) * 128.0;
    return static_cast<int>((level < 0.0 ? 0u : static_cast<unsigned int>(level)) & 0xff);
}

} // namespace

EffectBase::EffectBase(QObject* parent) : QObject(parent) {}

void EffectBase::init() {}

void EffectBase::renderFrame(FrameBitmap* bitmap, int frame)
{
    unsigned int* pixel = bitmap->buffer();
    const double p = static_cast<float>(frame) * 0.01f;
    for (int y = 0; y < bitmap->height(); ++y) {
        for (int x = 0; x < bitmap->width(); ++x) {
            const double cy = static_cast<float>(std::cos(p) * y);
            const double cx = static_cast<float>(x * std::sin(p));
            const double redPhase = randomPhase();
            const double greenPhase = randomPhase();
            const double bluePhase = randomPhase();
            const float red = std::sin(static_cast<float>(cx * 0.01 + redPhase));
            const float green = std::sin(static_cast<float>(cy * 0.01 + greenPhase));
            const float blue = std::cos(static_cast<float>(cy * 0.01 + cx * 0.01 + bluePhase));
            *pixel++ = qRgb(channel(red), channel(green), channel(blue));
        }
    }
}
