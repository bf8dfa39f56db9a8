#include "effects/wireframes.h"

#include <QMatrix4x4>
#include <QPainter>
#include <QVector3D>
#include <QVector4D>

#include <cmath>

struct Wireframes::WireframesPrivate
{
};

namespace {

const int RADIUS = 3;            ///< Points on either side of the middle, along each axis.
const double SPACING = 35.0;     ///< From point to point.
const double UNIT_DEPTH = 500.0; ///< Where a point's square is as wide as the spacing.
const double DISTANCE = 940.0;   ///< Of the eye's round from the middle.
const double EYE_HEIGHT = 1.2f;  ///< The round's height to its width; a number of single precision.

double clampChannel(double v)
{
    return qBound(0.0, v, 255.0);
}

/// Projection × view for the eye at angle `theta` of its round.
QMatrix4x4 lookAtLattice(double theta)
{
    // The angle is in degrees, a lens so long that the lattice hardly has a perspective.
    QMatrix4x4 perspective;
    perspective.perspective(0.17444445f, 1.0f, 0.0f, 1000.0f);
    const QMatrix4x4 projection = QMatrix4x4() * perspective;

    const QVector3D eye(static_cast<float>(std::sin(theta) * DISTANCE),
                        static_cast<float>(std::cos(theta) * DISTANCE * EYE_HEIGHT),
                        static_cast<float>(-std::cos(theta) * DISTANCE));
    QMatrix4x4 lookAt;
    lookAt.lookAt(eye, QVector3D(0.0f, 0.0f, 0.0f), QVector3D(0.0f, 1.0f, 0.0f));
    const QMatrix4x4 view = QMatrix4x4() * lookAt;

    return projection * view;
}

} // namespace

Wireframes::Wireframes(QObject* parent) : EffectBase(parent), d(new WireframesPrivate) {}

Wireframes::~Wireframes() = default;

void Wireframes::init() {}

void Wireframes::renderFrame(QPainter& painter, int frame)
{
    const double theta = static_cast<float>(frame * 2) / 150.0f * 3.14f;
    const QMatrix4x4 matrix = lookAtLattice(theta);

    painter.setCompositionMode(QPainter::CompositionMode_Plus);
    for (int i = -RADIUS; i <= RADIUS; ++i) {
        // Red and green carry on from point to point, so that the lattice brightens along its
        // loops; only blue starts afresh for each.
        double red = std::sin(theta + 0.5 * i) * 90.0;
        for (int j = -RADIUS; j <= RADIUS; ++j) {
            double green = std::cos(theta + 0.5 * j) * 90.0;
            for (int k = -RADIUS; k <= RADIUS; ++k) {
                red = clampChannel(red + 50.0);
                green = clampChannel(green + 100.0);
                const double blue = clampChannel(std::sin(theta + 0.5 * k) * 90.0 + 130.0);
                QColor color =
                    QColor(static_cast<int>(red), static_cast<int>(green), static_cast<int>(blue))
                        .darker(140);
                color.setAlpha(7);

                const QVector4D point = matrix * QVector4D(static_cast<float>(SPACING * i),
                                                           static_cast<float>(SPACING * j),
                                                           static_cast<float>(SPACING * k), 1.0f);
                float x = point.x();
                float y = point.y();
                if (point.w() != 1.0f) {
                    x /= point.w();
                    y /= point.w();
                }

                const double depth = point.w();
                const double width = (UNIT_DEPTH / depth) * SPACING;
                painter.setPen(
                    QPen(QBrush(color), width, Qt::SolidLine, Qt::SquareCap, Qt::BevelJoin));
                // Swapped: the picture is mirrored about its diagonal.
                const QPointF position(y, x);
                painter.drawPoints(&position, 1);
            }
        }
    }
}
