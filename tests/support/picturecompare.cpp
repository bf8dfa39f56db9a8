#include "support/picturecompare.h"

#include <QDir>
#include <QPixelFormat>
#include <QPoint>
#include <QStringList>

#include <algorithm>
#include <cstdlib>

namespace {

/// Below this a pixel is as good as black, above twice this it clearly is not.
const int DARK = 12;

bool isPremultiplied(const QImage& image)
{
    return image.pixelFormat().premultiplied() == QPixelFormat::Premultiplied;
}

QImage::Format commonFormat(const QImage& a, const QImage& b)
{
    if (!a.hasAlphaChannel() || !b.hasAlphaChannel()) {
        return QImage::Format_RGB32;
    }
    return isPremultiplied(a) || isPremultiplied(b) ? QImage::Format_ARGB32_Premultiplied
                                                    : QImage::Format_ARGB32;
}

int brightest(QRgb pixel)
{
    return std::max({qRed(pixel), qGreen(pixel), qBlue(pixel)});
}

QString pixelText(QRgb pixel)
{
    return QString("(%1, %2, %3, %4)")
        .arg(qRed(pixel))
        .arg(qGreen(pixel))
        .arg(qBlue(pixel))
        .arg(qAlpha(pixel));
}

QString save(const QString& name, const QString& role, const QImage& image)
{
    // Names come from test rows, which may read like sentences.
    QString file = name + "-" + role + ".png";
    file.replace(' ', '-').replace('/', '-');
    image.save(file);
    return QDir::current().absoluteFilePath(file);
}

/// What of the actual picture is black and should not be; empty where nothing is.
QString blackness(const QImage& actual, const QImage& expected)
{
    int lit = 0;
    int lost = 0;
    int bright = 0;
    QPoint first;
    for (int y = 0; y < expected.height(); ++y) {
        for (int x = 0; x < expected.width(); ++x) {
            bright += brightest(actual.pixel(x, y)) > DARK;
            if (brightest(expected.pixel(x, y)) <= 2 * DARK) {
                continue;
            }
            lit += 1;
            if (brightest(actual.pixel(x, y)) <= DARK) {
                if (lost == 0) {
                    first = QPoint(x, y);
                }
                lost += 1;
            }
        }
    }
    if (lost == 0) {
        return QString();
    }
    if (bright == 0) {
        return "the actual picture is black all over and should not be";
    }
    return QString("the actual picture is black where it should not be, at %1 of %2 lit pixels, "
                   "the first at %3, %4")
        .arg(lost)
        .arg(lit)
        .arg(first.x())
        .arg(first.y());
}

} // namespace

namespace picturecompare {

QString difference(const QString& name, const QImage& actual, const QImage& expected, int maximum,
                   double mean)
{
    if (actual.isNull() || actual.size() != expected.size()) {
        return QString("%1: the actual picture is %2 × %3 and should be %4 × %5 (%6, %7)")
            .arg(name)
            .arg(actual.width())
            .arg(actual.height())
            .arg(expected.width())
            .arg(expected.height())
            .arg(save(name, "actual", actual), save(name, "expected", expected));
    }

    const QImage::Format format = commonFormat(actual, expected);
    const QImage a = actual.convertToFormat(format);
    const QImage e = expected.convertToFormat(format);
    const int channels = format == QImage::Format_RGB32 ? 3 : 4;
    QImage gaps(a.size(), QImage::Format_RGB32);
    int worst = -1;
    QPoint worstAt;
    double sum = 0.0;
    for (int y = 0; y < a.height(); ++y) {
        const QRgb* rowA = reinterpret_cast<const QRgb*>(a.constScanLine(y));
        const QRgb* rowE = reinterpret_cast<const QRgb*>(e.constScanLine(y));
        for (int x = 0; x < a.width(); ++x) {
            const int red = std::abs(qRed(rowA[x]) - qRed(rowE[x]));
            const int green = std::abs(qGreen(rowA[x]) - qGreen(rowE[x]));
            const int blue = std::abs(qBlue(rowA[x]) - qBlue(rowE[x]));
            const int alpha = channels == 4 ? std::abs(qAlpha(rowA[x]) - qAlpha(rowE[x])) : 0;
            const int gap = std::max({red, green, blue, alpha});
            if (gap > worst) {
                worst = gap;
                worstAt = QPoint(x, y);
            }
            sum += red + green + blue + alpha;
            // Where only the alpha differs, that is shown as grey.
            gaps.setPixel(
                x, y, qRgb(std::max(red, alpha), std::max(green, alpha), std::max(blue, alpha)));
        }
    }
    const double average = sum / (static_cast<double>(a.width()) * a.height() * channels);
    if (worst <= maximum && average <= mean) {
        return QString();
    }

    const int scale = std::max(worst, 1);
    for (int y = 0; y < gaps.height(); ++y) {
        QRgb* row = reinterpret_cast<QRgb*>(gaps.scanLine(y));
        for (int x = 0; x < gaps.width(); ++x) {
            row[x] = qRgb(qRed(row[x]) * 255 / scale, qGreen(row[x]) * 255 / scale,
                          qBlue(row[x]) * 255 / scale);
        }
    }
    QStringList parts;
    parts.append(QString("the largest difference is %1 (allowed: %2), at %3, %4: %5 should be %6")
                     .arg(worst)
                     .arg(maximum)
                     .arg(worstAt.x())
                     .arg(worstAt.y())
                     .arg(pixelText(a.pixel(worstAt)), pixelText(e.pixel(worstAt))));
    parts.append(
        QString("the mean is %1 (allowed: %2)").arg(average, 0, 'f', 3).arg(mean, 0, 'f', 3));
    const QString black = blackness(a, e);
    if (!black.isEmpty()) {
        parts.append(black);
    }
    return QString("%1: %2 (%3, %4, %5)")
        .arg(name, parts.join("; "), save(name, "actual", actual), save(name, "expected", expected),
             save(name, "difference", gaps));
}

} // namespace picturecompare
