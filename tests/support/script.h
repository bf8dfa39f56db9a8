#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

/// Writes a program of the shell (or whatever the first line of `text` says), for its owner to run.
/// False where that fails.
inline bool writeScript(const QString& path, const QByteArray& text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(text) == text.size() &&
           file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}
