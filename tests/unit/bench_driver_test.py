"""The benchmark's driver, without the library: statistics, turns, workers, reports, models."""
import contextlib
import io
import json
import math
import sys
import tempfile
import types
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent.parent.parent / "bench"))
from driver import figure, statistics, turns  # noqa: E402
from driver.network import Network, Size, write_model, write_onnx  # noqa: E402
from driver.report import Report, Table  # noqa: E402
from driver.session import Session  # noqa: E402
from driver.worker import Worker, WorkerError  # noqa: E402


class Statistics(unittest.TestCase):
    def test_quantiles_lie_between_the_nearest_values(self):
        self.assertEqual(statistics.median([4, 1, 2, 3]), 2.5)
        self.assertEqual(statistics.minimum([3, 1, 2]), 1)
        self.assertEqual(statistics.quantile([10, 0], 0.95), 9.5)
        self.assertEqual(statistics.quantile([7], 0.25), 7)
        self.assertTrue(math.isnan(statistics.median([])))

    def test_lines_are_those_of_least_squares(self):
        for expected, found in zip((1 / 6, 0.5, 0.75), statistics.fit_line([0, 1, 2], [0, 1, 1])):
            self.assertAlmostEqual(found, expected)


class Turns(unittest.TestCase):
    def test_another_side_is_first_each_turn_and_ratios_are_those_of_turns(self):
        asked = []

        def worker(name, frames):
            """A frame of `frames` ms more each turn, which takes the processor twice as long."""
            processor, turn = 0, 0

            def ask(command):
                nonlocal processor, turn
                if command == "processor":
                    return [processor]
                asked.append(name)
                turn += 1
                processor += 2 * frames * turn
                return [frames * turn, frames * turn]
            return types.SimpleNamespace(ask=ask, ask_one=lambda command: ask(command)[0])

        a, b = turns.Side(worker("a", 3), "frames 2"), turns.Side(worker("b", 1), "frames 2")
        turns.take_turns([a, b], 0, 4)
        self.assertEqual("".join(asked), "abbaabba")
        self.assertEqual(a.frames, [3, 3, 6, 6, 9, 9, 12, 12])
        self.assertEqual(turns.compare(a, b), (3, 3, 3, 3, 3))
        for milliseconds, expected in ((2, 1), (30, 10), (1e6, 50)):
            self.assertEqual(turns.frames_of_turn(worker("c", 3), "frames", milliseconds), expected)


class Workers(unittest.TestCase):
    PROGRAM = """
import sys, time
for line in sys.stdin:
    if line.startswith("sleep"):
        time.sleep(60)
    if line.startswith("end"):
        sys.exit()
    print("! too many" if line.startswith("fail") else "= 1.5 2 -3e2", end="\\r\\n", flush=True)
"""

    def start(self, seconds=60):
        return Worker([sys.executable, "-c", self.PROGRAM], Path.cwd(), {}, seconds)

    def test_answers_are_numbers_and_failures_say_why(self):
        with self.start() as worker:
            self.assertEqual(worker.ask("frames 3"), [1.5, 2, -300])
            with self.assertRaisesRegex(WorkerError, "fail 1: ! too many"):
                worker.ask("fail 1")
            self.assertEqual(worker.ask_one("frames 3"), 1.5)
        self.assertEqual(worker.process.returncode, 0)

    def test_one_that_hangs_or_ends_fails(self):
        for command, seconds in (("sleep", 0.5), ("end", 60)):
            with self.subTest(command), self.start(seconds) as worker:
                for _ in range(2):
                    with self.assertRaisesRegex(WorkerError, "has ended or did not answer in time"):
                        worker.ask(command)


