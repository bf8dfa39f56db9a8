"""A few seconds of the show without a sound, which begin again where they end: for a page that is to
show at once what this is."""

import os
import subprocess
import tempfile
from dataclasses import dataclass

from filming import flashes
from filming.frames import HEIGHT, PIXELS, RATE, WIDTH, start_show
from surroundings.show import FIRST_PART_S, PART_S, TICK_S
from surroundings.surrounding import CannotStart

# In bytes.
LARGEST = 3_000_000
# From the best down to what is still good to look at.
QUALITIES = (85, 80, 75, 70, 65, 60, 55, 50)
SMALL_WIDTH, SMALL_HEIGHT = WIDTH // 2, HEIGHT // 2
# Of the show whose moments were chosen.
SEED, BATTERY = 123, 100
# Each moment fades into the next for so long, and the last into what was before the first.
FADE_S = 0.4


@dataclass(frozen=True)
class Moment:
    """In seconds from the beginning of its part."""

    part: int
    start_s: float
    end_s: float

    def times(self):
        """In the show."""
        begin = 0 if self.part == 1 else FIRST_PART_S + (self.part - 2) * PART_S
        return begin + self.start_s, begin + self.end_s


MOMENTS = (Moment(5, 2.0, 4.4), Moment(8, 1.0, 3.4), Moment(10, 1.8, 3.8), Moment(17, 1.0, 3.0))


def graph(moments):
    """Of ffmpeg's filters: the moments after one another, and what was before the first at last."""
    first, _ = moments[0].times()
    pieces = [*(moment.times() for moment in moments), (first - FADE_S, first)]
    names = [f"p{number}" for number in range(len(pieces))]
    chains = [f"scale={SMALL_WIDTH}:{SMALL_HEIGHT}:flags=area,split={len(pieces)}" +
              "".join(f"[s{name}]" for name in names)]
    # With new times a newer ffmpeg knows no rate any more, and fades nothing without one. In ticks no
    # rounding decides where a piece begins.
    chains += [f"[s{name}]setpts=PTS-{start:.3f}/TB,fps={RATE},trim=0:{end - start:.3f}[{name}]"
               for name, (start, end) in zip(names, pieces)]
    so_far, length = names[0], pieces[0][1] - pieces[0][0]
    for name, (start, end) in zip(names[1:], pieces[1:]):
        length -= FADE_S
        chains.append(f"[{so_far}][{name}]xfade=duration={FADE_S}:offset={length:.3f}"
                      f"[{so_far}{name}]")
        so_far += name
        length += end - start
    return ";".join(chains), so_far


def pick(frames, path):
    """Writes the pictures of the loop, raw. `frames`: a file from which all of the show's can be
    read."""
    filters, last = graph(MOMENTS)
    subprocess.run(
        ["ffmpeg", "-loglevel", "error", "-nostdin", "-y", "-f", "rawvideo", "-pix_fmt", PIXELS,
         "-video_size", f"{WIDTH}x{HEIGHT}", "-framerate", str(RATE), "-i", "-",
         "-filter_complex", filters, "-map", f"[{last}]", "-f", "rawvideo", "-pix_fmt", PIXELS,
         path], stdin=frames, check=True)


def encode(raw, path, quality):
    subprocess.run(
        ["ffmpeg", "-loglevel", "error", "-nostdin", "-y", "-f", "rawvideo", "-pix_fmt", PIXELS,
         "-video_size", f"{SMALL_WIDTH}x{SMALL_HEIGHT}", "-framerate", str(RATE), "-i", raw,
         "-c:v", "libwebp_anim", "-pix_fmt", "yuv420p", "-quality", str(quality),
         "-compression_level", "6", "-loop", "0", path], check=True)


def count_flashes(raw):
    """Of two rounds, since it never ends."""
    with subprocess.Popen(["cat", raw, raw], stdout=subprocess.PIPE) as rounds:
        return flashes.count(rounds.stdout, SMALL_WIDTH, SMALL_HEIGHT)


def make_loop(path):
    """Answers what is to be said of it. None is left that flashes too often: whoever opens a page has
    not been warned."""
    with tempfile.TemporaryDirectory() as folder:
        raw = os.path.join(folder, "loop.raw")
        with start_show(SEED, BATTERY) as show:
            pick(show.stdout, raw)
            # The rest of the show is not wanted.
            show.stdout.close()
        counts = count_flashes(raw)
        if flashes.is_above(counts):
            raise CannotStart("the loop would flash too often: " + flashes.told(counts, RATE))
        for quality in QUALITIES:
            encode(raw, path, quality)
            if os.path.getsize(path) <= LARGEST:
                break
    return (f"{len(counts) // 2 * TICK_S:.1f} s, {os.path.getsize(path) / 1e6:.1f} MB; flashes in a "
            f"second: {flashes.told(counts, RATE)}")
