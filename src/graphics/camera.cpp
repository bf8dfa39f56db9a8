#include "graphics/camera.h"

#include <cmath>

namespace graphics {

namespace {

float mix(float a, float b, float t)
{
    return a * (1.0f - t) + b * t;
}

QVector3D mix(const QVector3D& a, const QVector3D& b, float t)
{
    return QVector3D(mix(a.x(), b.x(), t), mix(a.y(), b.y(), t), mix(a.z(), b.z(), t));
}

} // namespace

void Camera::setPosition(const QVector3D& position)
{
    m_position = position;
}

void Camera::setTarget(const QVector3D& target)
{
    m_target = target;
}

void Camera::setUp(const QVector3D& up)
{
    m_up = up;
}

void Camera::setDisplamentLookAt(const QVector3D& displacement)
{
    m_displacementLookAt = displacement;
}

void Camera::setPlanes(float nearPlane, float farPlane)
{
    m_nearPlane = nearPlane;
    m_farPlane = farPlane;
}

void Camera::setAspectRatio(float aspectRatio)
{
    m_aspectRatio = aspectRatio;
}

void Camera::setFov(float fov)
{
    m_fov = fov;
}

void Camera::setZoom(float zoom)
{
    m_zoom = zoom;
}

QVector3D Camera::position() const
{
    return m_position;
}

QVector3D Camera::target() const
{
    return m_target;
}

QVector3D Camera::up() const
{
    return m_up;
}

float Camera::aspectRatio() const
{
    return m_aspectRatio;
}

float Camera::nearPlane() const
{
    return m_nearPlane;
}

float Camera::farPlane() const
{
    return m_farPlane;
}

float Camera::fov() const
{
    return m_fov;
}

float Camera::zoom() const
{
    return m_zoom;
}

void Camera::buildViewMatrix(QMatrix4x4* out) const
{
    out->setToIdentity();
    const QVector3D slide = (m_target - m_position).normalized() * m_zoom;
    out->lookAt(m_position + slide, m_target + slide, m_up);

    QMatrix4x4 displacement;
    displacement.lookAt(QVector3D(0.0f, 0.0f, 0.0f),
                        QVector3D(m_displacementLookAt.x(), m_displacementLookAt.y(),
                                  m_displacementLookAt.z() - 1.0f),
                        QVector3D(0.0f, 1.0f, 0.0f));
    *out = displacement * *out;
}

void Camera::buildProjectionMatrix(QMatrix4x4* out, float aspectOverride) const
{
    const double aspect = aspectOverride != 0.0f ? aspectOverride : m_aspectRatio;
    const double angle = m_fov * 3.14f / 180.0f / 3.14f;
    const double nearPlane = m_nearPlane;
    const double height = nearPlane * std::tan(angle);
    const double width = height * aspect;
    out->setToIdentity();
    out->frustum(static_cast<float>(-width), static_cast<float>(width), static_cast<float>(-height),
                 static_cast<float>(height), m_nearPlane, m_farPlane);
}

void Camera::interpolate(const Camera& a, const Camera& b, float t)
{
    m_position = mix(a.m_position, b.m_position, t);
    m_target = mix(a.m_target, b.m_target, t);
    m_up = mix(a.m_up, b.m_up, t);
    m_displacementLookAt = QVector3D();
    m_aspectRatio = mix(a.m_aspectRatio, b.m_aspectRatio, t);
    m_nearPlane = mix(a.m_nearPlane, b.m_nearPlane, t);
    m_farPlane = mix(a.m_farPlane, b.m_farPlane, t);
    m_fov = mix(a.m_fov, b.m_fov, t);
    m_zoom = mix(a.m_zoom, b.m_zoom, t);
}

} // namespace graphics
