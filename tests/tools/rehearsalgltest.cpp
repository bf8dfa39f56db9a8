#include "demo/demomain_p.h"
#include "rehearsal.h"
#include "sourcewatch.h"

#include "support/boxcloser.h"
#include "support/fakecontacts.h"
#include "support/fakedeviceinfo.h"
#include "support/picturecompare.h"
#include "support/testclock.h"

#include <QDirIterator>
#include <QGLFramebufferObject>
#include <QMediaPlayer>
#include <QPainter>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <GLES2/gl2.h>

#include <cmath>
#include <memory>

/// The show as its authors play it, with resources of the test's own.
class RehearsalGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();

    void beginsAtThePart();
    void lengthsAreTheDrivers();
    void laterPartLastsAsLongAsInTheShow();
    void partIsPlayedAgain();
    void firstPartIsPlayedAgain();

    void changedShaderIsDrawnWith();
    void brokenShaderChangesNothing();
    void brokenFromTheStart();
    void shadersThatDoNotGoTogether();
    void missingFileChangesNothing();
    void changedPictures();
    void filesNobodyChangedAreLeftAlone();
};

namespace {

const char LOOK[] = "contrast";
QString lookFile()
{
    return "shaders/contrast_fs.glsl";
}

QString defaultFile()
{
    return "shaders/default_fs.glsl";
}

QString vertexFile()
{
    return "shaders/default_vs.glsl";
}

QString faceFile()
{
    return "face/facetestinv.jpg";
}

QString titleFile()
{
    return "textures/title.jpg";
}

/// Where the fade of the first part leaves the music.
const int VOLUME_AFTER_FIRST = 41;

/// A fragment shader that makes everything of one colour.
QByteArray plain(const QByteArray& colour)
{
    return "void main()\n{\n    gl_FragColor = vec4(" + colour + ");\n}\n";
}

/// A copy of the resources, as an author has them, and a rehearsal with it.
class Workshop
{
public:
    Workshop()
    {
        QDirIterator it(RESOURCES, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString from = it.next();
            const QString to = path(QDir(RESOURCES).relativeFilePath(from));
            QDir().mkpath(QFileInfo(to).path());
            QFile::copy(from, to);
            QFile(to).setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        }
    }

    ~Workshop()
    {
        testclock::giveBack();
    }

    /// Loads the show, with a script as long as its own that does not change with it: out of the
    /// dark, and a line in every part. Frames are drawn by the test.
    void open(int part = 1, bool again = false)
    {
        rehearsal = std::make_unique<Rehearsal>(folder.path());
        told = std::make_unique<QSignalSpy>(rehearsal.get(), &Rehearsal::told);
        complained = std::make_unique<QSignalSpy>(rehearsal.get(), &Rehearsal::complained);
        QVERIFY(rehearsal->load());
        rehearsal->timer->stop();
        for (auto& written : d().parts) {
            written = QSharedPointer<DemoPart>::create();
            written->text = "Do not call me cute";
        }
        d().parts.first()->fade = DemoPart::FadeIn;
        rehearsal->beginAt(part, again);
        testclock::takeOver();
    }

    /// Shows the window, so that there is something to be drawn on.
    void show()
    {
        rehearsal->resize(800, 480);
        rehearsal->show();
        QVERIFY(QTest::qWaitForWindowExposed(rehearsal.get()));
        rehearsal->setAutoBufferSwap(false);
    }

    DemoMain::DemoMainPrivate& d()
    {
        return *rehearsal->demoMain->d;
    }

    /// Lets time pass, and a synthesiser that is not there fail, and draws a frame.
    void frame(int milliseconds)
    {
        testclock::advance(milliseconds);
        QTRY_VERIFY(rehearsal->demoMain->speech()->isReady());
        rehearsal->makeCurrent();
        rehearsal->paintGL();
    }

    /// Draws frames until another part plays, or this one anew; the time it takes. No part is
    /// shorter than the first step.
    int playOn()
    {
        const int part = d().partIndex;
        int time = 0;
        while (time < 20000) {
            const int step = time == 0 ? 4000 : 50;
            frame(step);
            time += step;
            if (d().partIndex != part || d().partTime.elapsed() == 0) {
                return time;
            }
        }
        return -1;
    }

