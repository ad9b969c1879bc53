"""Trains the model of a configuration; goes on where an earlier run stopped.

Results lie in build/training/NAME: the configuration, log.csv, curves.png, checkpoint.pt and, at the end, weights.npz and
training.json, which says how long it took and where.
"""
import argparse
import csv
import functools
import json
import math
import os
import signal
import sys
import time
from pathlib import Path

import numpy as np
import torch
from PIL import Image

from training import KIT, ROOT
from training.data import compress, resize, tiles
from training.judge import metrics
from training.model import convert, network

DEFAULTS = {
    "start": None,  # name of a trained model to start from
    "inverted": [],  # layers of it that pass the colours on inverted, see network.py
    "mix": {"photo": 0.70, "drawing": 0.24, "plain": 0.06},
    "loss": "logarithm",  # of each crop's mean squared error, or "absolute": the mean error of all pixels
    "floor": 10.0,  # squared codes added to the error under the logarithm: below it an error hardly counts
    "luma": 1.0,  # how much the error of the luma counts beside that of the three colours
    "seed": 1,
    "halo": 0.0,  # how much more an error counts, where it is a halo, in drawings and flat tiles (not in photographs)
    "batch": 16,
    "crop": 32,  # pixels of the small side, at most those of a tile
    "rate": 2e-3,
    "last_rate": 0.01,  # the share of the rate that is left at the end
    "warm_up": 200,  # steps
    "ring": 0.3,  # weight of pixels that see zeros because a crop ends, not because the picture does
    "fast_share": 0.8,  # of the steps in a 16-bit type
    "half_share": 0.1,  # of the steps, the last ones, in emulated half precision, rounded and truncated in turn
    "average": 0.999,
    "check_every": 1500,
    "validation": "val",
}


def read_configuration(name):
    path = KIT / "configs" / f"{name}.json"
    if not path.is_file():
        raise SystemExit(f"there is no configuration {path}")
    return {**DEFAULTS, "name": name, **json.loads(path.read_text())}


def find_start(name, results):
    """The model of that name that was trained here, or the one that comes with the kit."""
    for path in (results / name / "weights.npz", ROOT / "weights" / f"{name}.en", KIT / "start" / f"{name}.npz"):
        if path.is_file():
            return path
    raise SystemExit(f"training starts from the model {name}, which is not there: train it first")


class Schedule:
    """Where training stands: by steps, or by time when the run was given minutes."""

    def __init__(self, settings, minutes):
        self.settings, self.minutes = settings, minutes

    def progress(self, step, seconds):
        return seconds / (60 * self.minutes) if self.minutes else step / self.settings["steps"]

    def rate(self, step, progress):
        least = self.settings["last_rate"]
        falling = least + (1 - least) * 0.5 * (1 + math.cos(math.pi * min(progress, 1)))
        return self.settings["rate"] * falling * min(1, (step + 1) / self.settings["warm_up"])

    def stage(self, progress):
        if progress < self.settings["fast_share"]:
            return "fast"
        return "single" if progress < 1 - self.settings["half_share"] else "half"


class Validation:
    """The gain over bicubic on pictures that training does not see."""

    def __init__(self, folder):
        self.pairs = []
        for path in sorted(Path(folder).glob("photo-*.png")):
            large = np.asarray(Image.open(path).convert("RGB"))
            small_path = compress.small_of(path)
            small = np.asarray(Image.open(small_path)) if small_path.exists() else resize.to_bytes(resize.halve(large))
            bicubic = metrics.compare(resize.to_bytes(resize.double_bicubic(small)), large)[0]
            self.pairs.append((small, large, bicubic))

    def gain(self, weights, device):
        gains = []
        for small, large, bicubic in self.pairs:
            result = double(weights, small, network.run, device)
            gains.append(metrics.psnr(metrics.luma(metrics.cut(result)), metrics.luma(metrics.cut(large))) - bicubic)
        return sum(gains) / max(1, len(gains))


def double(weights, small, run, device="cpu"):
    """One picture (height x width x 3 bytes, red first) through the network; bytes again."""
    with torch.no_grad():
        value = torch.from_numpy(np.ascontiguousarray(small[..., ::-1].transpose(2, 0, 1))).float().to(device)[None] / 255
        result = run([(f.to(device), b.to(device)) for f, b in weights], value).clamp(0, 1)[0]
    return resize.to_bytes(result.cpu().numpy().transpose(1, 2, 0)[..., ::-1] * 255.0)


def fastest_type(device):
    """What the middle layers compute in during the fast stage: half precision on a card, the finer of the 16-bit types;
    bfloat16 on a processor with AVX-512; single precision on any other one, where bfloat16 would take nine times longer."""
    if device == "cuda":
        return torch.float16
    about = Path("/proc/cpuinfo")
    has_avx512 = about.is_file() and {"avx512bw", "avx512vl", "avx512dq"} <= set(about.read_text().split())
    return torch.bfloat16 if has_avx512 else torch.float32


