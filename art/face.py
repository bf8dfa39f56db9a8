#!/usr/bin/env python3
"""Draws the face of pixmoth: one head, three tempers.

    face.py EXPRESSION [night|paper] > face.svg

EXPRESSION is one of the names in EXPRESSIONS.  The head is described once, in
head coordinates (0,0 is the middle between the eyes, x to her left hand on the
right side of the picture, y down), and turned like a mask in space: yaw, pitch
and roll move all the features together, so the three pictures are one person.
An expression is nothing but the numbers in its table.

The drawing space is 600x512 units.  The show draws the square picture on a
quad which is 1.17 times as wide as high, so the svg squeezes the drawing
into a square and the show stretches it back.
"""
import math
import random
import sys

from brush import brush, corners, path, spline

# ---------------------------------------------------------------- the tempers
# yaw/pitch/roll  where the head points to, in degrees (yaw + = to the right,
#                 pitch + = chin down, roll + = leaning to the right)
# gaze            where the irises go, in units
# upper, lower    how far the lids open
# slant           >0 lids drop on the outside (soft), <0 on the inside (cross)
# brow_*          height of the brow at its inner end, its arch, its outer end
# mouth_*         half width, height of the corners (left, right; + = up),
#                 parting of the lips, pout
# blush, heat     red on the cheeks; dusk between the brows
# lamp, iris      what her lights say: calm, love, alarm
# antennae        the spine of each feather, from the root (head coordinates)
# cord            her charging cord, from the fur to the plug (picture coordinates)
# signal, spark   arcs at the tip of a feather; sparks at the plug
EXPRESSIONS = {
    # open and a little coy: head turned away and lowered, eyes turned back to you
    'coy': dict(
        yaw=-14, pitch=4, roll=-9, gaze=(10, -2),
        upper=(41, 44), lower=23, slant=0.0, tilt=0,
        brow_in=(-50, -52), brow_mid=(-68, -72), brow_out=(-50, -50),
        mouth_w=27, mouth_up=(4, 10), part=0, pout=1.0, mouth_x=3,
        blush=0.6, lamp='#59f0ff', iris=('#06384f', '#1fc3d6', '#c9fff4'), heat=0,
        antennae=(((-36, -180), (-58, -220), (-104, -244), (-160, -240), (-196, -208), (-196, -172)),
                  ((34, -182), (54, -218), (98, -236), (156, -226), (212, -196))),
        signal=True, spark=False,
        cord=((226, 452), (190, 476), (146, 480), (104, 466), (74, 436), (62, 400), (64, 368))),
    # tender: head leaning, soft lids, brows raised in the middle, feathers down
    'tender': dict(
        yaw=8, pitch=5, roll=10, gaze=(-6, -1),
        upper=(33, 33), lower=12, slant=0.14, tilt=6,
        brow_in=(-83, -79), brow_mid=(-71, -71), brow_out=(-34, -40),
        mouth_w=34, mouth_up=(8, 9), part=4, pout=0.88, mouth_x=1,
        blush=1.0, lamp='#ff8fc8', iris=('#3a1466', '#c25ee0', '#ffd9f0'), heat=0,
        antennae=(((-36, -180), (-74, -214), (-130, -218), (-186, -188), (-222, -136), (-230, -84)),
                  ((34, -182), (66, -216), (118, -226), (176, -206), (220, -160), (236, -104))),
        signal=False, spark=False,
        cord=((250, 456), (214, 478), (170, 482), (124, 472), (84, 446), (66, 410), (80, 384), (106, 388), (110, 416))),
    # jealous and cross: chin down, looking up from under the brows
    'jealous': dict(
        yaw=4, pitch=11, roll=2, gaze=(0, -6),
        upper=(37, 37), lower=17, slant=-0.72, tilt=-9,
        brow_in=(-26, -26), brow_mid=(-54, -52), brow_out=(-74, -70),
        mouth_w=26, mouth_up=(-13, -10), part=0, pout=1.25, mouth_x=-2,
        blush=0.5, lamp='#ff4a3d', iris=('#5a0a1e', '#ff5a2a', '#ffe08a'), heat=1,
        antennae=(((-36, -182), (-74, -206), (-128, -226), (-188, -246), (-250, -262)),
                  ((34, -182), (72, -206), (126, -228), (186, -250), (246, -270))),
        signal=False, spark=True,
        cord=((236, 452), (200, 476), (160, 474), (140, 452), (128, 424), (108, 404), (86, 410))),
}

