#include "support/probe.h"

#include <QTest>

#include <csignal>

Probe::Probe() : environment(QProcessEnvironment::systemEnvironment())
{
    for (const char* bus : {"DBUS_SESSION_BUS_ADDRESS", "DBUS_SYSTEM_BUS_ADDRESS"}) {
        environment.insert(bus, "unix:path=/nonexistent");
    }
    environment.insert("XDG_DATA_HOME", "/nonexistent");
    environment.insert("LANG", "C.UTF-8");
    environment.remove("QTCONTACTS_MANAGER_OVERRIDE");
}

Probe::~Probe()
{
    // One that ends by itself can tell the coverage what it has reached.
    if (process.state() != QProcess::NotRunning && !waitForEnd(1000)) {
        kill();
    }
}

std::unique_ptr<Probe> Probe::again() const
{
    auto probe = std::make_unique<Probe>();
    probe->environment = environment;
    return probe;
}

bool Probe::start(const QString& what, const QStringList& arguments)
{
    process.setProcessEnvironment(environment);
    process.start(PLATFORM_PROBE, QStringList{what} + arguments);
    return process.waitForStarted();
}

void Probe::say(const QString& line)
{
    process.write(line.toUtf8() + '\n');
}

QString Probe::answer(const QString& word, int limitMs)
{
    int found = -1;
    const bool came = QTest::qWaitFor(
        [&] {
            readAll();
            for (int i = handedOut; i < lines.size() && found < 0; ++i) {
                if (lines.at(i).startsWith(word + ' ')) {
                    found = i;
                }
            }
            return found >= 0;
        },
        limitMs);
    if (!came) {
        return QString();
    }
    handedOut = found + 1;
    return lines.at(found).mid(word.size() + 1);
}

QStringList Probe::all(const QString& word)
{
    readAll();
    QStringList rest;
    for (const QString& line : qAsConst(lines)) {
        if (line.startsWith(word + ' ')) {
            rest.append(line.mid(word.size() + 1));
        }
    }
    return rest;
}

bool Probe::waitForEnd(int limitMs)
{
    process.closeWriteChannel();
    const bool ended =
        QTest::qWaitFor([this] { return process.state() == QProcess::NotRunning; }, limitMs);
    readAll();
    return ended && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

void Probe::kill()
{
    process.kill();
    process.waitForFinished();
}

void Probe::freeze()
{
    ::kill(static_cast<pid_t>(process.processId()), SIGSTOP);
}

QStringList Probe::wholeLog()
{
    readAll();
    return log;
}

QStringList Probe::platformLog()
{
    return wholeLog().filter("pixmoth.platform: ");
}

void Probe::readAll()
{
    while (process.canReadLine()) {
        QString line = QString::fromUtf8(process.readLine());
        line.chop(1);
        lines.append(line);
    }
    partOfLog += process.readAllStandardError();
    int end = 0;
    while ((end = partOfLog.indexOf('\n')) >= 0) {
        log.append(QString::fromUtf8(partOfLog.left(end)));
        partOfLog.remove(0, end + 1);
    }
}
