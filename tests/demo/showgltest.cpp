#include "graphics/renderer_p.h"
#include "stage.h"

#include "support/logcapture.h"

#include <QGLShaderProgram>

#include <GLES2/gl2.h>

#include <algorithm>
#include <cmath>

/// The whole show, frame by frame, a tick each, against what its script says and formulas that
/// share nothing with the driver. Every function has a process of its own.
class ShowGlTest : public QObject
{
    Q_OBJECT

private slots:
    void everyFrameIsDrawnAsWritten();
    void linesAreSpokenInOrder();
    void workPerFrame();
};

namespace {

/// A part ends with the first tick after its time.
const int FIRST_PART_FRAMES = FIRST_PART_MS / TICK_MS + 1;
const int LATER_PART_FRAMES = LATER_PART_MS / TICK_MS + 1;

bool near(const QMatrix4x4& a, const QMatrix4x4& b, float tolerance)
{
    for (int i = 0; i < 16; ++i) {
        if (std::fabs(a.constData()[i] - b.constData()[i]) > tolerance) {
            return false;
        }
    }
    return true;
}

/// A uniform scale and a turn about z, written out.
QMatrix4x4 scaledTurn(double scale, double degrees)
{
    const double angle = degrees * M_PI / 180.0;
    const float c = static_cast<float>(scale * std::cos(angle));
    const float s = static_cast<float>(scale * std::sin(angle));
    return QMatrix4x4(c, -s, 0, 0, s, c, 0, 0, 0, 0, static_cast<float>(scale), 0, 0, 0, 0, 1);
}

} // namespace

