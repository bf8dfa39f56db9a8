#!/usr/bin/env python3
"""Draws the test texture of pixmoth, 512x512, which tiles without a seam.

    texture.py > texture.svg

Amber line trees, a lattice of coloured points and small moths: the things the
show is made of.  Whatever leaves the picture on one side comes in again on the
other, because the whole drawing is put down nine times, shifted by the size.
"""
import math
import random
import sys

from brush import brush, corners, path, spline

SIZE = 512
ROOT = 8         # generations of branches
AMBER = ('#8a4a14', '#b96a1e', '#e39a3a', '#ffd08a')
POINTS = ('#4fe0a0', '#8f6cff', '#3fa7ff', '#ffd08a', '#ff7fb0')


def tree(out, rnd, x, y, angle, length, depth):
    """A tree of lines: each branch bends a little and splits in two."""
    bend = rnd.uniform(-.3, .3)
    mx, my = x + math.cos(angle + bend) * length * .5, y + math.sin(angle + bend) * length * .5
    ex, ey = mx + math.cos(angle) * length * .5, my + math.sin(angle) * length * .5
    out.append('<path d="%s" fill="%s"/>' % (
        brush(spline([(x, y), (mx, my), (ex, ey)], 6), 1.4 + depth * .55, .9 if depth == ROOT else 0, .9, .3 if depth < ROOT else .2),
        AMBER[min(3, max(0, ROOT - depth) // 2)]))
    if depth > 1:
        for k in (-1, 1):
            tree(out, rnd, ex, ey, angle + k * rnd.uniform(.22, .62), length * rnd.uniform(.7, .86), depth - 1)
    else:
        out.append('<rect x="%.1f" y="%.1f" width="3.4" height="3.4" fill="#fff0da"/>' % (ex - 1.7, ey - 1.7))


def moth(out, x, y, turn, size):
    """The moth of the title, as if she sat on the wall: fore wings folded back over the hind wings."""
    out.append('<g transform="translate(%.1f %.1f) rotate(%.1f) scale(%.2f)">' % (x, y, turn, size))
    for s in (-1, 1):
        hind = spline([(0, 0), (20 * s, 8), (34 * s, 26), (26 * s, 42), (12 * s, 40), (2 * s, 24)], 8, closed=True)
        lead = [(3 * s, -14), (22 * s, -16), (44 * s, -2), (58 * s, 22)]
        hem = [(58 * s, 22), (44 * s, 24), (38 * s, 30), (28 * s, 28), (20 * s, 30)]
        fore = corners(lead, hem, [(20 * s, 30), (8 * s, 12), (2 * s, 0)])
        out.append('<path d="%s" fill="#221446"/>' % path(hind))
        out.append('<path d="%s" fill="#b9a8ff"/>' % brush(spline([(30 * s, 24), (28 * s, 38), (18 * s, 42)], 8), 3))
        out.append('<path d="%s" fill="#3c2a86"/>' % path(fore))
        # veins, from the shoulder to the hem
        for t in (.2, .5, .8):
            hx, hy = hem[0][0] + (hem[-1][0] - hem[0][0]) * t, hem[0][1] + (hem[-1][1] - hem[0][1]) * t
            out.append('<path d="%s" fill="#8a74e0"/>' % brush(spline([(5 * s, -6), ((hx + 5 * s) * .55, hy * .35 - 4), (hx, hy)], 8), 2.4, .2, .7))
        out.append('<path d="%s" fill="#d8ceff"/>' % brush(spline(lead, 8), 4, .3, .7))
        out.append('<path d="%s" fill="#7fe9ff"/>' % brush(spline(hem, 8), 2.6, .2, .2))
        # the eyespot is a pixel
        out.append('<rect x="%.1f" y="2" width="11" height="11" fill="#0c0524"/><rect x="%.1f" y="4" width="7" height="7" fill="#ffdf9e"/>' % (33 * s - 5.5, 33 * s - 3.5))
        # feathers
        spine = spline([(2 * s, -20), (8 * s, -32), (20 * s, -40), (32 * s, -40)], 8)
        out.append('<path d="%s" fill="#fff0da"/>' % brush(spine, 2.4, .1, .7, .2))
        for k in range(4, len(spine) - 1, 2):
            px, py = spine[k]
            l = 8 * math.sin(math.pi * k / len(spine)) + 1
            for dx, dy in ((.1, -1), (.9, .5)):
                out.append('<path d="%s" fill="#ffdf9e"/>' % brush([(px, py), (px + s * dx * l * .5, py + dy * l * .5), (px + s * dx * l, py + dy * l)], 1.8, 0, .9))
    # the fur of the body
    out.append('<path d="%s" fill="#b48fc0"/>' % brush(spline([(0, -20), (0, 10), (0, 38)], 8), 12, .3, .8))
    for i in range(11):
        w = (7, 9, 10, 10, 9, 8, 7, 6, 5, 4, 3)[i]
        for s in (-1, 1):
            out.append('<path d="%s" fill="%s"/>' % (brush(spline([(0, -20 + i * 5), (s * w * .7, -17 + i * 5), (s * w, -10 + i * 5)], 5), 5, .3, .7),
                                                    '#fff0da' if i < 5 else ('#ffdf9e', '#b48fc0')[i % 2]))
    out.append('</g>')


def main():
    rnd = random.Random(21)
    t = []
    for x, y, a in ((256, 470, -1.35), (0, 214, -1.8), (140, 330, 1.75)):
        tree(t, rnd, x, y, a, 74, ROOT)
    p = []
    for j in range(16):
        for i in range(16):
            x, y = i * 32 + (16 if j % 2 else 0), j * 32 + 16
            r = 1.6 + 1.4 * (math.sin(2 * math.pi * i / 16) * math.cos(2 * math.pi * j / 16) + 1)
            p.append('<circle cx="%g" cy="%g" r="%.2f" fill="%s"/>' % (x, y, r, POINTS[(i * 3 + j * 2) % 5]))
    m = []
    for x, y, turn in ((128, 128, -14), (384, 384, 14), (392, 120, 166), (120, 392, 194)):
        moth(m, x, y, turn, 1.25)
    w = sys.stdout.write
    w('<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="512" height="512" viewBox="0 0 512 512">\n')
    w('<defs>\n<g id="trees">\n%s\n</g>\n<g id="points">\n%s\n</g>\n<g id="moths">\n%s\n</g>\n</defs>\n' % tuple('\n'.join(g) for g in (t, p, m)))
    w('<rect width="512" height="512" fill="#160b06"/>\n')
    for g in ('trees', 'points', 'moths'):
        for dy in (-SIZE, 0, SIZE):
            for dx in (-SIZE, 0, SIZE):
                w('<use xlink:href="#%s" x="%d" y="%d"/>\n' % (g, dx, dy))
    w('</svg>\n')


main()
