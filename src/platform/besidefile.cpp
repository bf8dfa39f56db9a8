#include "platform/besidefile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace platform {

QString installedOrBeside(const QString& installed)
{
    if (QFileInfo::exists(installed)) {
        return installed;
    }
    const QDir folder(QCoreApplication::applicationDirPath());
    const QString beside = folder.filePath(QFileInfo(installed).fileName());
    return QFileInfo::exists(beside) ? beside : installed;
}

} // namespace platform
