#!/usr/bin/env python3
"""Draws the icon of pixmoth: the moth of the title, with wings of light, over the lines that grow.

    icon.py > icon.svg

It is made of filled shapes and gradients only, so that whatever draws icons can draw it, and of few
and large ones, so that it is still a moth at 48 pixels.  The drawing space is 256x256 units; the moth
falls apart into pixels towards the lower right, as the faces do.
"""
import math
import random

from brush import brush, path, spline

SIZE = 256
GROUND = '#05020c'
LINES = ('#8d7d24', '#c9b43a')   # far and near, as the trees of the show
GOLD, FUR, CYAN, VIOLET = '#ffdf9e', '#fff0da', '#59dcff', '#b07cff'

# Outlines of the right wings, from the body outwards; the left ones are their mirror images.
FORE = ((131, 128), (143, 98), (168, 68), (204, 50), (236, 48), (234, 74), (220, 104), (196, 130),
        (164, 142), (134, 142))
HIND = ((133, 136), (160, 140), (190, 138), (208, 150), (204, 178), (184, 204), (164, 212),
        (150, 196), (138, 168))
ANTENNA = ((131, 92), (136, 70), (150, 48), (172, 34), (192, 34))
FORE_SPOT, HIND_SPOT = (190, 92), (176, 172)
CELL = 11.5


def shape(outline, fill, more=''):
    return '<path d="%s" fill="%s"%s/>' % (outline, fill, more)


def polygon(points, fill):
    return shape(path(points), fill)


def wing(outline, fill):
    return polygon(spline(outline, closed=True), fill)


def mirrored(shapes):
    return '<g transform="matrix(-1 0 0 1 %d 0)">%s</g>' % (SIZE, shapes)


def branch(rnd, at, heading, length, width, depth):
    """A stroke that bends, and the strokes that grow out of it."""
    points = [at]
    for _ in range(4):
        heading += rnd.uniform(-0.3, 0.3)
        x, y = points[-1]
        points.append((x + math.cos(heading) * length / 4, y + math.sin(heading) * length / 4))
    out = [shape(brush(spline(points, steps=3), width, head=0.05, tail=0.9), LINES[depth > 1],
                   ' opacity=".%d"' % (9 if depth > 1 else 7))]
    if depth:
        for turn in (-0.55, 0.5):
            start = points[rnd.choice((2, 3, 4))]
            out += branch(rnd, start, heading + turn * rnd.uniform(.8, 1.4), length * .68, width * .62,
                          depth - 1)
    return out


def tree():
    rnd = random.Random(11)
    out = []
    arms = 9
    for i in range(arms):
        heading = 2 * math.pi * (i + .35) / arms + rnd.uniform(-.12, .12)
        out += branch(rnd, (128, 132), heading, 84, 5.4, 3)
    return ''.join(out)


def feather():
    """An antenna: a spine with barbs on both sides, which are longest in its middle."""
    spine = spline(ANTENNA, steps=6)
    out = [shape(brush(spine, 5, head=.1, tail=.7), GOLD)]
    for i in range(5, len(spine) - 1, 3):
        (x, y), (x2, y2) = spine[i], spine[i + 1]
        heading = math.atan2(y2 - y, x2 - x)
        reach = 15 * math.sin(math.pi * i / len(spine)) + 4
        for side in (-1, 1):
            turned = heading + side * .95
            tip = (x + math.cos(turned) * reach, y + math.sin(turned) * reach)
            out.append(shape(brush(spline(((x, y), tip), steps=3), 3.4, head=.1, tail=.8), GOLD))
    return ''.join(out)


def spot(at, r):
    """An eyespot that looks back with a pupil of one pixel."""
    x, y = at
    rings = ((r, '#2a1556'), (r * .8, GOLD), (r * .58, '#0b2f4a'))
    return ''.join('<circle cx="%g" cy="%g" r="%.1f" fill="%s"/>' % (x, y, size, fill)
                   for size, fill in rings) + square(x, y, r * .5, CYAN)


def square(x, y, size, fill, opacity=1.0):
    return '<rect x="%.1f" y="%.1f" width="%.1f" height="%.1f" fill="%s"%s/>' % (
        x - size / 2, y - size / 2, size, size, fill, '' if opacity == 1 else ' opacity="%.2f"' % opacity)


def veins(tips):
    """From the root of the wing towards its rim."""
    return ''.join(shape(brush(spline(((136, 136), ((136 + x) / 2, (136 + y) / 2 - 5), (x, y))), 3,
                                 head=.3, tail=.6), '#5b3fb0', ' opacity=".5"') for x, y in tips)


