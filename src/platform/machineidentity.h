#pragma once

#include <QString>

namespace platform {

/// The machine's name plate, from the system's files: DMI on a PC, the device tree on a phone.
/// What no file tells is empty; fillers of careless makers ("To be filled by O.E.M.") count as not
/// told.
struct MachineIdentity
{
    /// Reads the files under `root`, the folder that the system's tree is seen in; once.
    explicit MachineIdentity(const QString& root = "/");

    /// Who made the machine.
    QString manufacturer;
    /// What it is called.
    QString model;
    /// Its maker's own name for it; where there is none, the name of the operating system.
    QString productName;
};

} // namespace platform
