#include "effects/effectbase.h"

#include "effects/framebitmap.h"
#include "effects/nzoomer.h"
#include "effects/randomdraws.h"
#include "effects/wireframes.h"

#include <QTest>

#include <algorithm>
#include <cmath>

namespace {

/// One pixel of the noise, in the widths of number that make it what it is: the phases are so large
/// that a float hardly tells neighbouring angles apart.
unsigned int noisePixel(int frame, int x, int y)
{
    const double angle = static_cast<double>(static_cast<float>(frame) * 0.01f);
    const double down = static_cast<double>(static_cast<float>(std::cos(angle) * y)) * 0.01;
    const double across = static_cast<double>(static_cast<float>(x * std::sin(angle))) * 0.01;
    float phases[3];
    for (float& phase : phases) {
        phase = static_cast<float>(qrand()) * 0.00001f;
    }
    const float waves[3] = {
        std::sin(static_cast<float>(across + static_cast<double>(phases[0]))),
        std::sin(static_cast<float>(down + static_cast<double>(phases[1]))),
        std::cos(static_cast<float>(down + across + static_cast<double>(phases[2]))),
    };
    unsigned int word = 0xff;
    for (float wave : waves) {
        const double level = (static_cast<double>(wave) + 0.9) * 128.0;
        word = word << 8 | (static_cast<unsigned int>(std::max(0.0, level)) & 0xff);
    }
    return word;
}

} // namespace

class EffectBaseTest : public QObject
{
    Q_OBJECT

private slots:
    void initDoesNothing();
    void noiseDrawsThreePerPixel_data();
    void noiseDrawsThreePerPixel();
    void noiseFollowsTheDraws_data();
    void noiseFollowsTheDraws();
    void darkSidesAreBlack();
    void otherEffectsStandBehindTheBase();
};

void EffectBaseTest::initDoesNothing()
{
    EffectBase effect;
    qsrand(11);
    effect.init();
    const int next = qrand();
    QCOMPARE(next, drawAfter(11, 0));
    QCOMPARE(effect.metaObject()->className(), "EffectBase");
    QCOMPARE(Wireframes().metaObject()->className(), "EffectBase");
    QCOMPARE(NZoomer().metaObject()->className(), "EffectBase");
}

void EffectBaseTest::noiseDrawsThreePerPixel_data()
{
    QTest::addColumn<int>("frame");
    QTest::newRow("first frame") << 0;
    QTest::newRow("a later frame") << 99;
}

void EffectBaseTest::noiseDrawsThreePerPixel()
{
    QFETCH(int, frame);
    EffectBase effect;
    FrameBitmap bitmap;
    qsrand(12);
    effect.renderFrame(&bitmap, frame);
    const int next = qrand();
    QCOMPARE(next, drawAfter(12, 3 * 256 * 256));
}

void EffectBaseTest::noiseFollowsTheDraws_data()
{
    QTest::addColumn<int>("frame");
    // In the largest, the angle is as coarse as a float makes it.
    for (int frame : {0, 1, 40, 157, 1000, -1, 123456789}) {
        QTest::addRow("frame %i", frame) << frame;
    }
}

void EffectBaseTest::noiseFollowsTheDraws()
{
    QFETCH(int, frame);
    EffectBase effect;
    FrameBitmap bitmap;
    bitmap.clear(Qt::white);
    qsrand(13);
    effect.renderFrame(&bitmap, frame);
    qsrand(13);
    for (int y = 0; y < 256; ++y) {
        for (int x = 0; x < 256; ++x) {
            const unsigned int expected = noisePixel(frame, x, y);
            const unsigned int pixel = bitmap.buffer()[y * 256 + x];
            QVERIFY2(pixel == expected, qPrintable(QString("(%1, %2): %3 instead of %4")
                                                       .arg(x)
                                                       .arg(y)
                                                       .arg(pixel, 8, 16)
                                                       .arg(expected, 8, 16)));
        }
    }
}

void EffectBaseTest::darkSidesAreBlack()
{
    // A sine below -0.9 would wrap to a bright channel if it were not cut off at nothing.
    EffectBase effect;
    FrameBitmap bitmap;
    qsrand(14);
    effect.renderFrame(&bitmap, 0);
    int zeroes = 0;
    int brightest = 0;
    for (int i = 0; i < 256 * 256; ++i) {
        const QRgb pixel = bitmap.buffer()[i];
        QCOMPARE(qAlpha(pixel), 255);
        for (int channel : {qRed(pixel), qGreen(pixel), qBlue(pixel)}) {
            zeroes += channel == 0;
            brightest = std::max(brightest, channel);
        }
    }
    QCOMPARE(brightest, 243);
    // About 14.5 % of a sine lies down there, and the level 0 itself.
    const double share = zeroes / (3.0 * 256 * 256);
    QVERIFY2(share > 0.13 && share < 0.16, qPrintable(QString::number(share)));
}

void EffectBaseTest::otherEffectsStandBehindTheBase()
{
    FrameBitmap bitmap;
    Wireframes wireframes;
    EffectBase* effect = &wireframes;
    effect->init();
    // Into a bitmap the lattice draws the noise of the base …
    qsrand(15);
    effect->renderFrame(&bitmap, 3);
    int next = qrand();
    QCOMPARE(next, drawAfter(15, 3 * 256 * 256));

    // … and the zoomer its dots.
    NZoomer zoomer;
    effect = &zoomer;
    effect->init();
    qsrand(15);
    effect->renderFrame(&bitmap, -1);
    next = qrand();
    QCOMPARE(next, drawAfter(15, 4));
    QCOMPARE(wireframes.metaObject()->inherits(&EffectBase::staticMetaObject), true);
    QCOMPARE(zoomer.metaObject()->inherits(&EffectBase::staticMetaObject), true);
}

QTEST_GUILESS_MAIN(EffectBaseTest)
#include "effectbasetest.moc"
