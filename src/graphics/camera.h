#pragma once

#include <QMatrix4x4>
#include <QVector3D>

namespace graphics {

/// A perspective camera that looks at a point. A value; set planes, field of view and aspect ratio
/// before use. Reserve.
class Camera
{
public:
    void setPosition(const QVector3D& position);
    void setTarget(const QVector3D& target);
    void setUp(const QVector3D& up);
    /// Turns the finished view towards this offset from straight ahead; zero leaves it alone.
    void setDisplamentLookAt(const QVector3D& displacement);
    void setPlanes(float nearPlane, float farPlane);
    /// Width over height.
    void setAspectRatio(float aspectRatio);
    /// Degrees by name; see buildProjectionMatrix() for the angle that it comes to.
    void setFov(float fov);
    /// How far eye and target slide along the viewing direction; may be negative.
    void setZoom(float zoom);

    QVector3D position() const;
    QVector3D target() const;
    QVector3D up() const;
    float aspectRatio() const;
    float nearPlane() const;
    float farPlane() const;
    float fov() const;
    float zoom() const;

    void buildViewMatrix(QMatrix4x4* out) const;
    /// The frustum's half height is nearPlane × tan(fov / 180): a field of view of 45 is the
    /// tangent of a quarter radian. The look depends on it. An `aspectOverride` of 0 stands for
    /// the camera's own aspect ratio.
    void buildProjectionMatrix(QMatrix4x4* out, float aspectOverride) const;

    /// Becomes what lies between `a` (t = 0) and `b` (t = 1), in every number but the displacement
    /// of the look-at, which becomes zero.
    void interpolate(const Camera& a, const Camera& b, float t);

private:
    QVector3D m_position;
    QVector3D m_target;
    QVector3D m_up;
    QVector3D m_displacementLookAt;
    float m_aspectRatio = 0.0f;
    float m_nearPlane = 0.0f;
    float m_farPlane = 0.0f;
    float m_fov = 0.0f;
    float m_zoom = 0.0f;
};

} // namespace graphics
