#include "demo/timestep.h"

#include <QtGlobal>

#include <cstdlib>

namespace {
const int LONGEST_STEP_MS = 200;
}

TimeStep::TimeStep(int parameter) : stepMillis(0), parameter(parameter)
{
    reset();
}

void TimeStep::reset()
{
    runClock.start();
    stepClock.start();
}

void TimeStep::updateTimeStep()
{
    const int previous = stepMillis;
    int elapsed = stepClock.elapsed();
    stepMillis = elapsed;
    if (elapsed < 0) {
        qWarning("TimeStep: Negative time!");
        elapsed = 1;
        stepMillis = 1;
    } else if (elapsed > LONGEST_STEP_MS) {
        stepMillis = LONGEST_STEP_MS;
        stepClock.restart();
        return;
    }
    // Never true, since both are within the limit here. It would matter if a step might be longer
    // than the limit for a jump.
    if (std::abs(elapsed - previous) > LONGEST_STEP_MS) {
        stepMillis = LONGEST_STEP_MS;
    }
    stepClock.restart();
}

QTime TimeStep::time() const
{
    return runClock;
}

int TimeStep::millisPerFrame() const
{
    return runClock.elapsed();
}

float TimeStep::frameStep(float framesPerSecond) const
{
    return static_cast<float>(stepMillis / (1000.0 / static_cast<double>(framesPerSecond)));
}

float TimeStep::timeStep(float framesPerSecond) const
{
    const double rate = static_cast<double>(framesPerSecond);
    return static_cast<float>(stepMillis / (1000.0 / rate) / rate);
}

float nrand()
{
    const int half = 16000;
    const int r = qrand() % (2 * half);
    return static_cast<float>(r - half) / static_cast<float>(half);
}