def beyond(result, large):
    """By how much a result lies above all of the 5x5 source pixels around it, or (negative) below all of them."""
    side = large.shape[-1]

    def highest(picture):
        # In slices: PyTorch's own pooling takes thirty times longer on a processor.
        padded = torch.nn.functional.pad(picture, (2, 2, 2, 2), value=-1.0)
        rows = functools.reduce(torch.maximum, (padded[..., shift : shift + side] for shift in range(5)))
        return functools.reduce(torch.maximum, (rows[..., shift : shift + side, :] for shift in range(5)))

    return (result - highest(large)).clamp(min=0) - (-highest(-large) - result).clamp(min=0)


class Training:
    """The model, its optimizer and the average of its weights. On a card every kind of step is recorded once and then only
    replayed: its many small operations would take longer to start than to run."""

    EAGER_STEPS = 3  # before a kind of step is recorded
    LOSS_SCALE = 4096.0  # keeps small gradients in half precision; Adam does not see it

    def __init__(self, settings, arguments):
        self.settings, self.arguments = settings, arguments
        self.folder = arguments.results / settings["name"]
        self.device = "cuda" if torch.cuda.is_available() else "cpu"
        self.fast = fastest_type(self.device)
        torch.manual_seed(settings["seed"])
        start = None
        if settings["start"]:
            start = [tuple(map(torch.from_numpy, layer)) for layer in convert.read(find_start(settings["start"], arguments.results))]
            start = network.with_colours_inverted(start, settings["inverted"])
        self.model = network.Chain(settings["channels"], settings["depth"], start).to(self.device)
        self.rate, self.follow, self.loss = (torch.zeros((), device=self.device) for _ in range(3))
        on_card = {"lr": self.rate, "capturable": True} if self.device == "cuda" else {}
        self.optimizer = torch.optim.Adam(self.model.parameters(), betas=(0.9, 0.99), **on_card)
        self.average = [[t.detach().clone() for t in layer] for layer in self.model.collapsed()]
        self.step, self.seconds, self.processor_seconds = 0, 0.0, 0.0
        self.chosen = torch.zeros((4, settings["batch"]), dtype=torch.int64, device=self.device)
        self.luma = torch.tensor([0.114, 0.587, 0.299], device=self.device).view(1, 3, 1, 1)  # BT.601, blue first
        self.seen, self.graphs = {}, {}

    def resume(self):
        path = self.folder / "checkpoint.pt"
        if not path.exists():
            return
        state = torch.load(path, map_location=self.device)
        if state["settings"] != self.settings:
            raise SystemExit(f"{path} was made with another configuration; remove {self.folder} to start again")
        self.model.load_state_dict(state["model"])
        self.optimizer.load_state_dict(state["optimizer"])
        self.average, self.step, self.seconds = state["average"], state["step"], state["seconds"]
        self.processor_seconds = state.get("processor_seconds", 0.0)
        print(f"going on after {self.step} steps and {self.seconds / 60:.1f} min")

    def save(self):
        state = {"settings": self.settings, "model": self.model.state_dict(), "optimizer": self.optimizer.state_dict(),
                 "average": self.average, "step": self.step, "seconds": self.seconds,
                 "processor_seconds": self.processor_seconds + time.process_time()}
        partial = self.folder / "checkpoint.partial"
        torch.save(state, partial)
        partial.rename(self.folder / "checkpoint.pt")

    def one_step(self, batches, stage, rate):
        kind = (stage, stage == "half" and self.step % 2 == 1)  # the second: conversions truncate
        self.chosen.copy_(batches.choose(self.step))
        self.rate.fill_(rate)
        self.follow.fill_(1 - min(self.settings["average"], (self.step + 1) / (self.step + 10)))
        for group in self.optimizer.param_groups:
            group["lr"] = self.rate if self.device == "cuda" else rate
        self.step += 1
        if self.device == "cpu":
            self._update(batches, kind)
        else:
            self._update_on_card(batches, kind)

    def _update_on_card(self, batches, kind):
        self.seen[kind] = self.seen.get(kind, 0) + 1
        if self.seen[kind] <= self.EAGER_STEPS:
            side = torch.cuda.Stream()
            side.wait_stream(torch.cuda.current_stream())
            with torch.cuda.stream(side):
                self._update(batches, kind)
            torch.cuda.current_stream().wait_stream(side)
            return
        if kind not in self.graphs:
            self.graphs[kind] = torch.cuda.CUDAGraph()
            with torch.cuda.graph(self.graphs[kind]):
                self._update(batches, kind)
        self.graphs[kind].replay()

    def _update(self, batches, kind):
        """Everything that changes from step to step is read from tensors: the crops, the rate, how fast the average follows."""
        self.optimizer.zero_grad(set_to_none=True)
        small, large, weight, halo = batches.cut(self.chosen)
        weights = [(f.to(memory_format=torch.channels_last), b) for f, b in self.model.collapsed()]
        stage, truncate = kind
        if stage == "half":
            result = network.run_half(weights, small, truncate)
        else:
            result = network.run(weights, small, self.fast if stage == "fast" else torch.float32)
        error = result - large
        if self.settings["halo"]:
            error = error + halo * beyond(result, large)
        loss = self._loss(error, weight)
        (loss * self.LOSS_SCALE).backward()
        self.optimizer.step()
        self.loss += loss.detach()
        with torch.no_grad():  # the average of the filters themselves: that of their factors would be something else
            for mean, layer in zip(self.average, weights):
                for a, b in zip(mean, layer):
                    a.lerp_(b, self.follow)

    def _loss(self, error, weight):
        """With the logarithm it is the relative error that counts, as in the mean of PSNRs: an error in a smooth crop weighs
        more than the same one where nothing could be right."""
        luma = (error * self.luma).sum(dim=1, keepdim=True)
        if self.settings["loss"] == "absolute":
            return ((error.abs() + self.settings["luma"] * luma.abs()) * weight).mean() / weight.mean()
        squared = (error.square().mean(dim=1, keepdim=True) + self.settings["luma"] * luma.square()) * weight
        of_crops = squared.mean(dim=(1, 2, 3)) / weight.mean(dim=(1, 2, 3))
        return 0.01 * torch.log(255**2 * of_crops + self.settings["floor"]).mean()

    def weights(self):
        return [(f.detach().float().cpu().contiguous(), b.detach().float().cpu()) for f, b in self.average]


