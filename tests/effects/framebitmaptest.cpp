#include "effects/framebitmap.h"

#include "support/logcapture.h"

#include <QDir>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <cstdlib>
#include <memory>

namespace {

const QRgb BLACK = 0xff000000;

bool isFilledWith(const QImage& image, QRgb color)
{
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (image.pixel(x, y) != color) {
                qWarning("pixel (%i, %i) is %08x", x, y, image.pixel(x, y));
                return false;
            }
        }
    }
    return true;
}

/// What a colour leaves of a channel that it is laid over.
int blended(int below, int above, int alpha)
{
    return qRound((above * alpha + below * (255 - alpha)) / 255.0);
}

bool isNear(QRgb pixel, QRgb expected)
{
    return std::abs(qRed(pixel) - qRed(expected)) <= 1 &&
           std::abs(qGreen(pixel) - qGreen(expected)) <= 1 &&
           std::abs(qBlue(pixel) - qBlue(expected)) <= 1 && qAlpha(pixel) == 255;
}

} // namespace

class FrameBitmapTest : public QObject
{
    Q_OBJECT

private slots:
    void bornBlack();
    void pixelsLieRowAfterRow();
    void sizeStaysWhateverTheImage();
    void clearFillsEveryPixel_data();
    void clearFillsEveryPixel();
    void clearWithTranslucentColorBlends_data();
    void clearWithTranslucentColorBlends();
    void saveFrameNumbersTheFiles_data();
    void saveFrameNumbersTheFiles();
    void saveFrameIgnoresABadPath();
    void diesWithItsParent();
};

void FrameBitmapTest::bornBlack()
{
    // The second one meets the memory that the first left behind.
    for (int i = 0; i < 2; ++i) {
        FrameBitmap bitmap;
        QCOMPARE(bitmap.image().size(), QSize(256, 256));
        QCOMPARE(bitmap.image().format(), QImage::Format_RGB32);
        QVERIFY(isFilledWith(bitmap.image(), BLACK));
        QCOMPARE(bitmap.buffer()[256 * 256 - 1], BLACK);
        bitmap.clear(Qt::white);
    }
}

void FrameBitmapTest::pixelsLieRowAfterRow()
{
    FrameBitmap bitmap;
    bitmap.buffer()[0] = 0xff010203;
    bitmap.buffer()[3 * 256 + 17] = 0xff123456;
    bitmap.buffer()[256 * 256 - 1] = 0xffabcdef;
    const FrameBitmap& reader = bitmap;
    QCOMPARE(reader.image().pixel(0, 0), 0xff010203);
    QCOMPARE(reader.image().pixel(17, 3), 0xff123456);
    QCOMPARE(reader.image().pixel(255, 255), 0xffabcdef);
    QCOMPARE(reader.image().bytesPerLine(), 256 * 4);
    QCOMPARE(&reader.image(), &bitmap.image());
}

void FrameBitmapTest::sizeStaysWhateverTheImage()
{
    FrameBitmap bitmap;
    QCOMPARE(bitmap.width(), 256);
    QCOMPARE(bitmap.height(), 256);
    bitmap.image() = QImage(300, 20, QImage::Format_RGB32);
    QCOMPARE(bitmap.image().size(), QSize(300, 20));
    QCOMPARE(bitmap.width(), 256);
    QCOMPARE(bitmap.height(), 256);
}

void FrameBitmapTest::clearFillsEveryPixel_data()
{
    QTest::addColumn<QColor>("color");
    QTest::newRow("red") << QColor(255, 0, 0);
    QTest::newRow("uneven") << QColor(1, 130, 254);
    QTest::newRow("white") << QColor(Qt::white);
    QTest::newRow("black") << QColor(Qt::black);
}

