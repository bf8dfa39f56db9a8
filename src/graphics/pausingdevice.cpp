#include "graphics/pausingdevice.h"

#include <QPaintEngine>
#include <QPainter>

#include <GLES2/gl2.h>

namespace graphics {

class PausingDevice::Engine : public QPaintEngine
{
public:
    // All features, or the painter would make paths of the points by itself.
    Engine(QPainter& painter, int draws)
        : QPaintEngine(AllFeatures), painter(painter), pauseEvery(draws)
    {
    }

    bool begin(QPaintDevice*) override
    {
        return true;
    }

    bool end() override
    {
        return true;
    }

    void updateState(const QPaintEngineState& state) override
    {
        if (state.state() & DirtyPen) {
            painter.setPen(state.pen());
        }
        if (state.state() & DirtyCompositionMode) {
            painter.setCompositionMode(state.compositionMode());
        }
    }

    using QPaintEngine::drawPoints;

    void drawPoints(const QPointF* points, int count) override
    {
        if (drawn % pauseEvery == 0) {
            glFinish();
        }
        ++drawn;
        painter.drawPoints(points, count);
    }

    void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override {}

    Type type() const override
    {
        return User;
    }

    QPainter& painter;

private:
    const int pauseEvery;
    int drawn = 0;
};

PausingDevice::PausingDevice(QPainter& painter, int draws) : engine(new Engine(painter, draws)) {}

PausingDevice::~PausingDevice() = default;

QPaintEngine* PausingDevice::paintEngine() const
{
    return engine.get();
}

int PausingDevice::metric(PaintDeviceMetric metric) const
{
    const QPaintDevice& device = *engine->painter.device();
    switch (metric) {
    case PdmWidth:
        return device.width();
    case PdmHeight:
        return device.height();
    case PdmDevicePixelRatio:
        return device.devicePixelRatio();
    case PdmDpiX:
    case PdmDpiY:
        return device.logicalDpiY();
    default:
        return QPaintDevice::metric(metric);
    }
}

} // namespace graphics
