#include "platform/fakeservice.h"
#include "platform/privatebus.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

/// The program itself, as a user starts it, on the test's virtual screen.
class ProgramGlTest : public QObject
{
    Q_OBJECT

private slots:
    void anyKeyAtAnyMomentEndsIt_data();
    void anyKeyAtAnyMomentEndsIt();
    void playsOnWithout_data();
    void playsOnWithout();
    void screenSaverIsHeldOff();
    void deathOfTheScreenIsNoCrash();
    void readsNoArguments();

private:
    void start(QProcess& program, const QProcessEnvironment& environment);
    /// Presses a key whenever there is a window to take it, until the program has ended.
    bool endByKey(QProcess& program, const QString& key);

    QTemporaryDir folder;
};

namespace {

QProcessEnvironment quietEnvironment()
{
    return QProcessEnvironment::systemEnvironment();
}

} // namespace

void ProgramGlTest::start(QProcess& program, const QProcessEnvironment& environment)
{
    program.setProcessEnvironment(environment);
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(PIXMOTH_PROGRAM, QStringList());
    QVERIFY(program.waitForStarted());
}

bool ProgramGlTest::endByKey(QProcess& program, const QString& key)
{
    QElapsedTimer limit;
    limit.start();
    while (program.state() != QProcess::NotRunning && limit.elapsed() < 15000) {
        QProcess::execute("xdotool", {"key", key});
        program.waitForFinished(20);
    }
    return program.state() == QProcess::NotRunning;
}

void ProgramGlTest::anyKeyAtAnyMomentEndsIt_data()
{
    QTest::addColumn<int>("delay");
    QTest::addColumn<QString>("key");
    QTest::newRow("escape from the very start") << 0 << "Escape";
    QTest::newRow("space at the first frame") << 150 << "space";
    QTest::newRow("letter later") << 1500 << "q";
}

void ProgramGlTest::anyKeyAtAnyMomentEndsIt()
{
    QFETCH(int, delay);
    QFETCH(QString, key);
    QProcess program;
    start(program, quietEnvironment());
    QTest::qWait(delay);
    QCOMPARE(program.state(), QProcess::Running);
    QVERIFY(endByKey(program, key));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
}

void ProgramGlTest::playsOnWithout_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("sound") << "No sound: neither a sound card nor a sound server";
    QTest::newRow("session bus") << "No session bus";
    QTest::newRow("system bus") << "No system bus";
    QTest::newRow("contacts") << "No contacts";
}

void ProgramGlTest::playsOnWithout()
{
    QFETCH(QString, line);
    QProcess program;
    QProcessEnvironment environment = quietEnvironment();
    environment.remove("PULSE_SERVER");
    start(program, environment);
    QByteArray log;
    QElapsedTimer limit;
    limit.start();
    // The battery is the last thing told before the first frame.
    while (!log.contains("BATTERY") && limit.elapsed() < 15000) {
        program.waitForReadyRead(100);
        log += program.readAll();
    }
    QTest::qWait(300);
    QCOMPARE(program.state(), QProcess::Running);
    QVERIFY(endByKey(program, "Escape"));
    log += program.readAll();
    QVERIFY2(program.exitCode() == 0, log);
    QVERIFY2(log.contains(line.toUtf8()), log);
}

void ProgramGlTest::screenSaverIsHeldOff()
{
    PrivateBus bus;
    QVERIFY(bus.start());
    FakeService saver(
        bus.connection(), "org.freedesktop.ScreenSaver", [](const QDBusMessage& message) {
            return message.member() == "Inhibit" ? message.createReply(QVariant::fromValue(77u))
                                                 : message.createReply();
        });
    QProcess program;
    QProcessEnvironment environment = quietEnvironment();
    environment.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
    start(program, environment);
    // By the name that a desktop would show to whoever asks why the screen stays on.
    QTRY_COMPARE_WITH_TIMEOUT(saver.calls(), QStringList{"Inhibit pixmoth The show is playing"},
                              15000);
    QVERIFY(endByKey(program, "Escape"));
    QTRY_COMPARE(saver.calls().mid(1), QStringList{"UnInhibit 77"});
    QCOMPARE(program.exitCode(), 0);
}

void ProgramGlTest::deathOfTheScreenIsNoCrash()
{
    QProcess screen;
    screen.start("Xvfb", {"-displayfd", "1", "-screen", "0", "800x480x24", "-nolisten", "tcp"});
    QVERIFY(screen.waitForReadyRead(10000));
    const QByteArray number = screen.readLine().trimmed();
    QProcessEnvironment environment = quietEnvironment();
    environment.insert("DISPLAY", ":" + number);
    QProcess program;
    start(program, environment);
    QTest::qWait(1500);
    QCOMPARE(program.state(), QProcess::Running);
    screen.kill();
    screen.waitForFinished();
    QVERIFY(program.waitForFinished(10000));
    const QByteArray log = program.readAll();
    QVERIFY2(program.exitStatus() == QProcess::NormalExit, log);
    QVERIFY2(!log.contains("Sanitizer"), log);
}

void ProgramGlTest::readsNoArguments()
{
    QProcess program;
    program.setProcessEnvironment(quietEnvironment());
    program.start(PIXMOTH_PROGRAM, {"--help", "-x", "nothing"});
    QVERIFY(program.waitForStarted());
    QVERIFY(!program.waitForFinished(1000));
    QVERIFY(endByKey(program, "Escape"));
    QCOMPARE(program.exitCode(), 0);
}

QTEST_GUILESS_MAIN(ProgramGlTest)
#include "programgltest.moc"
