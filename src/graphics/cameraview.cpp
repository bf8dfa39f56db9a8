#include "graphics/cameraview.h"

#include <QTime>

namespace graphics {

struct CameraView::CameraViewPrivate
{
    Camera current;
    Camera from;
    Camera to;
    QTime timer;
    float duration = 0.0f; ///< Seconds; 0: not moving.
};

CameraView::CameraView() : d(new CameraViewPrivate) {}

CameraView::~CameraView() = default;

void CameraView::cutTo(const Camera& camera)
{
    d->to = camera;
    d->from = camera;
    d->current = camera;
    d->duration = 0.0f;
}

void CameraView::moveTo(const Camera& camera, float seconds)
{
    d->to = camera;
    d->from = d->current;
    d->duration = seconds;
    d->timer.restart();
}

void CameraView::update()
{
    if (!(d->duration > 0.0f)) {
        return;
    }
    const float s = static_cast<float>(d->timer.elapsed()) / 1000.0f / d->duration;
    if (s <= 0.0f) {
        d->current.interpolate(d->from, d->to, 0.0f);
    } else if (s >= 1.0f) {
        d->current.interpolate(d->from, d->to, 1.0f);
        d->duration = 0.0f;
    } else {
        d->current.interpolate(d->from, d->to, s * s * (3.0f - 2.0f * s));
    }
}

Camera CameraView::current() const
{
    return d->current;
}

} // namespace graphics
