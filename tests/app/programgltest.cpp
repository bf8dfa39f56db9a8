#include "support/fakeservice.h"
#include "support/patience.h"
#include "support/privatebus.h"
#include "support/soundserver.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLibraryInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/stat.h>

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
    void deathOfTheScreenIsNoCrash_data();
    void deathOfTheScreenIsNoCrash();
    void readsNoArguments();
    void endsWithoutUsableGl_data();
    void endsWithoutUsableGl();
    void playsOnWithoutPictures();
    void fillsTheScreenWithoutWindowManager_data();
    void fillsTheScreenWithoutWindowManager();
    void startsWithWhatIsSilent_data();
    void startsWithWhatIsSilent();
    void soundServerThatFreezesAtTheBeginning_data();
    void soundServerThatFreezesAtTheBeginning();
    void endsWithAFrozenServer_data();
    void endsWithAFrozenServer();

private:
    void start(QProcess& program, const QProcessEnvironment& environment,
               const QString& path = PIXMOTH_PROGRAM);
    /// Waits until the log has the text; what it has so far is in `log` and begins anew with each
    /// start.
    bool logHas(QProcess& program, const QByteArray& text);
    /// Presses a key whenever there is a window to take it, until the program has ended.
    bool endByKey(QProcess& program, const QString& key);

    QTemporaryDir folder;
    QByteArray log;
};

namespace {

/// A show whose end a frozen sound server holds up waits for ninety seconds, on any machine.
const int HELD_MS = 80000;

QProcessEnvironment quietEnvironment()
{
    return QProcessEnvironment::systemEnvironment();
}

} // namespace

void ProgramGlTest::start(QProcess& program, const QProcessEnvironment& environment,
                          const QString& path)
{
    log.clear();
    program.setProcessEnvironment(environment);
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(path, QStringList());
    QVERIFY(program.waitForStarted());
}

bool ProgramGlTest::logHas(QProcess& program, const QByteArray& text)
{
    return QTest::qWaitFor(
        [&] {
            log += program.readAll();
            return log.contains(text);
        },
        patiently(15000));
}

bool ProgramGlTest::endByKey(QProcess& program, const QString& key)
{
    QElapsedTimer limit;
    limit.start();
    while (program.state() != QProcess::NotRunning && limit.elapsed() < patiently(15000)) {
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
    // The battery is the last thing told before the first frame.
    logHas(program, "BATTERY");
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
                              patiently(15000));
    QVERIFY(endByKey(program, "Escape"));
    QTRY_COMPARE(saver.calls().mid(1), QStringList{"UnInhibit 77"});
    QCOMPARE(program.exitCode(), 0);
}

void ProgramGlTest::deathOfTheScreenIsNoCrash_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("delay");
    QTest::newRow("before it is connected") << QByteArray() << 0;
    QTest::newRow("while the show is loaded") << QByteArray("vertex shader") << 0;
    QTest::newRow("at the first frame") << QByteArray("BATTERY") << 0;
    QTest::newRow("later") << QByteArray("BATTERY") << 1500;
}