    QString path(const QString& file) const
    {
        return folder.filePath(file);
    }

    /// Writes as one that empties the file and fills it.
    void write(const QString& file, const QByteArray& content)
    {
        QFile written(path(file));
        QVERIFY(written.open(QIODevice::WriteOnly));
        written.write(content);
    }

    /// Writes as one that puts a new file in the place of the old one.
    void replace(const QString& file, const QByteArray& content)
    {
        write(file + "~", content);
        QCOMPARE(std::rename(qPrintable(path(file + "~")), qPrintable(path(file))), 0);
    }

    QByteArray content(const QString& file) const
    {
        QFile read(path(file));
        read.open(QIODevice::ReadOnly);
        return read.readAll();
    }

    /// The gradient through the look.
    QImage lookPicture()
    {
        return picture([this] {
            DemoPart part;
            part.shader = LOOK;
            part.spread = DemoPart::OneQuad;
            d().composite(part, 0.0f);
        });
    }

    /// The other gradient, as the title is shown.
    QImage titlePicture()
    {
        return picture([this] {
            d().renderer.setTexture2d(&d().titleTarget.texture(), 0);
            d().quad->render(&d().renderer);
        });
    }

    /// The face at its brightest, without its shaking.
    QImage facePicture()
    {
        return picture([this] {
            d().partTime = QTime::currentTime().addMSecs(-2500);
            qsrand(1);
            d().renderer.setBlending(graphics::BlendAdditive);
            d().drawFace(0);
        });
    }

    /// What the author was last told, or complained to; empties the list.
    static QString take(QSignalSpy& spy)
    {
        QStringList lines;
        for (const auto& arguments : qAsConst(spy)) {
            lines << arguments.first().toString();
        }
        spy.clear();
        return lines.join("|");
    }

    QTemporaryDir folder;
    BoxCloser boxes;
    std::unique_ptr<Rehearsal> rehearsal;
    std::unique_ptr<QSignalSpy> told;
    std::unique_ptr<QSignalSpy> complained;

private:
    template <typename Draw>
    QImage picture(const Draw& draw)
    {
        rehearsal->makeCurrent();
        d().beginFrame();
        // Something that is not the same everywhere.
        for (graphics::RenderTarget* target : {&d().effectTarget, &d().titleTarget}) {
            QLinearGradient gradient(0, 0, target->width(), target->height());
            gradient.setColorAt(0, QColor(200, 40, 90));
            gradient.setColorAt(1, QColor(60, 160, 120));
            QPainter painter(target->fbo());
            painter.fillRect(0, 0, target->width(), target->height(), gradient);
        }
        d().setViewport();
        draw();
        return rehearsal->grabFrameBuffer();
    }
};

bool isAll(const QImage& picture, QRgb colour)
{
    for (const QPoint& point : {QPoint(5, 5), QPoint(400, 240), QPoint(790, 470)}) {
        if ((picture.pixel(point) & 0xFFFFFF) != (colour & 0xFFFFFF)) {
            return false;
        }
    }
    return true;
}

} // namespace

void RehearsalGlTest::initTestCase()
{
    fakecontacts::use();
    // No synthesiser: nothing holds a part.
    qputenv("PATH", "");
}

void RehearsalGlTest::beginsAtThePart()
{
    Workshop shop;
    shop.open(7);
    const int numParts = shop.d().parts.size();
    QCOMPARE(shop.rehearsal->numParts(), numParts);
    shop.frame(0);
    QCOMPARE(shop.d().partIndex, 6);
    QCOMPARE(shop.d().partTime.elapsed(), 0);
    QCOMPARE(shop.d().parts.size(), numParts);
    QCOMPARE(shop.take(*shop.told), QString("Part 7 of %1").arg(numParts));
    QCOMPARE(shop.rehearsal->windowTitle(), QString("pixmoth: part 7 of %1").arg(numParts));
    QCOMPARE(shop.d().player->volume(), VOLUME_AFTER_FIRST);
    QVERIFY(shop.d().player->isMuted());
    QCOMPARE(shop.playOn(), 4850);
    QCOMPARE(shop.take(*shop.told), QString("Part 8 of %1").arg(numParts));
}

