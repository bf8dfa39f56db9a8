#include "platform/childprocess.h"

#include "platform/ownaddressbook.h"

#include <QProcessEnvironment>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace platform {

ChildProcess::ChildProcess(QObject* parent) : QProcess(parent), starter(::getpid())
{
    // Our own address book is named there for ourselves; to another program the name means nothing.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (environment.value(DEFAULT_ADDRESS_BOOK_VARIABLE) == OWN_ADDRESS_BOOK) {
        environment.remove(DEFAULT_ADDRESS_BOOK_VARIABLE);
    }
    setProcessEnvironment(environment);
    setStandardInputFile(nullDevice());
    setStandardErrorFile(nullDevice());
    // Not to the null device as well: who may read nothing of a process cannot open it for reading.
    connect(this, &QProcess::readyReadStandardOutput, this, &QProcess::readAllStandardOutput);
}

ChildProcess::~ChildProcess()
{
    if (state() != NotRunning) {
        // An end of our own making is nobody's news.
        blockSignals(true);
        kill();
        waitForFinished();
    }
}

void ChildProcess::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // Who died before that is told to nobody.
    if (::getppid() != starter) {
        ::_exit(1);
    }
}

} // namespace platform
