#pragma once

#include <QTime>

/// A frame clock: how long the last frame took, with stalls cut off at 200 ms.
/// Reserve: for effects that want a step length. The show runs on a clock of its own.
class TimeStep
{
public:
    /// Starts both clocks. The parameter is a reserve.
    explicit TimeStep(int parameter);
    ~TimeStep() = default;

    /// Starts both clocks again; the last step's length is left as it is.
    void reset();

    /// Measures the step since the last call; once per frame.
    void updateTimeStep();

    /// A copy of the clock that measures the whole run.
    QTime time() const;

    /// Milliseconds since construction or reset(), for all its name says.
    int millisPerFrame() const;

    /// How many frames, at `framesPerSecond`, the last step spans.
    float frameStep(float framesPerSecond) const;

    /// The last step in seconds, computed by way of `framesPerSecond`.
    float timeStep(float framesPerSecond) const;

private:
    QTime runClock;
    QTime stepClock;
    int stepMillis; ///< 0..200
    int parameter;  ///< Reserve: stored only.
};

/// Reserve, like the clock: a random number in [-1, 1), in steps of 1/16000, from the qrand()
/// sequence.
float nrand();
