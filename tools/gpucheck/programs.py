"""The show's programs of shaders: its own, from their sources, and those that its painter makes, as
the driver has caught them (MESA_SHADER_CAPTURE_PATH)."""

import glob
import os
import re
from dataclasses import dataclass

from surroundings.show import ROOT
from surroundings.workplace import StepFailed

SHADERS = os.path.join(ROOT, "src/resources/shaders")
LOOKS = os.path.join(ROOT, "src/demo/looks.h")
PLAIN_VERTEX = "default_vs.glsl"
PLAIN_FRAGMENT = "default_fs.glsl"
PALETTE_VERTEX = "matrixpalette_vs.glsl"

# What the toolkit puts before every shader on the desktop, and before fragment shaders on ES.
DESKTOP_PREFIX = "#define lowp\n#define mediump\n#define highp\n"
ES_FRAGMENT_PREFIX = "#ifndef GL_FRAGMENT_PRECISION_HIGH\n#define highp mediump\n#endif\n"

# Which pictures a painter's fragment shader makes, by what only it has.
PAINTER_FRAGMENTS = (
    ("applyMask", "letters"),
    ("imageTexture", "picture"),
    ("fragmentColor", "one colour"),
    ("vec4(0.98, 0.06, 0.75, 1.0)", "stencil"),
)


@dataclass(frozen=True)
class Program:
    name: str
    vertex: str  # As the toolkit hands them to a driver of OpenGL ES.
    fragment: str


def own_programs():
    """As the engine and the looks put them together. Every file of the shaders is in one."""
    with open(LOOKS, encoding="utf-8") as header:
        looks = re.findall(r'\{"(\w+)", ":/shaders/(\w+\.glsl)"\}', header.read())
    pairs = [("plain", PLAIN_VERTEX, PLAIN_FRAGMENT), ("palette", PALETTE_VERTEX, PLAIN_FRAGMENT),
             *((name, PLAIN_VERTEX, fragment) for name, fragment in looks)]
    unused = set(os.listdir(SHADERS)) - {name for pair in pairs for name in pair}
    if unused:
        raise StepFailed(f"no program is known that has {' '.join(sorted(unused))}")
    return [Program(name, read(vertex), ES_FRAGMENT_PREFIX + read(fragment))
            for name, vertex, fragment in pairs]


def read(name):
    with open(os.path.join(SHADERS, name), encoding="utf-8") as file:
        return file.read()


def parse_capture(text):
    """The vertex and the fragment shader of a program that the driver has caught on the desktop."""
    parts = re.split(r"^\[(\w+) shader\]\n", text, flags=re.MULTILINE)
    shaders = dict(zip(parts[1::2], parts[2::2]))
    return tuple(shaders[stage].replace(DESKTOP_PREFIX, "", 1) for stage in ("vertex", "fragment"))


def painter_name(fragment):
    for word, name in PAINTER_FRAGMENTS:
        if word in fragment:
            return "painter: " + name
    raise StepFailed("a painter's fragment shader is of no known kind:\n" + fragment)


def words(text):
    """The text without what separates its words."""
    return "".join(text.split())


def caught_programs(folder):
    """The program of each number that was linked in a run. One of the show's own is that of
    own_programs()."""
    own = {(words(program.vertex), words(program.fragment)): program for program in own_programs()}
    caught = {}
    names = set()
    for path in sorted(glob.glob(os.path.join(folder, "*.shader_test")), key=number):
        with open(path, encoding="utf-8") as file:
            vertex, fragment = parse_capture(file.read())
        fragment = ES_FRAGMENT_PREFIX + fragment
        program = own.get((words(vertex), words(fragment)))
        if not program:
            name = painter_name(fragment)
            if name in names:
                name += " (2)"
            names.add(name)
            program = Program(name, vertex, fragment)
        if number(path) in caught:
            raise StepFailed(f"two programs had the number {number(path)}")
        caught[number(path)] = program
    return caught


def all_programs(caught):
    """The show's own, whether it links them or not, and those that it was caught with besides."""
    own = own_programs()
    return own + [program for program in caught.values() if program not in own]


def is_own(program):
    return program in own_programs()


def number(path):
    """A second program of a number has a dash behind it."""
    return int(re.match(r"\d+", os.path.basename(path)).group())
