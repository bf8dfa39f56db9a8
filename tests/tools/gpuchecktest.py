"""What tools/gpu-check reads and reckons. It compiles nothing."""

import contextlib
import io
import os
import signal
import tempfile
import unittest
from collections import Counter
from unittest import mock

from gpucheck import commandline, compiling, fragments, gpus, programs, shares
from gpucheck.compiling import Result
from gpucheck.fragments import Frame
from gpucheck.gpus import GPUS, PHONES, Gpu, Phone
from surroundings.commandline import exit_code
from surroundings.workplace import StepFailed

# A table's row each, as pixmoth-bench-show prints them, between what others print.
RECORDED = """\
apitrace: loaded into /build/pixmoth-bench-show
size 800 x 480, unthrottled
part   frames   p50 ms   p95 ms   p99 ms   max ms  missed
1           2     4.81     5.10     6.90    11.60       0
2           1     3.61     3.91     3.90     6.40      12
all         3     4.81     5.10     6.90    11.60      12
"""
REPLAYED = """\
# call no gpu_start gpu_dura cpu_start cpu_dura vsize_start vsize_dura rss_start rss_dura pixels \
program name
call 7 0 0 0 0 0 0 0 0 -1 2 glUseProgram
call 8 0 0 0 0 0 0 0 0 384000 2 glDrawArrays
call 9 0 0 0 0 0 0 0 0 0 2 glClear
frame_end
call 10 0 0 0 0 0 0 0 0 16 30 glDrawArrays
call 11 0 0 0 0 0 0 0 0 20 30 glDrawArrays
call 12 0 0 0 0 0 0 0 0 256 27 glDrawElements
frame_end
frame_end
Rendered 3 frames in 1 secs, average of 3 fps
"""
CAUGHT = """\
[require]
GLSL >= 1.10

[fragment shader]
#define lowp
#define mediump
#define highp
uniform lowp vec4 fragmentColor;

[vertex shader]
#define lowp
#define mediump
#define highp
attribute highp vec2 vertexCoordsArray;

"""


class MessageTest(unittest.TestCase):
    def test_every_driver_is_understood(self):
        for message, stage, figures in (
                ("MESA_SHADER_FRAGMENT shader: 6 inst, 0 loops, 1:2 spills:fills", "FRAGMENT",
                 {"inst": 6, "loops": 0, "spills": 1, "fills": 2}),
                ("MESA_SHADER_POSITION shader: 26 inst, 24 tuples, 2.000000 cycles", "POSITION",
                 {"inst": 26, "tuples": 24, "cycles": 2}),
                ("FRAG shader: 12 inst, 5 nops, 7 non-nops, 0 (ss), 2 systall", "FRAG",
                 {"inst": 12, "nops": 5, "non-nops": 7, "(ss)": 0, "systall": 2}),
                ("VERT shader: 16 instructions, 4 temps", "VERT",
                 {"instructions": 16, "temps": 4}),
        ):
            self.assertEqual(compiling.parse_message(message), (stage, figures), message)

    def test_other_messages_are_passed_over(self):
        for message in ("BVERT shader: 8 inst", "MESA_SHADER_VERTEX_BIN shader: 41 inst",
                        "shader compiled at draw: 3 ms", ""):
            self.assertIsNone(compiling.parse_message(message), message)


