#pragma once

#include <QtGlobal>

/// How long a test waits, at the most, for what comes at all, where so many milliseconds are enough
/// on a busy PC. Where everything takes a multiple of its time, PIXMOTH_TEST_PATIENCE is that
/// multiple; tools/phone-check sets it for the emulator. What is shorter because the show owes it
/// to somebody is not asked for here, or only where the multiple, too, tells right from wrong.
inline int patiently(int ms)
{
    bool told = false;
    const int times = qEnvironmentVariableIntValue("PIXMOTH_TEST_PATIENCE", &told);
    return told ? times * ms : ms;
}
