#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <cmath>

/// Listens to what the program plays on a sound server of the test's own.
class MusicGlTest : public QObject
{
    Q_OBJECT

private slots:
    void beginsInSilenceAndIsHeard();

private:
    QTemporaryDir folder;
};

namespace {

const int RATE = 8000;
/// Far above what silence is when it is played, far below the music at a part of its loudness.
const double HEARD_DB = -45.0;
const double SILENT_DB = -80.0;

double loudness(const QByteArray& samples)
{
    const auto* first = reinterpret_cast<const qint16*>(samples.constData());
    const int count = samples.size() / 2;
    double sum = 0.0;
    for (int i = 0; i < count; ++i) {
        sum += std::pow(first[i] / 32768.0, 2);
    }
    return 10.0 * std::log10(sum / count + 1e-10);
}

/// The loudness of the next second that the recorder hears, in dB of full scale.
double nextSecond(QProcess& recorder)
{
    const QDeadlineTimer limit(10000);
    while (recorder.bytesAvailable() < 2 * RATE && !limit.hasExpired()) {
        recorder.waitForReadyRead(100);
    }
    return recorder.bytesAvailable() < 2 * RATE ? qQNaN() : loudness(recorder.read(2 * RATE));
}

} // namespace

void MusicGlTest::beginsInSilenceAndIsHeard()
{
    // A voice would be heard as well.
    const QByteArray bin = QFile::encodeName(folder.path());
    QFile mute(folder.filePath("espeak"));
    QVERIFY(mute.open(QIODevice::WriteOnly));
    mute.write("#!/bin/sh\nexec sleep 1\n");
    mute.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
    mute.close();
    qputenv("PATH", bin + ":" + qgetenv("PATH"));

    QProcess recorder;
    recorder.start("parec", {"--device=null.monitor", "--raw", "--format=s16le",
                             QString("--rate=%1").arg(RATE), "--channels=1"});
    QVERIFY(recorder.waitForStarted());
    const double before = nextSecond(recorder);
    QVERIFY2(before < SILENT_DB, qPrintable(QString("%1 dB before the show").arg(before)));

    QProcess program;
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    program.start(PIXMOTH_PROGRAM, QStringList());
    QVERIFY(program.waitForStarted());
    // The music fades in over five seconds; a busy machine may take long until the first frame.
    double heard = SILENT_DB;
    const QDeadlineTimer limit(40000);
    while (!(heard > HEARD_DB) && !limit.hasExpired()) {
        heard = nextSecond(recorder);
    }
    QCOMPARE(program.state(), QProcess::Running);
    program.kill();
    program.waitForFinished();
    recorder.kill();
    recorder.waitForFinished();
    QVERIFY2(heard > HEARD_DB, qPrintable(QString("%1 dB at the end").arg(heard)));
}

QTEST_GUILESS_MAIN(MusicGlTest)
#include "musicgltest.moc"
