// In place of idleinhibitor.cpp, in a program that is built without what that needs.
#include "platform/idleinhibitor.h"

#include "platform/idlerequests.h"

namespace platform {

IdleInhibitor::IdleInhibitor() = default;

IdleInhibitor::~IdleInhibitor() = default;

void IdleInhibitor::hold(QWindow*) {}

} // namespace platform
