#include "graphics/cameraview.h"

#include "support/testclock.h"

#include <QTest>

using graphics::Camera;
using graphics::CameraView;

class CameraViewTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cutToIsThereAtOnce();
    void moveEases_data();
    void moveEases();
    void moveStartsWhereTheViewIs();
    void moveWaitsForUpdate();
    void moveInNoTimeNeverMoves_data();
    void moveInNoTimeNeverMoves();
    void finishedMoveStaysFinished();
    void finishedMoveDropsTheDisplacement();
    void cutStopsAMove();
    void everyMoveHasItsOwnTime();
    void updateWithoutAMove();
};

namespace {

const int DAY_MS = 86'400'000;

Camera cameraAt(float x)
{
    Camera camera;
    camera.setPosition(QVector3D(x, 0, 0));
    return camera;
}

float x(const CameraView& view)
{
    return view.current().position().x();
}

} // namespace

void CameraViewTest::init()
{
    testclock::takeOver();
}

void CameraViewTest::cutToIsThereAtOnce()
{
    CameraView view;
    Camera camera = cameraAt(7);
    camera.setDisplamentLookAt(QVector3D(1, 2, 3));
    view.cutTo(camera);
    QCOMPARE(x(view), 7.0f);
    QCOMPARE(view.current().m_displacementLookAt, QVector3D(1, 2, 3));
}

void CameraViewTest::moveEases_data()
{
    QTest::addColumn<float>("seconds");
    QTest::addColumn<int>("passed");
    QTest::addColumn<float>("position");
    QTest::newRow("at once") << 2.0f << 0 << 100.0f;
    QTest::newRow("a quarter") << 2.0f << 500 << 115.625f;
    QTest::newRow("half") << 2.0f << 1000 << 150.0f;
    QTest::newRow("three quarters") << 2.0f << 1500 << 184.375f;
    QTest::newRow("nearly there") << 2.0f << 1800 << 197.2f;
    QTest::newRow("there") << 2.0f << 2000 << 200.0f;
    QTest::newRow("long there") << 2.0f << 5000 << 200.0f;
    QTest::newRow("half of a short one") << 0.1f << 50 << 150.0f;
}

void CameraViewTest::moveEases()
{
    QFETCH(float, seconds);
    QFETCH(int, passed);
    QFETCH(float, position);
    CameraView view;
    view.cutTo(cameraAt(100));
    view.moveTo(cameraAt(200), seconds);
    testclock::advance(passed);
    view.update();
    QCOMPARE(x(view), position);
}

void CameraViewTest::moveStartsWhereTheViewIs()
{
    CameraView view;
    view.cutTo(cameraAt(100));
    view.moveTo(cameraAt(200), 2);
    testclock::advance(1000);
    view.update();
    view.moveTo(cameraAt(50), 2);
    testclock::advance(1000);
    view.update();
    QCOMPARE(x(view), 100.0f);
}

void CameraViewTest::moveWaitsForUpdate()
{
    CameraView view;
    view.cutTo(cameraAt(100));
    view.moveTo(cameraAt(200), 1);
    testclock::advance(500);
    QCOMPARE(x(view), 100.0f);
}

void CameraViewTest::moveInNoTimeNeverMoves_data()
{
    QTest::addColumn<float>("seconds");
    QTest::newRow("no time") << 0.0f;
    QTest::newRow("less than none") << -1.0f;
}

void CameraViewTest::moveInNoTimeNeverMoves()
{
    QFETCH(float, seconds);
    CameraView view;
    Camera start = cameraAt(100);
    start.setDisplamentLookAt(QVector3D(1, 2, 3));
    view.cutTo(start);
    view.moveTo(cameraAt(200), seconds);
    view.update();
    testclock::advance(5000);
    view.update();
    QCOMPARE(x(view), 100.0f);
    QCOMPARE(view.current().m_displacementLookAt, QVector3D(1, 2, 3));
}

void CameraViewTest::finishedMoveStaysFinished()
{
    CameraView view;
    view.cutTo(cameraAt(100));
    view.moveTo(cameraAt(200), 1);
    testclock::advance(1000);
    view.update();
    // The clock counts within a day, so a millisecond of the move seems to have passed again, in
    // which no move is over.
    testclock::advance(DAY_MS - 999);
    view.update();
    QCOMPARE(x(view), 200.0f);
}

void CameraViewTest::finishedMoveDropsTheDisplacement()
{
    Camera start = cameraAt(100);
    start.setDisplamentLookAt(QVector3D(1, 0, 0));
    Camera end = cameraAt(200);
    end.setDisplamentLookAt(QVector3D(0, 1, 0));
    CameraView view;
    view.cutTo(start);
    view.moveTo(end, 1);
    testclock::advance(1000);
    view.update();
    QCOMPARE(x(view), 200.0f);
    QCOMPARE(view.current().m_displacementLookAt, QVector3D());
}

void CameraViewTest::cutStopsAMove()
{
    CameraView view;
    view.cutTo(cameraAt(100));
    view.moveTo(cameraAt(200), 1);
    view.cutTo(cameraAt(30));
    testclock::advance(500);
    view.update();
    QCOMPARE(x(view), 30.0f);
}

void CameraViewTest::everyMoveHasItsOwnTime()
{
    CameraView view;
    view.cutTo(cameraAt(100));
    view.moveTo(cameraAt(200), 1);
    testclock::advance(1000);
    view.update();
    testclock::advance(700);
    view.moveTo(cameraAt(300), 1);
    testclock::advance(500);
    view.update();
    QCOMPARE(x(view), 250.0f);
}

void CameraViewTest::updateWithoutAMove()
{
    CameraView view;
    view.update();
    QCOMPARE(x(view), 0.0f);
    Camera camera = cameraAt(7);
    camera.setDisplamentLookAt(QVector3D(1, 2, 3));
    view.cutTo(camera);
    testclock::advance(100);
    view.update();
    QCOMPARE(view.current().m_displacementLookAt, QVector3D(1, 2, 3));
}

QTEST_GUILESS_MAIN(CameraViewTest)
#include "cameraviewtest.moc"
