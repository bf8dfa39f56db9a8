"""A photograph of a screen, and what is to be seen on it."""

import struct
import zlib

# What lies behind the show's window: a colour that the show never fills an area with.
BACKDROP = (255, 0, 255)

# Of all points that are looked at, so many may differ from what a screen is taken for.
STRAY = 0.005
# Of 255: up to here a channel counts as black, and from here on a mean as white.
BLACK, WHITE = 48, 200

SAMPLES = 48  # A row, and a column, of points that are looked at.
# Where the pointer lies, in parts of the screen's width and height: amid what is black at the show's
# beginning.
POINTER_AT = 1 / 8
POINTER_REACH = 64  # Pixels around its tip, which its image lies within.


class Picture:
    """Pixels of four bytes: blue, green, red, and one that means nothing."""

    def __init__(self, width, height, stride, pixels):
        self.width, self.height, self.stride, self.pixels = width, height, stride, pixels

    @property
    def size(self):
        return self.width, self.height

    def at(self, x, y):
        start = y * self.stride + 4 * x
        blue, green, red = self.pixels[start:start + 3]
        return red, green, blue

    def grid(self):
        """Points all over the picture, but for where the pointer is."""
        points = (((2 * i + 1) * self.width // (2 * SAMPLES),
                   (2 * j + 1) * self.height // (2 * SAMPLES))
                  for j in range(SAMPLES) for i in range(SAMPLES))
        columns, rows = map(around_pointer, self.size)
        return [self.at(x, y) for x, y in points if not (
            any(x in some for some in columns) and any(y in some for some in rows))]

    def borders(self):
        """The outermost lines, each as its points."""
        columns, rows = range(0, self.width, 3), range(0, self.height, 3)
        return ([self.at(x, 0) for x in columns], [self.at(x, self.height - 1) for x in columns],
                [self.at(0, y) for y in rows], [self.at(self.width - 1, y) for y in rows])

    def brightest(self, columns, row):
        """The largest of all channels of a piece of a row."""
        start = row * self.stride
        piece = self.pixels[start + 4 * columns.start:start + 4 * columns.stop]
        return max(max(piece[channel::4]) for channel in range(3))

    def write(self, path):
        """As PNG."""
        rows = []
        for row in range(self.height):
            line = self.pixels[row * self.stride:row * self.stride + 4 * self.width]
            coloured = bytearray(3 * self.width)
            coloured[0::3], coloured[1::3], coloured[2::3] = line[2::4], line[1::4], line[0::4]
            rows.append(b"\0" + coloured)

        def chunk(name, content):
            return (struct.pack(">I", len(content)) + name + content +
                    struct.pack(">I", zlib.crc32(name + content)))

        with open(path, "wb") as file:
            file.write(b"\x89PNG\r\n\x1a\n" +
                       chunk(b"IHDR", struct.pack(">IIBBBBB", *self.size, 8, 2, 0, 0, 0)) +
                       chunk(b"IDAT", zlib.compress(b"".join(rows), 1)) + chunk(b"IEND", b""))


def around_pointer(length):
    """The columns of a picture so wide, or the rows of one so high, that the pointer's image lies
    within, counted from either side: on a screen that is turned it lies in another corner."""
    tip = round(length * POINTER_AT)
    near = range(max(tip - POINTER_REACH, 0), min(tip + POINTER_REACH, length))
    return near, range(length - near.stop, length - near.start)


def share(points, is_one):
    return sum(map(is_one, points)) / len(points)


def is_backdrop(point):
    return point == BACKDROP


def is_black(point):
    return max(point) <= BLACK


def kind(picture):
    """What is on it: "backdrop", the show ("black", "painted"), or what must never be seen:
    "white", and "part", where the show leaves some of the screen to others."""
    points = picture.grid()
    bare = share(points, is_backdrop)
    if bare >= 1 - STRAY:
        return "backdrop"
    if bare > STRAY or any(share(line, is_backdrop) > 0.5 for line in picture.borders()):
        return "part"
    if sum(map(sum, points)) / (3 * len(points)) > WHITE:
        return "white"
    return "black" if share(points, is_black) == 1 else "painted"


def shows_pointer(picture):
    """Whether there is an image of a pointer, on a picture that is black there otherwise."""
    return any(picture.brightest(columns, row) > BLACK
               for columns in around_pointer(picture.width)
               for rows in around_pointer(picture.height) for row in rows)