class Reports(unittest.TestCase):
    def test_tables_hold_what_was_measured(self):
        self.assertEqual(Table("Empty").text(), "### Empty\n\n|\n|\n\n\n")
        table = Table("Times", "Medians.")
        table.add(size="64x36")  # failed before its second value
        for size, value in (("8x8", 1.23456), ("16x8", 12345.6), ("1x1", 3), ("2x2", math.nan)):
            table.add(size=size)["median, ms"] = value
        self.assertEqual(table.text(), "### Times\n\n"
                                       "| size  | median, ms |\n"
                                       "| ----- | ---------- |\n"
                                       "| 64x36 |            |\n"
                                       "| 8x8   | 1.235      |\n"
                                       "| 16x8  | 12346      |\n"
                                       "| 1x1   | 3          |\n"
                                       "| 2x2   |            |\n"
                                       "\nMedians.\n")
        results = json.loads(Report({"adapter": "one"}, ["frames: no device"], [table]).json())
        self.assertEqual((results["adapter"], results["failures"]), ("one", ["frames: no device"]))
        self.assertEqual(results["tables"][0]["rows"][1], {"size": "8x8", "median, ms": 1.23456})
        self.assertIsNone(results["tables"][0]["rows"][4]["median, ms"])

    def test_a_part_that_fails_leaves_the_results_of_the_others(self):
        with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stderr(io.StringIO()):
            session = Session(types.SimpleNamespace(out=Path(folder), card=False, short=True))
            table = session.table("Times", "")
            with session.part("one"):
                table.add(size="1x1")
                raise ValueError("too small")
            with session.part("two"):
                table.add(size="2x2")
            results = json.loads((Path(folder) / "results.json").read_text(encoding="utf-8"))
        self.assertEqual(results["failures"], ["one: too small"])
        self.assertEqual(results["tables"][0]["rows"], [{"size": "1x1"}, {"size": "2x2"}])

    def test_the_figure_has_a_line_for_each_side_and_network(self):
        row = {"network": "8 channels, depth 1", "median": 1.5, "ONNX Runtime median": 3.0}
        results = {"tables": [{"rows": [{"step": "upload"}, {**row, "size": "10x2"}, {**row, "size": "20x3"}]}]}
        self.assertEqual(figure.frame_series(results), {"Orvane, 8 channels, depth 1": [(20, 1.5), (60, 1.5)],
                                                        "ONNX Runtime, 8 channels, depth 1": [(20, 3.0), (60, 3.0)]})
        with tempfile.TemporaryDirectory() as folder:
            figure.draw(results, Path(folder) / "frames.svg")
            svg = (Path(folder) / "frames.svg").read_text(encoding="utf-8")
        for text in ("Orvane, 8 channels, depth 1", "ONNX Runtime, 8 channels, depth 1", "milliseconds", "</svg>"):
            self.assertIn(text, svg)


class Networks(unittest.TestCase):
    def test_work_is_counted_by_hand(self):
        network, size = Network(8, 1), Size(10, 2)
        self.assertEqual(network.layers, [(3, 8), (8, 8), (8, 12)])
        self.assertEqual(network.operations(size), 20 * 2 * 9 * (24 + 64 + 96))
        values = 3 + 3 + 8 + 8 + 8 + 8 + 12 + 12  # read and written; the first and the last by the shaders, too
        weights = 9 * (24 + 64 + 96) + 8 + 8 + 12
        self.assertEqual(network.moved_bytes(size), 20 * (2 * values + 4 + 16) + 2 * weights)

    def test_models_have_every_weight_of_the_network(self):
        network = Network(8, 1)
        with tempfile.TemporaryDirectory() as folder:
            plain, graph = Path(folder) / "model.bin", Path(folder) / "model.onnx"
            write_model(network, plain)
            self.assertEqual(plain.stat().st_size, 2 * (9 * (24 + 64 + 96) + 8 + 8 + 12))
            try:
                import onnx
            except ImportError:
                self.skipTest("onnx is not installed")
            write_onnx(network, plain, Size(10, 2), "HardSigmoid", graph)
            model = onnx.load(str(graph)).graph
            self.assertEqual(b"".join(tensor.raw_data for tensor in model.initializer), plain.read_bytes())
            self.assertEqual([node.op_type for node in model.node], ["Conv", "HardSigmoid"] * 3 + ["DepthToSpace"])
            sides = [[side.dim_value for side in image.type.tensor_type.shape.dim]
                     for image in (*model.input, *model.output)]
            self.assertEqual(sides, [[1, 3, 2, 10], [1, 3, 4, 20]])


if __name__ == "__main__":
    unittest.main()
