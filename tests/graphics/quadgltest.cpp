#include "graphics/quad.h"

#include "graphics/texture2d.h"
#include "support/glpictures.h"
#include "support/glrecorder.h"
#include "support/glwindow.h"
#include "support/picturecompare.h"

#include <QTest>

#include <memory>

using namespace graphics;

class QuadGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void coversItsCorners_data();
    void coversItsCorners();
    void colourReachesTheScreen();
    void drawsWithoutTheIndices();
    void uploadsOnlyWhenDirty();
    void freeCornersWaitForAnUpload();
    void freeCornersComeWithTheNextChange();
    void copiesDrawWhatIsUploaded();
    void copyOutlivesTheOriginal();

private:
    /// The texture of four colours, or white, over the quad, on black.
    QImage drawn(Quad& quad, bool fourColours);
    int uploads() const;

    std::unique_ptr<GlWindow> m_window;
    std::unique_ptr<Renderer> m_renderer;
    std::unique_ptr<Texture2d> m_fourColours;
    std::unique_ptr<Texture2d> m_white;
    std::unique_ptr<glpictures::Canvas> m_canvas;
};

namespace {

const int SIZE = 16;

const QRgb AT_00 = qRgb(255, 0, 0);
const QRgb AT_10 = qRgb(0, 255, 0);
const QRgb AT_01 = qRgb(0, 0, 255);
const QRgb AT_11 = qRgb(255, 255, 0);

std::unique_ptr<Texture2d> makeTexture(unsigned int size, QImage picture)
{
    picture = picture.convertToFormat(QImage::Format_RGBA8888);
    auto texture = std::make_unique<Texture2d>(size, size, Texture::Nearest);
    texture->setBuffer(picture.bits(), 0, 0, 0);
    return texture;
}

/// Four fields around a cross through the middle; its first row is at the bottom.
QImage fields(QRgb bottomLeft, QRgb bottomRight, QRgb topLeft, QRgb topRight)
{
    QImage image(SIZE, SIZE, QImage::Format_RGB32);
    for (int y = 0; y < SIZE; ++y) {
        for (int x = 0; x < SIZE; ++x) {
            const bool right = x >= SIZE / 2;
            image.setPixel(x, y,
                           y >= SIZE / 2 ? (right ? topRight : topLeft)
                                         : (right ? bottomRight : bottomLeft));
        }
    }
    return image;
}

QImage filled(QRgb color)
{
    QImage image(SIZE, SIZE, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

} // namespace

QImage QuadGlTest::drawn(Quad& quad, bool fourColours)
{
    m_canvas->clear(0, 0, 0, 1);
    m_renderer->setTexture2d(fourColours ? m_fourColours.get() : m_white.get(), 0);
    quad.render(m_renderer.get());
    return m_canvas->pixels();
}

int QuadGlTest::uploads() const
{
    return glrecorder::calls().filter("glBufferData").size();
}

void QuadGlTest::initTestCase()
{
    m_window = std::make_unique<GlWindow>();
    QVERIFY2(m_window->isReady(), "there is no GL context");
    m_renderer = std::make_unique<Renderer>();
    m_renderer->init();
    QImage colours(2, 2, QImage::Format_RGB32);
    colours.setPixel(0, 0, AT_00);
    colours.setPixel(1, 0, AT_10);
    colours.setPixel(0, 1, AT_01);
    colours.setPixel(1, 1, AT_11);
    m_fourColours = makeTexture(2, colours);
    QImage white(1, 1, QImage::Format_RGB32);
    white.fill(Qt::white);
    m_white = makeTexture(1, white);
}

void QuadGlTest::init()
{
    m_canvas = std::make_unique<glpictures::Canvas>(SIZE, SIZE);
    m_renderer->reset();
    glrecorder::start(glrecorder::Record);
}

void QuadGlTest::cleanup()
{
    m_canvas.reset();
}

void QuadGlTest::coversItsCorners_data()
{
    QTest::addColumn<QVector<float>>("corners");
    QTest::addColumn<QImage>("expected");
    QTest::newRow("the whole viewport")
        << QVector<float>{-1, -1, 1, 1} << fields(AT_00, AT_10, AT_01, AT_11);
    QTest::newRow("left and right exchanged")
        << QVector<float>{1, -1, -1, 1} << fields(AT_10, AT_00, AT_11, AT_01);
    QTest::newRow("top and bottom exchanged")
        << QVector<float>{-1, 1, 1, -1} << fields(AT_01, AT_11, AT_00, AT_10);
    QTest::newRow("a texture corner on all of it") << QVector<float>{-1, -1, 3, 3} << filled(AT_00);
    QTest::newRow("off the screen") << QVector<float>{1, -1, 3, 1} << filled(qRgb(0, 0, 0));
}

void QuadGlTest::coversItsCorners()
{
    QFETCH(QVector<float>, corners);
    QFETCH(QImage, expected);
    Quad quad(0xFFFFFFFF, corners[0], corners[1], corners[2], corners[3]);
    COMPARE_PICTURES(QString("coversItsCorners ") + QTest::currentDataTag(), drawn(quad, true),
                     expected, 0, 0.0);
}

void QuadGlTest::colourReachesTheScreen()
{
    Quad quad(0x80C04020, -1, -1, 1, 1);
    QCOMPARE(drawn(quad, false).pixelColor(3, 3), QColor(0x20, 0x40, 0xC0, 0x80));
}

void QuadGlTest::drawsWithoutTheIndices()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    glrecorder::takeCalls();
    quad.render(m_renderer.get());
    QCOMPARE(glrecorder::calls().filter("glDraw"),
             QStringList{"glDrawArrays(GL_TRIANGLE_STRIP, 0, 4)"});
    QCOMPARE(glrecorder::calls().filter("GL_ELEMENT_ARRAY_BUFFER"), QStringList());
}

void QuadGlTest::uploadsOnlyWhenDirty()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    glrecorder::takeCalls();
    drawn(quad, false);
    QCOMPARE(uploads(), 0);
    quad.setColor(0xFF0000FF);
    QCOMPARE(drawn(quad, false).pixel(3, 3), qRgb(255, 0, 0));
    QCOMPARE(uploads(), 1);
    QCOMPARE(drawn(quad, false).pixel(3, 3), qRgb(255, 0, 0));
    QCOMPARE(uploads(), 1);
    quad.setVertices(-1, -1, 0, 0);
    QCOMPARE(drawn(quad, false).pixel(SIZE - 1, SIZE - 1), qRgb(0, 0, 0));
    QCOMPARE(uploads(), 2);
    quad.setColor(0xFF00FF00);
    quad.updateChanges();
    QCOMPARE(uploads(), 3);
    QCOMPARE(drawn(quad, false).pixel(3, 3), qRgb(0, 255, 0));
    QCOMPARE(uploads(), 3);
}