void RehearsalGlTest::lengthsAreTheDrivers()
{
    Workshop shop;
    shop.open();
    shop.frame(0);
    QVERIFY(!shop.d().player->isMuted());
    int time = 0;
    for (int part = 2; part <= 4; ++part) {
        time += shop.playOn();
        QCOMPARE(shop.d().partIndex, part - 1);
        // Each part ends with the tick after its time.
        QCOMPARE(time, Rehearsal::beginningOf(part) + 50 * (part - 1));
        QCOMPARE(shop.d().player->volume(), VOLUME_AFTER_FIRST);
    }
}

void RehearsalGlTest::laterPartLastsAsLongAsInTheShow()
{
    Workshop shop;
    shop.open(2);
    shop.frame(0);
    QCOMPARE(shop.d().partIndex, 1);
    QCOMPARE(shop.playOn(), 4850);
    QCOMPARE(shop.d().partIndex, 2);
}

void RehearsalGlTest::partIsPlayedAgain()
{
    Workshop shop;
    shop.open(5, true);
    const int numParts = shop.d().parts.size();
    shop.frame(0);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(shop.playOn(), 4850);
        QCOMPARE(shop.d().partIndex, 4);
    }
    QCOMPARE(shop.take(*shop.told), QString("Part 5 of %1").arg(numParts));
}

void RehearsalGlTest::firstPartIsPlayedAgain()
{
    Workshop shop;
    shop.open(1, true);
    shop.frame(0);
    QCOMPARE(shop.playOn(), 4250);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(shop.d().partIndex, 0);
        QCOMPARE(shop.d().player->volume(), 0);
        QCOMPARE(shop.playOn(), 4850);
    }
}

void RehearsalGlTest::changedShaderIsDrawnWith()
{
    Workshop shop;
    shop.open();
    shop.show();
    QVERIFY(!isAll(shop.lookPicture(), qRgb(255, 0, 0)));
    shop.write(lookFile(), plain("1.0, 0.0, 0.0, 1.0"));
    QTRY_VERIFY(isAll(shop.lookPicture(), qRgb(255, 0, 0)));
    QVERIFY(shop.take(*shop.told).endsWith(lookFile() + ": loaded"));
    // Twice, since a watch ends with the file that it was for.
    shop.replace(lookFile(), plain("0.0, 1.0, 0.0, 1.0"));
    QTRY_VERIFY(isAll(shop.lookPicture(), qRgb(0, 255, 0)));
    shop.replace(lookFile(), plain("0.0, 0.0, 1.0, 1.0"));
    QTRY_VERIFY(isAll(shop.lookPicture(), qRgb(0, 0, 255)));
    shop.write(lookFile(), plain("1.0, 1.0, 0.0, 1.0"));
    QTRY_VERIFY(isAll(shop.lookPicture(), qRgb(255, 255, 0)));

    QVERIFY(!isAll(shop.titlePicture(), qRgb(255, 0, 255)));
    shop.replace(defaultFile(), plain("1.0, 0.0, 1.0, 1.0"));
    QTRY_VERIFY(isAll(shop.titlePicture(), qRgb(255, 0, 255)));
    QVERIFY(isAll(shop.lookPicture(), qRgb(255, 255, 0)));

    // All programs have their corners from this one; now only those of one quarter are seen.
    // Nobody sets the new uniform, behind which the others may have another place.
    QByteArray corners = "uniform highp vec4 u_more;\n" + shop.content(vertexFile());
    corners.replace("* a_pos", "* (a_pos + vec4(1.0, 1.0, 0.0, 0.0) + u_more)");
    shop.replace(vertexFile(), corners);
    QTRY_COMPARE(shop.lookPicture().pixel(5, 470), qRgb(0, 0, 0));
    QCOMPARE(shop.lookPicture().pixel(790, 5), qRgb(255, 255, 0));
    QCOMPARE(shop.titlePicture().pixel(5, 470), qRgb(0, 0, 0));
    QCOMPARE(shop.titlePicture().pixel(790, 5), qRgb(255, 0, 255));
    QCOMPARE(shop.complained->size(), 0);
    // The show plays on with all of them.
    shop.frame(50);
    shop.frame(50);
}

