#include "platform/childprocess.h"

#include <csignal>
#include <sys/prctl.h>

namespace platform {

ChildProcess::ChildProcess(QObject* parent) : QProcess(parent)
{
    setStandardInputFile(nullDevice());
    setStandardErrorFile(nullDevice());
    // Not to the null device as well: who may read nothing of a process cannot open it for reading.
    connect(this, &QProcess::readyReadStandardOutput, this, &QProcess::readAllStandardOutput);
}

void ChildProcess::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

} // namespace platform
