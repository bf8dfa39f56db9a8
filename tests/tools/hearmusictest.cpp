#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

/// Films with sounds that stand for music and voice.
class HearMusicTest : public QObject
{
    Q_OBJECT

private slots:
    void judges_data();
    void judges();

private:
    QTemporaryDir folder;
};

namespace {

// A tone and its loudness at the time t. Lines are spoken for 2.5 s each, one every 4.8 s.
const char MUSIC[] = "0.05*sin(2*PI*220*t)";
const char FADED_MUSIC[] = "0.05*min(1\\,min(t\\,28-t)/5)*sin(2*PI*220*t)";
const char VOICE[] = "0.3*sin(2*PI*440*t)*lt(mod(t\\,4.8)\\,2.5)";

} // namespace

void HearMusicTest::judges_data()
{
    QTest::addColumn<QString>("sound");
    QTest::addColumn<int>("seconds");
    QTest::addColumn<QString>("complaint"); // Empty for a film that is right.

    const QString music(MUSIC);
    const QString voice(VOICE);
    QTest::newRow("music") << music << 30 << "";
    QTest::newRow("music that fades in and out") << QString(FADED_MUSIC) << 30 << "";
    QTest::newRow("music and voice") << music + "+" + voice << 30 << "";
    QTest::newRow("a short hole") << music + "*(1-between(t\\,14\\,14.6))" << 30 << "";
    QTest::newRow("a late beginning") << music + "*gt(t\\,12)" << 30 << "";
    QTest::newRow("voice alone") << voice << 30 << "music is missing";
    QTest::newRow("music that stops") << music + "*lt(t\\,15)+" + voice << 30 << "music is missing";
    QTest::newRow("silence") << "0" << 30 << "music is missing";
    QTest::newRow("sound that ends early") << music + "|15" << 30 << "music is missing";
    QTest::newRow("no sound at all") << "" << 30 << "no sound";
    QTest::newRow("too short") << music << 14 << "too short";
}

void HearMusicTest::judges()
{
    QFETCH(QString, sound);
    QFETCH(int, seconds);
    QFETCH(QString, complaint);
    const QString film = folder.filePath("film.mp4");
    QStringList arguments{"-loglevel",
                          "error",
                          "-y",
                          "-f",
                          "lavfi",
                          "-i",
                          QString("color=s=32x32:r=1:d=%1").arg(seconds)};
    if (!sound.isEmpty()) {
        const QStringList parts = sound.split('|');
        arguments << "-f"
                  << "lavfi"
                  << "-i"
                  << QString("aevalsrc=%1:s=8000:d=%2")
                         .arg(parts.first(), parts.value(1, QString::number(seconds)));
    }
    arguments << "-c:v"
              << "mpeg4" << film;
    QCOMPARE(QProcess::execute("ffmpeg", arguments), 0);

    QProcess tool;
    tool.start(TOOLS "/hear-music", {film});
    QVERIFY(tool.waitForFinished());
    const QString said = tool.readAllStandardError();
    QCOMPARE(tool.exitCode(), complaint.isEmpty() ? 0 : 1);
    QVERIFY2(complaint.isEmpty() ? said.isEmpty() : said.contains(complaint), qPrintable(said));
}

QTEST_GUILESS_MAIN(HearMusicTest)
#include "hearmusictest.moc"
