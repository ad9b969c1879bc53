"""orvane in real surroundings: Ctrl-C, full disks, long names, planted libraries, images of all kinds.

usage: program_test.py ORVANE_EXE FFMPEG_EXE
"""
import contextlib
import ctypes
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path, PureWindowsPath

import numpy as np
from PIL import Image, ImageCms

ROOT = Path(__file__).resolve().parents[2]
DOCUMENT = (ROOT / "docs/program.md").read_text()
RUN = str(ROOT / "tools/wine/run-wine")
MODEL = ("--model", "interpolating")  # what it makes of an image is known


def windows_path(path):
    return str(PureWindowsPath("Z:" + str(path)))


def noise(width, height, channels=3, seed=1):
    return np.random.default_rng(seed).integers(0, 256, (height, width, channels), dtype=np.uint8)


# The documented members of each event that --json prints.
def documented_members():
    rows = re.findall(r"^\| `(\w+)`(?:, `(\w+)`)? \| (`.*) \|$", DOCUMENT, re.MULTILINE)
    return {event: set(re.findall(r"`(\w+)`", members)) for *events, members in rows for event in events if event}


def read(path):
    with Image.open(path) as image:
        image.load()
        return image


def names_in(folder):
    return sorted(path.name for path in folder.iterdir()) if folder.is_dir() else []


# The process in Wine, which `timeout` has started.
def windows_process(process):
    return int(Path(f"/proc/{process.pid}/task/{process.pid}/children").read_text().split()[0])


def command_lines():
    for path in Path("/proc").glob("[0-9]*/cmdline"):
        with contextlib.suppress(OSError):  # it has ended
            yield path.read_bytes()


# Wine turns the signal into Ctrl-C on a separate thread: the driver's threads would not survive it.
def press_ctrl_c(process):
    ctypes.CDLL(None).tgkill(process, process, signal.SIGINT)


class ProgramTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="orvane-"))
        self.addCleanup(shutil.rmtree, self.folder)
        (self.folder / "in").mkdir()

    def save(self, name, pixels, **options):
        Image.fromarray(pixels).save(self.folder / "in" / name, **options)

    def start(self, program, *arguments, **options):
        return subprocess.Popen([RUN, str(program), *arguments], cwd=self.folder, **options)

    # Both outputs together must contain these words.
    def expect(self, exit_code, words, *arguments, program=None, environment=None, **options):
        process = self.start(program or ORVANE, *arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, env={**os.environ, **(environment or {})}, **options)
        said = process.communicate(timeout=240)[0].decode(errors="replace")
        self.assertEqual(process.returncode, exit_code, said)
        self.assertIn(words, said)
        return said

    # The JSON objects of the output, which must be as documented.
    def objects_in(self, said):
        objects = [json.loads(line) for line in said.splitlines() if line.startswith("{")]
        for members in objects:
            self.assertEqual(set(members) - {"event"}, MEMBERS[members["event"]], members)
        return objects


