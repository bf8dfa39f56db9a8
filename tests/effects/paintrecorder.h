#pragma once

#include <QLineF>
#include <QPaintDevice>
#include <QPaintEngine>
#include <QPainter>
#include <QPen>
#include <QPointF>
#include <QVector>

/// A paint device that notes lines and points, with the pen each met, instead of drawing them: a
/// raster would round away order, widths and places between the pixels.
class PaintRecorder : public QPaintDevice
{
public:
    struct Line
    {
        QLineF line;
        QPen pen;
    };

    struct Point
    {
        QPointF position;
        QPen pen;
        QPainter::CompositionMode mode;
    };

    PaintRecorder() : m_engine(*this) {}

    QPaintEngine* paintEngine() const override
    {
        return &m_engine;
    }

    QVector<Line> lines;
    QVector<Point> points;
    int others = 0; ///< Calls that draw anything else.

protected:
    int metric(PaintDeviceMetric metric) const override
    {
        switch (metric) {
        case PdmWidth:
        case PdmHeight:
            return 256;
        case PdmDepth:
            return 32;
        case PdmDevicePixelRatio:
            return 1;
        case PdmDpiX:
        case PdmDpiY:
        case PdmPhysicalDpiX:
        case PdmPhysicalDpiY:
            return 72;
        default:
            return QPaintDevice::metric(metric);
        }
    }

private:
    class Engine : public QPaintEngine
    {
    public:
        explicit Engine(PaintRecorder& recorder) : QPaintEngine(AllFeatures), m_recorder(recorder)
        {
        }

        bool begin(QPaintDevice*) override
        {
            m_pen = QPen();
            m_mode = QPainter::CompositionMode_SourceOver;
            return true;
        }

        bool end() override
        {
            return true;
        }

        void updateState(const QPaintEngineState& state) override
        {
            if (state.state() & DirtyPen) {
                m_pen = state.pen();
            }
            if (state.state() & DirtyCompositionMode) {
                m_mode = state.compositionMode();
            }
        }

        void drawLines(const QLineF* lines, int count) override
        {
            for (int i = 0; i < count; ++i) {
                m_recorder.lines.append(Line{lines[i], m_pen});
            }
        }

        void drawPoints(const QPointF* points, int count) override
        {
            for (int i = 0; i < count; ++i) {
                m_recorder.points.append(Point{points[i], m_pen, m_mode});
            }
        }

        void drawPath(const QPainterPath&) override
        {
            m_recorder.others += 1;
        }

        void drawPolygon(const QPointF*, int, PolygonDrawMode) override
        {
            m_recorder.others += 1;
        }

        void drawPixmap(const QRectF&, const QPixmap&, const QRectF&) override
        {
            m_recorder.others += 1;
        }

        Type type() const override
        {
            return User;
        }

    private:
        PaintRecorder& m_recorder;
        QPen m_pen;
        QPainter::CompositionMode m_mode = QPainter::CompositionMode_SourceOver;
    };

    mutable Engine m_engine;
};
