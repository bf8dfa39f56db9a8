#!/usr/bin/env python3
"""The arithmetic of measure.sh: reads what it left in the given directory."""
import array
import math
import os
import re
import statistics
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
sys.dont_write_bytecode = True
from compose import BPM, FIRST, PHRASE, Song  # noqa: E402

RATE = 44100
bad = 0
os.chdir(sys.argv[1])


def read(name):
    with open(name, encoding='utf-8') as f:
        return f.read()


def floats(name):
    a = array.array('f')
    with open(name, 'rb') as f:
        a.frombytes(f.read())
    return a


def check(ok, text):
    global bad
    bad += not ok
    print(('ok    ' if ok else 'FAIL  ') + text)


def db(x):
    return 20 * math.log10(max(x, 1e-9))


def rms(a, lo=0, hi=None):
    part = a[lo:hi]
    return math.sqrt(sum(v * v for v in part) / max(1, len(part)))


# --- the file ----------------------------------------------------------------
print('the file')
probe = dict(line.split('=', 1) for line in read('probe.txt').splitlines() if '=' in line)
rate = int(probe.get('bit_rate', '0'))
check(probe.get('codec_name') == 'mp3', f"codec {probe.get('codec_name')}")
check(probe.get('sample_rate') == '44100', f"{probe.get('sample_rate')} Hz")
check(probe.get('channels') == '2', f"{probe.get('channels')} channels")
check(159e3 <= rate <= 193e3, f'{rate / 1000:.0f} kbit/s')
check(probe.get('TAG:title') == 'beat', f"title {probe.get('TAG:title')}")
check(probe.get('TAG:artist') == 'pixmoth', f"artist {probe.get('TAG:artist')}")
stereo = floats('stereo.raw')
left, right = stereo[0::2], stereo[1::2]
length = len(left) / RATE
check(length >= 130, f'{length:.3f} s long')

# --- level -------------------------------------------------------------------
print('level, decoded')
text = read('loudness.txt')
lufs = float(re.search(r'I:\s+(-?[\d.]+) LUFS', text)[1])
peak = float(re.search(r'Peak:\s+(-?[\d.]+) dBFS', text)[1])
lra = float(re.search(r'LRA:\s+([\d.]+) LU', text)[1])
check(abs(lufs + 14) <= 1, f'{lufs} LUFS integrated')
check(peak < -1, f'{peak} dBTP')
print(f'      {lra} LU range')
sample = max(max(stereo), -min(stereo))
check(sample < 1, f'largest sample {sample:.4f} ({db(sample):.2f} dBFS)')
for name, channel in (('left', left), ('right', right)):
    mean = sum(channel) / len(channel)
    check(abs(mean) < 0.001, f'mean {name} {mean:+.6f}')
stat = read('stat.txt')
print('      sox: maximum {}, minimum {}, RMS {}'.format(*(
    re.search(key + r'\s+amplitude:\s+(-?[\d.]+)', stat)[1] for key in ('Maximum', 'Minimum', 'RMS'))))

# --- silence -----------------------------------------------------------------
print('silence (below -60 dBFS)')
longest = run = at = 0
for i, (a, b) in enumerate(zip(left, right)):
    if -0.001 < a < 0.001 and -0.001 < b < 0.001:
        run += 1
        if run > longest:
            longest, at = run, i
    else:
        run = 0
check(longest / RATE <= 0.150, f'longest {1000 * longest / RATE:.0f} ms, up to {at / RATE:.2f} s')
first = next(i for i, (a, b) in enumerate(zip(left, right)) if abs(a) >= 0.001 or abs(b) >= 0.001)
check(first / RATE <= 0.150, f'first sound at {1000 * first / RATE:.0f} ms')
lines = read('silence.txt').strip()
check(not lines, 'silencedetect: ' + (lines.replace('\n', '; ') or 'none'))

# --- the grid ----------------------------------------------------------------
print(f'the grid: {BPM:.3f} BPM, phrases of {PHRASE:.2f} s from {FIRST:.2f} s on')
beats = [float(v.split()[0]) for v in read('beats.txt').splitlines() if v.strip()]
gaps = [b - a for a, b in zip(beats, beats[1:])]
usual = statistics.median(gaps)
steady = [g for g in gaps if abs(g - usual) < 0.1 * usual]
tempo = 60 / statistics.mean(steady)
check(abs(tempo - BPM) < 0.5 or abs(tempo / 2 - BPM) < 0.5,
      f'aubiotrack: {tempo:.2f} BPM ({len(beats)} beats, {len(steady)} of {len(gaps)} gaps steady)')
