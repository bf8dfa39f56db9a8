"""The zip, and the sums."""

import hashlib
import os
import time
import zipfile

SUMS = "SHA256SUMS"


def digest(path):
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def zip_up(names, folder, path, epoch):
    """Files of a folder, in this order, each of which gets the time `epoch`, in seconds: of the same
    files it is the same."""
    with zipfile.ZipFile(path, "w") as archive:
        for name in names:
            source = os.path.join(folder, name)
            entry = zipfile.ZipInfo(name, time.gmtime(epoch)[:6])
            entry.compress_type = zipfile.ZIP_DEFLATED
            # Whoever unpacks it on Unix gets these modes; there is no place for them without it.
            entry.create_system = 3
            mode = 0o100755 if os.access(source, os.X_OK) else 0o100644
            entry.external_attr = mode << 16
            with open(source, "rb") as file:
                archive.writestr(entry, file.read(), compresslevel=9)


def write_sums(folder):
    """Of all that lies there."""
    names = sorted(set(os.listdir(folder)) - {SUMS})
    with open(os.path.join(folder, SUMS), "w", encoding="utf-8") as sums:
        for name in names:
            print(f"{digest(os.path.join(folder, name))}  {name}", file=sums)
