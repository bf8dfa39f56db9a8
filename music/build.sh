#!/bin/sh
# Composes, plays, masters and encodes beat.mp3. Can be run again at any time;
# the same sources give the same sound.
#
# Needs (Debian): apt-get install --no-install-recommends csound ffmpeg lame python3
#
#   music/build.sh          writes music/beat.mp3
#   music/build.sh --stems  also leaves the buses of the desk in $WORK
#   WORK=dir                where to put the files in between (default: a
#                           temporary directory, removed at the end)
set -eu

here=$(cd "$(dirname "$0")" && pwd)
for tool in csound ffmpeg lame python3; do
    command -v "$tool" >/dev/null || { echo "build.sh: $tool is missing, see the head of this script" >&2; exit 1; }
done

stems=
[ "${1:-}" = --stems ] && stems=--omacro:STEMS=1
if [ -n "${WORK:-}" ]; then
    mkdir -p "$WORK"
else
    WORK=$(mktemp -d)
    trap 'rm -rf "$WORK"' EXIT
fi
cd "$WORK"

LOUDNESS=-13.8      # LUFS, integrated
CEILING=-2.0        # dBTP of the limiter; the encoder adds a little of its own
# An MP3 decoder that knows nothing of the encoder delays the music by
# 576 + 529 samples. The file carries no gapless tag, so that all decoders do
# the same, and the same number of samples is cut off the start of the pick-up.
DELAY=1105

echo '== compose'
python3 "$here/compose.py" "$here/song.txt" > beat.sco

echo '== play'
cp "$here/beat.orc" .
csound -d -m0 -f -W -o pre.wav $stems beat.orc beat.sco >csound.log 2>&1 || { cat csound.log >&2; exit 1; }
grep -q '^0 errors in performance' csound.log || { cat csound.log >&2; exit 1; }

echo '== master'
end=$(python3 "$here/compose.py" --sections "$here/song.txt" | awk 'END { print $2 }')
ceiling=$(python3 -c "print('%.6f' % (10 ** ($CEILING / 20)))")
# gain in dB, then a limiter that looks ahead, at four times the sample rate
master() {
    ffmpeg -hide_banner -nostdin -y -v error -i pre.wav -af "atrim=start_sample=$DELAY:end=$end,asetpts=PTS-STARTPTS,\
volume=$1dB,aresample=176400:filter_size=64:precision=28,\
alimiter=level=false:limit=$ceiling:attack=4:release=60:asc=1:latency=1,\
aresample=44100:filter_size=64" -c:a pcm_f32le master.wav
}
loudness() {
    ffmpeg -hide_banner -nostdin -i "$1" -af ebur128 -f null - 2>&1 |
        awk '/Summary/ { s = 1 } s && $1 == "I:" { print $2 }'
}
gain=0
for turn in 1 2 3 4; do
    master "$gain"
    now=$(loudness master.wav)
    echo "   turn $turn, gain $gain dB: $now LUFS"
    gain=$(python3 -c "print(round($gain + ($LOUDNESS - $now), 2))")
done

echo '== encode'
ffmpeg -hide_banner -nostdin -y -v error -i master.wav -af "aresample=osf=s16:dither_method=triangular" -c:a pcm_s16le master16.wav
lame --quiet -t --cbr -b 192 -m j -q 0 --scale 1 --id3v2-only --tt beat --ta pixmoth master16.wav beat.mp3
cp beat.mp3 "$here/beat.mp3"
echo "wrote $here/beat.mp3"
