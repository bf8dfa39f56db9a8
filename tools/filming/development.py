"""Makes a film that can be sent out of what was recorded without loss: the pictures of a screen with
the time of each (camera.cpp), and the sound."""

import os
import subprocess
from dataclasses import dataclass

from filming.frames import FRAME_BYTES, HEIGHT, PIXELS, RATE, WIDTH
from filming.loudness import loudness
from filming.presentation import PAUSE, Presentation, present
from surroundings.show import MUSIC, TICK_S
from surroundings.surrounding import CannotStart

# In bytes: what can be sent nearly everywhere.
LARGEST = 25_000_000
# A film that is too large is made again, so much coarser, up to the worst that is good to look at.
QUALITY, COARSER, COARSEST = 20, 2, 30
# So many pictures of the dark screen before the show.
LEAD = RATE // 2
# Whoever does not heed the matrix that the film names takes that of small pictures.
PICTURE = ("-vf", "scale=out_color_matrix=bt601:out_range=tv:"
           "flags=area+accurate_rnd+full_chroma_int,format=yuv420p",
           "-c:v", "libx264", "-preset", "medium", "-tune", "animation", "-profile:v", "high",
           "-colorspace", "smpte170m", "-color_primaries", "bt709", "-color_trc", "bt709",
           "-color_range", "tv")
# In dB. The show plays its music at less than half the volume, which is for whoever holds the phone
# to turn up: the film is as loud as the music was mastered. What is as good as silent stays so.
MOST_GAIN = 8.0
# Of full scale: where the voice, which is louder than the music, would go beyond it.
PEAK = 0.8


@dataclass(frozen=True)
class Negative:
    """What was recorded, in a folder."""

    folder: str

    @property
    def pictures(self):
        return os.path.join(self.folder, "pictures.mkv")

    @property
    def times(self):
        return os.path.join(self.folder, "times")

    @property
    def sound(self):
        return os.path.join(self.folder, "sound.mkv")

    def presentation(self):
        with open(self.times, encoding="ascii") as file:
            return present([float(line) for line in file if line.endswith("\n")], TICK_S)

    def sound_start(self):
        """On the clock of the pictures."""
        said = subprocess.run(
            ["ffprobe", "-v", "error", "-show_entries", "format=start_time", "-of", "csv=p=0",
             self.sound], capture_output=True, text=True, check=False).stdout.strip()
        if not said:
            raise CannotStart("there is no sound that could be read")
        return float(said)


def beginning(presentation: Presentation):
    """The first place of the film that is worth seeing: a little before the first picture that a
    second of others follows at the show's pace."""
    taken = presentation.taken
    for place, a_second_later in zip(taken, taken[RATE:]):
        if a_second_later - place <= RATE + PAUSE:
            return max(0, place - LEAD)
    return 0


def pictures_of(negative, presentation):
    """Each picture of the film, in its order."""
    shown = None
    place = 0
    with subprocess.Popen(
            ["ffmpeg", "-loglevel", "error", "-nostdin", "-i", negative.pictures, "-fps_mode",
             "passthrough", "-f", "rawvideo", "-pix_fmt", PIXELS, "-"],
            stdout=subprocess.PIPE) as source:
        for due in presentation.places:
            picture = source.stdout.read(FRAME_BYTES)
            if len(picture) < FRAME_BYTES:
                break
            if due is None:
                continue
            for _ in range(place, due):
                yield shown
            place = max(place, due)
            shown = picture
        yield shown


def gain_for(sound):
    return max(0.0, min(MOST_GAIN, loudness(MUSIC) - loudness(sound)))


def print_film(negative, presentation, gain, film, quality):
    start = beginning(presentation)
    origin = presentation.origin + start * TICK_S
    seconds = (presentation.length - start) * TICK_S
    command = [
        "ffmpeg", "-loglevel", "error", "-nostdin", "-y",
        "-f", "rawvideo", "-pix_fmt", PIXELS, "-video_size", f"{WIDTH}x{HEIGHT}",
        "-framerate", str(RATE), "-i", "-",
        "-itsoffset", f"{negative.sound_start() - origin:.6f}", "-i", negative.sound,
        *PICTURE, "-crf", str(quality), "-c:a", "aac", "-b:a", "192k",
        # What was heard before is cut off, what is missing is silence.
        "-af", f"aresample=async=1:first_pts=0,apad,atrim=end={seconds:.3f},volume={gain:.1f}dB,"
               f"alimiter=limit={PEAK}:level=disabled",
        "-movflags", "+faststart", film]
    with subprocess.Popen(command, stdin=subprocess.PIPE) as printer:
        for place, picture in enumerate(pictures_of(negative, presentation)):
            if place >= start:
                printer.stdin.write(picture)
    if printer.returncode != 0:
        raise CannotStart("the film cannot be made")


def develop(folder, film):
    """And says how even it is."""
    negative = Negative(folder)
    presentation = negative.presentation()
    if not presentation.taken:
        raise CannotStart("the screen was not filmed")
    gain = gain_for(negative.sound)
    for quality in range(QUALITY, COARSEST + 1, COARSER):
        print_film(negative, presentation, gain, film, quality)
        if os.path.getsize(film) <= LARGEST:
            break
    return (f"{len(presentation.taken)} pictures of the show, {presentation.doubled} shown twice for "
            f"want of the next, {presentation.left_out} left out; "
            f"{os.path.getsize(film) / 1e6:.1f} MB")
