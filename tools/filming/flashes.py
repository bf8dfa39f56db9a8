"""How often the frames of a film flash, and which of its parts flash too often."""

import subprocess
from dataclasses import dataclass

from filming.frames import HEIGHT, PIXELS, RATE, WIDTH, parts_of, program, start_show
from surroundings.surrounding import CannotStart
from surroundings.table import aligned

# In any second; of WCAG 2.3.1.
ALLOWED = 3
# What is counted, in this order. Those in step are what the standard's words mean at the least, the
# others what they can mean at the most.
KINDS = ("general", "red", "general in step", "red in step")


@dataclass(frozen=True)
class Reading:
    """Of one kind of flashes in a stretch of a film."""

    worst: int  # In a second.
    above_s: float  # So long there were more than are allowed in the second that had passed.

    def __str__(self):
        return f"{self.worst}" + (f" ({self.above_s:.2f} s)" if self.above_s else "")


def reading(counts, rate):
    """`counts`: for each frame, of the second that ends with it."""
    return Reading(max(counts, default=0), sum(count > ALLOWED for count in counts) / rate)


def readings(counts, rate):
    """Of each kind."""
    return [reading([each[kind] for each in counts], rate) for kind in range(len(KINDS))]


def worst_of(several):
    """Of the same stretch of several shows."""
    return Reading(max(each.worst for each in several), max(each.above_s for each in several))


def count(frames, width=WIDTH, height=HEIGHT, rate=RATE):
    """For each frame that can be read from the file `frames` how many flashes of each kind there were
    in the second that ends with it."""
    told = subprocess.run([program("tests/pixmoth-flashes"), str(width), str(height), str(rate)],
                          stdin=frames, capture_output=True, text=True, check=True).stdout
    return [tuple(map(int, line.split())) for line in told.splitlines()]


def of_show(seed, battery):
    with start_show(seed, battery) as show:
        counts = count(show.stdout)
    if show.returncode != 0:
        raise CannotStart("the show cannot be drawn here")
    return counts


def of_film(path):
    """And the film's rate."""
    said = subprocess.run(
        ["ffprobe", "-v", "error", "-select_streams", "v:0", "-show_entries",
         "stream=width,height,avg_frame_rate", "-of", "csv=p=0", path],
        capture_output=True, text=True, check=False).stdout.strip().split(",")
    if len(said) != 3:
        raise CannotStart(f"{path} has no picture that could be read")
    width, height = map(int, said[:2])
    above, _, below = said[2].partition("/")
    rate = round(int(above) / int(below or 1))
    with subprocess.Popen(["ffmpeg", "-loglevel", "error", "-nostdin", "-i", path, "-an", "-vf",
                           f"fps={rate}", "-f", "rawvideo", "-pix_fmt", PIXELS, "-"],
                          stdout=subprocess.PIPE) as film:
        return count(film.stdout, width, height, rate), rate


def table(shows):
    """A row for each part. `shows`: the counts of each; all of them have the same parts."""
    stretches = [(str(number), part)
                 for number, part in enumerate(parts_of(min(map(len, shows))), 1)]
    stretches.append(("all", slice(0, None)))
    rows = [("part", *KINDS)]
    for name, part in stretches:
        of_shows = [readings(show[part], RATE) for show in shows]
        rows.append((name, *(str(worst_of(of_kind)) for of_kind in zip(*of_shows))))
    return aligned(rows)


def told(counts, rate):
    return ", ".join(f"{name} {each}" for name, each in zip(KINDS, readings(counts, rate)))


def is_above(counts):
    """Of either kind, in step or not."""
    return any(each > ALLOWED for all_kinds in counts for each in all_kinds)
