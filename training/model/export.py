"""Corrects a trained model for half precision (FP16) and writes it to weights/ as NAME.en and NAME.json.

A device may round or truncate when it stores a 16-bit float. Truncation makes each channel a little darker. The biases
of the last layer are therefore shifted: over the validation images, the mean of each colour is then as far above the
source with rounding as it is below with truncation. For `video` these images are compressed, since compression shifts
the colours too.
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
    "default-first": "what default is fine-tuned from",
    "quality-first": "what quality is fine-tuned from",
    "video-first": "what video is fine-tuned from",
    "fast": "the lowest cost per frame",
    "default": "images and clean video",
    "quality": "images, where time does not matter",
    "video": "compressed video",
}


def _to_tensor(image: np.ndarray) -> torch.Tensor:
    return torch.from_numpy(np.ascontiguousarray(image[..., ::-1].transpose(2, 0, 1))).float()[None] / 255


def mean_shift(weights: network.Weights, pairs: list[evaluate.Pair], truncate: bool) -> torch.Tensor:
    """How far the three colours (blue first) are above the source on average, in 8-bit code values.

    Clamped outputs are left out, because a bias does not move them.
    """
    total, count = torch.zeros(3), torch.zeros(3)
    for pair in pairs:
        small, large = (_to_tensor(image) for image in (pair.small, pair.large))
        with torch.no_grad():
            result = network.run_half(weights, small, truncate)
        free = (result > 0) & (result < 1)
        total += ((result - large) * free).sum(dim=(0, 2, 3)) * 255
        count += free.sum(dim=(0, 2, 3))
    return total / count


def corrected(weights: network.Weights, pairs: list[evaluate.Pair]) -> network.Weights:
    """The weights with the last biases shifted by one value for each colour."""
    middle = (mean_shift(weights, pairs, True) + mean_shift(weights, pairs, False)) / 2 / 255
    filters, bias = weights[-1]
    return weights[:-1] + [(filters, bias - middle.repeat_interleave(4))]


def _commit() -> str:
    command = ["git", "rev-parse", "--short=12", "HEAD"]
    done = subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, text=True, check=False)
    return done.stdout.strip() or "unknown"


def main() -> None:
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
    # The random bytes of the container depend on the content, so that the same model gives the same file.
    random = np.random.default_rng(np.frombuffer(data, np.uint8)[:64].tolist())
    (arguments.weights / f"{arguments.name}.en").write_bytes(cipher.encrypt(data, random.bytes))
    card = {"channels": settings["channels"], "depth": settings["depth"], "reach": settings["depth"] + 2,
            "purpose": PURPOSES.get(arguments.name, ""), "seed": settings["seed"], "commit": _commit(),
            "start": settings["start"], "training": json.loads((folder / "training.json").read_text())}
    (arguments.weights / f"{arguments.name}.json").write_text(json.dumps(card, indent=2) + "\n")
    print(f"weights/{arguments.name}.en: {len(data)} bytes of weights")


if __name__ == "__main__":
    main()