def crumbs():
    """Of the right hind wing: cells that are gone, and cells that fly."""
    rnd = random.Random(4)
    gone, flying = [], []
    for i in range(3, 9):
        for j in range(3, 9):
            x, y = 128 + CELL * (i + .5), 128 + CELL * (j + .5)
            way = (i + j - 6.5) / 8
            if rnd.random() < way * 1.25 and math.dist((x, y), HIND_SPOT) > 19:
                gone.append('M%.1f %.1fh%gv%gh-%gz' % (x - CELL / 2, y - CELL / 2, CELL, CELL, CELL))
                shift = 10 + 30 * way + rnd.uniform(-6, 6)
                flying.append(square(x + shift * .9, y + shift * .62, CELL * rnd.uniform(.5, .85),
                                     rnd.choice((CYAN, VIOLET, '#e9dcff')), 1 - .45 * way))
    return ''.join(gone), ''.join(flying)


def body():
    abdomen = spline(((128, 116), (139, 132), (140, 160), (134, 188), (128, 202), (122, 188), (116, 160),
                      (117, 132)), closed=True)
    bands = ''.join('<path d="M%g %gQ128 %g %g %g" fill="none" stroke="#7d5f9c" stroke-width="3.4"/>'
                    % (128 - w, y, y + 7, 128 + w, y)
                    for y, w in ((154, 10), (168, 9), (181, 6.5)))
    ruff = spline(((128, 96), (143, 104), (149, 122), (141, 136), (128, 141), (115, 136), (107, 122),
                   (113, 104)), closed=True)
    head = ('<circle cx="128" cy="98" r="12.500" fill="%s"/>' % FUR +
            ''.join('<circle cx="%g" cy="96" r="5.500" fill="#1b0d38"/>' % x + square(x, 96, 3.6, CYAN)
                    for x in (119.5, 136.5)))
    return polygon(abdomen, 'url(#fur)') + bands + polygon(ruff, FUR) + head


def main():
    gone, flying = crumbs()
    fore, hind = wing(FORE, 'url(#light)'), wing(HIND, 'url(#dusk)')
    lines_fore = veins(((214, 62), (216, 88), (196, 118)))
    spots = spot(FORE_SPOT, 17) + spot(HIND_SPOT, 14)
    print('''<svg xmlns="http://www.w3.org/2000/svg" width="%d" height="%d" viewBox="0 0 256 256">
<!-- Written by art/icon.py. -->
<defs>
<radialGradient id="night" gradientUnits="userSpaceOnUse" cx="128" cy="130" r="150">
<stop offset="0" stop-color="#2b1660"/><stop offset=".55" stop-color="#120729"/><stop offset="1" stop-color="%s"/></radialGradient>
<linearGradient id="light" gradientUnits="userSpaceOnUse" x1="0" y1="46" x2="0" y2="146">
<stop offset="0" stop-color="%s"/><stop offset=".45" stop-color="#d9f8ff"/><stop offset=".75" stop-color="#ffffff"/><stop offset="1" stop-color="#f4e2ff"/></linearGradient>
<linearGradient id="dusk" gradientUnits="userSpaceOnUse" x1="0" y1="134" x2="0" y2="214">
<stop offset="0" stop-color="#f4e2ff"/><stop offset=".5" stop-color="#cfa8ff"/><stop offset="1" stop-color="#8a55f0"/></linearGradient>
<linearGradient id="fur" gradientUnits="userSpaceOnUse" x1="0" y1="120" x2="0" y2="204">
<stop offset="0" stop-color="%s"/><stop offset="1" stop-color="#b48fc0"/></linearGradient>
<clipPath id="whole"><path d="M0 0H256V256H0Z%s" clip-rule="evenodd"/></clipPath>
<clipPath id="tile"><rect x="8" y="8" width="240" height="240" rx="54"/></clipPath>
</defs>''' % (SIZE, SIZE, GROUND, CYAN, FUR, gone))
    print('<rect id="ground" x="8" y="8" width="240" height="240" rx="54" fill="url(#night)"/>')
    print('<g clip-path="url(#tile)"><g id="tree">%s</g>' % tree())
    print('<g id="left">%s</g>' % mirrored(hind + fore + lines_fore + spots))
    print('<g id="right"><g clip-path="url(#whole)">%s</g>%s%s%s</g>' % (hind, fore, lines_fore, spots))
    print('<g id="flying">%s</g></g>' % flying)
    print('<g id="feathers">%s%s</g>' % (feather(), mirrored(feather())))
    print('<g id="body">%s</g>' % body())
    print('</svg>')


main()
