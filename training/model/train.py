"""Trains the model of a configuration. Resumes an earlier run that was stopped.

The results are in build/training/NAME: the configuration, log.csv, curves.png, checkpoint.pt and, at the end,
weights.npz and training.json with the duration and the machine.
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
    "inverted": [],  # its layers that pass the colours on inverted, see network.py
    # Shares of the groups of tiles.
    "mix": {"photo": 0.70, "drawing": 0.24, "plain": 0.06},
    "loss": "logarithm",  # of each crop's mean squared error; or "absolute", the mean error of all pixels
    "floor": 10.0,  # squared code values, added to the squared error: errors far below it hardly count
    "luma": 1.0,  # weight of the luma error relative to that of the three colours
    "seed": 1,
    "halo": 0.0,  # additional weight of halos in drawings and flat tiles (not in photographs)
    "batch": 16,  # crops
    "crop": 32,  # side of the small crops in pixels, at most that of a tile
    "rate": 2e-3,  # learning rate of Adam after the warm-up, with a cosine schedule
    "last_rate": 0.01,  # share of the rate at the end
    "warm_up": 200,  # steps with a rising rate
    "ring": 0.3,  # weight of pixels that see zeros at the edge of a crop that is not an edge of the image
    "fast_share": 0.8,  # share of the steps with a 16-bit type
    "half_share": 0.1,  # share of the steps, at the end, in emulated half precision (FP16)
    "average": 0.999,  # decay of the running average of the filters, which is the result
    "check_every": 1500,  # steps between two validations
    "validation": "val",  # folder of the validation images
}


def read_configuration(name: str) -> dict:
    """The settings of configs/NAME.json, with the defaults for all others."""
    path = KIT / "configs" / f"{name}.json"
    if not path.is_file():
        raise SystemExit(f"the configuration {path} does not exist")
    return {**DEFAULTS, "name": name, **json.loads(path.read_text())}


def find_start(name: str, results: Path) -> Path:
    """The model of that name that was trained here, or the one that is part of the repository."""
    candidates = (results / name / "weights.npz", ROOT / "weights" / f"{name}.en", KIT / "start" / f"{name}.npz")
    for path in candidates:
        if path.is_file():
            return path
    raise SystemExit(f"training starts from the model {name}, which does not exist: train it first")


class Schedule:
    """Progress by steps, or by time if `minutes` is given, and what depends on it."""

    def __init__(self, settings: dict, minutes: float | None):
        self.settings, self.minutes = settings, minutes

    def progress(self, step: int, seconds: float) -> float:
        """0 at the start, 1 at the end."""
        return seconds / (60 * self.minutes) if self.minutes else step / self.settings["steps"]

    def rate(self, step: int, progress: float) -> float:
        """The learning rate: a warm-up, then a cosine."""
        least = self.settings["last_rate"]
        falling = least + (1 - least) * 0.5 * (1 + math.cos(math.pi * min(progress, 1)))
        return self.settings["rate"] * falling * min(1, (step + 1) / self.settings["warm_up"])

    def stage(self, progress: float) -> str:
        """How a step computes: "fast" (16 bits), "single" (32 bits) or "half" (emulated half precision)."""
        if progress < self.settings["fast_share"]:
            return "fast"
        return "single" if progress < 1 - self.settings["half_share"] else "half"


class Validation:
    """Measures the gain over bicubic on images that training does not see."""

    def __init__(self, folder: Path):
        self.pairs = []
        for path in sorted(Path(folder).glob("photo-*.png")):
            large = np.asarray(Image.open(path).convert("RGB"))
            small_path = compress.small_of(path)
            small = (np.asarray(Image.open(small_path)) if small_path.exists()
                     else resize.to_bytes(resize.downscale(large)))
            bicubic = metrics.compare(resize.to_bytes(resize.upscale_bicubic(small)), large)[0]
            self.pairs.append((small, large, bicubic))

    def gain(self, weights: network.Weights, device: str) -> float:
        """Mean gain of the luma PSNR over bicubic in dB."""
        gains = []
        for small, large, bicubic in self.pairs:
            result = network.upscale(weights, small, network.run, device)
            gains.append(metrics.psnr(metrics.luma(metrics.cut(result)), metrics.luma(metrics.cut(large))) - bicubic)
        return sum(gains) / max(1, len(gains))


def fastest_type(device: str) -> torch.dtype:
    """The type of the middle layers in the fast stage.

    Half precision on a GPU, since it is the more precise 16-bit type. bfloat16 on a CPU with AVX-512. Single precision
    on any other CPU, where bfloat16 would take nine times longer.
    """
    if device == "cuda":
        return torch.float16
    about = Path("/proc/cpuinfo")
    has_avx512 = about.is_file() and {"avx512bw", "avx512vl", "avx512dq"} <= set(about.read_text().split())
    return torch.bfloat16 if has_avx512 else torch.float32


def beyond(result: torch.Tensor, large: torch.Tensor) -> torch.Tensor:
    """How far a result is above the largest of the 5x5 source pixels around it, or (negative) below the smallest."""
    side = large.shape[-1]

    def highest(image: torch.Tensor) -> torch.Tensor:
        # With slices, because PyTorch's own pooling takes thirty times longer on a CPU.
        padded = torch.nn.functional.pad(image, (2, 2, 2, 2), value=-1.0)
        rows = functools.reduce(torch.maximum, (padded[..., shift : shift + side] for shift in range(5)))
        return functools.reduce(torch.maximum, (rows[..., shift : shift + side, :] for shift in range(5)))

    return (result - highest(large)).clamp(min=0) - (-highest(-large) - result).clamp(min=0)


class Training:
    """The model, its optimizer and the running average of its weights.

    On a GPU each kind of step is recorded once and then replayed, because its many small operations would take longer
    to launch than to run.
    """

    EAGER_STEPS = 3  # before a kind of step is recorded
    LOSS_SCALE = 4096.0  # keeps small gradients above zero in half precision; Adam does not depend on it

    def __init__(self, settings: dict, arguments: argparse.Namespace):
        self.settings, self.arguments = settings, arguments
        self.folder = arguments.results / settings["name"]
        self.device = "cuda" if torch.cuda.is_available() else "cpu"
        self.fast = fastest_type(self.device)
        torch.manual_seed(settings["seed"])
        start = None
        if settings["start"]:
            arrays = convert.read(find_start(settings["start"], arguments.results))
            start = [tuple(map(torch.from_numpy, layer)) for layer in arrays]
            start = network.with_colours_inverted(start, settings["inverted"])
        self.model = network.Chain(settings["channels"], settings["depth"], start).to(self.device)
        self.rate, self.follow, self.loss = (torch.zeros((), device=self.device) for _ in range(3))
        on_gpu = {"lr": self.rate, "capturable": True} if self.device == "cuda" else {}
        self.optimizer = torch.optim.Adam(self.model.parameters(), betas=(0.9, 0.99), **on_gpu)
        self.average = [[t.detach().clone() for t in layer] for layer in self.model.collapsed()]
        self.step, self.seconds, self.processor_seconds = 0, 0.0, 0.0
        self.chosen = torch.zeros((4, settings["batch"]), dtype=torch.int64, device=self.device)
        self.luma = torch.tensor([0.114, 0.587, 0.299], device=self.device).view(1, 3, 1, 1)  # BT.601, blue first
        self.seen, self.graphs = {}, {}

    def resume(self) -> None:
        """Continues from the checkpoint, if there is one."""
        path = self.folder / "checkpoint.pt"
        if not path.exists():
            return
        state = torch.load(path, map_location=self.device)
        if state["settings"] != self.settings:
            raise SystemExit(f"{path} was made with another configuration; delete {self.folder} to start again")
        self.model.load_state_dict(state["model"])
        self.optimizer.load_state_dict(state["optimizer"])
        self.average, self.step, self.seconds = state["average"], state["step"], state["seconds"]
        self.processor_seconds = state.get("processor_seconds", 0.0)
        print(f"resuming after {self.step} steps and {self.seconds / 60:.1f} min")

    def save(self) -> None:
        """Writes the checkpoint."""
        state = {"settings": self.settings, "model": self.model.state_dict(), "optimizer": self.optimizer.state_dict(),
                 "average": self.average, "step": self.step, "seconds": self.seconds,
                 "processor_seconds": self.processor_seconds + time.process_time()}
        partial = self.folder / "checkpoint.partial"
        torch.save(state, partial)
        partial.rename(self.folder / "checkpoint.pt")

    def one_step(self, batches: tiles.Batches, stage: str, rate: float) -> None:
        """Trains with the next batch."""
        kind = (stage, stage == "half" and self.step % 2 == 1)  # the second value: conversions truncate
        self.chosen.copy_(batches.choose(self.step))
        self.rate.fill_(rate)
        self.follow.fill_(1 - min(self.settings["average"], (self.step + 1) / (self.step + 10)))
        for group in self.optimizer.param_groups:
            group["lr"] = self.rate if self.device == "cuda" else rate
        self.step += 1
        if self.device == "cpu":
            self._update(batches, kind)
        else:
            self._update_on_gpu(batches, kind)

    def _update_on_gpu(self, batches: tiles.Batches, kind: tuple[str, bool]) -> None:
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

    def _update(self, batches: tiles.Batches, kind: tuple[str, bool]) -> None:
        """Reads all that changes from step to step from tensors: the crops, the rate and the decay of the average."""
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
        with torch.no_grad():  # of the filters, since the average of their factors differs
            for mean, layer in zip(self.average, weights):
                for a, b in zip(mean, layer):
                    a.lerp_(b, self.follow)

    def _loss(self, error: torch.Tensor, weight: torch.Tensor) -> torch.Tensor:
        """With the logarithm the relative error counts, as in a mean of PSNRs.

        An error in a smooth crop then weighs more than the same error in a crop that cannot be predicted.
        """
        luma = (error * self.luma).sum(dim=1, keepdim=True)
        if self.settings["loss"] == "absolute":
            return ((error.abs() + self.settings["luma"] * luma.abs()) * weight).mean() / weight.mean()
        squared = (error.square().mean(dim=1, keepdim=True) + self.settings["luma"] * luma.square()) * weight
        of_crops = squared.mean(dim=(1, 2, 3)) / weight.mean(dim=(1, 2, 3))
        return 0.01 * torch.log(255**2 * of_crops + self.settings["floor"]).mean()

    def weights(self) -> network.Weights:
        """The running average of the weights, on the CPU."""
        return [(f.detach().float().cpu().contiguous(), b.detach().float().cpu()) for f, b in self.average]


def show(training: Training, progress: float, rate: float, loss: float, gain: float) -> None:
    """Prints one line about the progress."""
    left = training.seconds * (1 / max(progress, 1e-6) - 1) / 60
    print(f"step {training.step}, {100 * progress:.1f} %, rate {rate:.2e}, loss {loss:.5f}, gain {gain:+.3f} dB, "
          f"{training.seconds / 60:.1f} min, {left:.0f} min left", flush=True)


def learn(training: Training, batches: tiles.Batches, validation: Validation, schedule: Schedule) -> bool:
    """Trains to the end of the schedule. Returns False if a signal stopped it before."""
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
                    sys.exit("training diverged: the loss is not finite")
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


def trim_log(path: Path, step: int) -> None:
    """Removes the rows that were written after the checkpoint."""
    if path.exists():
        rows = [row for row in csv.reader(path.open()) if int(row[0]) <= step]
        with path.open("w", newline="") as file:
            csv.writer(file).writerows(rows)


def plot(folder: Path) -> None:
    """Draws curves.png from log.csv."""
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


def machine() -> str:
    """The GPU, or the number of CPU cores."""
    if torch.cuda.is_available():
        return torch.cuda.get_device_name(0)
    cores = len(os.sched_getaffinity(0))
    return f"{cores} CPU core{'s' * (cores > 1)}"


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("name", help="name of a configuration in training/configs")
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--results", type=Path, default=Path("build/training"))
    parser.add_argument("--minutes", type=float,
                        help="spread the schedule over this time instead of the configured number of steps")
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
        sys.exit("stopped; run the same command again to resume")
    convert.write(training.folder / "weights.npz", [(f.numpy(), b.numpy()) for f, b in training.weights()])
    done = {"steps": training.step, "minutes": round(training.seconds / 60, 1), "machine": machine(),
            "processor_minutes": round((training.processor_seconds + time.process_time()) / 60, 1)}
    (training.folder / "training.json").write_text(json.dumps(done, indent=1) + "\n")


if __name__ == "__main__":
    main()
