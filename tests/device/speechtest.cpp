#include "device/speech_p.h"

#include "support/files.h"
#include "support/logcapture.h"
#include "support/scopedvariable.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTemporaryFile>
#include <QTest>
#include <QVector>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <memory>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// A synthesiser that notes how it was called, and talks until it is hushed. It gives up by itself
/// in the end, so that a failed test leaves none behind.
const char TALKING[] =
    "#!/bin/sh\n"
    "cd \"${0%/*}\" || exit 1\n"
    "echo $$ > pid\n"
    "for argument in \"$@\"; do printf '%s\\0' \"$argument\"; done >> arguments\n"
    "printf '\\0' >> arguments\n"
    "echo talking >> calls\n"
    "n=0\n"
    "while [ ! -e hush ] && [ $n -lt 1000 ]; do sleep 0.02; n=$((n + 1)); done\n";

/// True once a process has ended, whether or not anybody has asked what became of it.
bool hasEnded(pid_t pid)
{
    QFile status(QString("/proc/%1/stat").arg(pid));
    if (!status.open(QIODevice::ReadOnly)) {
        return true;
    }
    const QByteArray line = status.readAll();
    return line.mid(line.lastIndexOf(')') + 2, 1) == "Z";
}

template <typename Condition>
bool waitWithoutEvents(Condition condition)
{
    for (int i = 0; i < 1000 && !condition(); ++i) {
        QTest::qSleep(5);
    }
    return condition();
}

} // namespace

class SpeechTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void freshSpeechIsSilent();
    void synthesiserGetsItsArguments_data();
    void synthesiserGetsItsArguments();
    void lineIsLogged_data();
    void lineIsLogged();
    void lineIsKept();
    void optionsAreTrimmedForTheSynthesiserOnly();
    void synthesiserIsOnlyListenedTo();
    void readyBeforeWhileAndAfter();
    void readyFollowsTheEventLoop();
    void neitherCallWaits();
    void oneLineAfterTheOther();
    void secondLineWhileTalkingIsRefused();
    void synthesiserMayFail_data();
    void synthesiserMayFail();
    void missingSynthesiserIsToldOnce_data();
    void missingSynthesiserIsToldOnce();
    void missingSynthesiserMayAppear();
    void noiseStaysAway();
    void muchNoiseDoesNotBlock();
    void endOfSpeechEndsTheSynthesiser();
    void endOfSilentSpeechIsQuick();
    void threadIsNeverStarted();
    void runReadsThePipeToItsEnd();

private:
    void install(const QByteArray& script);
    /// Has the show look for its synthesiser in the test's folder, and in the system's where told.
    void find(bool inSystemToo);
    QString path(const QString& file) const;
    QByteArray content(const QString& file) const;
    bool isTalking() const;
    void hush();
    QVector<QStringList> calls() const;

    std::unique_ptr<QTemporaryDir> folder;
    std::unique_ptr<ScopedVariable> searchPath;
};

void SpeechTest::find(bool inSystemToo)
{
    searchPath->set(QFile::encodeName(folder->path()) + (inSystemToo ? ":/usr/bin:/bin" : ""));
}

void SpeechTest::install(const QByteArray& script)
{
    QVERIFY(writeScript(path("espeak"), script));
}

QString SpeechTest::path(const QString& file) const
{
    return folder->filePath(file);
}

QByteArray SpeechTest::content(const QString& file) const
{
    QFile read(path(file));
    return read.open(QIODevice::ReadOnly) ? read.readAll() : QByteArray();
}

bool SpeechTest::isTalking() const
{
    return QFile::exists(path("calls"));
}

void SpeechTest::hush()
{
    QFile file(path("hush"));
    QVERIFY(file.open(QIODevice::WriteOnly));
}

QVector<QStringList> SpeechTest::calls() const
{
    QVector<QStringList> all;
    QStringList arguments;
    // No argument is empty, so an empty one ends each call.
    for (const QByteArray& argument : content("arguments").split('\0')) {
        if (!argument.isEmpty()) {
            arguments.append(QString::fromUtf8(argument));
        } else if (!arguments.isEmpty()) {
            all.append(arguments);
            arguments.clear();
        }
    }
    return all;
}

