#!/bin/sh
# Plays the show, with the libraries, plug-ins, voice and music that lie beside this file. Whatever it
# is given goes to the show, and the exit code is the show's.
set -eu
here=$(dirname "$(readlink -f -- "$0")")
program=$here/bin/pixmoth

# missing FILE…: the libraries that these would not find here, by the loader's own judgement.
missing() {
    for file in "$@"; do
        # Asked with --list, it would end at the first that is missing.
        LD_TRACE_LOADED_OBJECTS=1 /lib64/ld-linux-x86-64.so.2 "$file" 2>/dev/null || true
    done | sed -n 's/^[[:blank:]]*\([^ ]*\) => not found.*/\1/p' | sort -u
}

# A spare one is for a system that has none: an older one than the system's would fail the system's own
# libraries. One may want another, so it goes round by round.
while :; do
    found=
    for name in $(missing "$program" "$here/voice/espeak" "$here"/lib/qt5/plugins/platforms/*.so); do
        spare=$here/spare/$name
        case ":${LD_LIBRARY_PATH:-}:" in
        *":$spare:"*) continue ;;
        esac
        [ -e "$spare/$name" ] || continue
        export LD_LIBRARY_PATH="${LD_LIBRARY_PATH:+$LD_LIBRARY_PATH:}$spare"
        found=$name
        if [ -e "$spare/asound.conf" ]; then
            export ALSA_CONFIG_PATH="$spare/asound.conf" ALSA_PLUGIN_DIR="$spare"
        fi
    done
    [ -n "$found" ] || break
done
lacking=$(missing "$program" | tr '\n' ' ')
if [ -n "$lacking" ]; then
    echo "pixmoth: this system lacks ${lacking% }: most likely it has no OpenGL driver (in Debian that" \
        "is libgl1, libegl1, libgles2 and libgl1-mesa-dri)" >&2
    exit 1
fi

# Plug-ins of the system's are made for libraries of the system's.
unset QT_PLUGIN_PATH QT_QPA_PLATFORM_PLUGIN_PATH GST_PLUGIN_PATH GST_PLUGIN_PATH_1_0
export GIO_MODULE_DIR="$here/lib/gio"
export GST_PLUGIN_SYSTEM_PATH_1_0="$here/lib/gstreamer-1.0"
export GST_PLUGIN_SCANNER_1_0="$here/lib/gst-plugin-scanner"
# The user's own list of plug-ins is not ours to write. Where this one cannot be written, it is made
# anew for each show.
export GST_REGISTRY_1_0="${XDG_CACHE_HOME:-${HOME:-/nonexistent}/.cache}/pixmoth/gstreamer.bin"
export FONTCONFIG_FILE="$here/fonts.conf"
export ESPEAK_DATA_PATH="$here/voice"
export PATH="$here/voice:$PATH"
exec "$program" "$@"
