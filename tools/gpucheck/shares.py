"""What fragments cost, as shares of a tick."""

from collections import Counter
from itertools import groupby

from gpucheck.fragments import Frame


def share(phone, fragments, units, tick_s):
    """The share of a tick that a frame's fragments, by their programs, would take, with the units
    that a fragment of each program costs."""
    return phone.seconds(sum(number * units[program] for program, number in fragments.items())) \
        / tick_s


def by_part(frames):
    """The frames of each part."""
    return {part: list(of_part) for part, of_part in groupby(frames, key=lambda frame: frame.part)}


def area(size):
    width, height = size.split("x")
    return int(width) * int(height)


def resized(frames, own, counted_at, size):
    """Frames that were counted at one size, at another. The show's own programs draw on the window
    alone, and all their corners are in parts of it; the painter draws on targets that have one size
    for all."""
    factor = area(size) / area(counted_at)
    return [Frame(frame.part, Counter({number: count * factor if number in own else count
                                       for number, count in frame.fragments.items()}))
            for frame in frames]


def table(head, rows):
    """Markdown. The cells are texts."""
    return "\n".join("| " + " | ".join(cells) + " |"
                     for cells in (head, ["---"] * len(head), *rows))


def merged(rows):
    """Rows of a number and cells: neighbours with the same cells become one, of all their
    numbers."""
    return [[", ".join(str(number) for number, _ in group), *cells]
            for cells, group in ((key, list(rows_of))
                                 for key, rows_of in groupby(rows, key=lambda row: row[1]))]
