"""The source package and the binary packages of a commit, step by step."""

import glob
import os
import shutil
import subprocess

from makerelease.archive import digest
from surroundings import processes
from surroundings.show import ROOT
from surroundings.surrounding import CannotStart

# What a release is made of. The packages' symbols are among it; the records of the build, which tell
# the day and the machine, are not.
KINDS = ("*.dsc", "*.tar.xz", "*.deb")
# By which a compiler would be run that knows paths, or the day.
PRIVATE = ("CMAKE_CXX_COMPILER_LAUNCHER", "CMAKE_C_COMPILER_LAUNCHER", "SOURCE_DATE_EPOCH",
           "DEB_BUILD_OPTIONS", "CFLAGS", "CXXFLAGS", "CPPFLAGS", "LDFLAGS")


def make_empty(folder):
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)


def unpack(commit, folder):
    """The files of a commit, and nothing else that lies about."""
    # Modes are of no settings of whoever runs it.
    archiving = ["git", "-c", "safe.directory=*", "-c", "tar.umask=0022", "-C", ROOT, "archive",
                 commit]
    with subprocess.Popen(archiving, stdout=subprocess.PIPE,
                          stderr=subprocess.DEVNULL) as archive:
        code = subprocess.run(["tar", "--extract", "--directory", folder], stdin=archive.stdout,
                              stderr=subprocess.DEVNULL, check=False).returncode
    if code != 0 or archive.returncode != 0:
        raise CannotStart("there could be no copy of the commit")


def build(commit, folder):
    """Returns the folder with the packages."""
    source = os.path.join(folder, "pixmoth")
    make_empty(source)
    unpack(commit, source)
    environment = {name: value for name, value in os.environ.items() if name not in PRIVATE}
    log_path = os.path.join(folder, "build.log")
    with open(log_path, "w", encoding="utf-8") as log:
        code = processes.run(["dpkg-buildpackage", "--unsigned-source", "--unsigned-changes"],
                             cwd=source, env=environment, stdout=log, stderr=log)
    if code != 0:
        raise CannotStart(f"the packages could not be built; see {log_path}")
    return folder


def packages_in(folder):
    return sorted(path for kind in KINDS for path in glob.glob(os.path.join(folder, kind)))


def collect(folder, results):
    """Copies what a release is made of, and returns the names."""
    names = []
    for path in packages_in(folder):
        names.append(os.path.basename(path))
        shutil.copyfile(path, os.path.join(results, names[-1]))
    return names


def look(names, results, log_path):
    """Whether lintian finds neither an error nor a warning. What it says is kept."""
    # It finds the files of a source package by its description. An older one takes it for an error,
    # which cannot be overridden, that an override names a finding of its successors.
    described = [name for name in names if name.endswith((".dsc", ".deb"))]
    said = subprocess.run(
        ["lintian", "--allow-root", "--display-info", "--fail-on", "error,warning",
         "--suppress-tags", "alien-tag", *described],
        cwd=results, capture_output=True, text=True, check=False)
    with open(log_path, "w", encoding="utf-8") as file:
        file.write(said.stdout + said.stderr)
    if said.returncode != 0:
        print(said.stdout + said.stderr + f"lintian ended with code {said.returncode}", flush=True)
    return said.returncode == 0


def compare(names, results, again):
    """Whether a second build gave the same, to the bit; what differs is told."""
    others = [os.path.basename(path) for path in packages_in(again)]
    differing = sorted(set(names) ^ set(others))
    for name in sorted(set(names) & set(others)):
        if digest(os.path.join(results, name)) != digest(os.path.join(again, name)):
            differing.append(name)
    for name in differing:
        print(f"{name} is not the same when it is built a second time", flush=True)
    if not differing:
        print(f"All {len(names)} are the same when they are built a second time", flush=True)
    return not differing