void ProgramGlTest::deathOfTheScreenIsNoCrash()
{
    QFETCH(QByteArray, line);
    QFETCH(int, delay);
    QProcess screen;
    screen.start("Xvfb", {"-displayfd", "1", "-screen", "0", "800x480x24", "-nolisten", "tcp"});
    QVERIFY(screen.waitForReadyRead(10000));
    const QByteArray number = screen.readLine().trimmed();
    QProcessEnvironment environment = quietEnvironment();
    environment.insert("DISPLAY", ":" + number);
    // The linker tells, in a file for each process, what it loads and whose end it calls.
    environment.insert("LD_DEBUG", "files");
    environment.insert("LD_DEBUG_OUTPUT", folder.filePath("linker"));
    QProcess program;
    start(program, environment);
    QFile linker(folder.filePath("linker.%1").arg(program.processId()));
    QVERIFY2(logHas(program, line), log);
    QTest::qWait(delay);
    QCOMPARE(program.state(), QProcess::Running);
    screen.kill();
    screen.waitForFinished();
    QVERIFY(program.waitForFinished(10000));
    log += program.readAll();
    QVERIFY2(!log.contains("Sanitizer"), log);
    if (!log.contains("vertex shader")) {
        // Nothing of ours has run. Qt aborts without a screen, and Mesa's GLX crashes where its
        // window is being made on a connection that is gone.
        return;
    }
    QVERIFY2(program.exitStatus() == QProcess::NormalExit, log);
    QCOMPARE(program.exitCode(), 1);
    // No library is let go of while the driver's and the player's threads work in it.
    QVERIFY(linker.open(QIODevice::ReadOnly));
    const QByteArray told = linker.readAll();
    QVERIFY(told.contains("calling init: "));
    QVERIFY(!told.contains("calling fini:  [")); // The program itself, which has no name here.
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

void ProgramGlTest::endsWithoutUsableGl_data()
{
    QTest::addColumn<QStringList>("settings");
    QTest::addColumn<QString>("line");
    const QString none = "No picture: no OpenGL context can be had";
    QTest::newRow("platform without GL") << QStringList{"QT_QPA_PLATFORM=minimal"} << none;
    QTest::newRow("no screen") << QStringList{"QT_QPA_PLATFORM=offscreen", "DISPLAY="} << none;
    QTest::newRow("screen without GL") << QStringList{"QT_XCB_GL_INTEGRATION=none"} << none;
#ifndef QT_OPENGL_ES_2
    QTest::newRow("indirect") << QStringList{"LIBGL_ALWAYS_INDIRECT=1"} << none;
    // OpenGL ES 2.0 is never without these two.
    QTest::newRow("no framebuffer objects")
        << QStringList{"MESA_EXTENSION_OVERRIDE=-GL_ARB_framebuffer_object "
                       "-GL_EXT_framebuffer_object"}
        << ") has no framebuffer objects";
    // Of that version also where Mesa is held to a later one, which is never without them.
    QTest::newRow("no shaders") << QStringList{"MESA_GL_VERSION_OVERRIDE=1.5",
                                               "MESA_EXTENSION_OVERRIDE=-GL_ARB_vertex_shader "
                                               "-GL_ARB_fragment_shader -GL_ARB_shader_objects"}
                                << ") has no shaders";
#endif
}

void ProgramGlTest::endsWithoutUsableGl()
{
    QFETCH(QStringList, settings);
    QFETCH(QString, line);
    QProcessEnvironment environment = quietEnvironment();
    for (const QString& setting : settings) {
        environment.insert(setting.section('=', 0, 0), setting.section('=', 1));
    }
    QProcess program;
    start(program, environment);
    QVERIFY2(program.waitForFinished(patiently(20000)), "a window that nothing is ever drawn in");
    const QByteArray log = program.readAll();
    QVERIFY2(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 1, log);
    QVERIFY2(log.contains(line.toUtf8()), log);
    QCOMPARE(log.count("No picture"), 1);
    QVERIFY2(log.contains("No picture: no OpenGL") || log.contains("No picture: OpenGL "), log);
    // Nothing of the show was started.
    QVERIFY2(!log.contains("vertex shader"), log);
}

void ProgramGlTest::playsOnWithoutPictures()
{
    // A copy of the program, to which a file beside it gives plugins of its own: all but the one
    // that the pictures are read with.
    const QDir place(folder.path());
    const QDir all(QLibraryInfo::location(QLibraryInfo::PluginsPath));
    QVERIFY(place.mkpath("plugins/imageformats"));
    for (const QString& kind : all.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (kind != "imageformats") {
            QVERIFY(QFile::link(all.filePath(kind), place.filePath("plugins/" + kind)));
        }
    }
    QFile settings(place.filePath("qt.conf"));
    QVERIFY(settings.open(QIODevice::WriteOnly));
    settings.write("[Paths]\nPlugins=" + QFile::encodeName(place.filePath("plugins")) + '\n');
    settings.close();
    const QString copy = place.filePath("pixmoth");
    QVERIFY(QFile::copy(PIXMOTH_PROGRAM, copy));

    QProcess program;
    program.setProcessEnvironment(quietEnvironment());
    program.setProcessChannelMode(QProcess::MergedChannels);
    program.start(copy, QStringList());
    QVERIFY(program.waitForStarted());
    // Escape closes one box after the other, and then the show.
    QVERIFY(endByKey(program, "Escape"));
    const QByteArray log = program.readAll();
    QVERIFY2(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 0, log);
    QCOMPARE(log.count("vertex shader"), 1);
    QCOMPARE(log.count("BATTERY"), 1);
    QVERIFY2(!log.contains("Image size"), log);
}

void ProgramGlTest::fillsTheScreenWithoutWindowManager_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QString>("scale");
    QTest::newRow("as large as the window") << QSize(800, 480) << "1";
    QTest::newRow("larger") << QSize(1280, 720) << "1";
    QTest::newRow("smaller") << QSize(640, 400) << "1";
    QTest::newRow("larger, scaled by half") << QSize(1280, 720) << "1.5";
    QTest::newRow("larger, scaled twice") << QSize(1280, 720) << "2";
}

