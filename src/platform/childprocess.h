#pragma once

#include <QProcess>

namespace platform {

/// A process that does not outlive us, however we end: killed by a signal, or by a display that
/// went away, we run no destructor, and the kernel ends the child instead.
///
/// It has nothing to read, and what it prints goes nowhere: not to the terminal, and not into our
/// memory, where it would be kept to be read by nobody.
class ChildProcess : public QProcess
{
    Q_OBJECT

public:
    explicit ChildProcess(QObject* parent = nullptr);

protected:
    void setupChildProcess() override;
};

} // namespace platform