void ShowGlTest::everyFrameIsDrawnAsWritten()
{
    Stage stage;
    QVERIFY2(stage.window.isReady(), "no GL context");
    const QSet<unsigned int> buffersBefore = glrecorder::livingBuffers();
    glrecorder::start(glrecorder::Record);
    stage.open();
    QCOMPARE(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    const unsigned int defaultProgram = stage.demo->renderer()->d->defaultProgram.programId();
    const int parts = stage.d().parts.size();

    double turn = 0.0;
    int volume = 0;
    int frames = 0;
    for (int part = 0; part < parts; ++part) {
        const DemoPart& row = *stage.d().parts.at(part);
        const int length = part == 0 ? FIRST_PART_FRAMES : LATER_PART_FRAMES;
        for (int frame = 0; frame < length; ++frame) {
            const QByteArray where =
                "part " + QByteArray::number(part + 1) + " frame " + QByteArray::number(frame);
            glrecorder::start(glrecorder::Record);
            QCOMPARE(stage.frame(frames == 0 ? 0 : TICK_MS), 1);
            ++frames;
            QVERIFY2(stage.d().partIndex == part, where);
            const double ms = TICK_MS * frame;
            QVERIFY2(stage.d().partTime.elapsed() == frame * TICK_MS, where);
            QVERIFY2(glGetError() == GL_NO_ERROR, where);

            const QVector<glrecorder::Draw> draws = glrecorder::draws();
            const int copies = row.spread == DemoPart::OneQuad ? 1 : 7;
            const int expected = (row.title != DemoPart::NoTitle ? 1 : 0) + copies +
                                 (row.face != DemoPart::NoFace ? 1 : 0) +
                                 (row.fade != DemoPart::NoFade ? 1 : 0);
            QVERIFY2(draws.size() == expected, where);
            int next = 0;

            if (row.title != DemoPart::NoTitle) {
                const glrecorder::Draw& draw = draws[next++];
                QVERIFY2(draw.texture == stage.d().titleTarget.textureId(), where);
                QVERIFY2(!draw.blend && draw.program == defaultProgram, where);
                QVERIFY2(draw.matrix.isIdentity() && draw.color() == 0xFFFFFFFF, where);
            }
            for (int i = 0; i < copies; ++i) {
                const glrecorder::Draw& draw = draws[next++];
                QVERIFY2(draw.texture == stage.d().effectTarget.textureId(), where);
                QVERIFY2(draw.program == stage.program(row.shader), where);
                QVERIFY2(draw.blend && draw.blendSource == GL_ONE &&
                             draw.blendDestination == GL_ONE,
                         where);
                QVERIFY2(draw.color() == 0xFFFFFFFF, where);
                const double factor = row.spread == DemoPart::WideCopies ? 48.1 : row.spread * 5.1;
                const QMatrix4x4 matrix =
                    row.spread == DemoPart::OneQuad
                        ? QMatrix4x4()
                        : scaledTurn(i / 200.0 * factor, i * 25.5 + turn * 20.0);
                QVERIFY2(near(draw.matrix, matrix, 2e-3f), where);
            }
            if (row.face != DemoPart::NoFace) {
                const glrecorder::Draw& draw = draws[next++];
                QVERIFY2(draw.texture == stage.d().faceTextures[row.face].textureId(), where);
                QVERIFY2(draw.program == defaultProgram, where);
                QVERIFY2(draw.blend && draw.blendSource == GL_SRC_ALPHA &&
                             draw.blendDestination == GL_ONE,
                         where);
                const double sine = std::sin(ms / 5000.0 * 3.14);
                const int alpha = qBound(0, static_cast<int>(sine * 255.0), 255);
                QVERIFY2(std::abs(static_cast<int>(draw.color() >> 24) - alpha) <= 1, where);
                QVERIFY2((draw.color() & 0xFFFFFF) == 0xFFFFFF, where);
                const float growth = static_cast<float>(1.0 + ms / 5000.0 * 0.75);
                const QMatrix4x4& m = draw.matrix;
                QVERIFY2(std::fabs(m(0, 0) - growth * 0.23333333f) < 1e-4f, where);
                QVERIFY2(std::fabs(m(1, 1) + growth * 0.33333334f) < 1e-4f, where);
                // The shake.
                QVERIFY2(std::fabs(m(0, 3)) <= 0.0025001f, where);
                QVERIFY2(std::fabs(m(1, 3) - 0.2f) <= 0.0025001f, where);
            }
            if (row.fade != DemoPart::NoFade) {
                const glrecorder::Draw& draw = draws[next++];
                const double passed = qMin(1.0, ms / 5000.0);
                const double dark = row.fade == DemoPart::FadeIn ? 1.0 - passed : passed;
                QVERIFY2(draw.blend && draw.blendSource == GL_SRC_ALPHA &&
                             draw.blendDestination == GL_ONE_MINUS_SRC_ALPHA,
                         where);
                QVERIFY2((draw.color() & 0xFFFFFF) == 0, where);
                QVERIFY2(std::abs(static_cast<int>(draw.color() >> 24) -
                                  static_cast<int>(dark * 255)) <= 1,
                         where);
                QVERIFY2(draw.matrix.isIdentity(), where);
                // Neither program nor texture is the fade's own.
                QVERIFY2(draw.program == stage.program(row.shader), where);
                QVERIFY2(draw.texture == stage.d().effectTarget.textureId(), where);
                volume = static_cast<int>(50.0 - 50.0 * dark);
            }
            QVERIFY2(std::abs(stage.d().player->volume() - volume) <=
                         (row.fade != DemoPart::NoFade ? 1 : 0),
                     where);
            volume = stage.d().player->volume();
            turn -= 0.08;
        }
    }
    QCOMPARE(frames, FIRST_PART_FRAMES + (parts - 1) * LATER_PART_FRAMES);
    // A fade does not quite end within its part: 4800 of 5000 ms.
    QCOMPARE(volume, 2);

    glrecorder::start(glrecorder::Record);
    QCOMPARE(stage.frame(), 0);
    QVERIFY(glrecorder::calls().isEmpty());
    QCOMPARE(stage.d().partIndex, parts);
    QCOMPARE(stage.frame(), 0);
    QCOMPARE(stage.d().partIndex, parts);

    stage.close();
    QCOMPARE(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    QCOMPARE(glrecorder::livingBuffers(), buffersBefore);
    QVERIFY(glrecorder::livingTextures().isEmpty());
}

void ShowGlTest::linesAreSpokenInOrder()
{
    Stage stage;
    QVERIFY2(stage.window.isReady(), "no GL context");
    stage.open();
    LogCapture log;
    while (stage.frame() != 0) {
    }
    QStringList quoted;
    QStringList logged;
    for (const auto& part : qAsConst(stage.d().parts)) {
        const QString& line = part->text;
        if (line.isEmpty()) {
            continue;
        }
        quoted.append("\"" + line + "\"");
        logged.append("-ven-us+f3 -g0  -s150  \"" + line + "\"");
        logged.append(QString("Approx time: %1").arg(line.length() * 80));
    }
    QCOMPARE(stage.spoken(), quoted);
    // Warnings may be the media framework's.
    QCOMPARE(log.lines(QtDebugMsg), logged);
}

void ShowGlTest::workPerFrame()
{
    Stage stage;
    QVERIFY2(stage.window.isReady(), "no GL context");
    stage.open();
    QVector<double> work;
    QElapsedTimer timer;
    int frames = 0;
    for (;;) {
        testclock::advance(frames == 0 ? 0 : TICK_MS);
        stage.awaitSilence();
        timer.start();
        if (stage.demo->paint() == 0) {
            break;
        }
        glFinish();
        ++frames;
        // The first second loads fonts and builds the painter's own programs.
        if (frames > 20) {
            work.append(timer.nsecsElapsed() / 1e6);
        }
    }
    std::sort(work.begin(), work.end());
    QVERIFY(!work.isEmpty());
    printf(
        "MEASURED work per frame at 800 x 480, %d frames after the first second: median %.1f ms, "
        "p99 %.1f ms, longest %.1f ms\n",
        work.size(), work[work.size() / 2], work[work.size() * 99 / 100], work.last());
    fflush(stdout);
}

QTEST_MAIN(ShowGlTest)
#include "showgltest.moc"
