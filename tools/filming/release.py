"""The show on a phone that is nobody's: its friends have made-up names, and its battery is full."""

import os
import tempfile

from surroundings import NO_BUS, processes
from surroundings.seclusion import secluded
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart

# A system's bus with nobody on it: where there is none at all, the music begins 0.4 s late.
WITH_SYSTEM_BUS = ('DBUS_SYSTEM_BUS_ADDRESS=$DBUS_SESSION_BUS_ADDRESS DBUS_SESSION_BUS_ADDRESS=$0 '
                   'exec "$@"')
NAMES = ("Olga", "Timo", "Aino", "Henrik", "Vera")


def write_address_book(folder):
    """Where the show looks for cards below a user's data folder."""
    os.makedirs(os.path.join(folder, "contacts"))
    for name in NAMES:
        with open(os.path.join(folder, "contacts", name + ".vcf"), "w", encoding="ascii") as card:
            card.write(f"BEGIN:VCARD\nVERSION:3.0\nFN:{name}\nEND:VCARD\n")


def film_show(path, program, **changes):
    """In real time, with changes of the environment. Nobody says anything of the battery,
    which counts as full. A film whose music is late is none to release."""
    with tempfile.TemporaryDirectory() as folder:
        os.chmod(folder, 0o700)
        write_address_book(folder)
        code = processes.run(["dbus-run-session", "--", "sh", "-c", WITH_SYSTEM_BUS, NO_BUS,
                              os.path.join(ROOT, "tools/record-show"), program, path],
                             env=secluded(folder, **changes))
    if code != 0:
        raise CannotStart(f"the film cannot be made: tools/record-show ended with code {code}")
    if processes.run([os.path.join(ROOT, "tools/measure-sync"), path]) != 0:
        raise CannotStart(f"in {path} music and pictures are not in step: the machine has had other "
                          "things to do, and the film is to be made again when it has not")
