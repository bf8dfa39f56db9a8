#pragma once

#include <QString>

#include <memory>

/// The phone's voice: one line at a time through the external program `espeak`, which plays the
/// sound itself. Nothing here ever waits, but the destructor, which stops a line still spoken.
class Speech
{
public:
    Speech();
    ~Speech();

    /// True when nothing is being spoken: before the first line, and again after each.
    /// Follows the child process through the event loop.
    bool isReady();

    /// Starts speaking `text` and returns at once. While a line is being spoken the new one is
    /// refused and the old one goes on; without `espeak` the log says so and nothing is spoken.
    void speak(const QString& text);

private:
    struct SpeechPrivate;
    std::unique_ptr<SpeechPrivate> d;
};
