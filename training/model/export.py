"""Corrects a trained model for half precision and puts it into weights/: NAME.en, and the numbers of NAME.json.

A device may round or truncate when it stores a 16-bit float. Truncation makes every channel a little darker, so the biases
of the last layer are shifted until the mean of each colour over the validation pictures of the training (compressed ones for
`video`, since compression shifts colours too) lies as much above the source's when rounding as it lies below when truncating.
"""
import argparse
import json
import subprocess
from pathlib import Path

import numpy as np
import torch

from training import ROOT
from training.judge import evaluate
from training.model import cipher, convert, network

PURPOSES = {
    "base": "what default-first and video-first start from",
    "wide": "what quality-first starts from",
    "default-first": "what default goes on from",
    "quality-first": "what quality goes on from",
    "video-first": "what video goes on from",
    "fast": "the least work a frame",
    "default": "pictures and clean video",
    "quality": "pictures, where time does not matter",
    "video": "compressed video",
}


def mean_shift(weights, pairs, truncate):
    """By how much the three colours lie above the source's on average, blue first, in codes. Outputs that the clamp holds are
    left out: no bias moves them."""
    total, count = torch.zeros(3), torch.zeros(3)
    for pair in pairs:
        small, large = (torch.from_numpy(np.ascontiguousarray(picture[..., ::-1].transpose(2, 0, 1))).float()[None] / 255
                        for picture in (pair.small, pair.large))
        with torch.no_grad():
            result = network.run_half(weights, small, truncate)
        free = (result > 0) & (result < 1)
        total += ((result - large) * free).sum(dim=(0, 2, 3)) * 255
        count += free.sum(dim=(0, 2, 3))
    return total / count


def corrected(weights, pairs):
    """The weights with the last biases shifted, a value for each colour."""
    middle = (mean_shift(weights, pairs, True) + mean_shift(weights, pairs, False)) / 2 / 255
    filters, bias = weights[-1]
    return weights[:-1] + [(filters, bias - middle.repeat_interleave(4))]


def _commit():
    done = subprocess.run(["git", "rev-parse", "--short=12", "HEAD"], cwd=ROOT, stdout=subprocess.PIPE, text=True, check=False)
    return done.stdout.strip() or "unknown"


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("name")
    parser.add_argument("--results", type=Path, default=Path("build/training"))
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--weights", type=Path, default=ROOT / "weights")
    arguments = parser.parse_args()
    folder = arguments.results / arguments.name
    settings = json.loads((folder / "configuration.json").read_text())
    weights = [tuple(map(torch.from_numpy, layer)) for layer in convert.read(folder / "weights.npz")]
    weights = corrected(weights, evaluate.read_pairs(arguments.data / settings["validation"], "photo-*.png"))
    arguments.weights.mkdir(exist_ok=True)
    data = convert.to_bytes([(f.numpy(), b.numpy()) for f, b in weights])
    # The container's random bytes come from the content, so that the same model gives the same file.
    random = np.random.default_rng(np.frombuffer(data, np.uint8)[:64].tolist())
    (arguments.weights / f"{arguments.name}.en").write_bytes(cipher.seal(data, random.bytes))
    card = {"channels": settings["channels"], "depth": settings["depth"], "reach": settings["depth"] + 2,
            "purpose": PURPOSES.get(arguments.name, ""), "seed": settings["seed"], "commit": _commit(),
            "start": settings["start"], "training": json.loads((folder / "training.json").read_text())}
    (arguments.weights / f"{arguments.name}.json").write_text(json.dumps(card, indent=2) + "\n")
    print(f"weights/{arguments.name}.en: {len(data)} bytes of weights")


if __name__ == "__main__":
    main()