void SpeechTest::init()
{
    folder = std::make_unique<QTemporaryDir>();
    QVERIFY(folder->isValid());
    searchPath = std::make_unique<ScopedVariable>("PATH", QByteArray());
    find(true);
    install(TALKING);
}

void SpeechTest::cleanup()
{
    searchPath.reset();
    folder.reset();
}

void SpeechTest::freshSpeechIsSilent()
{
    LogCapture log;
    Speech speech;
    QVERIFY(speech.isReady());
    QCOMPARE(speech.d->unused, 0);
    // Their blanks set the options apart in the log.
    QCOMPARE(speech.d->gapOption, QString(" -g0 "));
    QCOMPARE(speech.d->speedOption, QString(" -s150 "));
    QVERIFY(speech.d->unusedQueue.isEmpty());
    const SpeechTread& thread = speech.d->thread;
    QVERIFY(thread.pipe == nullptr);
    QVERIFY(thread.stopwatch.isNull());
    QCOMPARE(thread.process.state(), QProcess::NotRunning);
    QVERIFY(thread.process.parent() == nullptr);
    QVERIFY(thread.lastLine.isEmpty());
    QVERIFY(thread.arguments.isEmpty());
    QCOMPARE(thread.estimatedMillis, 0);
    // No meta-object of its own.
    QCOMPARE(thread.metaObject()->className(), "QThread");
    QCOMPARE(log.lines(), QStringList());
}

void SpeechTest::synthesiserGetsItsArguments_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("a line") << "Do not call me cute";
    QTest::newRow("empty") << "";
    QTest::newRow("question") << "Your bitch?";
    QTest::newRow("quotation marks") << "Who is \"Anna\" and 'Bo'";
    QTest::newRow("percent signs") << "100% of %s and %1";
    // No shell, so nothing of this is more than text.
    QTest::newRow("shell's signs") << "$(touch ran) `touch ran` ; touch ran & $HOME * \\ |";
    QTest::newRow("newline") << "one\ntwo";
    QTest::newRow("blanks") << "  two  blanks  ";
    QTest::newRow("option") << "-f /etc/passwd";
    QTest::newRow("not Latin") << QString::fromUtf8("Who is Зоя Ünal 名");
    QTest::newRow("right to left") << QString::fromUtf8("Who is נועה");
    QTest::newRow("10,000 characters") << QString(10000, 'x');
}

void SpeechTest::synthesiserGetsItsArguments()
{
    QFETCH(QString, text);
    hush();
    LogCapture log;
    Speech speech;
    speech.speak(text);
    QTRY_VERIFY(speech.isReady());
    const QStringList expected = {"-ven-us+f3", "-k20", "-g0", "-s150", "\"" + text + "\""};
    QCOMPARE(calls(), QVector<QStringList>{expected});
    QCOMPARE(speech.d->thread.arguments, expected);
    QVERIFY(!QFile::exists(path("ran")));
    QCOMPARE(log.platformLines(), QStringList());
}

void SpeechTest::lineIsLogged_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("millis");
    QTest::newRow("text") << "text" << 320;
    QTest::newRow("30 characters") << "Please plug me in my love, now" << 2400;
    QTest::newRow("empty") << "" << 0;
    QTest::newRow("percent signs") << "100% %s %n %1 %%" << 1280;
    // Characters count, not bytes.
    QTest::newRow("not Latin") << QString::fromUtf8("Зоя") << 240;
}

void SpeechTest::lineIsLogged()
{
    QFETCH(QString, text);
    QFETCH(int, millis);
    hush();
    LogCapture log;
    Speech speech;
    speech.speak(text);
    const QStringList expected = {"-ven-us+f3 -g0  -s150  \"" + text + "\"",
                                  "Approx time: " + QString::number(millis)};
    QCOMPARE(log.lines(QtDebugMsg), expected);
    QCOMPARE(speech.d->thread.estimatedMillis, millis);
    QTRY_VERIFY(speech.isReady());
    QCOMPARE(log.lines(), expected);
}

