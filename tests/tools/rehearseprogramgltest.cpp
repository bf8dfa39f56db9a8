#include "support/patience.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

/// tools/rehearse and its program, as an author starts them, on the test's virtual screen.
class RehearseProgramGlTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void refuses_data();
    void refuses();
    void playsToTheEnd();
    void keyEndsIt();
    void shiftDoesNotEndIt();
    void scriptTellsHowItIsUsed();
    void scriptRefusesWithoutDisplay();

private:
    void start(QProcess& program, const QStringList& arguments);
    /// Presses Escape until the program has ended.
    bool endByKey(QProcess& program);

    int numParts = 0;
};

void RehearseProgramGlTest::start(QProcess& program, const QStringList& arguments)
{
    program.start(REHEARSE_PROGRAM, arguments);
    QVERIFY(program.waitForStarted());
}

bool RehearseProgramGlTest::endByKey(QProcess& program)
{
    QElapsedTimer limit;
    limit.start();
    while (program.state() != QProcess::NotRunning && limit.elapsed() < patiently(15000)) {
        QProcess::execute("xdotool", {"mousemove", "20", "20", "key", "Escape"});
        program.waitForFinished(50);
    }
    return program.state() == QProcess::NotRunning;
}

void RehearseProgramGlTest::initTestCase()
{
    QProcess program;
    start(program, {"0"});
    QVERIFY(program.waitForFinished(patiently(20000)));
    const QString told = program.readAllStandardError();
    numParts = QRegularExpression("the show has parts 1 to (\\d+)").match(told).captured(1).toInt();
    QVERIFY2(numParts > 3, qPrintable(told));
}

void RehearseProgramGlTest::refuses_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("line");
    const QString part = "rehearse: there is no part '%1'; the show has parts 1 to %2";
    const QString beyond = QString::number(numParts + 1);
    for (const QString& wrong : {QString("0"), beyond, QString("x"), QString("1.5"), QString(""),
                                 QString("99999999999999999999")}) {
        QTest::addRow("part '%s'", qPrintable(wrong))
            << QStringList(wrong) << part.arg(wrong).arg(numParts);
    }
    QTest::newRow("two parts") << QStringList{"1", "2"} << "rehearse: only one part can be named";
    for (const char* wrong : {"800", "0x480", "800x", "axb", "-1x5", "800x480x2"}) {
        QTest::addRow("size %s", wrong)
            << QStringList{QString("--size=") + wrong}
            << QString("rehearse: '%1' is no size; one is WIDTHxHEIGHT, as in 800x480").arg(wrong);
    }
    QTest::newRow("no source tree")
        << QStringList{"--resources", "/nonexistent"}
        << "rehearse: there is no source tree: /nonexistent has no folder 'shaders'";
    QTest::newRow("unknown option") << QStringList{"--fast"} << "rehearse: Unknown option 'fast'.";
}

void RehearseProgramGlTest::refuses()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, line);
    QProcess program;
    start(program, arguments);
    QVERIFY(program.waitForFinished(patiently(20000)));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 2);
    // What the show misses here may be told before.
    const QStringList lines =
        QString::fromUtf8(program.readAllStandardError()).split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.filter(QRegularExpression("^(?!pixmoth\\.platform: )")), QStringList(line));
    QCOMPARE(program.readAllStandardOutput(), QByteArray());
}

void RehearseProgramGlTest::playsToTheEnd()
{
    const QString line = QString("Part %1 of %1\n").arg(numParts);
    // And once more: nothing of the first stands in the way.
    for (int i = 0; i < 2; ++i) {
        QProcess program;
        start(program, {QString::number(numParts), "--size", "320x192"});
        QElapsedTimer time;
        time.start();
        QVERIFY(program.waitForReadyRead(patiently(20000)));
        QVERIFY(program.waitForFinished(patiently(30000)));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QVERIFY2(time.elapsed() > 4800, qPrintable(QString::number(time.elapsed())));
        QCOMPARE(program.readAllStandardOutput(), line.toUtf8());
    }
}

void RehearseProgramGlTest::keyEndsIt()
{
    QProcess program;
    start(program, {"3", "--size", "320x192"});
    QVERIFY(program.waitForReadyRead(patiently(20000)));
    QCOMPARE(program.readAllStandardOutput(), QString("Part 3 of %1\n").arg(numParts).toUtf8());
    // The screen may hear of the name after the line was read here.
    QByteArray told;
    QElapsedTimer limit;
    limit.start();
    while (!told.contains("Geometry: 320x192") && limit.elapsed() < patiently(5000)) {
        QProcess geometry;
        geometry.start("xdotool",
                       {"search", "--name", QString("^pixmoth: part 3 of %1$").arg(numParts),
                        "getwindowgeometry"});
        QVERIFY(geometry.waitForFinished());
        told = geometry.readAllStandardOutput();
    }
    QVERIFY2(told.contains("Geometry: 320x192"), told);
    QVERIFY(endByKey(program));
    QCOMPARE(program.exitCode(), 0);
}

void RehearseProgramGlTest::shiftDoesNotEndIt()
{
    QProcess program;
    start(program, {"--loop"});
    QVERIFY(program.waitForReadyRead(patiently(20000)));
    for (const char* key : {"Shift_L", "Control_L", "Alt_L", "Super_L"}) {
        QProcess::execute("xdotool", {"mousemove", "20", "20", "key", key});
    }
    QVERIFY(!program.waitForFinished(1000));
    QVERIFY(endByKey(program));
}

void RehearseProgramGlTest::scriptTellsHowItIsUsed()
{
    QProcess script;
    script.start(TOOLS "/rehearse", {"--help"});
    QVERIFY(script.waitForFinished());
    QCOMPARE(script.exitCode(), 0);
    const QByteArray told = script.readAllStandardOutput();
    QVERIFY2(told.contains("tools/rehearse [PART] [--loop] [--size WIDTHxHEIGHT]"), told);
    QVERIFY2(!told.contains("set -e") && !told.contains("#"), told);
}

void RehearseProgramGlTest::scriptRefusesWithoutDisplay()
{
    QProcess script;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM"}) {
        environment.remove(name);
    }
    script.setProcessEnvironment(environment);
    script.start(TOOLS "/rehearse", QStringList());
    QVERIFY(script.waitForFinished());
    QCOMPARE(script.exitCode(), 1);
    QVERIFY(script.readAllStandardError().startsWith("rehearse: there is no display here"));
}

QTEST_GUILESS_MAIN(RehearseProgramGlTest)
#include "rehearseprogramgltest.moc"
