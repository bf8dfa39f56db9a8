#!/bin/sh
# Measures beat.mp3 as a player hears it (decoded) and says whether it is fit
# for the show. Exits 1 if a requirement fails.
#
# Needs (Debian): apt-get install --no-install-recommends ffmpeg sox aubio-tools python3
# Used if there:  gstreamer1.0-tools with the base and ugly or good plugins (a
#                 second decoder); without it that check is skipped, and said so
#
#   music/measure.sh            the figures
#   music/measure.sh --pictures also spectrograms, in $WORK
set -eu

here=$(cd "$(dirname "$0")" && pwd)
for tool in ffmpeg ffprobe sox aubiotrack aubioonset python3; do
    command -v "$tool" >/dev/null || { echo "measure.sh: $tool is missing, see the head of this script" >&2; exit 1; }
done
if [ -n "${WORK:-}" ]; then
    mkdir -p "$WORK"
else
    WORK=$(mktemp -d)
    trap 'rm -rf "$WORK"' EXIT
fi
cd "$WORK"
mp3=$here/beat.mp3

ffprobe -v error -of default=nw=1 -show_entries \
    format=duration,bit_rate:stream=codec_name,sample_rate,channels,bit_rate:format_tags=title,artist "$mp3" > probe.txt
ffmpeg -hide_banner -nostdin -y -v error -i "$mp3" -c:a pcm_f32le decoded.wav
ffmpeg -hide_banner -nostdin -i decoded.wav -af ebur128=peak=true -f null - 2>&1 | sed -n '/Summary/,$p' > loudness.txt
ffmpeg -hide_banner -nostdin -i decoded.wav -af silencedetect=noise=-60dB:d=0.15 -f null - 2>&1 | grep -o 'silence_.*' > silence.txt || true
sox -V1 decoded.wav -n stat 2> stat.txt
aubiotrack -i decoded.wav > beats.txt
aubioonset -i decoded.wav -O hfc -t 0.5 > onsets.txt

rm -f gst.wav
if command -v gst-launch-1.0 >/dev/null; then
    gst-launch-1.0 -q filesrc location="$mp3" ! decodebin ! audioconvert ! \
        audio/x-raw,format=S16LE ! wavenc ! filesink location=gst.wav >/dev/null 2>&1 || rm -f gst.wav
fi

python3 "$here/compose.py" --sections "$here/song.txt" > sections.txt

# raw floats for the rest: the downbeats are searched in a mono copy at a
# quarter of the rate, the levels per band in filtered copies
mono() { sox -V1 "$1" -r 11025 -e float -b 32 -t raw "$2" remix - ; }
mono decoded.wav mono.raw
[ -f gst.wav ] && mono gst.wav mono_gst.raw
sox -V1 decoded.wav -e float -b 32 -t raw stereo.raw
sox -V1 decoded.wav -e float -b 32 -t raw band_sub.raw   remix - rate 11025 sinc -t 40 -120
sox -V1 decoded.wav -e float -b 32 -t raw band_low.raw   remix - rate 11025 sinc -t 40 120-300
sox -V1 decoded.wav -e float -b 32 -t raw band_voice.raw remix - rate 11025 sinc -t 40 300-3500
sox -V1 decoded.wav -e float -b 32 -t raw band_high.raw  remix - sinc -t 40 3500

if [ "${1:-}" = --pictures ]; then
    sox -V1 decoded.wav -n remix - spectrogram -x 2000 -Y 600 -z 90 -t 'beat' -o beat.png
    while read -r from to _; do
        sox -V1 decoded.wav -n remix - rate 11025 trim "$from" "=$to" spectrogram -x 1600 -Y 600 -z 70 -o "section_$from.png"
    done < sections.txt
fi

exec python3 "$here/measure.py" .
