#include "device/speech_p.h"

#include "support/files.h"
#include "support/scopedvariable.h"

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

/// What a synthesiser prints, with the program that stands in for it and with the real one.
class SynthesiserNoiseTest : public QObject
{
    Q_OBJECT

private slots:
    void nothingIsKept();
    void realSynthesiserIsHeardOut();
    void whatItInherits_data();
    void whatItInherits();

private:
    static QByteArray kept(Speech& speech);
};

/// What the show could still read of it.
QByteArray SynthesiserNoiseTest::kept(Speech& speech)
{
    QProcess& process = speech.d->thread.process;
    process.setReadChannel(QProcess::StandardError);
    return process.readAllStandardError() + process.readAllStandardOutput();
}

void SynthesiserNoiseTest::nothingIsKept()
{
    QTemporaryDir folder;
    QVERIFY(
        writeScript(folder.filePath("espeak"),
                    "#!/bin/sh\nhead -c 300000000 /dev/zero >&2\nhead -c 30000000 /dev/zero\n"));
    const ScopedVariable searchPath("PATH",
                                    QFile::encodeName(folder.path()) + ':' + qgetenv("PATH"));
    Speech speech;
    speech.speak("I love you");
    // Nor does it take long, as so much would through a pipe that we empty.
    QTRY_VERIFY_WITH_TIMEOUT(speech.isReady(), 10000);
    QCOMPARE(kept(speech).size(), 0);
    QCOMPARE(speech.d->thread.process.exitCode(), 0);
}

void SynthesiserNoiseTest::realSynthesiserIsHeardOut()
{
    if (QStandardPaths::findExecutable("espeak").isEmpty()) {
        QSKIP("Package espeak is not installed");
    }
    Speech speech;
    speech.speak("I");
    QVERIFY(!speech.isReady());
    QTRY_VERIFY_WITH_TIMEOUT(speech.isReady(), 20000);
    QCOMPARE(speech.d->thread.process.error(), QProcess::UnknownError);
    QCOMPARE(kept(speech).size(), 0);
}

void SynthesiserNoiseTest::whatItInherits_data()
{
    QTest::addColumn<QByteArray>("variable");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("inherited");
    // The name of the show's own address book is of no use to any other program.
    QTest::newRow("our address book")
        << QByteArray("QTCONTACTS_MANAGER_OVERRIDE") << QByteArray("pixmoth") << false;
    QTest::newRow("the user's own choice")
        << QByteArray("QTCONTACTS_MANAGER_OVERRIDE") << QByteArray("memory") << true;
    // Where a server is hidden for its silence, the synthesiser shall not wait for it either.
    QTest::newRow("hidden sound server")
        << QByteArray("PULSE_SERVER") << QByteArray("unix:/nowhere") << true;
    QTest::newRow("hidden bus") << QByteArray("DBUS_SESSION_BUS_ADDRESS")
                                << QByteArray("unix:path=/nowhere") << true;
}

void SynthesiserNoiseTest::whatItInherits()
{
    QFETCH(QByteArray, variable);
    QFETCH(QByteArray, value);
    QFETCH(bool, inherited);
    QTemporaryDir folder;
    QVERIFY(writeScript(folder.filePath("espeak"), "#!/bin/sh\nenv > \"${0%/*}/heard\"\n"));
    const ScopedVariable searchPath("PATH",
                                    QFile::encodeName(folder.path()) + ':' + qgetenv("PATH"));
    const ScopedVariable inherits(variable.constData(), value);
    Speech speech;
    speech.speak("I love you");
    QTRY_VERIFY_WITH_TIMEOUT(speech.isReady(), 20000);
    QFile heard(folder.filePath("heard"));
    QVERIFY(heard.open(QIODevice::ReadOnly));
    const QByteArrayList lines = heard.readAll().split('\n');
    QCOMPARE(lines.contains(variable + '=' + value), inherited);
    QCOMPARE(lines.contains("HOME=" + qgetenv("HOME")), true);
}

QTEST_GUILESS_MAIN(SynthesiserNoiseTest)
#include "synthesisernoisetest.moc"