class Interrupted(ProgramTest):
    # Presses Ctrl-C once it `has_begun`. Returns the exit code and the output.
    def interrupt(self, has_begun, *arguments, stdin=subprocess.DEVNULL, stdout=None):
        said = self.folder / "said"
        with open(said, "wb") as output:
            process = self.start(ORVANE, *arguments, stdin=stdin, stdout=stdout or output, stderr=output)
        while not has_begun(said.read_bytes()):
            self.assertIsNone(process.poll(), said.read_text())
            time.sleep(0.02)
        press_ctrl_c(windows_process(process))
        return process.wait(120), said.read_text()

    def test_images(self):
        for i in range(24):
            self.save(f"{i}.png", noise(64, 64, seed=i))
        arguments = ("upscale", "in", "-o", "out", "--json", *MODEL)
        code, said = self.interrupt(lambda text: b'"event":"done"' in text, *arguments)
        self.assertEqual(code, 1, said)
        self.assertIn("Stopped by Ctrl-C", said)
        done = names_in(self.folder / "out")
        self.assertEqual(len(done), said.count('"event":"done"'))
        self.assertLess(len(done), 24)
        for name in done:
            self.assertEqual(read(self.folder / "out" / name).size, (128, 128))
        summary = self.objects_in(self.expect(0, "", *arguments))[-1]
        self.assertEqual((summary["skipped"], summary["done"]), (len(done), 24 - len(done)))
        self.assertEqual(names_in(self.folder / "out"), names_in(self.folder / "in"))

    def test_stream(self):
        (self.folder / "in.raw").write_bytes(noise(32, 24 * 300, 4).tobytes())
        result = self.folder / "out.raw"
        with open(self.folder / "in.raw", "rb") as source, open(result, "wb") as output:
            code, said = self.interrupt(lambda text: result.stat().st_size > 0, "stream", "--raw", "32x24", *MODEL,
                                        stdin=source, stdout=output)
        self.assertEqual(code, 1, said)
        frames, rest = divmod(result.stat().st_size, 64 * 48 * 4)
        self.assertEqual(rest, 0)
        self.assertLess(frames, 300)
        self.assertIn(f"Stopped by Ctrl-C after {frames} frames", said)

    def test_stream_that_nobody_reads_any_more(self):
        (self.folder / "in.raw").write_bytes(noise(32, 24 * 300, 4).tobytes())
        with open(self.folder / "in.raw", "rb") as source:
            process = self.start(ORVANE, "stream", "--raw", "32x24", "--json", *MODEL, stdin=source,
                                 stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual(len(process.stdout.read(64 * 48 * 4)), 64 * 48 * 4)
        process.stdout.close()
        said = process.stderr.read().decode()
        process.stderr.close()
        self.assertEqual(process.wait(120), 0, said)
        summary = json.loads(said.splitlines()[-1])
        self.assertEqual(summary["event"], "summary")
        self.assertTrue(1 <= summary["done"] < 300, said)

    def test_video(self):
        self.expect(0, "", "-v", "error", "-f", "lavfi", "-i", "testsrc=s=32x24:d=60", "in.mkv", program=FFMPEG)
        before = names_in(self.folder)
        arguments = ("video", "in.mkv", "out.mkv", "--ffmpeg", windows_path(FFMPEG), "--json", *MODEL)
        code, said = self.interrupt(lambda text: list(self.folder.glob("out.mkv.*")), *arguments)
        self.assertEqual(code, 1, said)
        self.assertIn("Stopped by Ctrl-C", said)
        self.assertEqual(names_in(self.folder), before + ["said"])
        self.assertEqual(self.processes(), [])

        # The same while ffmpeg, slowed down, is still writing frames that it has been given.
        self.expect(0, "", "-v", "error", "-f", "lavfi", "-i", "testsrc=s=32x24:r=0.1:d=30", "slow.mkv", program=FFMPEG)
        before = names_in(self.folder)
        seen = []

        def is_finishing(text):
            if b'"event":"progress"' in text:
                seen.append(time.monotonic())
            return bool(seen) and seen[-1] > seen[0] + 6

        code, said = self.interrupt(is_finishing, "video", "slow.mkv", *arguments[2:], "--", "-vf", "realtime=limit=99")
        self.assertEqual(code, 1, said)
        self.assertIn("Stopped by Ctrl-C while ffmpeg finished", said)
        self.assertEqual(names_in(self.folder), before)

        # When killed it cannot clean up, but its ffmpeg processes end.
        with self.start(ORVANE, *arguments, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE) as process:
            while b'"event":"progress"' not in process.stdout.readline():
                self.assertIsNone(process.poll())
            self.assertEqual(len(self.processes()), 2)
            os.kill(windows_process(process), signal.SIGKILL)
        while self.processes():
            time.sleep(0.02)
        self.assertFalse((self.folder / "out.mkv").exists())

    # The ffmpeg processes of this test.
    def processes(self):
        return [line for line in command_lines() if b"ffmpeg" in line and self.folder.name.encode() in line]


class FullDisk(ProgramTest):
    LIMIT = 20000  # bytes, beyond which no file may grow

    # Python ignores the signal that comes with the limit. Its child must ignore it too, so that the write fails.
    def test_no_model_is_half_written(self):
        model = windows_path(ORVANE.parent / "weights/interpolating.en")
        (self.folder / "old.en2").write_text("old")
        for arguments in (("decrypt", model, "new.bin"), ("encrypt", model, "old.en2", "--force"), ("new", "new.bin")):
            self.expect(1, "the disk is full", "model", *arguments, restore_signals=False,
                        preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (self.LIMIT, self.LIMIT)))
        self.assertEqual(names_in(self.folder), ["in", "old.en2"])
        self.assertEqual((self.folder / "old.en2").read_text(), "old")

    # The limit is set after the network is prepared, because the software device keeps its memory in a file, too.
    def test_no_image_is_half_written(self):
        self.save("0.png", np.zeros((64, 64, 3), np.uint8))
        for i in range(8):
            self.save(f"large-{i}.png", noise(64, 64, seed=i))
        said = ""
        with self.start(ORVANE, "upscale", "in", "-o", "out", "--json", *MODEL, stdin=subprocess.DEVNULL,
                        stdout=subprocess.PIPE, restore_signals=False) as process:
            for line in process.stdout:
                said += line.decode()
                if b'"event":"done"' in line:
                    resource.prlimit(windows_process(process), resource.RLIMIT_FSIZE, (self.LIMIT, self.LIMIT))
        self.assertEqual(process.returncode, 1)
        events = self.objects_in(said)
        reasons = [event["reason"] for event in events if event["event"] == "failed"]
        self.assertTrue(reasons and all("the disk is full" in reason for reason in reasons), reasons)
        done = [PureWindowsPath(event["output"]).name for event in events if event["event"] == "done"]
        self.assertEqual(len(done) + len(reasons), 9)
        self.assertEqual(names_in(self.folder / "out"), sorted(done))
        for name in done:
            self.assertEqual(read(self.folder / "out" / name).size, (128, 128))


