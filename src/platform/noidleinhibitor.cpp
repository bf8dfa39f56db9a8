// In place of idleinhibitor.cpp, in a program that is built without what that needs.
#include "platform/idleinhibitor.h"

namespace platform {

/// There are none here.
class BlankingPause
{
};
class IdleRequests
{
};

IdleInhibitor::IdleInhibitor() = default;

IdleInhibitor::~IdleInhibitor() = default;

void IdleInhibitor::hold(QWindow*) {}

} // namespace platform
