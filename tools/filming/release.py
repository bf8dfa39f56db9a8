"""The show on a phone that is nobody's: its friends have made-up names, and its battery is full."""

import os
import tempfile

from surroundings import processes
from surroundings.seclusion import secluded
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart

NAMES = ("Olga", "Timo", "Aino", "Henrik", "Vera")


def write_address_book(folder):
    """Where the show looks for cards below a user's data folder."""
    os.makedirs(os.path.join(folder, "contacts"))
    for name in NAMES:
        with open(os.path.join(folder, "contacts", name + ".vcf"), "w", encoding="ascii") as card:
            card.write(f"BEGIN:VCARD\nVERSION:3.0\nFN:{name}\nEND:VCARD\n")


def film_show(path, program, **changes):
    """In real time, with changes of the environment. Without a bus nobody says anything of the
    battery, which counts as full. A film whose music is early or late is none to release."""
    with tempfile.TemporaryDirectory() as folder:
        os.chmod(folder, 0o700)
        write_address_book(folder)
        code = processes.run([os.path.join(ROOT, "tools/record-show"), program, path],
                             env=secluded(folder, **changes))
    if code != 0:
        raise CannotStart(f"the film cannot be made: tools/record-show ended with code {code}")
    if processes.run([os.path.join(ROOT, "tools/measure-sync"), path]) != 0:
        raise CannotStart(f"in {path} music and pictures are not in step: it is to be made again, "
                          "on a machine with nothing else to do")