class ResultTest(unittest.TestCase):
    GPU = Gpu("one", "One", "one", "inst", "words")

    def test_lines_of_a_program(self):
        self.assertEqual(
            compiling.parse(["driver\tOne (rev 2)\n", "message\tVERT shader: 3 inst\n",
                             "message\tFRAG shader: 5 inst\n", "failure\tdoes not link\n"]),
            ("One (rev 2)",
             Result({"VERT": {"inst": 3}, "FRAG": {"inst": 5}}, ["does not link"])))

    def test_largest_of_several_variants_counts(self):
        _, result = compiling.parse(["message\tFRAG shader: 5 inst, 9 full",
                                     "message\tFRAG shader: 7 inst, 8 full",
                                     "message\tFRAG shader: 6 inst, 1 full"])
        self.assertEqual(result.told, {"FRAG": {"inst": 7, "full": 9}})

    def test_both_halves_of_a_vertex_shader_count(self):
        result = Result({"POSITION": {"inst": 20.0}, "VARYING": {"inst": 6.0, "spills": 0.0}})
        self.assertEqual(compiling.figure(result, "vertex", "inst"), 26)
        self.assertEqual(compiling.figure(result, "vertex", "spills"), 0)
        self.assertIsNone(compiling.figure(result, "fragment", "inst"))

    def test_a_good_program_has_no_problem(self):
        result = Result({"VERT": {"inst": 3.0}, "FRAG": {"inst": 5.0, "spills": 0.0}})
        self.assertEqual(compiling.problems(self.GPU, result), [])

    def test_silence_is_a_problem(self):
        for told in ({"VERT": {"inst": 3.0}}, {"VERT": {"inst": 3.0}, "FRAG": {"words": 3.0}},
                     {"VERT": {"inst": 3.0}, "FRAG": {"inst": 0.0}}):
            self.assertEqual(compiling.problems(self.GPU, Result(told)),
                             ["the driver tells nothing of its fragment shader"])

    def test_spilling_is_a_problem(self):
        result = Result({"VERT": {"inst": 3.0}, "FRAG": {"inst": 5.0, "spills": 2.0}},
                        ["does not link"])
        self.assertEqual(compiling.problems(self.GPU, result), [
            "does not link",
            "its fragment shader has more values at a time than there are registers"])

    def test_figures_that_a_driver_counts_in_parts(self):
        fourfold = Gpu("four", "Four", "four", "inst", "words", counted_times=4)
        result = Result({"FRAG": {"inst": 20.0}})
        self.assertEqual(compiling.units(self.GPU, result, "fragment"), 20)
        self.assertEqual(compiling.units(fourfold, result, "fragment"), 5)
        self.assertIsNone(compiling.units(fourfold, result, "vertex"))


