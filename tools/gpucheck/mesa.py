"""The drivers, built from Debian's source package of Mesa.

Each has a library beside it that stands in for its kernel driver and for the GPU: it takes all work,
and does none. What compiles shaders is all there.
"""

import glob
import hashlib
import os
import shutil

from gpucheck.gpus import DRIVERS
from phonecheck.sysroot import KEYRING
from surroundings.mirror import own_mirror
from surroundings.workplace import StepFailed

# The release of Debian whose Mesa it is. From 23 on, drivers among these want LLVM.
RELEASE = "bookworm"
OPTIONS = (
    f"-Dgallium-drivers={','.join(DRIVERS)}", "-Dtools=drm-shim", "-Dvulkan-drivers=",
    "-Dplatforms=", "-Dglx=disabled", "-Dgbm=disabled", "-Degl=enabled", "-Dgles1=disabled",
    "-Dgles2=enabled", "-Dopengl=true", "-Dglvnd=false", "-Dshared-glapi=enabled",
    "-Dllvm=disabled", "-Dgallium-vdpau=disabled", "-Dgallium-va=disabled",
    "-Dgallium-xa=disabled", "-Dgallium-omx=disabled", "-Dvideo-codecs=", "-Dzstd=disabled",
    "-Dshader-cache=enabled", "-Dlibunwind=disabled", "-Dlmsensors=disabled",
    "-Dvalgrind=disabled", "-Dbuild-tests=false",
    # Compiling for a fast driver would take longer than all that it compiles; and no phone's driver
    # looks for mistakes of its own.
    "-Dbuildtype=plain", "-Db_ndebug=true", "-Dc_args=-w", "-Dcpp_args=-w", "-Dlibdir=lib")


class Mesa:
    def __init__(self, place):
        self.place = place
        self.packages = place.path("packages")
        self.source = place.path("mesa")
        self.build = place.path("mesa-build")
        self.installed = place.path("mesa-installed")
        self.libraries = os.path.join(self.installed, "lib")
        self.stamp = place.path("mesa.stamp")

    def environment(self, gpu):
        """For a program that is to find this driver, and the stand-in for its kernel."""
        return {
            "LD_LIBRARY_PATH": self.libraries,
            "LD_PRELOAD": os.path.join(self.libraries, f"lib{gpu.driver}_noop_drm_shim.so"),
            "LIBGL_DRIVERS_PATH": os.path.join(self.libraries, "dri"),
            # What comes out of a cache tells nothing, and a thread beside the caller's only what
            # nobody hears.
            "MESA_SHADER_CACHE_DISABLE": "true",
            "GALLIUM_THREAD": "0",
            **gpu.settings,
        }

    def provide(self, mirror):
        """Fetches and builds it, unless it is there and made the same way."""
        wanted = "\n".join((RELEASE, *OPTIONS))
        if not is_in(self.stamp, wanted):
            mirror = mirror or own_mirror(RELEASE)
            if not mirror:
                raise StepFailed("no mirror is known; run apt-get update, or name one with --mirror")
            print(f"Fetching the source of Mesa from {mirror} and building it (once)", flush=True)
            for folder in (self.packages, self.source, self.build, self.installed):
                shutil.rmtree(folder, ignore_errors=True)
            self.fetch(mirror)
            self.compile()
            with open(self.stamp, "w", encoding="utf-8") as file:
                file.write(wanted)
        print(f"Mesa is {describe(self.packages)}", flush=True)

    def fetch(self, mirror):
        """Apt checks what it fetches, against the archive's signature."""
        apt = os.path.join(self.packages, "apt")
        os.makedirs(os.path.join(apt, "lists/partial"))
        with open(os.path.join(apt, "sources.list"), "w", encoding="utf-8") as file:
            file.write(f"deb-src [signed-by={KEYRING}] {mirror} {RELEASE} main\n")
        with open(os.path.join(apt, "apt.conf"), "w", encoding="utf-8") as file:
            file.write(f'APT::Sandbox::User "";\nDebug::NoLocking "1";\n'
                       f'Dir::Etc::SourceList "{apt}/sources.list";\n'
                       f'Dir::Etc::SourceParts "/dev/null";\n'
                       f'Dir::State::Lists "{apt}/lists";\nDir::Cache "{apt}";\n')
        changes = {"APT_CONFIG": os.path.join(apt, "apt.conf")}
        self.place.step("fetch.log", ["apt-get", "-q", "update"], **changes)
        self.place.step("fetch.log", ["env", "-C", self.packages, "apt-get", "-q", "source",
                                      "--only-source", "--download-only", "mesa"],
                        append=True, **changes)
        package, = glob.glob(os.path.join(self.packages, "*.dsc"))
        self.place.step("fetch.log", ["dpkg-source", "--no-check", "--no-copy", "-x", package, self.source],
                        append=True)

    def compile(self):
        # Debian's own interpreter: what the build wants of Python are packages.
        changes = {"PATH": "/usr/bin:" + os.environ["PATH"]}
        if shutil.which("ccache"):
            changes.update(CC="ccache gcc", CXX="ccache g++")
        self.place.step("mesa.log", ["meson", "setup", self.build, self.source, *OPTIONS,
                                     "--prefix", self.installed],
                        **changes)
        self.place.step("mesa.log", ["ninja", "-C", self.build, "install"], append=True, **changes)


def is_in(path, text):
    """Whether a file is there, and has this text."""
    if not os.path.exists(path):
        return False
    with open(path, encoding="utf-8") as file:
        return file.read() == text


def describe(packages):
    """The version that lies there, and the checksum of what it was published as."""
    package, = glob.glob(os.path.join(packages, "*.dsc"))
    archive, = glob.glob(os.path.join(packages, "*.orig.tar.*"))
    version = os.path.basename(package).removesuffix(".dsc").split("_", 1)[1]
    with open(archive, "rb") as file:
        checksum = hashlib.file_digest(file, "sha256").hexdigest()
    return f"{version}, {os.path.basename(archive)} of SHA-256 {checksum}"
