#include "graphics/camera.h"

#include <QTest>

#include <cmath>
#include <cstring>
#include <new>

using graphics::Camera;

class CameraTest : public QObject
{
    Q_OBJECT

private slots:
    void startsAtZero();
    void keepsWhatIsSet();
    void viewLooksAtTheTarget();
    void viewStartsFromIdentity();
    void zoomSlidesTheCamera_data();
    void zoomSlidesTheCamera();
    void displacementTurnsTheFinishedView_data();
    void displacementTurnsTheFinishedView();
    void projectionAngle_data();
    void projectionAngle();
    void projectionPlanes();
    void aspectOverride_data();
    void aspectOverride();
    void interpolateMixesEveryNumber_data();
    void interpolateMixesEveryNumber();
    void interpolateDropsTheDisplacement_data();
    void interpolateDropsTheDisplacement();
};

namespace {

bool isClose(float a, float b)
{
    return std::abs(a - b) <= 1e-4f;
}

bool isClose(const QVector3D& a, const QVector3D& b)
{
    return isClose(a.x(), b.x()) && isClose(a.y(), b.y()) && isClose(a.z(), b.z());
}

QByteArray text(const QVector3D& v)
{
    return QString("(%1, %2, %3)").arg(v.x()).arg(v.y()).arg(v.z()).toLatin1();
}

#define COMPARE_POINTS(actual, expected)                                                           \
    QVERIFY2(isClose(actual, expected), (text(actual) + " is not " + text(expected)).constData())

/// Where a look along `direction` from the origin puts a point: right, up and backwards.
QVector3D lookAlong(const QVector3D& direction, const QVector3D& point)
{
    const QVector3D ahead = direction.normalized();
    const QVector3D right = QVector3D::crossProduct(ahead, QVector3D(0, 1, 0)).normalized();
    const QVector3D up = QVector3D::crossProduct(right, ahead);
    return QVector3D(QVector3D::dotProduct(right, point), QVector3D::dotProduct(up, point),
                     -QVector3D::dotProduct(ahead, point));
}

/// Off every axis, so that an exchange of terms shows.
Camera slantedCamera()
{
    Camera camera;
    camera.setPosition(QVector3D(1, 2, 3));
    camera.setTarget(QVector3D(4, -2, 3));
    camera.setUp(QVector3D(0, 0, 1));
    return camera;
}

/// Another number for each setting, from 1 on.
Camera numbered()
{
    Camera camera;
    camera.setPosition(QVector3D(1, 2, 3));
    camera.setTarget(QVector3D(4, 5, 6));
    camera.setUp(QVector3D(7, 8, 9));
    camera.setPlanes(10, 11);
    camera.setAspectRatio(12);
    camera.setFov(13);
    camera.setZoom(14);
    return camera;
}

QMatrix4x4 viewOf(const Camera& camera)
{
    QMatrix4x4 view;
    camera.buildViewMatrix(&view);
    return view;
}

} // namespace

void CameraTest::startsAtZero()
{
    // In memory that was something else before.
    alignas(Camera) unsigned char memory[sizeof(Camera)];
    std::memset(memory, 0x47, sizeof memory); // Large numbers: 51015.28 each.
    const Camera& camera = *new (memory) Camera;
    QCOMPARE(camera.position(), QVector3D());
    QCOMPARE(camera.target(), QVector3D());
    QCOMPARE(camera.up(), QVector3D());
    QCOMPARE(camera.m_displacementLookAt, QVector3D());
    QCOMPARE(camera.aspectRatio(), 0.0f);
    QCOMPARE(camera.nearPlane(), 0.0f);
    QCOMPARE(camera.farPlane(), 0.0f);
    QCOMPARE(camera.fov(), 0.0f);
    QCOMPARE(camera.zoom(), 0.0f);
    camera.~Camera();
}

void CameraTest::keepsWhatIsSet()
{
    const Camera camera = numbered();
    QCOMPARE(camera.position(), QVector3D(1, 2, 3));
    QCOMPARE(camera.target(), QVector3D(4, 5, 6));
    QCOMPARE(camera.up(), QVector3D(7, 8, 9));
    QCOMPARE(camera.nearPlane(), 10.0f);
    QCOMPARE(camera.farPlane(), 11.0f);
    QCOMPARE(camera.aspectRatio(), 12.0f);
    QCOMPARE(camera.fov(), 13.0f);
    QCOMPARE(camera.zoom(), 14.0f);
}

