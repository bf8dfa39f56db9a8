"""The phone's libraries: packages of its architecture, unpacked and not installed."""

import glob
import os
import shutil
import subprocess

from phonecheck import qtopengl
from phonecheck.workplace import StepFailed
from surroundings.mirror import own_mirror

KEYRING = "/usr/share/keyrings/debian-archive-keyring.gpg"
# Code generators run on this machine; their output is the same for every other.
QT_TOOLS = "/usr/lib/qt5/bin"
# What nothing is built or run with.
NOT_UNPACKED = (
    "./usr/share/doc", "./usr/share/man", "./usr/share/locale", "./usr/share/perl", "./usr/bin",
    "./usr/sbin", "./usr/lib/*qt5/bin", "./usr/lib/python3*")
# Debian's other build of Qt's lowest layer, on OpenGL ES.
ON_ES = ("libqt5gui5-gles", "qtbase5-gles-dev", "qtbase5-private-gles-dev")
# What it takes the place of, in one release or another.
NOT_ON_ES = ("libqt5gui5", "libqt5gui5t64", "qtbase5-dev", "libqt5opengl5", "libqt5opengl5t64")


def unpacked(archives, gles):
    """Which of the packages that were fetched are to be in the sysroot: NAME_VERSION_….deb each."""
    return [archive for archive in sorted(archives)
            if not (gles and os.path.basename(archive).partition("_")[0] in NOT_ON_ES)]


def stamp(target, mirror, folder):
    """What a sysroot was made of. One with another stamp is made anew."""
    return " ".join((folder, target.name, mirror, *target.release.packages))


def apt_configuration(target, folder):
    """Lets apt-get work for another machine: its state is all in this folder. Against an empty
    status all that a package depends on is missing, and comes with it."""
    return f"""\
APT::Architecture "{target.architecture.name}";
#clear APT::Architectures;
APT::Architectures {{ "{target.architecture.name}"; }};
APT::Sandbox::User "";
Acquire::Languages "none";
Debug::NoLocking "1";
Dir::Etc::SourceList "{folder}/sources.list";
Dir::Etc::SourceParts "/dev/null";
Dir::Etc::Preferences "/dev/null";
Dir::Etc::PreferencesParts "/dev/null";
Dir::State "{folder}";
Dir::State::Lists "{folder}/lists";
Dir::State::Status "{folder}/status";
Dir::Cache "{folder}";
Dir::Cache::Archives "{folder}/archives";
"""


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def unpack_archive(archive, sysroot):
    exclude = [f"--exclude={pattern}" for pattern in NOT_UNPACKED]
    with subprocess.Popen(["dpkg-deb", "--fsys-tarfile", archive],
                          stdout=subprocess.PIPE) as package:
        subprocess.run(["tar", "-x", "-C", sysroot, "--keep-directory-symlink", "--no-same-owner",
                        *exclude], stdin=package.stdout, check=True)
    if package.returncode != 0:
        raise StepFailed(f"{archive} could not be unpacked")


def turn_links_inward(sysroot):
    """What a package links to from the root of its system is in this one."""
    for folder, folders, files in os.walk(sysroot):
        for name in folders + files:
            path = os.path.join(folder, name)
            if os.path.islink(path) and os.path.isabs(os.readlink(path)):
                goal = sysroot + os.readlink(path)
                os.remove(path)
                os.symlink(goal, path)


def fetch(place, apt, mirror):
    """Has the packages, and all they depend on, in the folder "archives" of apt."""
    for folder in ("lists/partial", "archives/partial"):
        os.makedirs(os.path.join(apt, folder), exist_ok=True)
    write(os.path.join(apt, "status"), "")
    kinds = ("deb", "deb-src") if place.target.gles else ("deb",)
    write(os.path.join(apt, "sources.list"), "".join(
        f"{kind} [signed-by={KEYRING}] {mirror} {place.target.release.name} main\n"
        for kind in kinds))
    write(os.path.join(apt, "apt.conf"), apt_configuration(place.target, apt))
    # This is read after the machine's own configuration.
    changes = {"APT_CONFIG": os.path.join(apt, "apt.conf")}
    place.step("apt.log", ["apt-get", "-q", "update"], **changes)
    place.step("apt.log", ["apt-get", "-q", "install", "-y", "--no-install-recommends",
                           "--download-only", *place.target.release.packages],
               append=True, **changes)
    if place.target.gles:
        # By name: they are in conflict with what all others are said to depend on.
        for what in (["download", *ON_ES],
                     ["source", "--download-only", qtopengl.SOURCE_PACKAGE]):
            place.step("apt.log", ["env", "-C", os.path.join(apt, "archives"),
                                   "apt-get", "-q", *what], append=True, **changes)


def provide(place, mirror):
    """Makes the sysroot, unless it is there and made of the same."""
    mirror = mirror or own_mirror(place.target.release.name)
    if not mirror:
        raise StepFailed("no mirror is known; run apt-get update, or name one with --mirror")
    wanted = stamp(place.target, mirror, place.sysroot)
    stamp_path = place.path("sysroot.stamp")
    if os.path.exists(stamp_path):
        with open(stamp_path, encoding="utf-8") as file:
            if file.read() == wanted:
                return
        os.remove(stamp_path)
    print(f"Unpacking libraries for {place.target.name} from {mirror} (once)", flush=True)
    apt = place.path("apt")
    # Were the packages that were fetched before kept, older ones would be unpacked beside newer.
    for folder in (place.sysroot, place.build, apt):
        shutil.rmtree(folder, ignore_errors=True)
    fetch(place, apt, mirror)
    for name in ("bin", "sbin", "lib"):
        os.makedirs(os.path.join(place.sysroot, "usr", name))
        os.symlink("usr/" + name, os.path.join(place.sysroot, name))
    archives = os.path.join(apt, "archives")
    for archive in unpacked(glob.glob(os.path.join(archives, "*.deb")), place.target.gles):
        unpack_archive(archive, place.sysroot)
    turn_links_inward(place.sysroot)
    # The compiler has one of its own, which may be older than what the other libraries ask for.
    os.symlink("libstdc++.so.6", os.path.join(place.libraries, "libstdc++.so"))
    for libraries in (os.path.join(place.sysroot, "usr/lib"), place.libraries):
        os.makedirs(os.path.join(libraries, "qt5"), exist_ok=True)
        os.symlink(QT_TOOLS, os.path.join(libraries, "qt5/bin"))
    if place.target.gles:
        qtopengl.provide(place, archives)
    write(stamp_path, wanted)