void ProgramGlTest::fillsTheScreenWithoutWindowManager()
{
    QFETCH(QSize, size);
    QFETCH(QString, scale);
    const QByteArray wide = QByteArray::number(size.width());
    const QByteArray high = QByteArray::number(size.height());
    QProcess screen;
    screen.start("Xvfb", {"-displayfd", "1", "-screen", "0", wide + 'x' + high + "x24", "-nolisten",
                          "tcp", "-noreset"});
    QVERIFY(screen.waitForReadyRead(10000));
    QProcessEnvironment environment = quietEnvironment();
    environment.insert("DISPLAY", ":" + screen.readLine().trimmed());
    environment.insert("QT_SCALE_FACTOR", scale);
    QProcess program;
    start(program, environment);

    // The window and the surface within it, whatever their size is in the toolkit's own pixels.
    const QByteArray whole = "X=0\nY=0\nWIDTH=" + wide + "\nHEIGHT=" + high + '\n';
    QByteArray found;
    QElapsedTimer limit;
    limit.start();
    while (found.count(whole) != 2 && limit.elapsed() < patiently(15000)) {
        QProcess look;
        look.setProcessEnvironment(environment);
        look.start("xdotool", {"search", "--onlyvisible", "--class", "pixmoth", "getwindowgeometry",
                               "--shell", "%@"});
        look.waitForFinished();
        found = look.readAllStandardOutput();
    }
    program.terminate();
    program.waitForFinished();
    screen.terminate();
    screen.waitForFinished();
    QVERIFY2(found.count(whole) == 2, found);
}

void ProgramGlTest::startsWithWhatIsSilent_data()
{
    QTest::addColumn<QString>("program");
    QTest::addColumn<QStringList>("silent"); // Variables of the environment; %1 stands for a port.
    QTest::addColumn<QByteArray>("line");
    const QString bus("tcp:host=127.0.0.1,port=%1");
    QTest::newRow("session manager")
        << PIXMOTH_PROGRAM << QStringList{"SESSION_MANAGER=tcp/127.0.0.1:%1"} << QByteArray();
    QTest::newRow("pipe for music")
        << PIPED_PROGRAM << QStringList() << QByteArray("beat.mp3 is no regular file");
    QTest::newRow("session bus") << PIXMOTH_PROGRAM
                                 << QStringList{"DBUS_SESSION_BUS_ADDRESS=" + bus}
                                 << QByteArray("The session bus does not answer");
    QTest::newRow("system bus") << PIXMOTH_PROGRAM << QStringList{"DBUS_SYSTEM_BUS_ADDRESS=" + bus}
                                << QByteArray("The system bus does not answer");
    QTest::newRow("sound server") << PIXMOTH_PROGRAM << QStringList{"PULSE_SERVER=tcp:127.0.0.1:%1"}
                                  << QByteArray("the sound server does not answer");
    QTest::newRow("all of it") << PIPED_PROGRAM
                               << QStringList{"SESSION_MANAGER=tcp/127.0.0.1:%1",
                                              "DBUS_SESSION_BUS_ADDRESS=" + bus,
                                              "DBUS_SYSTEM_BUS_ADDRESS=" + bus,
                                              "PULSE_SERVER=tcp:127.0.0.1:%1"}
                               << QByteArray("the sound server does not answer");
}