onsets = [float(v.split()[0]) for v in read('onsets.txt').splitlines() if v.strip()]
near = min(onsets, key=lambda t: abs(t - FIRST))
print(f'      aubioonset: nearest to {FIRST:.3f} s: {near:.4f} s (its resolution is about 6 ms)')

# the first 40 ms of the kick, from its formula, slid over the surroundings of
# each first beat: normalised cross-correlation
SLOW = 11025


def kick(sweep):
    phase, out = 0.0, []
    for i in range(int(0.040 * SLOW)):
        t = i / SLOW
        out.append(math.tanh(1.7 * math.sin(phase) * math.exp(-t / 0.125)))
        phase += 2 * math.pi * (49 + 60 * math.exp(-t / 0.034) + sweep * math.exp(-t / 0.0065)) / SLOW
    return out


def downbeats(name):
    mono = floats(name)
    templates = [kick(270), kick(90)]
    n = len(templates[0])
    out = []
    phrases = round((length - FIRST) / PHRASE)
    for k in range(phrases):
        centre = FIRST + k * PHRASE
        best = (0, 0)
        for i in range(int((centre - 0.05) * SLOW), int((centre + 0.05) * SLOW)):
            window = mono[i:i + n]
            energy = math.sqrt(sum(v * v for v in window)) + 1e-9
            for template in templates:
                r = sum(map(float.__mul__, window, template)) / energy
                if r > best[0]:
                    best = (r, i / SLOW - centre)
        out.append((centre, best[1] * 1000, best[0] / math.sqrt(sum(v * v for v in templates[0]))))
    return out


for name, who in (('mono.raw', 'ffmpeg'), ('mono_gst.raw', 'gstreamer')):
    if not os.path.exists(name):
        print(f'      {who}: not there, skipped')
        continue
    found = downbeats(name)
    check(abs(found[0][1]) <= 10, f'{who}: first downbeat at {FIRST + found[0][1] / 1000:.4f} s')
    errors = [e for _, e, _ in found]
    worst = max(found, key=lambda f: abs(f[1]))
    check(abs(worst[1]) <= 10, f'{who}: {len(found)} downbeats off by {min(errors):+.2f} .. {max(errors):+.2f} ms,'
          f' mean {statistics.mean(errors):+.2f}; weakest match {min(f[2] for f in found):.2f}')

# --- sections ----------------------------------------------------------------
print('sections: RMS, and the share of the bands, in dBFS')
bands = [('below 120', 'band_sub.raw', SLOW), ('120-300', 'band_low.raw', SLOW),
         ('300-3500', 'band_voice.raw', SLOW), ('above 3500', 'band_high.raw', RATE)]
data = {name: (floats(f), r) for name, f, r in bands}
print('      ' + 'from    to      all'.ljust(26) + ''.join(name.rjust(12) for name in data))
for line in read('sections.txt').splitlines():
    a, b, name = line.split('\t')
    a, b = float(a), float(b)
    lo, hi = int(a * RATE), int(b * RATE)
    whole = math.sqrt((rms(left, lo, hi) ** 2 + rms(right, lo, hi) ** 2) / 2)
    row = ''.join(f'{db(rms(d, int(a * r), int(b * r))):12.1f}' for d, r in data.values())
    print(f'      {a:6.2f}  {b:6.2f}  {db(whole):6.1f}   {row}   {name}')

print('room for the voice: 300-3500 Hz while it speaks, and in the rest of the phrase')
song = Song(read(os.path.join(os.path.dirname(os.path.abspath(__file__)), 'song.txt')))
voice, r = data['300-3500']
speaks, rests = [], []
for n, lines in song.phrases.items():
    if any(w[0] == 'voice' for w in lines):
        t = FIRST + (n - 2) * PHRASE
        speaks.append(rms(voice, int(t * r), int((t + 2.5) * r)))
        rests.append(rms(voice, int((t + 2.5) * r), int((t + PHRASE) * r)))
level = [db(math.sqrt(statistics.mean(v * v for v in x))) for x in (speaks, rests)]
check(level[0] < level[1] - 1.5, f'{level[0]:.1f} dBFS against {level[1]:.1f} dBFS')

print('all well' if not bad else f'{bad} requirement(s) failed')
sys.exit(bad > 0)