void QuadGlTest::freeCornersWaitForAnUpload()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    glrecorder::takeCalls();
    // Turned by a quarter: texture (0, 0) is at the bottom right.
    quad.setVertices({1, -1, 0}, {1, 1, 0}, {-1, -1, 0}, {-1, 1, 0});
    COMPARE_PICTURES("before the upload", drawn(quad, true), fields(AT_00, AT_10, AT_01, AT_11), 0,
                     0.0);
    QCOMPARE(uploads(), 0);
    quad.updateChanges();
    COMPARE_PICTURES("after the upload", drawn(quad, true), fields(AT_01, AT_00, AT_11, AT_10), 0,
                     0.0);
}

void QuadGlTest::freeCornersComeWithTheNextChange()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    quad.setVertices({1, -1, 0}, {1, 1, 0}, {-1, -1, 0}, {-1, 1, 0});
    quad.setColor(0xFFFFFFFF);
    COMPARE_PICTURES("with the colour", drawn(quad, true), fields(AT_01, AT_00, AT_11, AT_10), 0,
                     0.0);
}

void QuadGlTest::copiesDrawWhatIsUploaded()
{
    Quad quad(0xFFFFFFFF, -1, -1, 1, 1);
    Quad copy(quad);
    copy.setColor(0xFF0000FF);
    QCOMPARE(drawn(quad, false).pixel(3, 3), qRgb(255, 255, 255));
    QCOMPARE(drawn(copy, false).pixel(3, 3), qRgb(255, 0, 0));
    // The buffer is one, and the original has no change of its own to upload.
    QCOMPARE(drawn(quad, false).pixel(3, 3), qRgb(255, 0, 0));
}

void QuadGlTest::copyOutlivesTheOriginal()
{
    auto quad = std::make_unique<Quad>(0xFF0000FF, -1.0f, -1.0f, 1.0f, 1.0f);
    Quad copy(*quad);
    quad.reset();
    QCOMPARE(drawn(copy, false).pixel(3, 3), qRgb(255, 0, 0));
}

QTEST_MAIN(QuadGlTest)
#include "quadgltest.moc"