void ProgramGlTest::startsWithWhatIsSilent()
{
    QFETCH(QString, program);
    QFETCH(QStringList, silent);
    QFETCH(QByteArray, line);
    QDir().mkpath(PIPE_DIR);
    const int made = ::mkfifo(PIPE_DIR "/beat.mp3", 0600);
    QVERIFY(made == 0 || errno == EEXIST);
    QTcpServer server; // It listens, and never accepts a connection.
    QVERIFY(server.listen(QHostAddress::LocalHost));
    QProcessEnvironment environment = quietEnvironment();
    for (const QString& variable : silent) {
        environment.insert(variable.section('=', 0, 0),
                           variable.section('=', 1).arg(server.serverPort()));
    }
    QProcess show;
    start(show, environment, program);
    const bool begun = logHas(show, "BATTERY");
    const bool ended = begun && endByKey(show, "Escape");
    show.kill();
    show.waitForFinished();
    QVERIFY2(begun, log);
    QVERIFY2(ended && show.exitStatus() == QProcess::NormalExit && show.exitCode() == 0, log);
    // Qt counts an empty text two thousand million times, and then gives up.
    QVERIFY2(line.isEmpty() || log.count(line) == 1, log);
}

void ProgramGlTest::soundServerThatFreezesAtTheBeginning_data()
{
    QTest::addColumn<QByteArray>("sink");
    QTest::addColumn<int>("delay");
    for (const char* sink : {"pulsesink", "alsasink"}) {
        for (int delay : {80, 160, 240, 400}) {
            QTest::addRow("%s, %i ms", sink, delay) << QByteArray(sink) << delay;
        }
    }
}

void ProgramGlTest::soundServerThatFreezesAtTheBeginning()
{
    QFETCH(QByteArray, sink);
    QFETCH(int, delay);
    if (QStandardPaths::findExecutable("pulseaudio").isEmpty()) {
        QSKIP("Package pulseaudio is not installed");
    }
    QTemporaryDir own;
    QProcess sound;
    QVERIFY(startSoundServer(sound, own.filePath("sound")));
    QProcessEnvironment environment = quietEnvironment();
    environment.insert("PULSE_SERVER", "unix:" + own.filePath("sound"));
    environment.insert("GST_PLUGIN_FEATURE_RANK", sink + ":MAX");
    QProcess show;
    start(show, environment);
    QTest::qSleep(delay);
    ::kill(static_cast<pid_t>(sound.processId()), SIGSTOP);
    const bool begun = logHas(show, "BATTERY");
    QElapsedTimer timer;
    timer.start();
    const bool ended = endByKey(show, "Escape");
    const qint64 ms = timer.elapsed();
    show.kill();
    show.waitForFinished();
    sound.kill();
    sound.waitForFinished();
    log += show.readAll();
    QVERIFY2(begun, log);
    QVERIFY2(ended && show.exitStatus() == QProcess::NormalExit && show.exitCode() == 0, log);
    QVERIFY2(ms < qMin(patiently(6000), HELD_MS), qPrintable(QString::number(ms)));
}

void ProgramGlTest::endsWithAFrozenServer_data()
{
    QTest::addColumn<QString>("frozen");
    QTest::addColumn<QByteArray>("sink");
    QTest::addColumn<QString>("end");
    for (const char* end : {"key", "last part", "signal"}) {
        for (const char* sink : {"pulsesink", "alsasink"}) {
            QTest::addRow("sound server through %s, %s", sink, end)
                << "sound" << QByteArray(sink) << end;
        }
        QTest::addRow("buses, %s", end) << "buses" << QByteArray("pulsesink") << end;
    }
}

