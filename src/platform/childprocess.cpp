#include "platform/childprocess.h"

#include "platform/addressbookengine.h"

#include <QProcessEnvironment>

#include <csignal>
#include <sys/prctl.h>

namespace platform {

ChildProcess::ChildProcess(QObject* parent) : QProcess(parent)
{
    // Our own address book is named there for ourselves; to another program the name means nothing.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (environment.value("QTCONTACTS_MANAGER_OVERRIDE") == AddressBookEngine::name()) {
        environment.remove("QTCONTACTS_MANAGER_OVERRIDE");
    }
    setProcessEnvironment(environment);
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
