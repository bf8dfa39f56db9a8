#!/usr/bin/env python3
"""Writes a JPEG whose black stays black.

    jpeg.py picture.png picture.jpg

Even at the best quality a JPEG is rounded block by block, 8x8 pixels at a time:
in blocks where the drawing meets the black ground, some ground pixels come back
as 2 or 3 instead of 0.  So the drawing itself is nudged by a few levels in
just those blocks, again and again, until the rounding falls the right way and
no ground pixel decodes to more than 1.  Nobody can see the nudge; the ground
stays clean.  The dice are seeded: the same picture gives the same bytes.
"""
import random
import subprocess
import sys

WRITE = ['-strip', '-sampling-factor', '1x1', '-define', 'jpeg:dct-method=float', '-quality', '100']
ALLOWED = 1
ROUNDS = 300


def convert(args, data=None):
    return subprocess.run(['convert'] + args, input=data, stdout=subprocess.PIPE, check=True).stdout


def pixels(ppm):
    """Width, height and the bytes of a binary PPM as ImageMagick writes it."""
    magic, size, depth, data = ppm.split(b'\n', 3)
    assert magic == b'P6' and depth == b'255'
    w, h = map(int, size.split())
    return w, h, bytearray(data)


def main(source, target):
    w, h, base = pixels(convert([source, '-depth', '8', 'ppm:-']))
    ground = [not any(base[i:i + 3]) for i in range(0, len(base), 3)]
    blocks = {}
    for y in range(h):
        for x in range(w):
            blocks.setdefault((x // 8, y // 8), []).append(y * w + x)
    # only blocks with both ground and drawing can go wrong
    blocks = {k: b for k, b in blocks.items() if any(ground[p] for p in b) and not all(ground[p] for p in b)}
    best = {k: 256 for k in blocks}
    rnd = random.Random(1)
    trial = bytearray(base)
    for turn in range(ROUNDS):
        jpg = convert(['ppm:-'] + WRITE + ['jpeg:-'], b'P6\n%d %d\n255\n' % (w, h) + trial)
        seen = pixels(convert(['jpeg:-', '-depth', '8', 'ppm:-'], jpg))[2]
        for k, b in blocks.items():
            worst = max(max(seen[3 * p:3 * p + 3]) for p in b if ground[p])
            if worst < best[k]:
                best[k] = worst
                for p in b:
                    base[3 * p:3 * p + 3] = trial[3 * p:3 * p + 3]
        bad = [k for k in blocks if best[k] > ALLOWED]
        if not bad:
            break
        trial = bytearray(base)
        step = 1 + turn // 25
        for k in bad:
            for p in blocks[k]:
                if not ground[p]:
                    for i in range(3 * p, 3 * p + 3):
                        trial[i] = min(255, max(0, trial[i] + rnd.randint(-step, step)))
    jpg = convert(['ppm:-'] + WRITE + ['jpeg:-'], b'P6\n%d %d\n255\n' % (w, h) + base)
    with open(target, 'wb') as f:
        f.write(jpg)
    if bad:
        sys.stderr.write('%s: %d blocks are not clean\n' % (target, len(bad)))


main(*sys.argv[1:3])
