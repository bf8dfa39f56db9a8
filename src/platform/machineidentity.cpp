#include "platform/machineidentity.h"

#include <QFile>
#include <QSysInfo>

namespace platform {

namespace {

const int LONGEST_LINE = 256;

/// The first line of a system file, up to a NUL: a string of the device tree ends with one.
QString firstLine(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QString();
    }
    QByteArray line = file.readLine(LONGEST_LINE);
    const int end = line.indexOf('\0');
    if (end >= 0) {
        line.truncate(end);
    }
    return QString::fromUtf8(line).simplified();
}

QString dmiEntry(const QString& root, const char* name)
{
    const QString entry = firstLine(root + "/sys/class/dmi/id/" + name);
    const QString lowered = entry.toLower();
    for (const char* filler : {"to be filled", "system manufacturer", "system product",
                               "default string", "not applicable", "not specified", "o.e.m."}) {
        if (lowered.startsWith(filler)) {
            return QString();
        }
    }
    return entry;
}

/// What the operating system calls itself.
QString systemName(const QString& root)
{
    for (const char* name : {"/etc/os-release", "/usr/lib/os-release"}) {
        QFile file(root + name);
        if (!file.open(QIODevice::ReadOnly)) {
            continue;
        }
        while (!file.atEnd()) {
            QString line = QString::fromUtf8(file.readLine(LONGEST_LINE)).trimmed();
            if (line.startsWith("PRETTY_NAME=")) {
                return line.section('=', 1).remove('"').remove('\'');
            }
        }
    }
    return QString();
}

QString firstFilled(const QString& a, const QString& b)
{
    return a.isEmpty() ? b : a;
}

} // namespace

MachineIdentity::MachineIdentity(const QString& root)
{
    // "Maker Model".
    const QString tree = firstLine(root + "/proc/device-tree/model");
    manufacturer = firstFilled(dmiEntry(root, "sys_vendor"), tree.section(' ', 0, 0));
    model = firstFilled(dmiEntry(root, "product_name"), tree.section(' ', 1));
    productName = firstFilled(dmiEntry(root, "board_name"),
                              firstFilled(systemName(root), QSysInfo::prettyProductName()));
}

} // namespace platform
