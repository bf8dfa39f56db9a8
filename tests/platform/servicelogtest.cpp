#include "platform/servicelog.h"

#include "support/logcapture.h"
#include "support/scopedvariable.h"

#include <QDir>
#include <QFile>
#include <QMediaPlayer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <sys/stat.h>

class ServiceLogTest : public QObject
{
    Q_OBJECT

private slots:
    void startFailureIsTold();
    void failureIsToldOnce_data();
    void failureIsToldOnce();
    void startFailureNamesTheProgram_data();
    void startFailureNamesTheProgram();
    void failureIsTold_data();
    void failureIsTold();
    void eachProcessIsToldOf();
    void playbackErrorIsToldOnce();
    void playbackErrorNamesTheFile_data();
    void playbackErrorNamesTheFile();
    void eachPlayerIsToldOf();
    void noContacts_data();
    void noContacts();
    void missingSound_data();
    void missingSound();
    void lookingForSoundMakesNoFolder();
    void fileForThePlayer_data();
    void fileForThePlayer();
};

void ServiceLogTest::startFailureIsTold()
{
    LogCapture log;
    QProcess process;
    platform::reportSpeechFailures(&process);
    QCOMPARE(log.platformLines(), QStringList());
    process.start("/nonexistent/espeak", QStringList());
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(log.platformLines(), QStringList{"No speech: /nonexistent/espeak cannot be started (" +
                                              process.errorString() + ")"});
    QVERIFY(!process.errorString().isEmpty());
    QCOMPARE(log.lines(), QStringList());
}

void ServiceLogTest::failureIsToldOnce_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("command");
    QTest::newRow("cannot be started") << "/nonexistent/espeak"
                                       << "";
    QTest::newRow("exits with an error") << "sh"
                                         << "exit 3";
    QTest::newRow("is killed") << "sh"
                               << "kill -KILL $$";
}

void ServiceLogTest::failureIsToldOnce()
{
    QFETCH(QString, program);
    QFETCH(QString, command);
    LogCapture log;
    QProcess process;
    platform::reportSpeechFailures(&process);
    for (int i = 0; i < 3; ++i) {
        process.start(program, {"-c", command});
        QTRY_COMPARE(process.state(), QProcess::NotRunning);
    }
    QCOMPARE(log.platformLines().size(), 1);
    // Nor is another failure of the same process told after it.
    process.start("/nonexistent/espeak", QStringList());
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    process.start("sh", {"-c", "exit 1"});
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(log.platformLines().size(), 1);
}

void ServiceLogTest::startFailureNamesTheProgram_data()
{
    QTest::addColumn<QString>("program");
    QTest::newRow("percent signs") << "/nonexistent/%s%n%1";
    QTest::newRow("not Latin") << QString::fromUtf8("/nonexistent/голос");
}

void ServiceLogTest::startFailureNamesTheProgram()
{
    QFETCH(QString, program);
    LogCapture log;
    QProcess process;
    platform::reportSpeechFailures(&process);
    process.start(program, QStringList());
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(log.platformLines().size(), 1);
    QVERIFY2(log.platformLines().first().startsWith("No speech: " + program + " cannot be"),
             qPrintable(log.platformLines().first()));
}

void ServiceLogTest::failureIsTold_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QStringList>("lines");
    QTest::newRow("does well") << "exit 0" << QStringList();
    QTest::newRow("exits with an error")
        << "exit 3" << QStringList{"No speech: sh ended with code 3"};
    QTest::newRow("is killed") << "kill -KILL $$" << QStringList{"No speech: sh crashed"};
    QTest::newRow("crashes") << "ulimit -c 0; kill -SEGV $$"
                             << QStringList{"No speech: sh crashed"};
}

void ServiceLogTest::failureIsTold()
{
    QFETCH(QString, command);
    QFETCH(QStringList, lines);
    LogCapture log;
    QProcess process;
    platform::reportSpeechFailures(&process);
    // One that ends well is not reported, and a later failure still is.
    process.start("true", QStringList());
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    process.start("sh", {"-c", command});
    QTRY_COMPARE(process.state(), QProcess::NotRunning);
    QCOMPARE(log.platformLines(), lines);
    QCOMPARE(log.lines(), QStringList());
}

void ServiceLogTest::eachProcessIsToldOf()
{
    LogCapture log;
    for (int i = 0; i < 2; ++i) {
        QProcess process;
        platform::reportSpeechFailures(&process);
        process.start("/nonexistent/espeak", QStringList());
        QTRY_COMPARE(process.state(), QProcess::NotRunning);
    }
    QCOMPARE(log.platformLines().size(), 2);
}

// A player's errors are sent here by hand: which of them come depends on the media plugins of the
// machine, some send two for one file.

void ServiceLogTest::playbackErrorIsToldOnce()
{
    LogCapture log;
    QMediaPlayer player;
    platform::reportPlaybackErrors(&player);
    QCOMPARE(log.platformLines(), QStringList());
    emit player.error(QMediaPlayer::ResourceError);
    emit player.error(QMediaPlayer::FormatError);
    emit player.error(QMediaPlayer::ResourceError);
    QCOMPARE(log.platformLines(), QStringList{"No music: " + player.errorString() + " ()"});
    QCOMPARE(log.lines(QtWarningMsg).filter("music"), QStringList());
}

void ServiceLogTest::playbackErrorNamesTheFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("plain") << "/nonexistent/beat.mp3";
    QTest::newRow("blank and percent signs") << "/nonexistent/a 100%s%1/beat.mp3";
    QTest::newRow("not Latin") << QString::fromUtf8("/nonexistent/музыка.mp3");
}