void CameraTest::viewLooksAtTheTarget()
{
    const QMatrix4x4 view = viewOf(slantedCamera());
    COMPARE_POINTS(view * QVector3D(1, 2, 3), QVector3D(0, 0, 0));
    COMPARE_POINTS(view * QVector3D(4, -2, 3), QVector3D(0, 0, -5));
    COMPARE_POINTS(view * QVector3D(1, 2, 4), QVector3D(0, 1, 0));
}

void CameraTest::viewStartsFromIdentity()
{
    QMatrix4x4 view(2, 0, 0, 5, 0, 2, 0, 5, 0, 0, 2, 5, 0, 0, 0, 1);
    slantedCamera().buildViewMatrix(&view);
    COMPARE_POINTS(view * QVector3D(4, -2, 3), QVector3D(0, 0, -5));
}

void CameraTest::zoomSlidesTheCamera_data()
{
    QTest::addColumn<float>("zoom");
    QTest::newRow("none") << 0.0f;
    QTest::newRow("towards the target") << 2.0f;
    QTest::newRow("past the target") << 7.5f;
    QTest::newRow("away from the target") << -3.0f;
}

void CameraTest::zoomSlidesTheCamera()
{
    QFETCH(float, zoom);
    Camera camera = slantedCamera();
    camera.setZoom(zoom);
    const QMatrix4x4 view = viewOf(camera);
    const QVector3D direction(0.6f, -0.8f, 0.0f);
    COMPARE_POINTS(view * (QVector3D(1, 2, 3) + direction * zoom), QVector3D(0, 0, 0));
    // The look's direction is the same even where the eye has passed the target.
    COMPARE_POINTS(view * (QVector3D(4, -2, 3) + direction * zoom), QVector3D(0, 0, -5));
}

void CameraTest::displacementTurnsTheFinishedView_data()
{
    QTest::addColumn<QVector3D>("displacement");
    QTest::newRow("none") << QVector3D(0, 0, 0);
    QTest::newRow("right") << QVector3D(0.5f, 0, 0);
    QTest::newRow("up") << QVector3D(0, 0.3f, 0);
    QTest::newRow("all ways") << QVector3D(-0.4f, 0.7f, 0.2f);
}

void CameraTest::displacementTurnsTheFinishedView()
{
    QFETCH(QVector3D, displacement);
    Camera camera = slantedCamera();
    camera.setZoom(1);
    const QMatrix4x4 straight = viewOf(camera);
    camera.setDisplamentLookAt(displacement);
    const QMatrix4x4 turned = viewOf(camera);
    const QVector3D ahead = displacement - QVector3D(0, 0, 1);
    for (const QVector3D& point : {QVector3D(0, 0, 0), QVector3D(4, -2, 3), QVector3D(-7, 3, 5)}) {
        COMPARE_POINTS(turned * point, lookAlong(ahead, straight * point));
    }
}

void CameraTest::projectionAngle_data()
{
    QTest::addColumn<float>("fov");
    QTest::addColumn<double>("angle");
    QTest::newRow("45 is a quarter radian") << 45.0f << 0.25;
    QTest::newRow("90 is half a radian") << 90.0f << 0.5;
    QTest::newRow("60 is a third") << 60.0f << 1.0 / 3;
}

void CameraTest::projectionAngle()
{
    QFETCH(float, fov);
    QFETCH(double, angle);
    Camera camera;
    camera.setPlanes(2, 100);
    camera.setAspectRatio(1);
    camera.setFov(fov);
    QMatrix4x4 projection;
    camera.buildProjectionMatrix(&projection, 0);
    // The point at the top of the near plane is at the top of the picture.
    const float top = static_cast<float>(2 * std::tan(angle));
    COMPARE_POINTS(projection * QVector3D(0, top, -2), QVector3D(0, 1, -1));
    COMPARE_POINTS(projection * QVector3D(-top, 0, -2), QVector3D(-1, 0, -1));
}