void RehearsalGlTest::brokenShaderChangesNothing()
{
    Workshop shop;
    shop.open();
    shop.show();
    const QByteArray good = shop.content(lookFile());
    const QImage before = shop.lookPicture();
    QVERIFY(!isAll(before, before.pixel(400, 240)));

    shop.write(lookFile(), "void main()\n{\n    gl_FragColor = nothing;\n}\n");
    QTRY_COMPARE(shop.complained->size(), 1);
    const QString complaint = shop.take(*shop.complained);
    QVERIFY2(complaint.startsWith(lookFile() + ": "), qPrintable(complaint));
    // What the driver says, with the line of the file.
    QVERIFY2(complaint.contains("nothing"), qPrintable(complaint));
    QVERIFY2(complaint.contains(":3("), qPrintable(complaint));
    QVERIFY2(complaint.endsWith("\nThe last good one goes on."), qPrintable(complaint));
    COMPARE_PICTURES("broken", shop.lookPicture(), before, 0, 0.0);
    shop.frame(50);

    shop.write(lookFile(), plain("1.0, 0.0, 0.0, 1.0"));
    QTRY_VERIFY(isAll(shop.lookPicture(), qRgb(255, 0, 0)));
    shop.write(lookFile(), good);
    QTRY_VERIFY(!isAll(shop.lookPicture(), qRgb(255, 0, 0)));
    COMPARE_PICTURES("mended", shop.lookPicture(), before, 0, 0.0);
    QCOMPARE(shop.complained->size(), 0);
    QVERIFY(shop.boxes.boxes().isEmpty());
}

void RehearsalGlTest::brokenFromTheStart()
{
    Workshop shop;
    shop.write(lookFile(), "void main() { nothing }\n");
    shop.write(defaultFile(), plain("0.0, 1.0, 0.0, 1.0"));
    QVERIFY(QFile::remove(shop.path(faceFile())));
    shop.open();
    shop.show();
    const QString complaint = shop.take(*shop.complained);
    QVERIFY2(complaint.contains(lookFile() + ": "), qPrintable(complaint));
    QVERIFY2(complaint.contains(faceFile() + ": It cannot be read."), qPrintable(complaint));
    QVERIFY(shop.take(*shop.told).startsWith(defaultFile() + ": loaded"));
    QVERIFY(isAll(shop.titlePicture(), qRgb(0, 255, 0)));

    // What is compiled in goes on.
    Workshop other;
    other.open();
    other.show();
    COMPARE_PICTURES("compiled-in", shop.lookPicture(), other.lookPicture(), 0, 0.0);
    QVERIFY(shop.boxes.boxes().isEmpty());
}

void RehearsalGlTest::shadersThatDoNotGoTogether()
{
    Workshop shop;
    shop.open();
    shop.show();
    const QByteArray goodCorners = shop.content(vertexFile());
    const QByteArray goodLook = shop.content(lookFile());
    const QImage before = shop.lookPicture();

    QByteArray corners = goodCorners;
    shop.write(vertexFile(), corners.replace("m_texCoord", "m_place"));
    QTRY_COMPARE(shop.complained->size(), 1);
    QString complaint = shop.take(*shop.complained);
    QVERIFY2(complaint.startsWith(vertexFile() + ": "), qPrintable(complaint));
    QVERIFY2(complaint.contains(lookFile()) && complaint.contains("m_texCoord"),
             qPrintable(complaint));
    COMPARE_PICTURES("other-corners", shop.lookPicture(), before, 0, 0.0);

    // The same change, made here as well.
    shop.told->clear();
    QByteArray look = goodLook;
    shop.write(lookFile(), look.replace("m_texCoord", "m_place"));
    QTRY_COMPARE(shop.told->size(), 1);
    QCOMPARE(shop.take(*shop.told), lookFile() + ": loaded");
    COMPARE_PICTURES("followed", shop.lookPicture(), before, 0, 0.0);

    shop.write(lookFile(), goodLook);
    QTRY_COMPARE(shop.complained->size(), 1);
    complaint = shop.take(*shop.complained);
    QVERIFY2(complaint.startsWith(lookFile() + ": ") && complaint.contains(vertexFile()),
             qPrintable(complaint));
    shop.write(vertexFile(), goodCorners);
    QTRY_COMPARE(shop.told->size(), 1);
    QCOMPARE(shop.take(*shop.told), vertexFile() + ": loaded");
    COMPARE_PICTURES("together", shop.lookPicture(), before, 0, 0.0);
    QCOMPARE(shop.complained->size(), 0);
}

