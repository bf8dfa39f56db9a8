#include "platform/fakeservice.h"
#include "platform/privatebus.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLibraryInfo>
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
    void endsWithoutUsableGl_data();
    void endsWithoutUsableGl();
    void playsOnWithoutPictures();
    void fillsTheScreenWithoutWindowManager_data();
    void fillsTheScreenWithoutWindowManager();

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
    QTest::newRow("no shaders") << QStringList{"MESA_EXTENSION_OVERRIDE=-GL_ARB_vertex_shader "
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
    QVERIFY2(program.waitForFinished(20000), "a window that nothing is ever drawn in");
    const QByteArray log = program.readAll();
    QVERIFY2(program.exitStatus() == QProcess::NormalExit && program.exitCode() == 1, log);
    QVERIFY2(log.contains(line.toUtf8()), log);
    QCOMPARE(log.count("No picture"), 1);
    // The show is not even begun with.
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
    while (found.count(whole) != 2 && limit.elapsed() < 15000) {
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

QTEST_GUILESS_MAIN(ProgramGlTest)
#include "programgltest.moc"
