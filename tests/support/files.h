#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>

/// Writes a file, and makes the folders above it. False where that fails.
inline bool writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size();
}

/// Writes a program of the shell (or whatever the first line of `text` says), for its owner to run.
/// False where that fails.
inline bool writeScript(const QString& path, const QByteArray& text)
{
    return writeFile(path, text) &&
           QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}
