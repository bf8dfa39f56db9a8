"""A small Debian in a folder, and what is run in it.

Everything runs in namespaces of its own, whose first process dies with this one: no mount and no
process can be left, however this one ends.
"""

import os
import subprocess
import time

from surroundings.show import ROOT
from surroundings.surrounding import CannotStart, Surrounding

# What ./check and ./play are not meant to install: they are fetched with git, and ask sudo.
PACKAGES = ("ca-certificates", "git", "sudo")
USER = "guest"
# In the system: a clean checkout.
CHECKOUT = f"/home/{USER}/pixmoth"
PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"

# Processes that are killed may write for a moment more.
REMOVAL_ATTEMPTS = 20

# A namespace of processes, and of mounts, which go with the first process.
NAMESPACES = ("unshare", "--mount", "--pid", "--fork", "--mount-proc", "--kill-child")

# Run by the first process. It has to stay, since those whose parents end become its children.
ENTER = """
set -eu
mount --bind "$1" "$1"
cd "$1"
shift
mount -t proc proc proc
mount --rbind /dev dev
for folder in dev/shm tmp run; do mount -t tmpfs tmpfs "$folder"; done
chmod 1777 dev/shm tmp
pivot_root . mnt
cd /
umount --lazy /mnt
status=0
"$@" || status=$?
exit "$status"
"""


class System(Surrounding):
    """Of one release. A with statement removes it, unless it is to be kept."""

    def __init__(self, folder, keep=False):
        self.folder = folder
        self.keep = keep
        self.running = None

    def make(self, release, mirror, log, limit_s):
        """Anew, with a user who may become root. Raises CannotStart."""
        self.remove()
        code = self.call(
            ["mmdebstrap", "--quiet", "--variant=minbase", "--include=" + ",".join(PACKAGES),
             # A mirror that stands still is as good as another.
             '--aptopt=Acquire::Check-Valid-Until "false"', release, self.folder, mirror],
            log, limit_s)
        if code != 0:
            raise CannotStart("the system could not be made")
        self.write("etc/hosts", "127.0.0.1 localhost " + os.uname().nodename + "\n")
        self.write("etc/sudoers.d/" + USER, USER + " ALL=(ALL) NOPASSWD: ALL\n")
        if self.run(["useradd", "--create-home", "--shell", "/bin/bash", USER], log, limit_s) != 0:
            raise CannotStart("the system has no user")

    def check_out(self, commit, log):
        """Of this source, into CHECKOUT. Raises CannotStart."""
        checkout = self.path("")
        for words in (["clone", "--quiet", "--no-hardlinks", "--no-checkout", ROOT, checkout],
                      ["-C", checkout, "checkout", "--quiet", "--detach", commit]):
            if subprocess.run(["git", *words], stdout=log, stderr=log, check=False).returncode != 0:
                raise CannotStart("there could be no checkout")

    def write(self, name, text):
        with open(os.path.join(self.folder, name), "w", encoding="utf-8") as file:
            file.write(text)

    def path(self, name):
        """Outside of the system, of a file in the checkout."""
        return os.path.join(self.folder, CHECKOUT.lstrip("/"), name)

    def run(self, command, log, limit_s, user="root"):
        """In the system; returns the exit code. The environment is that of a fresh login."""
        home = "/root" if user == "root" else "/home/" + user
        return self.call(
            ["bash", "-c", ENTER, "enter", self.folder,
             "setpriv", f"--reuid={user}", f"--regid={user}", "--init-groups",
             "env", "-i", f"PATH={PATH}", f"HOME={home}", f"USER={user}", "LANG=C.UTF-8", *command],
            log, limit_s)

    def call(self, command, log, limit_s):
        """In namespaces of its own. What takes longer is killed."""
        self.running = subprocess.Popen(
            ["setpriv", "--pdeathsig", "SIGKILL", *NAMESPACES, *command],
            stdin=subprocess.DEVNULL, stdout=log, stderr=log, start_new_session=True)
        try:
            return self.running.wait(limit_s)
        except subprocess.TimeoutExpired:
            print(f"ended after {limit_s / 60:.0f} minutes", file=log, flush=True)
            return -1
        finally:
            self.stop()

    def stop(self):
        if self.running:
            self.running.kill()
            self.running.wait()
            self.running = None

    def remove(self):
        for _ in range(REMOVAL_ATTEMPTS):
            if subprocess.run(["rm", "-rf", "--one-file-system", self.folder], check=False,
                              stderr=subprocess.DEVNULL).returncode == 0:
                return
            time.sleep(0.5)
        raise CannotStart(f"{self.folder} cannot be removed")

    def end(self):
        self.stop()
        if self.keep:
            print(f"The system is kept in {self.folder}", flush=True)
        else:
            self.remove()