class Images(ProgramTest):
    # Files as other programs write them. The bilinear placeholder gives the same as Pillow's BILINEAR.
    def test_of_all_kinds(self):
        colours = Image.fromarray(noise(20, 14))
        wide = Image.fromarray(noise(20, 14, 1)[:, :, 0].astype(np.uint16) * 257)
        half = Image.fromarray(np.dstack([noise(20, 14), np.full((14, 20), 128, np.uint8)]))
        # JPEG changes a ramp only a little.
        slopes = [[9, 0, 5], [0, 10, 3]]
        ramp = Image.fromarray((np.indices((14, 20)).transpose(1, 2, 0) @ slopes + 10).astype(np.uint8))
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        kinds = {
            "grey.png": (colours.convert("L"), {}),
            "wide.png": (wide, {}),
            "bilevel.png": (colours.convert("1"), {}),
            "palette.png": (colours.quantize(100), {}),
            "few.png": (colours.quantize(4), {"bits": 2}),
            "half.png": (half, {}),
            "profile.png": (colours, {"icc_profile": profile}),
            "palette.bmp": (colours.quantize(200), {}),
            "bilevel.bmp": (colours.convert("1"), {}),
            "progressive.jpg": (ramp, {"progressive": True, "quality": 98}),
            "grey.jpg": (ramp.convert("L"), {"quality": 98}),
            "cmyk.jpg": (ramp.convert("CMYK"), {"quality": 98}),
            "half.tif": (half, {"compression": "tiff_lzw"}),
            "deflated.tif": (colours, {"compression": "tiff_adobe_deflate"}),
            "grey.tif": (colours.convert("L"), {}),
            "bilevel.tif": (colours.convert("1"), {"compression": "group4"}),
        }
        for name, (image, options) in kinds.items():
            image.save(self.folder / "in" / name, **options)
        self.expect(0, f"{len(kinds)} images done", "upscale", "in", "-o", "out", "--format", "same", "--quality",
                    "100", *MODEL)
        for name, (image, _) in kinds.items():
            with self.subTest(name):
                result = read(self.folder / "out" / name)
                if image is wide:
                    image = Image.fromarray((np.asarray(wide) // 257).astype(np.uint8))
                expected = image.convert("RGB").resize((40, 28), Image.BILINEAR)
                difference = np.asarray(result.convert("RGB")).astype(int) - np.asarray(expected)
                self.assertLessEqual(np.abs(difference).max(), 8 if name.endswith("jpg") else 1)
                self.assertEqual(result.info.get("icc_profile"), profile if name == "profile.png" else None)
                self.assertEqual(result.mode, image.mode if image is half else "RGB")
                self.assertTrue(image is not half or (np.asarray(result)[:, :, 3] == 128).all())

    def test_long_names(self):
        # More than 300 characters, some of which are in no code page.
        deep = Path(*[f"{i} \u6A21\u578B \u00FC " + "x" * 40 for i in range(6)])
        (self.folder / deep).mkdir(parents=True)
        for extension in (".en", ".json"):
            source = ORVANE.parent / "weights" / ("interpolating" + extension)
            shutil.copy(source, self.folder / deep / ("a model" + extension))
        Image.fromarray(noise(8, 8)).save(self.folder / deep / "image.png")
        (self.folder / "list").write_text(f"{deep}/image.png\n")
        model = str(deep / "a model.en")
        self.expect(0, "Complete, and every value is finite.", "model", "info", model)
        self.expect(0, "2 images done", "upscale", windows_path(self.folder / deep), "--list", "list",
                    "-o", str("out" / deep), "--model", model)
        out = self.folder / "out" / deep
        self.assertEqual([read(path).size for path in (out / "image.png", out / deep / "image.png")], [(16, 16)] * 2)


class PlantedFiles(ProgramTest):
    # A file with the right name in the current folder, or in a relative folder of PATH, must not be used.
    def test_are_not_taken(self):
        program = self.folder / "program"
        program.mkdir()
        for name in ("orvane.exe", "liborvane.dll"):
            shutil.copy(ORVANE.parent / name, program)
        shutil.copy(ORVANE.parent / "DirectML.dll", self.folder)
        shutil.copy(ORVANE, self.folder / "ffmpeg.exe")
        (self.folder / "in.mkv").touch()
        planted = {"program": program / "orvane.exe", "environment": {"WINEPATH": ".;" + windows_path(self.folder)}}
        self.expect(1, "DirectML.dll cannot be loaded", "check", **planted)
        answer = json.loads(self.expect(1, '{"supported":false', "check", "--json", **planted).splitlines()[0])
        self.assertIn("DirectML.dll", answer["reason"])
        said = re.search(r"one object\s+with the members (`[^.]*)\.", DOCUMENT).group(1)
        self.assertEqual(set(answer) | {"trial"}, set(re.findall(r"`(\w+)`", said)))
        relative = {"program": ORVANE, "environment": {"WINEPATH": "."}}
        self.expect(1, "There is no ffmpeg", "video", "in.mkv", "out.mkv", *MODEL, **relative)
        self.expect(1, "There is no model \"planted\"", "model", "info", "planted", **relative)


if __name__ == "__main__":
    if "ORVANE_WINE_SESSION" not in os.environ:
        os.execv(ROOT / "tools/wine/wine-session", ["wine-session", sys.executable, *sys.argv])
    FFMPEG = Path(sys.argv.pop(2)).resolve()
    ORVANE = Path(sys.argv.pop(1)).resolve()
    MEMBERS = documented_members()
    unittest.main(verbosity=2)
