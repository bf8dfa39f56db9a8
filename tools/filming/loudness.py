"""How loud a recording is as a whole."""

import re
import subprocess

from surroundings.surrounding import CannotStart


def loudness(path):
    """In LUFS, as EBU R128 has it; about -70 is silence."""
    said = subprocess.run(["ffmpeg", "-hide_banner", "-nostdin", "-i", path, "-vn", "-af", "ebur128",
                           "-f", "null", "-"], capture_output=True, text=True, check=False).stderr
    found = re.findall(r"^ *I: +(-?[0-9.]+) LUFS", said, re.MULTILINE)
    if not found:
        raise CannotStart(f"{path} has no sound that could be read")
    return float(found[-1])
