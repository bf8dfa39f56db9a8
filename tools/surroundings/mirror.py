"""Where packages of Debian come from."""

import subprocess


def own_mirror(release):
    """Where this machine's own packages come from; those of the release, where it has them, or of
    its own: a mirror has them all. Empty without its lists of packages."""
    for which in (f"Codename: {release}", "Label: Debian"):
        uris = subprocess.run(
            ["apt-get", "indextargets", "--format", "$(REPO_URI)", "Created-By: Packages",
             "Origin: Debian", which, "Component: main"],
            capture_output=True, text=True, check=False).stdout.split()
        if uris:
            return uris[0]
    return ""