void ServiceLogTest::playbackErrorNamesTheFile()
{
    QFETCH(QString, file);
    LogCapture log;
    QMediaPlayer player;
    platform::reportPlaybackErrors(&player);
    player.setMedia(QUrl::fromLocalFile(file));
    emit player.error(QMediaPlayer::ResourceError);
    QCOMPARE(log.platformLines().size(), 1);
    QVERIFY2(log.platformLines().first().startsWith("No music: "),
             qPrintable(log.platformLines().first()));
    QVERIFY2(log.platformLines().first().endsWith(" (" + file + ")"),
             qPrintable(log.platformLines().first()));
}

void ServiceLogTest::eachPlayerIsToldOf()
{
    LogCapture log;
    for (int i = 0; i < 2; ++i) {
        QMediaPlayer player;
        platform::reportPlaybackErrors(&player);
        emit player.error(QMediaPlayer::ResourceError);
    }
    QCOMPARE(log.platformLines().size(), 2);
}

void ServiceLogTest::noContacts_data()
{
    QTest::addColumn<QString>("backEnd");
    QTest::addColumn<int>("error");
    QTest::addColumn<QString>("line");
    QTest::newRow("empty") << "memory" << 0
                           << "No contacts: the store \"memory\" gave no name (error 0)";
    QTest::newRow("broken") << "invalid" << 7
                            << "No contacts: the store \"invalid\" gave no name (error 7)";
    QTest::newRow("no name") << "" << -1 << "No contacts: the store \"\" gave no name (error -1)";
    QTest::newRow("percent signs")
        << "%s%n" << 1 << "No contacts: the store \"%s%n\" gave no name (error 1)";
    // It has told the reason itself.
    QTest::newRow("our own") << "pixmoth" << 0 << "";
}

void ServiceLogTest::noContacts()
{
    QFETCH(QString, backEnd);
    QFETCH(int, error);
    QFETCH(QString, line);
    LogCapture log;
    platform::reportNoContacts(backEnd, error);
    QCOMPARE(log.platformLines(), line.isEmpty() ? QStringList() : QStringList{line});
    QCOMPARE(log.lines(), QStringList());
}

void ServiceLogTest::missingSound_data()
{
    QTest::addColumn<QByteArray>("server"); // Null for none.
    QTest::addColumn<QString>("socket");
    QTest::addColumn<bool>("told");
    QTest::newRow("nothing there") << QByteArray() << "" << true;
    QTest::newRow("server named") << QByteArray("unix:/nonexistent") << "" << false;
    QTest::newRow("server without a name") << QByteArray("") << "" << true;
    QTest::newRow("PulseAudio") << QByteArray() << "pulse/native" << false;
    QTest::newRow("PipeWire") << QByteArray() << "pipewire-0" << false;
    QTest::newRow("something else") << QByteArray() << "pulse/pid" << true;
}

void ServiceLogTest::missingSound()
{
    QFETCH(QByteArray, server);
    QFETCH(QString, socket);
    QFETCH(bool, told);
    if (!QDir("/dev/snd").entryList({"pcmC*p"}, QDir::System).isEmpty()) {
        QSKIP("This machine has a sound card.");
    }
    QTemporaryDir runtime;
    QDir(runtime.path()).mkdir("pulse");
    if (!socket.isEmpty()) {
        QVERIFY(QFile(runtime.filePath(socket)).open(QIODevice::WriteOnly));
    }
    const ScopedVariable runtimeFolder("XDG_RUNTIME_DIR", QFile::encodeName(runtime.path()));
    const ScopedVariable soundServer("PULSE_SERVER", server);
    LogCapture log;
    platform::reportMissingSound();
    const QStringList line = {"No sound: neither a sound card nor a sound server is there"};
    QCOMPARE(log.platformLines(), told ? line : QStringList());
    QCOMPARE(log.lines(), QStringList());
    if (told) {
        QVERIFY2(!platform::noteNoSound(), "another would tell it again");
    }
}

void ServiceLogTest::lookingForSoundMakesNoFolder()
{
    QTemporaryDir temporary;
    const ScopedVariable runtimeFolder("XDG_RUNTIME_DIR", QByteArray());
    const ScopedVariable temporaryFolder("TMPDIR", QFile::encodeName(temporary.path()));
    LogCapture log;
    platform::reportMissingSound();
    QCOMPARE(QDir(temporary.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList());
    QCOMPARE(log.lines(), QStringList());
}

void ServiceLogTest::fileForThePlayer_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("wanted");
    QTest::newRow("file") << "file" << true;
    QTest::newRow("link to a file") << "link" << true;
    QTest::newRow("nothing there") << "missing" << true;
    QTest::newRow("pipe") << "pipe" << false;
    QTest::newRow("link to a pipe") << "pipelink" << false;
    QTest::newRow("folder") << "." << false;
    QTest::newRow("device") << "/dev/zero" << false;
}

void ServiceLogTest::fileForThePlayer()
{
    QFETCH(QString, name);
    QFETCH(bool, wanted);
    QTemporaryDir folder;
    const QDir dir(folder.path());
    QVERIFY(QFile(dir.filePath("file")).open(QIODevice::WriteOnly));
    QVERIFY(QFile::link(dir.filePath("file"), dir.filePath("link")));
    QCOMPARE(::mkfifo(qPrintable(dir.filePath("pipe")), 0600), 0);
    QVERIFY(QFile::link(dir.filePath("pipe"), dir.filePath("pipelink")));
    LogCapture log;
    const QString path = dir.filePath(name);
    QCOMPARE(platform::canBePlayed(path), wanted);
    QCOMPARE(log.platformLines(),
             wanted ? QStringList() : QStringList{"No music: " + path + " is no regular file"});
}

QTEST_GUILESS_MAIN(ServiceLogTest)
#include "servicelogtest.moc"