void RehearsalGlTest::missingFileChangesNothing()
{
    Workshop shop;
    shop.open();
    shop.show();
    const QImage before = shop.lookPicture();
    QVERIFY(QFile::remove(shop.path(lookFile())));
    QTRY_COMPARE(shop.complained->size(), 1);
    QCOMPARE(shop.take(*shop.complained),
             lookFile() + ": It cannot be read.\nThe last good one goes on.");
    COMPARE_PICTURES("missing", shop.lookPicture(), before, 0, 0.0);
    shop.write(lookFile(), plain("1.0, 0.0, 0.0, 1.0"));
    QTRY_VERIFY(isAll(shop.lookPicture(), qRgb(255, 0, 0)));
    shop.write(lookFile(), plain("0.0, 1.0, 0.0, 1.0"));
    QTRY_VERIFY(isAll(shop.lookPicture(), qRgb(0, 255, 0)));
}

void RehearsalGlTest::changedPictures()
{
    Workshop shop;
    shop.open();
    shop.show();
    const QImage face = shop.facePicture();
    const qint64 title = shop.d().titlePixmap.cacheKey();

    shop.write(faceFile(), "no picture");
    shop.write(titleFile(), "");
    QTRY_COMPARE(shop.complained->size(), 2);
    const QString complaints = shop.take(*shop.complained);
    QVERIFY2(complaints.contains(faceFile() + ": It is no picture."), qPrintable(complaints));
    QVERIFY2(complaints.contains(titleFile() + ": It is no picture."), qPrintable(complaints));
    COMPARE_PICTURES("old-face", shop.facePicture(), face, 0, 0.0);
    QCOMPARE(shop.d().titlePixmap.cacheKey(), title);

    QImage green(64, 64, QImage::Format_RGB32);
    green.fill(qRgb(0, 255, 0));
    shop.told->clear();
    QVERIFY(green.save(shop.path(faceFile()), "PNG"));
    QVERIFY(green.save(shop.path(titleFile()), "PNG"));
    QTRY_COMPARE(shop.told->size(), 2);
    QCOMPARE(shop.d().titlePixmap.toImage().pixel(9, 9), qRgb(0, 255, 0));
    const QRgb middle = shop.facePicture().pixel(400, 192);
    QVERIFY2(qRed(middle) == 0 && qGreen(middle) > 250 && qBlue(middle) == 0,
             qPrintable(QString::number(middle, 16)));
    QCOMPARE(shop.complained->size(), 0);
    QVERIFY(shop.boxes.boxes().isEmpty());
}

void RehearsalGlTest::filesNobodyChangedAreLeftAlone()
{
    Workshop shop;
    shop.open();
    shop.show();
    QVERIFY(!shop.take(*shop.told).contains("loaded"));
    const auto program = shop.d().shaderPrograms[0];
    const unsigned int face = shop.d().faceTextures[0].textureId();
    // As an editor leaves them about, and saved without a change.
    shop.write("shaders/.contrast_fs.glsl.swp", "swap");
    shop.replace(lookFile(), shop.content(lookFile()));
    shop.replace(faceFile(), shop.content(faceFile()));
    QTest::qWait(500);
    QCOMPARE(shop.d().shaderPrograms[0], program);
    QCOMPARE(shop.d().faceTextures[0].textureId(), face);
    QVERIFY(!shop.take(*shop.told).contains("loaded"));
    QCOMPARE(shop.complained->size(), 0);
    // And yet the next change is seen.
    shop.write(lookFile(), plain("1.0, 0.0, 0.0, 1.0"));
    QTRY_VERIFY(isAll(shop.lookPicture(), qRgb(255, 0, 0)));
}

QTEST_MAIN(RehearsalGlTest)
#include "rehearsalgltest.moc"