void FrameBitmapTest::clearFillsEveryPixel()
{
    QFETCH(QColor, color);
    FrameBitmap bitmap;
    for (int i = 0; i < 256 * 256; ++i) {
        bitmap.buffer()[i] = BLACK | static_cast<QRgb>(i);
    }
    bitmap.clear(color);
    QVERIFY(isFilledWith(bitmap.image(), color.rgb()));
}

void FrameBitmapTest::clearWithTranslucentColorBlends_data()
{
    QTest::addColumn<QColor>("color");
    QTest::newRow("trails, black of 75") << QColor(0, 0, 0, 75);
    QTest::newRow("half green") << QColor(0, 200, 0, 128);
    QTest::newRow("unseen red") << QColor(255, 0, 0, 0);
}

void FrameBitmapTest::clearWithTranslucentColorBlends()
{
    QFETCH(QColor, color);
    FrameBitmap bitmap;
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            bitmap.buffer()[y * 256 + x] = qRgb(x, y, 255 - x);
        }
    }
    bitmap.clear(color);
    const int alpha = color.alpha();
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const QRgb expected =
                qRgb(blended(x, color.red(), alpha), blended(y, color.green(), alpha),
                     blended(255 - x, color.blue(), alpha));
            const QRgb pixel = bitmap.image().pixel(x, y);
            QVERIFY2(isNear(pixel, expected), qPrintable(QString("(%1, %2): %3 instead of %4")
                                                             .arg(x)
                                                             .arg(y)
                                                             .arg(pixel, 8, 16)
                                                             .arg(expected, 8, 16)));
        }
    }
}

void FrameBitmapTest::saveFrameNumbersTheFiles_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("frame");
    QTest::addColumn<QString>("file");
    QTest::newRow("in a folder") << "out/" << 12 << "out/00012.png";
    QTest::newRow("with a name") << "out/shot" << 7 << "out/shot00007.png";
    QTest::newRow("first") << "out/" << 0 << "out/00000.png";
    QTest::newRow("more than five digits") << "out/" << 123456 << "out/123456.png";
    QTest::newRow("reset frame") << "out/" << -1 << "out/-0001.png";
    // The name is no format.
    QTest::newRow("percent sign") << "out/100%s%1 " << 3 << "out/100%s%1 00003.png";
}

void FrameBitmapTest::saveFrameNumbersTheFiles()
{
    QFETCH(QString, name);
    QFETCH(int, frame);
    QFETCH(QString, file);
    QTemporaryDir folder;
    QVERIFY(QDir(folder.path()).mkdir("out"));
    FrameBitmap bitmap;
    for (int i = 0; i < 256 * 256; ++i) {
        bitmap.buffer()[i] = BLACK | static_cast<QRgb>(i * 3);
    }
    bitmap.saveFrame(folder.filePath(name), frame);
    const QStringList written = QDir(folder.filePath("out")).entryList(QDir::Files);
    QCOMPARE(written.size(), 1);
    QCOMPARE("out/" + written.first(), file);
    const QImage saved(folder.filePath(file), "PNG");
    QCOMPARE(saved.convertToFormat(QImage::Format_RGB32), bitmap.image());
}

void FrameBitmapTest::saveFrameIgnoresABadPath()
{
    QTemporaryDir folder;
    FrameBitmap bitmap;
    bitmap.clear(Qt::blue);
    LogCapture log;
    bitmap.saveFrame(folder.filePath("missing/"), 12);
    QVERIFY(QDir(folder.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).isEmpty());
    QCOMPARE(log.lines(), QStringList());
    QVERIFY(isFilledWith(bitmap.image(), QColor(Qt::blue).rgb()));
}

void FrameBitmapTest::diesWithItsParent()
{
    auto parent = std::make_unique<QObject>();
    QPointer<FrameBitmap> bitmap(new FrameBitmap(parent.get()));
    QCOMPARE(bitmap->metaObject()->className(), "FrameBitmap");
    parent.reset();
    QVERIFY(bitmap.isNull());
}

QTEST_GUILESS_MAIN(FrameBitmapTest)
#include "framebitmaptest.moc"
