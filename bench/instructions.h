#pragma once

#include <benchmark/benchmark.h>

#include <string>

#include <valgrind/callgrind.h>

/// Counts the instructions of a measured loop where the program runs under callgrind, and nothing
/// elsewhere: make one right before the loop, of the benchmark's own name. Its dump is labelled
/// with the name and the number of turns; tools/bench-effects divides the one by the other.
class Instructions
{
public:
    Instructions(std::string name, const benchmark::State& state)
        : name(std::move(name)), state(state)
    {
        CALLGRIND_ZERO_STATS;
    }

    Instructions(const Instructions&) = delete;
    Instructions& operator=(const Instructions&) = delete;

    ~Instructions()
    {
        // Unused where the macro is empty.
        [[maybe_unused]] const std::string label = name + ' ' + std::to_string(state.iterations());
        CALLGRIND_DUMP_STATS_AT(label.c_str());
    }

private:
    std::string name;
    const benchmark::State& state;
};
