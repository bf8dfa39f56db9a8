#include "platform/childprocess.h"

#include "platform/ownaddressbook.h"

#include <QProcessEnvironment>

#include <csignal>
#include <sys/prctl.h>
#include <unistd.h>

namespace platform {

ChildProcess::ChildProcess(QObject* parent) : QProcess(parent), starter(::getpid())
{
    // It names our own address book, which no other program knows.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    if (environment.value(DEFAULT_ADDRESS_BOOK_VARIABLE) == OWN_ADDRESS_BOOK) {
        environment.remove(DEFAULT_ADDRESS_BOOK_VARIABLE);
    }
    setProcessEnvironment(environment);
    setStandardInputFile(nullDevice());
    setStandardErrorFile(nullDevice());
    // Not to the null device as well: QProcess could then not be opened for reading.
    connect(this, &QProcess::readyReadStandardOutput, this, &QProcess::readAllStandardOutput);
}

ChildProcess::~ChildProcess()
{
    if (state() != NotRunning) {
        // An end of our own making is not reported as a crash.
        blockSignals(true);
        kill();
        waitForFinished();
    }
}

void ChildProcess::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The kernel tells of no death before that.
    if (::getppid() != starter) {
        ::_exit(1);
    }
}

} // namespace platform