# ---------------------------------------------------------------- the colours
# night: light on black for the show.  Black is nothing there: it adds no light.
# paper: the same drawing as ink on paper.
NIGHT = dict(ground='#000000', shadow='#000000', ink='#0d0618', skin_hi='#fff4e6', skin='#dcc3cf', skin_lo='#7d5f9c',
             skin_dark='#33215c', rim='#7fe9ff', hair_hi='#b9a8ff', hair='#3c2a86', hair_lo='#0c0524',
             fur='#fff0da', fur_lo='#b48fc0', gold='#ffdf9e', lip='#c23f78', lip_lo='#7a2358', lip_hi='#ff9fc0',
             white='#ffffff', eyewhite='#f4fbff', blush='#ff5f8f')
PAPER = dict(ground='#f6efe0', shadow='#1c1236', ink='#160c24', skin_hi='#fffaf0', skin='#f3e2d6', skin_lo='#c9a9b4',
             skin_dark='#8c6b92', rim='#ffffff', hair_hi='#8f80c8', hair='#35265e', hair_lo='#1c1236',
             fur='#5b4860', fur_lo='#8d7790', gold='#7a4a1c', lip='#a8385f', lip_lo='#7c2750', lip_hi='#e88aa6',
             white='#ffffff', eyewhite='#ffffff', blush='#f08aa0')


class Head:
    """Puts head coordinates into the picture."""

    def __init__(self, e):
        self.yaw, self.pitch, self.roll = (math.radians(e[k]) for k in ('yaw', 'pitch', 'roll'))
        self.at = (300, 282)
        self.scale = 0.93

    @staticmethod
    def depth(x, y):
        """How far the face stands out at (x,y): an egg and a little nose."""
        d = 1 - (x / 150) ** 2 - ((y + 10) / 200) ** 2
        egg = 115 * math.sqrt(max(d, 0))
        nose = 18 * math.exp(-((x / 13) ** 2 + ((y - 58) / 22) ** 2))
        return egg + nose

    def __call__(self, x, y, z=None):
        if z is None:
            z = self.depth(x, y)
        cy, sy = math.cos(self.yaw), math.sin(self.yaw)
        x, z = x * cy + z * sy, z * cy - x * sy
        cp, sp = math.cos(self.pitch), math.sin(self.pitch)
        y, z = y * cp + (z - 60) * sp, z * cp - y * sp
        # lean about the neck
        cr, sr = math.cos(self.roll), math.sin(self.roll)
        dy = y - 130
        x, y = x * cr - dy * sr, 130 + x * sr + dy * cr
        return (self.at[0] + x * self.scale, self.at[1] + y * self.scale)

    def line(self, pts, z=None):
        return [self(x, y, z) for x, y in pts]

    def back(self, px, py):
        """Head coordinates of a place in the picture, yaw and pitch left out."""
        x, y = (px - self.at[0]) / self.scale, (py - self.at[1]) / self.scale - 130
        cr, sr = math.cos(self.roll), math.sin(self.roll)
        return (x * cr + y * sr, 130 - x * sr + y * cr)


def ramp(a, b, v):
    t = min(max((v - a) / (b - a), 0), 1)
    return t * t * (3 - 2 * t)


def mix(a, b, t):
    """The colour between two colours."""
    t = min(max(t, 0), 1)
    return '#' + ''.join('%02x' % round(int(a[i:i + 2], 16) * (1 - t) + int(b[i:i + 2], 16) * t) for i in (1, 3, 5))


# The outline of one folded wing, which is her hair; right hand side.  The
# parting is a little off the middle: see Drawing.part().
WING_BACK = [(0, -190), (52, -203), (112, -182), (158, -126), (184, -46), (194, 30), (205, 88), (224, 136)]
WING_HEM = [[(224, 136), (196, 130), (170, 132), (154, 150)],
            [(154, 150), (140, 131), (126, 127), (111, 138)]]
WING_FRONT = [(111, 138), (113, 108), (126, 58), (133, 8), (128, -44), (106, -92), (62, -128), (14, -150), (0, -160)]
PARTING = -26


