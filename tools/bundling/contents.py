"""What goes into the archive besides the libraries that all of it needs, and which libraries do not,
and why."""

from dataclasses import dataclass

# It is made of this release's packages, and runs on systems that are no older.
RELEASE = "bookworm"
LIBRARIES = "usr/lib/x86_64-linux-gnu"

# The newest versions of symbols that this release's own C and C++ libraries have.
NEWEST = {"GLIBC": (2, 36), "GLIBCXX": (3, 4, 30), "CXXABI": (1, 3, 13), "GCC": (12, 0, 0)}


@dataclass(frozen=True)
class Left:
    """Libraries that the system has to have. Of those that are `spare` there is one in the archive
    for a system that has none, and for no other."""

    names: tuple
    reason: str
    spare: bool = False


LEFT = (
    Left(("ld-linux-x86-64.so.2", "libc.so.6", "libm.so.6", "libdl.so.2", "libpthread.so.0",
          "librt.so.1", "libresolv.so.2", "libutil.so.1"),
         "The C library is one with the loader that the kernel starts, and with the system's own "
         "name services. A newer one runs what was built for an older."),
    Left(("libstdc++.so.6", "libgcc_s.so.1"),
         "The OpenGL driver has a compiler in it, written in C++, that needs those of its own "
         "release or newer; and a process has one of each. Whoever has this C library has a "
         "compiler's library that is new enough for us."),
    Left(("libGL.so.1", "libGLX.so.0", "libEGL.so.1", "libGLESv2.so.2", "libOpenGL.so.0",
          "libGLdispatch.so.0", "libgbm.so.1", "libdrm.so.2"),
         "They are the driver, or lead to it, and that is made for the machine's graphics card."),
    Left(("libX11.so.6", "libX11-xcb.so.1", "libXext.so.6", "libxcb.so.1"),
         "The driver and the toolkit speak to the X server through one connection, whose records "
         "they share; and the tables of keys and languages are the system's."),
    Left(("libxcb-glx.so.0", "libxcb-randr.so.0", "libxcb-shm.so.0", "libxcb-sync.so.1",
          "libxcb-xfixes.so.0", "libwayland-client.so.0", "libz.so.1", "libzstd.so.1",
          "libexpat.so.1", "libffi.so.8", "libelf.so.1", "liblzma.so.5", "libbsd.so.0", "libmd.so.0"),
         "The driver, or what it needs, is linked to these, too, and a newer one to newer ones. A "
         "driver of another make may come without them.", spare=True),
    Left(("libasound.so.2",),
         "Its settings and plug-ins, which lead to the system's sound server or card, are made for "
         "the system's own. A system that has none may have a sound server all the same: the spare "
         "one leads there.", spare=True),
)
LEFT_NAMES = {name: left for left in LEFT for name in left.names}


@dataclass(frozen=True)
class Piece:
    """A file, or a pattern of files, of the system that it is collected from, and the folder of the
    archive that they go to."""

    source: str
    folder: str


QT = LIBRARIES + "/qt5/plugins/"
GSTREAMER = LIBRARIES + "/gstreamer-1.0/libgst"
QT_PLUGINS = (
    # A window, and a GL surface in it.
    "platforms/libqxcb", "xcbglintegrations/libqxcb-egl-integration",
    "xcbglintegrations/libqxcb-glx-integration",
    "platforms/libqwayland-egl", "platforms/libqwayland-generic",
    "wayland-shell-integration/libxdg-shell", "wayland-shell-integration/libwl-shell",
    "wayland-graphics-integration-client/libqt-plugin-wayland-egl",
    "wayland-decoration-client/libbradient",
    # The faces and the title; the music; the toolkit's own address book, which may be asked for.
    "imageformats/libqjpeg", "mediaservice/libgstmediaplayer", "contacts/libqtcontacts_memory",
)
# The way of an MP3 from a file to where the system plays sound.
GSTREAMER_PLUGINS = (
    "coreelements", "playback", "typefindfunctions", "id3demux", "audioparsers", "mpg123",
    "audioconvert", "audioresample", "volume", "autodetect", "pulseaudio", "alsa",
)
SPARE_SOUND = "spare/libasound.so.2"
PIECES = (
    *(Piece(f"{QT}{name}.so", "lib/qt5/plugins/" + name.partition("/")[0]) for name in QT_PLUGINS),
    *(Piece(f"{GSTREAMER}{name}.so", "lib/gstreamer-1.0") for name in GSTREAMER_PLUGINS),
    Piece(LIBRARIES + "/gstreamer1.0/gstreamer-1.0/gst-plugin-scanner", "lib"),
    Piece("usr/bin/espeak", "voice"),
    Piece(LIBRARIES + "/espeak-data", "voice"),
    # What the captions are drawn with where they were drawn first.
    Piece("usr/share/fonts/truetype/dejavu/DejaVuSans.ttf", "fonts"),
    Piece(LIBRARIES + "/alsa-lib/libasound_module_pcm_pulse.so", SPARE_SOUND),
)

QT_CONF = """\
[Paths]
Prefix = ..
Plugins = lib/qt5/plugins
"""
# The system's own settings and fonts, where it has any, and one font for where it has none.
FONTS_CONF = """\
<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "fonts.dtd">
<fontconfig>
  <include ignore_missing="yes">/etc/fonts/fonts.conf</include>
  <dir prefix="relative">fonts</dir>
  <cachedir prefix="xdg">fontconfig</cachedir>
</fontconfig>
"""
# For where the system has nothing of ALSA's.
SPARE_SOUND_CONF = """\
pcm.!default { type pulse }
"""
TEXTS = {
    "bin/qt.conf": QT_CONF,
    "fonts.conf": FONTS_CONF,
    SPARE_SOUND + "/asound.conf": SPARE_SOUND_CONF,
}
