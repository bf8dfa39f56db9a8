#pragma once

namespace platform {

/// Has `handler` called whenever the process's alarm goes off; system calls go on after it. There
/// is one alarm: whoever calls this last has it.
void answerAlarm(void (*handler)(int));

/// Lets the alarm go off once, in so many milliseconds; 0 for never. A signal handler may call it.
void setAlarm(int ms);

} // namespace platform
