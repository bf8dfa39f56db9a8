#include "platform/vcardfolders.h"

#include "platform/servicelog.h"
#include "platform/vcardreader.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace platform {

namespace {
const qint64 LARGEST_FILE = 8 * 1024 * 1024;
}

VCardFolders::VCardFolders(const QString& dataFolder)
{
    const QString data = dataFolder.isEmpty()
                             ? QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)
                             : dataFolder;
    for (const char* name : {"/kpeoplevcard", "/contacts"}) {
        if (QFileInfo(data + name).isDir()) {
            folders.append(data + name);
        }
    }
}

bool VCardFolders::exist() const
{
    return !folders.isEmpty();
}

void VCardFolders::read(VCardReader& reader, const QDeadlineTimer& deadline) const
{
    QStringList paths;
    for (const QString& folder : folders) {
        // Links to folders are not followed, so there is no going in circles; and pipes and
        // devices, which could be read for ever, are no files here.
        QDirIterator files(folder, {"*.vcf", "*.vcard"}, QDir::Files | QDir::Readable,
                           QDirIterator::Subdirectories);
        while (files.hasNext() && !deadline.hasExpired()) {
            paths.append(files.next());
        }
    }
    paths.sort();

    int passedOver = 0;
    for (const QString& path : qAsConst(paths)) {
        if (deadline.hasExpired()) {
            qCWarning(lcPlatform, "No time to read all of the %i vCard files",
                      static_cast<int>(paths.size()));
            break;
        }
        QFile file(path);
        if (file.size() > LARGEST_FILE || !file.open(QIODevice::ReadOnly)) {
            passedOver += 1;
            continue;
        }
        reader.add(file.read(LARGEST_FILE));
    }
    if (passedOver > 0) {
        qCWarning(lcPlatform, "%i vCard files are too large or cannot be read", passedOver);
    }
}

} // namespace platform