void CameraTest::projectionPlanes()
{
    Camera camera;
    camera.setPlanes(3, 50);
    camera.setAspectRatio(1);
    camera.setFov(45);
    QMatrix4x4 projection(2, 0, 0, 5, 0, 2, 0, 5, 0, 0, 2, 5, 0, 0, 0, 1);
    camera.buildProjectionMatrix(&projection, 0);
    COMPARE_POINTS(projection * QVector3D(0, 0, -3), QVector3D(0, 0, -1));
    COMPARE_POINTS(projection * QVector3D(0, 0, -50), QVector3D(0, 0, 1));
}

void CameraTest::aspectOverride_data()
{
    QTest::addColumn<float>("override");
    QTest::addColumn<float>("aspect");
    QTest::newRow("0 is the camera's own") << 0.0f << 1.6f;
    QTest::newRow("wide") << 2.5f << 2.5f;
    QTest::newRow("1 is square") << 1.0f << 1.0f;
}

void CameraTest::aspectOverride()
{
    QFETCH(float, override);
    QFETCH(float, aspect);
    Camera camera;
    camera.setPlanes(1, 10);
    camera.setAspectRatio(1.6f);
    camera.setFov(45);
    QMatrix4x4 projection;
    camera.buildProjectionMatrix(&projection, override);
    const float top = std::tan(0.25f);
    COMPARE_POINTS(projection * QVector3D(top * aspect, top, -1), QVector3D(1, 1, -1));
}

void CameraTest::interpolateMixesEveryNumber_data()
{
    QTest::addColumn<float>("t");
    QTest::newRow("start") << 0.0f;
    QTest::newRow("a quarter") << 0.25f;
    QTest::newRow("end") << 1.0f;
    QTest::newRow("beyond") << 1.5f;
}

void CameraTest::interpolateMixesEveryNumber()
{
    QFETCH(float, t);
    // Each number runs over a distance of its own.
    const Camera a = numbered();
    Camera b;
    b.setPosition(QVector3D(1 + 4, 2 + 8, 3 + 12));
    b.setTarget(QVector3D(4 + 16, 5 + 20, 6 + 24));
    b.setUp(QVector3D(7 + 28, 8 + 32, 9 + 36));
    b.setPlanes(10 + 40, 11 + 44);
    b.setAspectRatio(12 + 48);
    b.setFov(13 + 52);
    b.setZoom(14 + 56);

    Camera camera;
    camera.interpolate(a, b, t);
    COMPARE_POINTS(camera.position(), QVector3D(1 + 4 * t, 2 + 8 * t, 3 + 12 * t));
    COMPARE_POINTS(camera.target(), QVector3D(4 + 16 * t, 5 + 20 * t, 6 + 24 * t));
    COMPARE_POINTS(camera.up(), QVector3D(7 + 28 * t, 8 + 32 * t, 9 + 36 * t));
    QCOMPARE(camera.nearPlane(), 10 + 40 * t);
    QCOMPARE(camera.farPlane(), 11 + 44 * t);
    QCOMPARE(camera.aspectRatio(), 12 + 48 * t);
    QCOMPARE(camera.fov(), 13 + 52 * t);
    QCOMPARE(camera.zoom(), 14 + 56 * t);
}

void CameraTest::interpolateDropsTheDisplacement_data()
{
    QTest::addColumn<float>("t");
    QTest::newRow("start") << 0.0f;
    QTest::newRow("middle") << 0.5f;
    QTest::newRow("end") << 1.0f;
}

void CameraTest::interpolateDropsTheDisplacement()
{
    QFETCH(float, t);
    Camera end = slantedCamera();
    end.setDisplamentLookAt(QVector3D(1, 1, 0));
    Camera camera;
    camera.setDisplamentLookAt(QVector3D(0, 2, 0));
    camera.interpolate(end, end, t);
    QCOMPARE(camera.m_displacementLookAt, QVector3D());
    COMPARE_POINTS(viewOf(camera) * QVector3D(4, -2, 3), QVector3D(0, 0, -5));
}

QTEST_GUILESS_MAIN(CameraTest)
#include "cameratest.moc"