void SpeechTest::lineIsKept()
{
    hush();
    LogCapture log;
    Speech speech;
    speech.speak("I love you");
    QCOMPARE(speech.d->thread.lastLine, QString("I love you"));
    QTRY_VERIFY(speech.isReady());
    speech.speak("Who is Anna");
    QCOMPARE(speech.d->thread.lastLine, QString("Who is Anna"));
    QCOMPARE(speech.d->thread.arguments.last(), QString("\"Who is Anna\""));
    QCOMPARE(speech.d->thread.arguments.size(), 5);
    QCOMPARE(speech.d->thread.estimatedMillis, 880);
    QTRY_VERIFY(speech.isReady());
}

void SpeechTest::optionsAreTrimmedForTheSynthesiserOnly()
{
    hush();
    LogCapture log;
    Speech speech;
    speech.d->gapOption = " -g7  ";
    speech.d->speedOption = "  -s99 ";
    speech.speak("x");
    QCOMPARE(log.lines().value(0), QString("-ven-us+f3 -g7    -s99  \"x\""));
    QCOMPARE(speech.d->thread.arguments.mid(2, 2), QStringList({"-g7", "-s99"}));
    QTRY_VERIFY(speech.isReady());
}

void SpeechTest::synthesiserIsOnlyListenedTo()
{
    LogCapture log;
    Speech speech;
    speech.speak("x");
    QTRY_VERIFY(isTalking());
    QCOMPARE(speech.d->thread.process.openMode(), QIODevice::ReadOnly);
    QCOMPARE(speech.d->thread.process.program(), QString("espeak"));
    hush();
    QTRY_VERIFY(speech.isReady());
}

void SpeechTest::readyBeforeWhileAndAfter()
{
    LogCapture log;
    Speech speech;
    QVERIFY(speech.isReady());
    speech.speak("I love you");
    QVERIFY(!speech.isReady());
    QTRY_VERIFY(isTalking());
    QVERIFY(!speech.isReady());
    QTest::qWait(50);
    QVERIFY(!speech.isReady());
    hush();
    QTRY_VERIFY(speech.isReady());
}

void SpeechTest::readyFollowsTheEventLoop()
{
    LogCapture log;
    Speech speech;
    speech.speak("I love you");
    hush();
    QVERIFY(waitWithoutEvents([this] { return content("pid").endsWith('\n'); }));
    const pid_t pid = content("pid").trimmed().toInt();
    QVERIFY(waitWithoutEvents([pid] { return hasEnded(pid); }));
    QVERIFY(!speech.isReady());
    QTRY_VERIFY(speech.isReady());
}

void SpeechTest::neitherCallWaits()
{
    LogCapture log;
    Speech speech;
    QElapsedTimer timer;
    timer.start();
    speech.speak("I love you");
    for (int i = 0; i < 100; ++i) {
        speech.isReady();
    }
    // It talks for as long as this test wants: whoever waited for it would wait for half a minute.
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QTRY_VERIFY(isTalking());
    // Nor does a line that comes too early wait for its turn.
    timer.restart();
    speech.speak("Who is Anna");
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    hush();
    QTRY_VERIFY(speech.isReady());
}

void SpeechTest::oneLineAfterTheOther()
{
    hush();
    LogCapture log;
    Speech speech;
    for (const char* line : {"one", "two", "three"}) {
        speech.speak(line);
        QTRY_VERIFY(speech.isReady());
    }
    QCOMPARE(calls().size(), 3);
    QCOMPARE(calls().at(0).last(), QString("\"one\""));
    QCOMPARE(calls().at(1).last(), QString("\"two\""));
    QCOMPARE(calls().at(2).last(), QString("\"three\""));
    QCOMPARE(log.lines(QtWarningMsg), QStringList());
}

