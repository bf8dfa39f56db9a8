#pragma once

#include <QPaintDevice>

#include <memory>

class QPainter;

namespace graphics {

/// A paint device that hands all points painted on it to another painter, with their pens and
/// composition modes, and has GL finish (glFinish) now and then between them: a driver that gathers
/// draws before it carries out the first may need much memory for many. It takes over nothing but
/// points.
class PausingDevice : public QPaintDevice
{
public:
    /// Has GL finish before the first draw and then before every `draws`-th one, which is 1 or
    /// more. `painter` is the caller's and paints on GL; it must be active for as long as this is
    /// painted on, and keeps the last pen and composition mode.
    PausingDevice(QPainter& painter, int draws);
    ~PausingDevice() override;

    QPaintEngine* paintEngine() const override;

protected:
    int metric(PaintDeviceMetric metric) const override;

private:
    class Engine;
    std::unique_ptr<Engine> engine;
};

} // namespace graphics
