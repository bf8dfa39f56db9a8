#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

/// A machine of which only the tools that the script asks are there, and they are false.
class InstallPackagesTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void soundServerOfTheFilm_data();
    void soundServerOfTheFilm();
    void nothingIsMissing();
    void failureShowsWhatWasSaid();
    void unknownSet();

private:
    void writeScript(const QString& name, const QByteArray& text);
    /// Runs it where `installed` (all packages, for "*") is there, and reads what apt-get was
    /// asked.
    void install(const QStringList& sets, const QString& installed);

    QScopedPointer<QTemporaryDir> folder;
    int code;
    QString errors;
    QStringList installs; ///< The arguments of each call that installs.
};

void InstallPackagesTest::writeScript(const QString& name, const QByteArray& text)
{
    QFile script(folder->filePath(name));
    QVERIFY(script.open(QIODevice::WriteOnly));
    script.write("#!/bin/bash\n" + text);
    script.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
}

void InstallPackagesTest::init()
{
    folder.reset(new QTemporaryDir);
    QVERIFY(QDir(folder->path()).mkpath("bin") && QDir(folder->path()).mkpath("tools"));
    for (const QString name : {"install-packages", "common.sh"}) {
        QVERIFY(QFile::copy(TOOLS "/" + name, folder->filePath("tools/" + name)));
    }
    writeScript(
        "bin/dpkg-query",
        "[[ $INSTALLED == '*' || \" $INSTALLED \" == *\" ${!#} \"* ]] && echo -n installed\n");
    writeScript("bin/apt-get", "echo \"$*\" >>$CALLS\n"
                               "[ \"$1\" != install ] || [ -z \"$REASON\" ] || "
                               "{ echo \"E: $REASON\" >&2; exit 100; }\n");
    writeScript("bin/sudo", "exec \"$@\"\n");
}

void InstallPackagesTest::install(const QStringList& sets, const QString& installed)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("PATH", folder->filePath("bin") + ":" + environment.value("PATH"));
    environment.insert("INSTALLED", installed);
    environment.insert("CALLS", folder->filePath("calls"));
    QProcess script;
    script.setProcessEnvironment(environment);
    script.start(folder->filePath("tools/install-packages"), sets);
    QVERIFY(script.waitForFinished());
    code = script.exitCode();
    errors = script.readAllStandardError();
    QFile calls(folder->filePath("calls"));
    installs.clear();
    if (calls.open(QIODevice::ReadOnly)) {
        installs = QString(calls.readAll()).split('\n').filter(QRegularExpression("^install "));
    }
}

void InstallPackagesTest::soundServerOfTheFilm_data()
{
    QTest::addColumn<QString>("set");
    QTest::addColumn<QString>("installed");
    QTest::addColumn<bool>("pulseaudio");
    QTest::addColumn<bool>("pipewire");
    for (const char* set : {"record", "check"}) {
        QTest::addRow("%s, fresh machine", set) << set << "dpkg" << true << false;
        QTest::addRow("%s, PulseAudio", set)
            << set << "pulseaudio pulseaudio-utils" << false << false;
        QTest::addRow("%s, PipeWire", set)
            << set << "pipewire-audio pipewire-alsa" << false << true;
        QTest::addRow("%s, PipeWire for Pulse clients only", set)
            << set << "pipewire-pulse" << false << true;
        QTest::addRow("%s, both", set)
            << set << "pulseaudio pulseaudio-utils pipewire-pulse" << false << false;
    }
}

void InstallPackagesTest::soundServerOfTheFilm()
{
    QFETCH(QString, set);
    QFETCH(QString, installed);
    QFETCH(bool, pulseaudio);
    QFETCH(bool, pipewire);
    install({set}, installed);
    QCOMPARE(code, 0);
    QCOMPARE(installs.size(), 1);
    const QStringList words = installs.first().split(' ');
    QVERIFY(words.contains("--no-remove"));
    QVERIFY(words.contains("DPkg::Lock::Timeout=600"));
    QVERIFY(words.contains("xvfb"));
    QCOMPARE(words.contains("pulseaudio"), pulseaudio);
    QCOMPARE(words.contains("wireplumber"), pipewire);
}

void InstallPackagesTest::nothingIsMissing()
{
    install({"build", "play", "wayland", "record", "check"}, "*");
    QCOMPARE(code, 0);
    QVERIFY(!QFile::exists(folder->filePath("calls")));
}

void InstallPackagesTest::failureShowsWhatWasSaid()
{
    qputenv("REASON", "Packages need to be removed but remove is disabled.");
    install({"play"}, "dpkg");
    qunsetenv("REASON");
    QCOMPARE(code, 1);
    QVERIFY2(errors.contains("E: Packages need to be removed"), qPrintable(errors));
    const QString log = folder->filePath("build/apt.log");
    QVERIFY2(errors.contains(log), qPrintable(errors));
    QVERIFY(QFile::exists(log));
}

void InstallPackagesTest::unknownSet()
{
    install({"play", "toys"}, "dpkg");
    QCOMPARE(code, 2);
    QVERIFY(!QFile::exists(folder->filePath("calls")));
}

QTEST_GUILESS_MAIN(InstallPackagesTest)
#include "installpackagestest.moc"
