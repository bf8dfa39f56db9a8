#pragma once

#include <QProcess>

#include <sys/types.h>

namespace platform {

/// A process that does not outlive us, however we end: killed by a signal, or by a display that
/// went away, we run no destructor, and the kernel ends the child instead.
///
/// It has nothing to read, and what it prints goes nowhere: not to the terminal, and not into our
/// memory, where it would pile up.
class ChildProcess : public QProcess
{
    Q_OBJECT

public:
    explicit ChildProcess(QObject* parent = nullptr);
    /// Ends the process where it still runs, without a word.
    ~ChildProcess() override;

protected:
    void setupChildProcess() override;

private:
    const pid_t starter; ///< Its death is the child's, too.
};

} // namespace platform
