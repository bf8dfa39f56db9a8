"""QtOpenGL on OpenGL ES, where Debian has it on desktop OpenGL only.

Beside its Qt on desktop OpenGL Debian has the lowest layer of it, QtGui, on OpenGL ES, and all that
is above either; but no QtOpenGL, in which QGLWidget is. That is built here, from Debian's source.
"""

import glob
import os
import shutil
import subprocess

from phonecheck import builds
from phonecheck.workplace import StepFailed

SOURCE_PACKAGE = "qtbase-opensource-src"
IN_SOURCE = "src/opengl"
PROJECT = os.path.join(os.path.dirname(__file__), "qtopengl")
LIBRARY = "libQt5OpenGL.so.5"


def unpack_source(place, archives):
    """The folder of QtOpenGL, out of the archive that apt has fetched."""
    found = glob.glob(os.path.join(archives, SOURCE_PACKAGE + "_*.orig.tar.*"))
    found = [path for path in found if not path.endswith(".asc")]
    if len(found) != 1:
        raise StepFailed(f"there are {len(found)} sources of {SOURCE_PACKAGE}, and not one")
    source = place.path("qtopengl-source")
    shutil.rmtree(source, ignore_errors=True)
    os.makedirs(source)
    subprocess.run(["tar", "-x", "-f", found[0], "-C", source, "--strip-components=1",
                    "--wildcards", f"*/{IN_SOURCE}"], check=True)
    return os.path.join(source, IN_SOURCE)


def provide(place, archives):
    """Builds it, and lays it where the other one would be."""
    build = place.path("qtopengl")
    shutil.rmtree(build, ignore_errors=True)
    builds.configure(place, "qtopengl.log", PROJECT, build,
                     f"-DQTOPENGL_SOURCE={unpack_source(place, archives)}")
    place.step("qtopengl.log", ["cmake", "--build", build], append=True)
    for path in glob.glob(os.path.join(build, LIBRARY + "*")):
        shutil.copy2(path, place.libraries, follow_symlinks=False)
