#pragma once

#include <QStringList>
#include <QtGlobal>

/// Catches what goes to Qt's message channels while it lives; one at a time.
class LogCapture
{
public:
    LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

    /// All lines of the default category so far, of any type.
    QStringList lines() const;
    /// The lines of one type.
    QStringList lines(QtMsgType type) const;
    /// The lines of the category "pixmoth.platform".
    QStringList platformLines() const;
    void clear();
};