void ProgramGlTest::endsWithAFrozenServer()
{
    QFETCH(QString, frozen);
    QFETCH(QByteArray, sink);
    QFETCH(QString, end);
    if (QStandardPaths::findExecutable("pulseaudio").isEmpty()) {
        QSKIP("Package pulseaudio is not installed");
    }
    // A voice that goes on talking, but for the natural end, which would wait for it.
    QTemporaryDir own;
    QFile voice(own.filePath("espeak"));
    QVERIFY(voice.open(QIODevice::WriteOnly));
    voice.write(qPrintable(QString("#!/bin/sh\necho $$ > %1/pid\nexec sleep %2\n")
                               .arg(own.path())
                               .arg(end == "last part" ? 0 : 60)));
    voice.close();
    QVERIFY(voice.setPermissions(QFile::ReadOwner | QFile::ExeOwner));

    QProcess sound;
    const QString socket = own.filePath("sound");
    QVERIFY(startSoundServer(sound, socket));
    PrivateBus bus;
    QVERIFY(bus.start());
    FakeService saver(
        bus.connection(), "org.freedesktop.ScreenSaver", [](const QDBusMessage& message) {
            return message.member() == "Inhibit" ? message.createReply(QVariant::fromValue(77u))
                                                 : message.createReply();
        });

    QProcessEnvironment environment = quietEnvironment();
    environment.insert("PATH", own.path() + ':' + environment.value("PATH"));
    environment.insert("PULSE_SERVER", "unix:" + socket);
    environment.insert("GST_PLUGIN_FEATURE_RANK", sink + ":MAX");
    environment.insert("DBUS_SESSION_BUS_ADDRESS", bus.address());
    environment.insert("DBUS_SYSTEM_BUS_ADDRESS", bus.address());
    QProcess show;
    start(show, environment, HURRIED_PROGRAM);
    QVERIFY2(logHas(show, "Approx time"), log);
    QTRY_VERIFY2_WITH_TIMEOUT(!saver.calls().isEmpty(), log, patiently(5000));
    // The music is under way as well.
    QTest::qWait(500);

    if (frozen == "sound") {
        ::kill(static_cast<pid_t>(sound.processId()), SIGSTOP);
    } else {
        bus.freeze();
    }
    bool ended = false;
    QElapsedTimer timer;
    timer.start();
    if (end == "key") {
        ended = endByKey(show, "Escape");
    } else if (end == "signal") {
        show.terminate();
        ended = show.waitForFinished(patiently(15000));
    } else {
        // Shorter than what would be held; its multiple shows only that the end comes.
        ended = show.waitForFinished(patiently(30000));
    }
    const qint64 ms = timer.elapsed();
    bus.thaw();
    sound.kill();
    sound.waitForFinished();
    if (!ended) {
        show.kill();
        show.waitForFinished();
    }
    log += show.readAll();
    QVERIFY2(ended, log);
    if (end == "signal") {
        QCOMPARE(show.exitStatus(), QProcess::CrashExit);
        QCOMPARE(show.exitCode(), SIGTERM);
    } else {
        QVERIFY2(show.exitStatus() == QProcess::NormalExit, log);
        QCOMPARE(show.exitCode(), 0);
    }
    // Two seconds, and a few for a machine that is busy.
    QVERIFY2(end == "last part" || ms < qMin(patiently(12000), HELD_MS),
             qPrintable(QString::number(ms)));
    QVERIFY2(!log.contains("QProcess"), log);

    QFile pid(own.filePath("pid"));
    QVERIFY(pid.open(QIODevice::ReadOnly));
    const QString words = "/proc/" + pid.readAll().trimmed() + "/cmdline";
    // A process that is dead and not yet reaped has no command line.
    const auto isTalking = [&words] {
        QFile file(words);
        return file.open(QIODevice::ReadOnly) && !file.readAll().isEmpty();
    };
    QTRY_VERIFY(!isTalking());
    // A screen saver lifts what a client held that has left the bus.
    QTRY_VERIFY(!bus.connection().interface()->isServiceRegistered(saver.caller()).value());
}

QTEST_GUILESS_MAIN(ProgramGlTest)
#include "programgltest.moc"
