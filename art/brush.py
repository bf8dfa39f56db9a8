"""A small ink brush: turns a few hand-placed points into a tapered SVG shape.

A plain SVG stroke has the same width everywhere, which makes a drawing look
like a diagram.  Everything in the pixmoth portraits is drawn with the brush
below instead: it swells and thins out as a pen under pressure does.
Standard library only, no randomness but a seeded one: the same input always
gives the same bytes.
"""
import math


def spline(points, steps=10, closed=False):
    """Catmull-Rom curve through the points, as a dense list of points."""
    pts = [tuple(p) for p in points]
    n = len(pts)
    if n < 3 and not closed:
        return [(a[0] + (b[0] - a[0]) * i / steps, a[1] + (b[1] - a[1]) * i / steps)
                for a, b in zip(pts, pts[1:]) for i in range(steps)] + [pts[-1]]
    out = []
    last = n if closed else n - 1
    for i in range(last):
        if closed:
            p0, p1, p2, p3 = (pts[(i + k - 1) % n] for k in range(4))
        else:
            p1, p2 = pts[i], pts[i + 1]
            p0 = pts[i - 1] if i else (2 * p1[0] - p2[0], 2 * p1[1] - p2[1])
            p3 = pts[i + 2] if i + 2 < n else (2 * p2[0] - p1[0], 2 * p2[1] - p1[1])
        for k in range(steps):
            t = k / steps
            t2, t3 = t * t, t * t * t
            out.append(tuple(
                0.5 * (2 * b + (c - a) * t + (2 * a - 5 * b + 4 * c - d) * t2
                       + (3 * b - a - 3 * c + d) * t3)
                for a, b, c, d in zip(p0, p1, p2, p3)))
    if not closed:
        out.append(pts[-1])
    return out


def corners(*curves, steps=10):
    """One closed outline made of several curves; corners stay sharp between them."""
    out = []
    for c in curves:
        out += spline(c, steps)
    return out


def path(points, closed=True):
    """The 'd' attribute of a polyline."""
    d = "M" + "L".join("%.1f %.1f" % p for p in points)
    return d + ("Z" if closed else "")


def brush(points, width, head=0.35, tail=0.5, tip=0.0):
    """Outline of a brush stroke along a dense polyline.

    head and tail say over which part of the length the stroke swells and
    thins out; tip is the width left at both ends, as a part of the width.
    """
    length = [0.0]
    for a, b in zip(points, points[1:]):
        length.append(length[-1] + math.hypot(b[0] - a[0], b[1] - a[1]))
    total = length[-1] or 1.0
    left, right = [], []
    for i, p in enumerate(points):
        t = length[i] / total
        a = points[max(i - 1, 0)]
        b = points[min(i + 1, len(points) - 1)]
        dx, dy = b[0] - a[0], b[1] - a[1]
        l = math.hypot(dx, dy) or 1.0
        w = 1.0
        if head > 0 and t < head:
            w = min(w, math.sin(0.5 * math.pi * t / head) ** 0.8)
        if tail > 0 and t > 1 - tail:
            w = min(w, max(math.sin(0.5 * math.pi * (1 - t) / tail), 0.0) ** 0.8)
        w = 0.5 * width * (tip + (1 - tip) * w)
        left.append((p[0] - dy / l * w, p[1] + dx / l * w))
        right.append((p[0] + dy / l * w, p[1] - dx / l * w))
    return path(left + right[::-1])