def show(training, progress, rate, loss, gain):
    left = training.seconds * (1 / max(progress, 1e-6) - 1) / 60
    print(f"step {training.step}, {100 * progress:.1f} %, rate {rate:.2e}, loss {loss:.5f}, gain {gain:+.3f} dB, "
          f"{training.seconds / 60:.1f} min, {left:.0f} min left", flush=True)


def learn(training, batches, validation, schedule):
    stopped = []
    signal.signal(signal.SIGTERM, lambda *_: stopped.append(True))
    signal.signal(signal.SIGINT, lambda *_: stopped.append(True))
    started, steps = time.monotonic() - training.seconds, 0
    with open(training.folder / "log.csv", "a", newline="") as file:
        log = csv.writer(file)
        while True:
            progress = schedule.progress(training.step, training.seconds)
            if stopped or progress >= 1:
                break
            rate = schedule.rate(training.step, progress)
            training.one_step(batches, schedule.stage(progress), rate)
            steps += 1
            training.seconds = time.monotonic() - started
            if training.step % training.settings["check_every"] == 0:
                mean = float(training.loss) / steps
                if not math.isfinite(mean):
                    sys.exit("training diverged: the loss is not a number any more")
                gain = validation.gain(training.weights(), training.device)
                log.writerow([training.step, f"{training.seconds:.1f}", schedule.stage(progress), f"{rate:.3e}",
                              f"{mean:.6f}", f"{gain:.4f}"])
                file.flush()
                show(training, progress, rate, mean, gain)
                training.save()
                training.loss.zero_()
                steps = 0
    training.save()
    return not stopped


def trim_log(path, step):
    """Leaves out what was written after the checkpoint from which training goes on."""
    if path.exists():
        rows = [row for row in csv.reader(path.open()) if int(row[0]) <= step]
        with path.open("w", newline="") as file:
            csv.writer(file).writerows(rows)


def plot(folder):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    rows = [row for row in csv.reader((folder / "log.csv").open())]
    if not rows:
        return
    steps = [int(row[0]) for row in rows]
    figure, axes = plt.subplots(1, 2, figsize=(9, 3.2))
    for axis, column, title in ((axes[0], 4, "loss"), (axes[1], 5, "gain over bicubic (dB, validation)")):
        axis.plot(steps, [float(row[column]) for row in rows])
        axis.set_title(title)
        axis.set_xlabel("step")
    figure.tight_layout()
    figure.savefig(folder / "curves.png")


def machine():
    if torch.cuda.is_available():
        return torch.cuda.get_device_name(0)
    cores = len(os.sched_getaffinity(0))
    return f"{cores} processor core{'s' * (cores > 1)}"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("name", help="a configuration in training/configs")
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--results", type=Path, default=Path("build/training"))
    parser.add_argument("--minutes", type=float, help="spread the schedule over this time instead of the configured steps")
    arguments = parser.parse_args()
    settings = read_configuration(arguments.name)
    training = Training(settings, arguments)
    training.folder.mkdir(parents=True, exist_ok=True)
    (training.folder / "configuration.json").write_text(json.dumps(settings, indent=1) + "\n")
    training.resume()
    trim_log(training.folder / "log.csv", training.step)
    groups = {name: tiles.load(arguments.data, name, settings["seed"]) for name in settings["mix"]}
    batches = tiles.Batches(groups, settings, training.device)
    validation = Validation(arguments.data / settings["validation"])
    finished = learn(training, batches, validation, Schedule(settings, arguments.minutes))
    plot(training.folder)
    if not finished:
        sys.exit("stopped; the same command goes on from here")
    convert.write(training.folder / "weights.npz", [(f.numpy(), b.numpy()) for f, b in training.weights()])
    done = {"steps": training.step, "minutes": round(training.seconds / 60, 1), "machine": machine(),
            "processor_minutes": round((training.processor_seconds + time.process_time()) / 60, 1)}
    (training.folder / "training.json").write_text(json.dumps(done, indent=1) + "\n")


if __name__ == "__main__":
    main()