class ProgramsTest(unittest.TestCase):
    def test_own_programs_are_those_of_the_show(self):
        own = {program.name: program for program in programs.own_programs()}
        self.assertEqual(list(own), ["plain", "palette", "contrast", "contrast2", "contrast3",
                                     "contrast4"])
        self.assertIn("u_matrixPalette", own["palette"].vertex)
        self.assertIn("sin(", own["contrast3"].fragment)

    def test_a_shader_that_no_program_has_is_told(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in (*os.listdir(programs.SHADERS), "lonely_fs.glsl"):
                with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                    file.write("void main() {}\n")
            with mock.patch.object(programs, "SHADERS", folder):
                with self.assertRaisesRegex(StepFailed, "has lonely_fs.glsl$"):
                    programs.own_programs()

    def test_what_the_desktop_puts_before_is_taken_off(self):
        vertex, fragment = programs.parse_capture(CAUGHT)
        self.assertEqual(vertex.strip(), "attribute highp vec2 vertexCoordsArray;")
        self.assertEqual(fragment.strip(), "uniform lowp vec4 fragmentColor;")

    def caught(self, files):
        with tempfile.TemporaryDirectory() as folder:
            for name, text in files.items():
                with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                    file.write(text)
            return programs.caught_programs(folder)

    def test_own_programs_are_known_again(self):
        own = programs.own_programs()[2]
        text = (f"[vertex shader]\n{programs.DESKTOP_PREFIX}{own.vertex}\n\n[fragment shader]\n"
                + programs.DESKTOP_PREFIX
                + own.fragment.removeprefix(programs.ES_FRAGMENT_PREFIX))
        caught = self.caught({"8.shader_test": text, "30.shader_test": CAUGHT,
                              "33.shader_test": CAUGHT.replace("Coords", "Points")})
        self.assertEqual({number: program.name for number, program in caught.items()},
                         {8: "contrast", 30: "painter: one colour",
                          33: "painter: one colour (2)"})
        self.assertEqual([programs.is_own(program) for program in caught.values()],
                         [True, False, False])
        self.assertEqual([program.name for program in programs.all_programs(caught)][-3:],
                         ["contrast4", "painter: one colour", "painter: one colour (2)"])

    def test_a_number_that_two_programs_had_is_told(self):
        with self.assertRaisesRegex(StepFailed, "two programs had the number 30"):
            self.caught({"30.shader_test": CAUGHT, "30-1.shader_test": CAUGHT})

    def test_an_unknown_painter_is_told(self):
        with self.assertRaisesRegex(StepFailed, "of no known kind"):
            self.caught({"30.shader_test": CAUGHT.replace("fragmentColor", "gradient")})


class FragmentsTest(unittest.TestCase):
    def test_parts_of_the_frames(self):
        self.assertEqual(fragments.parse_parts(RECORDED), [1, 1, 2])

    def test_fragments_of_the_frames(self):
        self.assertEqual(fragments.parse_replay(REPLAYED.splitlines(keepends=True)),
                         [Counter({2: 384000}), Counter({30: 36, 27: 256}), Counter()])

    def test_a_last_frame_without_a_part_is_left_out(self):
        frames = [Counter({2: 1}), Counter({2: 3}), Counter()]
        expected = [Frame(1, frames[0]), Frame(2, frames[1])]
        self.assertEqual(fragments.join([1, 2], frames), expected)
        self.assertEqual(fragments.join([1, 2], frames[:2]), expected)

    def test_frames_that_are_not_those_of_the_parts(self):
        for parts, count in (([1, 1], 1), ([1], 3), ([], 0)):
            with self.assertRaises(StepFailed):
                fragments.join(parts, [Counter()] * count)


class SharesTest(unittest.TestCase):
    PHONE = Phone("phone", "one", 100, "here", 2, "two")

    def test_share_of_a_tick(self):
        # 1,000,000 times 3, at 200 million a second, are 15 ms.
        self.assertAlmostEqual(
            shares.share(self.PHONE, Counter({7: 900_000, 8: 150_000}), {7: 3, 8: 2}, 0.05), 0.3)

    def test_frames_of_each_part(self):
        frames = [Frame(1, Counter({7: 10})), Frame(1, Counter({8: 7})), Frame(2, Counter({7: 1}))]
        self.assertEqual(shares.by_part(frames), {1: frames[:2], 2: frames[2:]})

    def test_only_what_is_drawn_on_the_window_grows_with_it(self):
        frame, = shares.resized([Frame(3, Counter({2: 100, 30: 7}))], {2, 8}, "10x20", "30x10")
        self.assertEqual(frame, Frame(3, Counter({2: 150, 30: 7})))

    def test_neighbours_of_the_same_cost_are_one_row(self):
        self.assertEqual(shares.merged([(1, ["a"]), (2, ["b"]), (3, ["b"]), (4, ["a"])]),
                         [["1", "a"], ["2, 3", "b"], ["4", "a"]])

    def test_table(self):
        self.assertEqual(shares.table(["a", "b"], [["1", "2"]]),
                         "| a | b |\n| --- | --- |\n| 1 | 2 |")


class GpusTest(unittest.TestCase):
    def test_every_phone_has_a_gpu_that_is_known(self):
        for phone in PHONES:
            self.assertIn(phone.gpu, GPUS)

    def test_every_gpu_has_a_driver_that_is_built(self):
        for gpu in GPUS.values():
            self.assertIn(gpu.driver, gpus.DRIVERS)


class CommandLineTest(unittest.TestCase):
    def test_defaults(self):
        options = commandline.parse([])
        self.assertEqual(options.sections, ["compile", "cost"])
        self.assertEqual(options.sizes, ["800x480", "720x1440", "1080x2160"])

    def test_what_is_wanted(self):
        options = commandline.parse(["cost", "--size", "10x20", "--size", "30x40"])
        self.assertEqual((options.sections, options.sizes), (["cost"], ["10x20", "30x40"]))

    def test_what_is_unknown_is_refused(self):
        for words in (["toys"], ["--size", "big"], ["--size", "0x480"]):
            with contextlib.redirect_stderr(io.StringIO()), self.assertRaises(SystemExit):
                commandline.parse(words)

    def test_how_a_check_ends(self):
        def fails(failure):
            def check():
                raise failure
            return check
        told = io.StringIO()
        before = signal.getsignal(signal.SIGTERM)
        self.addCleanup(signal.signal, signal.SIGTERM, before)
        with contextlib.redirect_stderr(told):
            self.assertEqual(exit_code("gpu-check", lambda: 7), 7)
            self.assertEqual(exit_code("gpu-check", fails(StepFailed("no driver"))), 1)
            self.assertEqual(exit_code("gpu-check", fails(KeyboardInterrupt())), 130)
        self.assertEqual(told.getvalue(), "gpu-check: no driver\n")
        with self.assertRaises(SystemExit) as ended:
            exit_code("gpu-check", lambda: os.kill(os.getpid(), signal.SIGTERM))
        self.assertEqual(ended.exception.code, 143)


if __name__ == "__main__":
    unittest.main()
