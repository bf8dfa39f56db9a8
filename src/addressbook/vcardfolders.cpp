#include "addressbook/vcardfolders.h"

#include "addressbook/vcardreader.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace addressbook {

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

QString VCardFolders::read(VCardReader& reader, const QDeadlineTimer& deadline) const
{
    bool hadTime = true;
    QStringList paths;
    for (const QString& folder : folders) {
        // Links to folders are not followed, so there is no going in circles. Every entry is seen
        // here, so that the time is looked at also where there are many and none is a card.
        QDirIterator entries(folder, QDir::AllEntries | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext()) {
            if (deadline.hasExpired()) {
                hadTime = false;
                break;
            }
            const QString path = entries.next();
            const QFileInfo entry = entries.fileInfo();
            const QString kind = entry.suffix().toLower();
            // Pipes and devices could be read for ever, and so could the system's own files, which
            // claim to be empty.
            if ((kind == "vcf" || kind == "vcard") && entry.isFile() && entry.size() > 0) {
                paths.append(path);
            }
        }
    }
    paths.sort();

    int passedOver = 0;
    for (const QString& path : qAsConst(paths)) {
        if (deadline.hasExpired()) {
            hadTime = false;
            break;
        }
        QFile file(path);
        if (file.size() > LARGEST_FILE || !file.open(QIODevice::ReadOnly)) {
            passedOver += 1;
            continue;
        }
        reader.add(file.read(LARGEST_FILE));
    }
    if (!hadTime) {
        return QString("no time to read all vCard files");
    }
    return passedOver == 0
               ? QString()
               : QString("%1 vCard files are too large or cannot be read").arg(passedOver);
}

} // namespace addressbook
