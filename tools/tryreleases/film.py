"""Looks at a film of the show."""

import os
import subprocess
from dataclasses import dataclass

from surroundings.show import ROOT


@dataclass(frozen=True)
class Film:
    length_s: float
    size_mb: float
    complaint: str  # Empty where the music is heard.

    def __str__(self):
        return f"{self.length_s:.1f} s, {self.size_mb:.0f} MB, {self.complaint or 'heard'}"


def read_film(path):
    """None where there is none."""
    length = subprocess.run(
        ["ffprobe", "-v", "error", "-show_entries", "format=duration", "-of", "csv=p=0", path],
        capture_output=True, text=True, check=False).stdout.strip()
    if not length:
        return None
    heard = subprocess.run([os.path.join(ROOT, "tools/hear-music"), path], capture_output=True,
                           text=True, check=False)
    complaint = ""
    if heard.returncode != 0:
        complaint = heard.stderr.strip().rpartition(f"{path}: ")[2] or "cannot be judged"
    return Film(float(length), os.path.getsize(path) / 1e6, complaint)


def make_sheet(film, sheet):
    """One picture of a whole film: a frame every four seconds."""
    subprocess.run(
        ["ffmpeg", "-loglevel", "error", "-nostdin", "-y", "-i", film, "-frames:v", "1", "-vf",
         "fps=1/4,scale=240:-1,tile=6x4", sheet], check=False)
