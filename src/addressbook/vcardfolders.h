#pragma once

#include <QDeadlineTimer>
#include <QString>
#include <QStringList>

namespace addressbook {

class VCardReader;

/// Folders of vCard files, as KDE keeps its contacts and as a synchronised address book lies on the
/// disk: kpeoplevcard and contacts in the user's data folder, with their subfolders.
class VCardFolders
{
public:
    /// Those of `dataFolder`; of the user's own where it is empty.
    explicit VCardFolders(const QString& dataFolder = QString());

    /// True when at least one of the folders is there.
    bool exist() const;

    /// Gives the files to `reader`, in the order of their names, until `deadline`. Files beyond
    /// 8 MiB and such as cannot be read are passed over; the answer says so, or that time ran out.
    /// It is empty where all went well.
    QString read(VCardReader& reader, const QDeadlineTimer& deadline) const;

private:
    QStringList folders;
};

} // namespace addressbook