void SpeechTest::secondLineWhileTalkingIsRefused()
{
    LogCapture log;
    Speech speech;
    speech.speak("one");
    QTRY_VERIFY(isTalking());
    const QByteArray pid = content("pid");
    speech.speak("two");
    QVERIFY(!speech.isReady());
    QTest::qWait(100);
    // It is logged as if it were spoken, but the first goes on, and alone.
    QCOMPARE(log.lines(QtDebugMsg).mid(2),
             QStringList({"-ven-us+f3 -g0  -s150  \"two\"", "Approx time: 240"}));
    QCOMPARE(log.lines(QtWarningMsg), QStringList{"QProcess::start: Process is already running"});
    QVERIFY(!speech.isReady());
    QVERIFY(!hasEnded(pid.trimmed().toInt()));
    hush();
    QTRY_VERIFY(speech.isReady());
    QCOMPARE(calls().size(), 1);
    QCOMPARE(calls().first().last(), QString("\"one\""));
    QCOMPARE(content("pid"), pid);
    // The next one is heard again.
    speech.speak("three");
    QTRY_VERIFY(speech.isReady());
    QCOMPARE(calls().size(), 2);
}

void SpeechTest::synthesiserMayFail_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("line");
    const QString crashed = "No speech: espeak crashed";
    QTest::newRow("exits with an error")
        << QByteArray("#!/bin/sh\nexit 3\n") << "No speech: espeak ended with code 3";
    QTest::newRow("is killed") << QByteArray("#!/bin/sh\nkill -KILL $$\n") << crashed;
    QTest::newRow("crashes") << QByteArray("#!/bin/sh\nulimit -c 0\nkill -SEGV $$\n") << crashed;
}

void SpeechTest::synthesiserMayFail()
{
    QFETCH(QByteArray, script);
    QFETCH(QString, line);
    install(script);
    LogCapture log;
    Speech speech;
    for (int i = 0; i < 3; ++i) {
        speech.speak("I love you");
        QVERIFY(!speech.isReady());
        QTRY_VERIFY(speech.isReady());
    }
    QCOMPARE(log.platformLines(), QStringList{line});
    install(TALKING);
    hush();
    speech.speak("again");
    QTRY_VERIFY(speech.isReady());
    QCOMPARE(calls().size(), 1);
}

void SpeechTest::missingSynthesiserIsToldOnce_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<bool>("executable");
    QTest::newRow("no file") << QByteArray() << false;
    QTest::newRow("not executable") << QByteArray("#!/bin/sh\n") << false;
    QTest::newRow("no interpreter") << QByteArray("#!/nonexistent/shell\n") << true;
    QTest::newRow("no program at all") << QByteArray("\177ELF") << true;
}

void SpeechTest::missingSynthesiserIsToldOnce()
{
    QFETCH(QByteArray, script);
    QFETCH(bool, executable);
    find(false);
    QVERIFY(QFile::remove(path("espeak")));
    if (!script.isEmpty()) {
        install(script);
        if (!executable) {
            QFile::setPermissions(path("espeak"), QFile::ReadOwner | QFile::WriteOwner);
        }
    }
    LogCapture log;
    Speech speech;
    for (int i = 0; i < 3; ++i) {
        speech.speak("I love you");
        QTRY_VERIFY(speech.isReady());
    }
    QCOMPARE(log.platformLines().size(), 1);
    QVERIFY2(log.platformLines().first().startsWith("No speech: espeak cannot be started ("),
             qPrintable(log.platformLines().first()));
    // The show's own lines are what they are with a voice.
    QCOMPARE(log.lines().size(), 6);
    QCOMPARE(log.lines(QtDebugMsg).size(), 6);
}

void SpeechTest::missingSynthesiserMayAppear()
{
    QVERIFY(QFile::rename(path("espeak"), path("elsewhere")));
    find(false);
    LogCapture log;
    Speech speech;
    speech.speak("one");
    QTRY_VERIFY(speech.isReady());
    QVERIFY(QFile::rename(path("elsewhere"), path("espeak")));
    find(true);
    hush();
    speech.speak("two");
    QTRY_VERIFY(speech.isReady());
    QCOMPARE(calls().size(), 1);
    QCOMPARE(log.platformLines().size(), 1);
}