class Drawing:
    def __init__(self, e, c):
        self.e, self.c = e, c
        self.head = Head(e)
        self.out = []

    # -- small tools
    def add(self, s):
        self.out.append(s)

    @staticmethod
    def attributes(attr):
        return ''.join(' %s="%s"' % (k.replace('_', '-'), v) for k, v in attr.items())

    def group(self, name, **attr):
        self.add('<g id="%s"%s>' % (name, self.attributes(attr)))

    def end(self):
        self.add('</g>')

    def shape(self, pts, fill, **attr):
        self.add('<path d="%s" fill="%s"%s/>' % (path(pts), fill, self.attributes(attr)))

    def dense(self, pts, width, fill, head=0.35, tail=0.5, tip=0.0, **attr):
        """A brush stroke along a dense line in the picture."""
        if len(pts) > 1:
            self.add('<path d="%s" fill="%s"%s/>' % (brush(pts, width, head, tail, tip), fill, self.attributes(attr)))

    def stroke(self, pts, width, fill, head=0.35, tail=0.5, tip=0.0, z=None, steps=10, flat=False, **attr):
        """A brush stroke; pts are head coordinates (flat: picture coordinates)."""
        line = spline(pts, steps)
        self.dense(line if flat else self.head.line(line, z), width, fill, head, tail, tip, **attr)

    def ellipse(self, x, y, rx, ry, fill, **attr):
        self.add('<ellipse cx="%.1f" cy="%.1f" rx="%.1f" ry="%.1f" fill="%s"%s/>' % (x, y, rx, ry, fill, self.attributes(attr)))

    def pixel(self, px, py, size, fill, opacity=1.0):
        """A pixel: the squares she is made of.  Always upright: a screen does not lean."""
        self.add('<rect x="%.1f" y="%.1f" width="%.1f" height="%.1f" fill="%s" opacity="%.2f"/>'
                 % (px - size / 2, py - size / 2, size, size, fill, opacity))

    @staticmethod
    def part(pts, s):
        """A line of the wing on side s, drawn to the parting near the middle."""
        return [(s * x + PARTING * max(0, 1 - x / 130), y) for x, y in pts]

    # -- the parts, back to front
    def defs(self):
        c, e = self.c, self.e
        self.add('<defs>')
        for dev in (3, 6, 12):
            self.add('<filter id="soft%d" x="-60%%" y="-60%%" width="220%%" height="220%%"><feGaussianBlur stdDeviation="%d"/></filter>' % (dev, dev))
        # light from the upper left, as from a screen held up to her
        self.add('<linearGradient id="skin" gradientUnits="userSpaceOnUse" x1="190" y1="150" x2="425" y2="410">'
                 '<stop offset=".1" stop-color="%s"/><stop offset=".55" stop-color="%s"/>'
                 '<stop offset=".86" stop-color="%s"/><stop offset="1" stop-color="%s"/></linearGradient>'
                 % (c['skin_hi'], c['skin'], c['skin_lo'], c['skin_dark']))
        self.add('<linearGradient id="hair" gradientUnits="userSpaceOnUse" x1="300" y1="90" x2="300" y2="420">'
                 '<stop offset="0" stop-color="%s"/><stop offset=".45" stop-color="%s"/><stop offset="1" stop-color="%s"/></linearGradient>'
                 % (c['hair_lo'], c['hair'], c['hair_lo']))
        self.add('<linearGradient id="iris" x1="0" y1="0" x2="0" y2="1">'
                 '<stop offset="0" stop-color="%s"/><stop offset=".55" stop-color="%s"/><stop offset="1" stop-color="%s"/></linearGradient>' % e['iris'])
        self.add('<linearGradient id="eyewhite" x1="0" y1="0" x2="0" y2="1">'
                 '<stop offset="0" stop-color="%s"/><stop offset=".5" stop-color="%s"/></linearGradient>' % (c['hair_hi'], c['eyewhite']))
        self.add('<linearGradient id="lip" x1="0" y1="0" x2="1" y2="1">'
                 '<stop offset="0" stop-color="%s"/><stop offset="1" stop-color="%s"/></linearGradient>' % (c['lip'], c['lip_lo']))
        self.add('<clipPath id="inface"><path d="%s"/></clipPath>' % path(self.face_outline()))
        self.add('</defs>')

    def face_outline(self):
        half = [(0, 153), (17, 150), (38, 138), (66, 113), (96, 78), (120, 38), (131, 0), (133, -50), (118, -110), (70, -160), (0, -176)]
        pts = half + [(-x, y) for x, y in half[-2:0:-1]]
        return self.head.line(spline(pts, 8, closed=True), 0)

    def wing(self, s):
        return corners(*(self.part(p, s) for p in [WING_BACK] + WING_HEM + [WING_FRONT]))

    def antennae(self):
        """Feathers: the ears and the temper of a moth."""
        c, e, H = self.c, self.e, self.head
        for i, (s, name) in enumerate(((-1, 'antenna-left'), (1, 'antenna-right'))):
            self.group(name)
            spine = H.line(spline(e['antennae'][i], 14), 20)
            n = len(spine)
            # the comb: long in the middle, short at both ends
            step = max(2, round(n / 24))
            for k in range(5, n - 1, step):
                t = k / (n - 1)
                l = 31 * math.sin(math.pi * min(1, t * 0.9 + .1)) ** 0.7 + 3
                a, b = spine[k - 1], spine[k + 1]
                d = math.atan2(b[1] - a[1], b[0] - a[0])
                for side in (-1, 1):
                    ang = d + side * 0.92
                    x, y = spine[k]
                    top = math.sin(ang) < 0
                    pts = [(x, y), (x + math.cos(ang + side * .3) * l * .5, y + math.sin(ang + side * .3) * l * .5),
                           (x + math.cos(ang - side * .1) * l, y + math.sin(ang - side * .1) * l)]
                    col = mix(c['fur'] if top else c['gold'], e['lamp'], ramp(.55, 1.1, t))
                    self.stroke(pts, 6, col, head=.1, tail=.75, flat=True, steps=5, opacity='.95' if top else '.75')
            self.dense(spine, 8, c['fur'], .1, .6, .25)
            self.end()
        if e['signal']:
            # she has good reception
            self.group('signal')
            x, y = spine[-1]
            a, b = spine[-8], spine[-1]
            d = math.atan2(b[1] - a[1], b[0] - a[0]) - .3
            for r, op in ((20, 1), (34, .8), (48, .6)):
                pts = [(x + math.cos(d + v) * r, y + math.sin(d + v) * r) for v in (-.62, -.31, 0, .31, .62)]
                self.stroke(pts, 6, e['lamp'], head=.4, tail=.4, tip=.3, flat=True, opacity=op)
            self.end()

    def ruff(self):
        """The fur collar every moth has; she hides her chin in it."""
        c = self.c
        self.group('ruff')
        cx = 300 + (self.head(0, 140, 0)[0] - 300) * 0.7
        r = random.Random(3)
        # from the back row to the front: longer and darker behind
        for row, (n, span, y, length, width) in enumerate(((26, 172, 396, 96, 18), (24, 150, 406, 82, 16), (20, 122, 416, 68, 14), (15, 90, 424, 54, 12))):
            order = sorted(range(n), key=lambda i: -abs(i - n / 2 + .5))
            for i in order:
                t = (i + 0.5) / n * 2 - 1
                x0, y0 = cx + t * span, y - 44 * t * t
                ang = math.pi / 2 - t * 1.15 + r.uniform(-0.16, 0.16)
                l = length * r.uniform(0.7, 1.05) * (1 - 0.3 * t * t)
                x1, y1 = x0 + math.cos(ang + .25 * t) * l * .55, y0 + math.sin(ang + .25 * t) * l * .55
                x2, y2 = x0 + math.cos(ang) * l, y0 + math.sin(ang) * l
                lit = ramp(-.9, .8, t) * .75 + (.55, .3, .12, 0)[row]
                col = mix(mix(c['fur'], c['fur_lo'], lit), c['skin_dark'], lit - .75)
                pts = [(x0, y0), (x1, y1), (x2, y2)]
                # every tuft brings its own shadow, or the fur would be a flat patch
                self.stroke([(px + 3, py + 3) for px, py in pts], width + 3, c['shadow'], head=.5, tail=.5, flat=True, steps=6, opacity='.75')
                self.stroke(pts, width, col, head=.45, tail=.6, flat=True, steps=6)
        self.end()

    def shade(self):
        """The face stands out from the fur by the shadow it throws."""
        self.shape([(x + 4, y + 13) for x, y in self.face_outline()], self.c['shadow'], filter='url(#soft6)', opacity='.85')

    def neck(self):
        c, H = self.c, self.head
        x0, y0 = H(0, 130, 0)
        self.group('neck')
        self.shape([(x0 - 50, y0 - 50), (x0 - 44, y0 + 40), (x0 + 44, y0 + 40), (x0 + 50, y0 - 50)], c['shadow'])
        self.end()

    def cord(self):
        """Please plug her in: a cord from the fur, and at its end a plug."""
        c, e = self.c, self.e
        line = spline(e['cord'], 12)
        self.group('cord')
        self.dense(line, 13, c['shadow'], 0, 0, 1)
        self.dense(line, 6.5, c['rim'], .2, 0, 1)
        (ax, ay), (x, y) = line[-4], line[-1]
        turn = math.degrees(math.atan2(y - ay, x - ax))
        self.add('<g id="plug" transform="translate(%.1f %.1f) rotate(%.1f)">' % (x, y, turn))
        self.add('<path d="M-2 -5 L8 -12 H22 V12 H8 L-2 5 Z" fill="%s"/>' % c['rim'])
        self.add('<path d="M8 -12 H22 V-4 H4 Z" fill="%s"/>' % c['white'])
        for v in (-9, 4):
            self.add('<rect x="24" y="%d" width="13" height="5" fill="%s"/>' % (v, c['gold']))
        if e['spark']:
            for pts in ([(40, -10), (52, -18), (47, -24), (62, -36)], [(40, 10), (50, 18), (46, 25), (58, 36)], [(44, 0), (54, -4), (56, 4), (72, 0)]):
                self.add('<path d="%s" fill="%s"/>' % (brush(spline(pts, 1), 7, .1, .6, .4), e['iris'][2]))
        self.end()
        self.end()

    def wings(self):
        c, e, H = self.c, self.e, self.head
        r = random.Random(11)
        for s, name in ((-1, 'hair-left'), (1, 'hair-right')):
            self.group(name)
            self.shape(H.line(self.wing(s), 10), 'url(#hair)')
            # strands follow the veins of the wing: from the parting to the hem
            back = spline(self.part([(4, -188)] + WING_BACK[1:-1] + [(190, 122)], s), 10)
            front = spline(self.part(WING_FRONT[::-1][1:], s), 10)
            m = 60
            back, front = ([l[round(i * (len(l) - 1) / m)] for i in range(m + 1)] for l in (back, front))
            for i in range(17):
                t = (i + .5) / 17
                line = [(b[0] * (1 - t) + f[0] * t, b[1] * (1 - t) + f[1] * t) for b, f in zip(back, front)]
                # each strand is broken in two lights: one on the crown, one on the hem
                for a, b, op in ((r.uniform(.02, .16), r.uniform(.38, .6), 1.1), (r.uniform(.5, .66), r.uniform(.8, .98), .45)):
                    seg = line[int(a * m):int(b * m)]
                    lit = (1 if s < 0 else .6) * op * r.uniform(.5, 1)
                    col = mix(c['hair'], c['hair_hi'], lit)
                    if s < 0 and op > 1 and i % 4 == 1:
                        col = mix(col, c['white'], .55)
                    self.dense(H.line(seg, 10), r.uniform(3.5, 7), col, .45, .6)
            # the eyespot of the wing
            ex, ey = H(160 * s, 70, 10)
            self.add('<g id="eyespot-%s">' % name[5:])
            self.ellipse(ex, ey, 23, 28, c['hair_lo'])
            self.ellipse(ex, ey, 20, 25, c['gold'])
            self.ellipse(ex + 1.5, ey + 2, 15, 20, c['hair_lo'])
            self.ellipse(ex, ey + 3, 9, 12, e['lamp'])
            self.pixel(ex - 4, ey - 3, 6, c['white'])
            self.end()
            # the lit edge, broken as light on hair is
            edge = spline(self.part(WING_BACK, s), 14)
            n = len(edge)
            col = c['hair_hi'] if s < 0 else c['rim']
            for a, b, w in ((.06, .44, 7), (.4, .78, 8), (.72, 1, 6)):
                self.dense(H.line(edge[int(a * n):int(b * n)], 10), w, col, .5, .5)
            for hem in WING_HEM:
                self.stroke(self.part(hem, s), 5, c['rim'] if s > 0 else c['hair_hi'], z=10)
            # loose hair
            loose = {-1: (([(36, -144), (92, -100), (121, -46), (128, 4), (119, 48), (121, 78)], 7),
                          ([(120, -30), (122, 30), (104, 70), (100, 98)], 5)),
                     1: (([(2, -156), (40, -138), (86, -104), (116, -60), (126, -22), (140, -8)], 12),
                         ([(8, -154), (30, -134), (56, -102), (62, -82)], 5),
                         ([(132, 10), (122, 60), (108, 92), (114, 116)], 5))}[s]
            for pts, w in loose:
                line = H.line(spline(self.part(pts, s), 10), 40)
                self.dense(line, w + 2, c['hair_lo'] if w < 10 else c['hair'], .2, .7)
                self.dense([(x - 1, y - 1) for x, y in line], w * .5, c['hair_hi'] if s < 0 else c['hair'], .3, .7)
            self.end()

    def dissolve(self):
        """The lower right of her falls into pixels: holes first, then sparks outside."""
        c, e, H = self.c, self.e, self.head
        r = random.Random(23)
        cell = 13
        holes, dust = [], []
        for j in range(512 // cell + 1):
            for i in range(600 // cell + 1):
                px, py = (i + .5) * cell, (j + .5) * cell
                x, y = H.back(px, py)
                u, v, w = r.random(), r.random(), r.random()
                # holes in the far wing's tip and in the hem of the fur
                p = max(ramp(150, 225, x) * ramp(-30, 110, y) * .85, ramp(-1, 1.05, (py - 462) / 30 + (px - 300) / 600))
                if u < p:
                    holes.append((px, py))
                # sparks: dense at the wing, thinning out
                far = x - 196
                if 0 < far < 90 and -60 < y < 175 and px < 566 and 30 < py < 476 and v < .34 * (1 - far / 90) * ramp(-60, 40, y):
                    dust.append((px, py, cell * (.95 - .5 * far / 90 * w), w))
        self.group('holes')
        for px, py in holes:
            self.pixel(px, py, cell + .6, c['ground'])
        self.end()
        self.group('sparks')
        for px, py, size, w in dust:
            self.pixel(px, py, size, (c['rim'], c['hair_hi'], e['lamp'], c['rim'])[int(w * 4)], .5 + .5 * ((w * 7) % 1))
        self.end()

    def frame(self):
        """Nothing may touch the edge of the picture."""
        self.add('<path id="frame" d="M0 0H600V512H0Z M22 19V493H578V19Z" fill="%s" fill-rule="evenodd"/>' % self.c['ground'])

    def face(self):
        c, e = self.c, self.e
        H = self.head
        self.group('face')
        self.shape(self.face_outline(), 'url(#skin)')
        self.add('<g id="modelling" clip-path="url(#inface)">')
        # shadow of the hair on the forehead and the cheeks
        for s in (-1, 1):
            w = H.line([(x * 0.97, y + 14) for x, y in self.wing(s)], 30)
            self.shape(w, c['skin_dark'], filter='url(#soft6)', opacity='.75' if s > 0 else '.5')
        self.shape(H.line(spline([(140, -90), (112, -20), (104, 40), (84, 90), (30, 140), (60, 170), (170, 100)], 8, True), 0),
                   c['skin_dark'], filter='url(#soft12)', opacity='.75')
        # light on the near cheek, the brow and the chin
        self.shape(H.line(spline([(-100, 30), (-70, 44), (-56, 84), (-78, 90), (-104, 58)], 8, True)), c['skin_hi'], filter='url(#soft12)', opacity='.9')
        self.shape(H.line(spline([(-60, -100), (-20, -118), (16, -100), (-10, -76), (-46, -80)], 8, True)), c['skin_hi'], filter='url(#soft12)', opacity='.8')
        self.shape(H.line(spline([(-20, 130), (-2, 125), (10, 133), (-6, 143)], 8, True)), c['skin_hi'], filter='url(#soft6)', opacity='.8')
        for s in (-1, 1):
            x, y = H(76 * s, 64)
            self.ellipse(x, y, 34, 19, c['blush'], opacity=e['blush'] * (1 if s < 0 else .8), filter='url(#soft12)')
        if e['heat']:
            x, y = H(0, -24)
            self.ellipse(x, y, 58, 20, c['skin_lo'], opacity='.7', filter='url(#soft12)')
        # freckles, of pixels
        for s in (-1, 1):
            for x, y, size in ((58, 60, 7), (74, 70, 8), (88, 60, 6), (80, 82, 5)):
                px, py = H(s * x, y)
                self.pixel(px, py, size, c['white'] if s < 0 else c['skin_hi'], .95)
        self.end()
        # rim light along the far jaw: the night behind her
        self.stroke([(131, 0), (120, 38), (96, 78), (66, 113), (38, 138), (10, 151)], 7, c['rim'], head=.3, tail=.5, z=0)
        if e['heat']:
            # the crease of anger
            for x, k in ((-7, -1), (8, 1)):
                self.stroke([(x + 4 * k, -40), (x, -28), (x + k, -16)], 4.5, c['skin_dark'], head=.4, tail=.6)
        self.end()

    def nose(self):
        c = self.c
        self.group('nose')
        self.stroke([(12, 16), (14, 38), (17, 54)], 10, c['skin_lo'], filter='url(#soft3)', opacity='.7')
        self.stroke([(14, 55), (17, 63), (9, 69), (0, 70)], 5.5, c['skin_dark'], head=.5, tail=.6)
        self.stroke([(-12, 61), (-14, 67), (-8, 69)], 4, c['skin_dark'], head=.5, tail=.5)
        self.stroke([(-4, 24), (-4, 44), (-2, 60)], 8, c['white'], head=.6, tail=.25, opacity='.85', filter='url(#soft3)')
        self.end()

    # -- eyes
    def lid(self, s, which):
        """Upper or lower lid line from the inner to the outer corner."""
        e = self.e
        side = 0 if s < 0 else 1
        ix, iy, ox, oy = 22, 20, 103, 8 + e['tilt']
        if which == 'upper':
            size, peak = e['upper'][side], 0.46
        else:
            size, peak = -e['lower'], 0.56
        pts = []
        for i in range(25):
            t = i / 24
            u = t ** (math.log(0.5) / math.log(peak))
            h = math.sin(math.pi * u) ** 0.78
            k = size
            if which == 'upper':
                sl = e['slant']
                k *= (1 - sl * 0.75 * t) if sl > 0 else (1 + sl * 0.85 * (1 - t))
            pts.append((s * (ix + (ox - ix) * t), iy + (oy - iy) * t - k * h))
        return pts

    def eye(self, s, name):
        c, e, H = self.c, self.e, self.head
        up, lo = self.lid(s, 'upper'), self.lid(s, 'lower')
        outline = H.line(up + lo[::-1][1:-1])
        self.group(name)
        # painted lids: dusk above the eye
        crease = [(x, y - 13 - 4 * math.sin(i / 24 * math.pi)) for i, (x, y) in enumerate(up)]
        self.shape(H.line([(x, y - 6) for x, y in crease] + up[::-1]), c['skin_lo'], filter='url(#soft3)', opacity='.9')
        self.shape(H.line([(x, y + 3) for x, y in crease[3:]] + up[:2:-1]), mix(c['skin_lo'], e['lamp'], .5), filter='url(#soft3)', opacity='.7')
        if e['heat']:
            # anger glows around the eyes
            x, y = H(s * 64, 26)
            self.ellipse(x, y, 42, 16, e['lamp'], opacity='.6', filter='url(#soft6)')
        self.add('<clipPath id="in-%s"><path d="%s"/></clipPath>' % (name, path(outline)))
        self.add('<g clip-path="url(#in-%s)">' % name)
        self.shape(outline, 'url(#eyewhite)')
        gx, gy = e['gaze']
        x, y = H(s * 62, 4)
        x, y = x + gx, y + gy
        rx, ry = 30, 34
        self.ellipse(x, y, rx + 1, ry + 1, c['ink'])
        self.ellipse(x, y, rx - 3, ry - 3, 'url(#iris)')
        # the night eye of a moth: rays around a wide pupil
        for k in range(15):
            a = 2 * math.pi * (k + .5) / 15
            self.dense([(x + math.cos(a) * q * (rx - 5), y + 1 + math.sin(a) * q * (ry - 5)) for q in (.5, .65, .8, .95)],
                       3, e['iris'][2], .2, .8, opacity='.8' if math.sin(a) > -.2 else '.3')
        self.ellipse(x, y - 1, 15, 18, c['ink'])
        # shadow of the lid on the eyeball
        self.shape(H.line(up + [(px, py + 9) for px, py in up[::-1]]), c['ink'], filter='url(#soft3)', opacity='.7')
        # the screen she looks at, mirrored in pixels
        low = 1.2 * max(0, 40 - max(e['upper'])) + (4 if e['slant'] < 0 else 0)  # below the lid
        self.pixel(x - 11, y - 12 + low, 15, c['white'])
        self.pixel(x - 22, y - 1 + low, 6, c['white'], .9)
        self.pixel(x + 12, y + 13, 9, c['white'])
        self.end()
        # lower lid: only a breath
        self.stroke(lo[7:], 4.5, c['ink'], head=.7, tail=.15, steps=2, opacity='.85')
        for k in (14, 18, 21):
            x0, y0 = lo[k]
            self.stroke([(x0, y0), (x0 + s * 5, y0 + 5), (x0 + s * 9, y0 + 7)], 3, c['ink'], head=.1, tail=.9, steps=4)
        # upper lid and its wing
        line = up + [(s * 111, up[-1][1] - 7), (s * 121, up[-1][1] - 17)]
        self.stroke(line, 14, c['ink'], head=.5, tail=.35, steps=2)
        for k, dx, dy in ((23, 15, -2), (20, 18, -15), (17, 13, -20)):
            x0, y0 = up[k]
            self.stroke([(x0, y0), (x0 + s * dx * .6, y0 + dy * .35), (x0 + s * dx, y0 + dy)], 7, c['ink'], head=.1, tail=.9, steps=4)
        self.stroke(crease[4:-2], 3.5, c['skin_dark'], steps=2)
        self.end()

    def brow(self, s, name):
        c, e = self.c, self.e
        k = 0 if s < 0 else 1
        self.group(name)
        pts = [(s * 21, e['brow_in'][k]), (s * 42, (e['brow_in'][k] * 1.1 + e['brow_mid'][k] * .9) / 2 - 4), (s * 66, e['brow_mid'][k]), (s * 114, e['brow_out'][k])]
        self.stroke(pts, 14, c['ink'], head=.3, tail=.8, tip=0.1)
        self.end()

    def mouth(self):
        c, e, H = self.c, self.e, self.head
        w, (ul, ur), p, po, mx = e['mouth_w'], e['mouth_up'], e['part'], e['pout'], e['mouth_x']
        y = 105
        self.group('mouth')

        def across(points):
            """A line over the mouth: (part of the half width, rise) -> head coordinates."""
            return [(mx + t * w, y - (ul if t < 0 else ur) * abs(t) ** 1.6 + d) for t, d in points]
        seam = [(-1, 0), (-.62, .5), (-.28, 1), (0, 2.5), (.28, 1), (.62, .5), (1, 0)]
        seam_lo = [(t, d + p * (1 - t * t)) for t, d in seam]
        top = [(-1, 0), (-.7, -5 * po), (-.42, -9.5 * po), (-.2, -12 * po), (0, -8.5 * po), (.2, -12 * po), (.42, -9.5 * po), (.7, -5 * po), (1, 0)]
        bot = [(-1, 0), (-.7, 7 * po), (-.36, 14 * po + p), (0, 16.5 * po + p), (.36, 14 * po + p), (.7, 7 * po), (1, 0)]
        # shadow below the lower lip
        self.stroke([(mx - 15, y + 24 * po + p), (mx, y + 26 * po + p), (mx + 15, y + 24 * po + p)], 8, c['skin_lo'], filter='url(#soft3)')
        self.shape(H.line(spline(across(top)) + spline(across(seam))[::-1]), 'url(#lip)')
        self.shape(H.line(spline(across(seam_lo)) + spline(across(bot))[::-1]), 'url(#lip)')
        if p:
            self.shape(H.line(spline(across(seam)) + spline(across(seam_lo))[::-1]), c['ink'])
        # wet light on both lips
        self.shape(H.line(spline([(mx - w * .42, y + 6 * po + p), (mx - 2, y + 6.5 * po + p), (mx + w * .2, y + 7 * po + p), (mx - 2, y + 12 * po + p)], 8, True)), c['lip_hi'])
        self.stroke(across([(-.55, -5.5 * po), (-.36, -8 * po), (-.18, -9.5 * po)]), 3, c['lip_hi'])
        line = across([(-1.04, 0)] + seam[1:-1] + [(1.04, 0)])
        self.stroke(line, 5.5, c['ink'], head=.3, tail=.3, tip=.35)
        # the corners: where a smile or a sulk sits
        for t, u in ((-1.04, ul), (1.04, ur)):
            cx, cy = across([(t, 0)])[0]
            k = 1 if t > 0 else -1
            d = 1 if u > 0 else -1
            self.stroke([(cx - k * 4, cy + d * 2), (cx + k * 1, cy), (cx + k * 3, cy - d * 4)], 4, c['ink'], head=.4, tail=.6)
        self.end()

    def lamp(self):
        """The notification lamp on her forehead."""
        c, e = self.c, self.e
        x, y = self.head(PARTING * .25, -98)
        self.group('lamp')
        self.ellipse(x, y, 22, 22, e['lamp'], opacity='.85', filter='url(#soft6)')
        self.add('<rect x="%.1f" y="%.1f" width="19" height="19" fill="%s" transform="rotate(45 %.1f %.1f)"/>' % (x - 9.5, y - 9.5, c['ink'], x, y))
        self.add('<rect x="%.1f" y="%.1f" width="12" height="12" fill="%s" transform="rotate(45 %.1f %.1f)"/>' % (x - 6, y - 6, mix(e['lamp'], c['white'], .35), x, y))
        self.end()

    def svg(self):
        self.add('<svg xmlns="http://www.w3.org/2000/svg" width="1024" height="1024" viewBox="0 0 600 512" preserveAspectRatio="none">')
        self.defs()
        self.add('<rect id="ground" width="600" height="512" fill="%s"/>' % self.c['ground'])
        self.antennae()
        self.neck()
        self.ruff()
        self.shade()
        self.face()
        self.nose()
        self.mouth()
        self.eye(-1, 'eye-left')
        self.eye(1, 'eye-right')
        self.brow(-1, 'brow-left')
        self.brow(1, 'brow-right')
        self.wings()
        self.lamp()
        self.dissolve()
        self.cord()
        self.frame()
        self.add('</svg>')
        return '\n'.join(self.out) + '\n'


if __name__ == '__main__':
    name = sys.argv[1]
    colours = PAPER if len(sys.argv) > 2 and sys.argv[2] == 'paper' else NIGHT
    sys.stdout.write(Drawing(EXPRESSIONS[name], colours).svg())
