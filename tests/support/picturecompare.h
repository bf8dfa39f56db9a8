#pragma once

#include <QImage>
#include <QString>

/// Compares pictures that were made in two ways, with the small differences between two rasterisers
/// allowed.
namespace picturecompare {

/// Empty where no channel of any pixel differs by more than `maximum`, of 255, and all channels
/// differ by no more than `mean` on average. Else what is wrong, in words, and the files that show
/// it: NAME-actual.png, NAME-expected.png and NAME-difference.png (stretched to full brightness) in
/// the working directory.
///
/// Alpha counts where both pictures have it. Premultiplied colours are compared as such; with only
/// one of the pictures premultiplied, the other is too, first.
QString difference(const QString& name, const QImage& actual, const QImage& expected, int maximum,
                   double mean);

} // namespace picturecompare

/// Fails the test with the difference, if there is one.
#define COMPARE_PICTURES(name, actual, expected, maximum, mean)                                    \
    do {                                                                                           \
        const QString wrong_ = picturecompare::difference(name, actual, expected, maximum, mean);  \
        QVERIFY2(wrong_.isEmpty(), qPrintable(wrong_));                                            \
    } while (false)
