#pragma once

#include <QByteArray>
#include <QtGlobal>

/// A variable of the environment as a test wants it, for as long as this lives.
class ScopedVariable
{
public:
    /// `value` may be null, for a variable that is not set.
    ScopedVariable(const char* variable, const QByteArray& value)
        : name(variable), before(qgetenv(variable))
    {
        set(value);
    }

    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

    ~ScopedVariable()
    {
        set(before);
    }

    void set(const QByteArray& value)
    {
        if (value.isNull()) {
            qunsetenv(name.constData());
        } else {
            qputenv(name.constData(), value);
        }
    }

private:
    const QByteArray name;
    const QByteArray before;
};
