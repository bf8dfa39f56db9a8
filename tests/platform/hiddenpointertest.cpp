#include "platform/hiddenpointer.h"

#include <QCursor>
#include <QImage>
#include <QPixmap>
#include <QTest>
#include <QWidget>

/// The pointer that cannot be seen.
class HiddenPointerTest : public QObject
{
    Q_OBJECT

private slots:
    void isAPictureOfNothing();
    void holdsForWhatHasNoWindow();
};

void HiddenPointerTest::isAPictureOfNothing()
{
    QWidget widget;
    platform::hidePointer(&widget);
    // Qt's own blank one is not heeded under Wayland.
    QCOMPARE(widget.cursor().shape(), Qt::BitmapCursor);
    const QImage image = widget.cursor().pixmap().toImage();
    QVERIFY(!image.isNull());
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            QCOMPARE(qAlpha(image.pixel(x, y)), 0);
        }
    }
}

void HiddenPointerTest::holdsForWhatHasNoWindow()
{
    QWidget widget;
    QWidget within(&widget);
    platform::hidePointer(&widget);
    QCOMPARE(within.cursor().shape(), Qt::BitmapCursor);
}

QTEST_MAIN(HiddenPointerTest)
#include "hiddenpointertest.moc"