void SpeechTest::noiseStaysAway()
{
    // A synthesiser without a sound device complains at length, and not to our terminal.
    install("#!/bin/sh\necho noise on the output\necho noise of errors >&2\n");
    LogCapture log;
    QTemporaryFile errors;
    QTemporaryFile output;
    QVERIFY(errors.open() && output.open());
    fflush(stdout);
    fflush(stderr);
    const int ourOutput = dup(STDOUT_FILENO);
    const int ourErrors = dup(STDERR_FILENO);
    dup2(output.handle(), STDOUT_FILENO);
    dup2(errors.handle(), STDERR_FILENO);
    bool ready = false;
    {
        Speech speech;
        speech.speak("I love you");
        ready = QTest::qWaitFor([&speech] { return speech.isReady(); });
    }
    fflush(stdout);
    fflush(stderr);
    dup2(ourOutput, STDOUT_FILENO);
    dup2(ourErrors, STDERR_FILENO);
    close(ourOutput);
    close(ourErrors);
    QVERIFY(ready);
    QFile heard(errors.fileName());
    QVERIFY(heard.open(QIODevice::ReadOnly));
    QCOMPARE(heard.readAll(), QByteArray());
    QFile printed(output.fileName());
    QVERIFY(printed.open(QIODevice::ReadOnly));
    QCOMPARE(printed.readAll(), QByteArray());
    QCOMPARE(log.lines().size(), 2);
}

void SpeechTest::muchNoiseDoesNotBlock()
{
    // More than any pipe holds.
    install("#!/bin/sh\nhead -c 300000 /dev/zero >&2\nhead -c 300000 /dev/zero\n");
    LogCapture log;
    Speech speech;
    speech.speak("I love you");
    QTRY_VERIFY(speech.isReady());
}

void SpeechTest::endOfSpeechEndsTheSynthesiser()
{
    // It ignores a request to end, as one does that hangs on its sound server.
    const QByteArray deaf = QByteArray(TALKING).replace("cd ", "trap '' TERM HUP INT\ncd ");
    install(deaf);
    LogCapture log;
    auto speech = std::make_unique<Speech>();
    speech->speak("I love you");
    QTRY_VERIFY(isTalking());
    const pid_t pid = content("pid").trimmed().toInt();
    QVERIFY(!hasEnded(pid));
    QElapsedTimer timer;
    timer.start();
    speech.reset();
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    // Its end has been waited for: no process is left.
    QCOMPARE(kill(pid, 0), -1);
    QCOMPARE(errno, ESRCH);
    QCOMPARE(log.platformLines(), QStringList());
}

void SpeechTest::endOfSilentSpeechIsQuick()
{
    LogCapture log;
    QElapsedTimer timer;
    timer.start();
    {
        Speech neverSpoke;
        Speech hasSpoken;
        hush();
        hasSpoken.speak("x");
        QTRY_VERIFY(hasSpoken.isReady());
        timer.restart();
    }
    QVERIFY2(timer.elapsed() < 1000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(log.lines(QtWarningMsg), QStringList());
}

void SpeechTest::threadIsNeverStarted()
{
    LogCapture log;
    Speech speech;
    speech.speak("x");
    QTRY_VERIFY(isTalking());
    QVERIFY(!speech.d->thread.isRunning());
    QVERIFY(speech.d->thread.stopwatch.isNull());
    QVERIFY(speech.d->thread.pipe == nullptr);
    hush();
    QTRY_VERIFY(speech.isReady());
    QVERIFY(!speech.d->thread.isFinished());
}

void SpeechTest::runReadsThePipeToItsEnd()
{
    // The command only comes to its end where all that it prints is read.
    const QByteArray command = "cd '" + QFile::encodeName(folder->path()) +
                               "' && echo $$ > pid && printf first && sleep 0.2 && "
                               "printf last && echo end && touch finished";
    SpeechTread thread;
    thread.pipe = popen(command.constData(), "r");
    QVERIFY(thread.pipe != nullptr);
    QVERIFY(thread.stopwatch.isNull());
    thread.run();
    QVERIFY(QFile::exists(path("finished")));
    QVERIFY(thread.stopwatch.isValid());
    QVERIFY(thread.stopwatch.elapsed() >= 100);
    // Closing such a pipe waits for its process.
    const pid_t pid = content("pid").trimmed().toInt();
    QVERIFY(pid > 0);
    QCOMPARE(waitpid(pid, nullptr, WNOHANG), -1);
    QCOMPARE(errno, ECHILD);
}

QTEST_GUILESS_MAIN(SpeechTest)
#include "speechtest.moc"
