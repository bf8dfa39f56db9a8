#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>

#include <memory>

/// A process that makes use of the platform as the show does, on the buses that a test gives it.
/// See platformprobe.cpp for what it can be asked. Waiting for it runs the event loop.
class Probe
{
public:
    /// How often a machine that is busy with something else may be to blame for an answer that is
    /// missing or late. What is wrong by itself is so every time.
    static const int ATTEMPTS = 20;

    Probe();
    Probe(const Probe&) = delete;
    Probe& operator=(const Probe&) = delete;
    /// Kills it where it still runs.
    ~Probe();

    /// Before start(): what the process finds. Nothing is there of whoever runs the test.
    QProcessEnvironment environment;

    /// Another one that finds the same; not started.
    std::unique_ptr<Probe> again() const;

    bool start(const QString& what, const QStringList& arguments = {});
    /// Writes a line to it.
    void say(const QString& line);
    /// The rest of the first line that begins with `word` and was not handed out yet; null if none
    /// comes within `limitMs`.
    QString answer(const QString& word, int limitMs = 10000);
    /// What follows `word` on all lines so far that begin with it.
    QStringList all(const QString& word);
    /// True when it ended with code 0.
    bool waitForEnd(int limitMs = 10000);
    /// Dies without a chance to tidy up.
    void kill();
    void freeze();

    /// The lines that it has logged, "category: text"; all of them, and those in the category
    /// "pixmoth.platform".
    QStringList wholeLog();
    QStringList platformLog();

private:
    void readAll();

    QProcess process;
    QStringList lines;
    QStringList log;
    QByteArray partOfLog;
    int handedOut = 0; ///< So many of the lines have been asked for.
};
