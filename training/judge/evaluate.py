"""Judges a model through the real library: downscales images, upscales them and compares them with the originals.

    python3 -m training.judge.evaluate MODEL FOLDER

MODEL is a name in weights/ or a file that model/convert.py reads. FOLDER contains PNG images. If small-X.png lies
beside photo-X.png or drawn-X.png (compressed frames), it is upscaled instead of the downscaled image. PSNR and SSIM of
the luma are as in the literature (BT.601, studio range, rounded to 8 bits, without a border of 2 pixels).
"""
import argparse
import json
import tempfile
from collections.abc import Sequence
from dataclasses import dataclass
from functools import partial
from pathlib import Path

import numpy as np
import torch
from PIL import Image

from training import ROOT
from training.data import compress, resize
from training.judge import library, metrics, synthetic
from training.model import convert, network

Table = dict[str, dict[str, tuple]]  # image -> method -> figures, see judge()


@dataclass
class Pair:
    """A small image and the large one that it should become, as bytes with red first."""

    name: str
    small: np.ndarray
    large: np.ndarray


def read_pairs(folder: Path, names: str = "*.png") -> list[Pair]:
    """Reads the images of a folder, sorted by name."""
    pairs = []
    for path in sorted(Path(folder).glob(names)):
        if path.name.startswith("small-"):
            continue
        large = np.asarray(Image.open(path).convert("RGB"))
        large = large[: large.shape[0] // 2 * 2, : large.shape[1] // 2 * 2]
        small = compress.small_of(path)
        pairs.append(Pair(path.stem, np.asarray(Image.open(small).convert("RGB")) if small.exists()
                          else resize.to_bytes(resize.downscale(large)), large))
    if not pairs:
        raise SystemExit(f"{folder} contains no PNG images")
    return pairs


class Model:
    """A model and the ways to run it. `sizes`: (channels, depth) of a file without a .json file beside it."""

    def __init__(self, name: str | Path, sizes: tuple[int, int] | None):
        path = Path(name)
        if not path.suffix:
            path = ROOT / "weights" / f"{name}.en"
        if not path.is_file():
            raise SystemExit(f"the model {path} does not exist")
        arrays = convert.read(path, sizes)
        self.channels, self.depth = convert.sizes_of(arrays)
        self.weights = [tuple(map(torch.from_numpy, layer)) for layer in arrays]
        self.arrays = arrays

    def in_library(self, images: Sequence[np.ndarray]) -> list[np.ndarray]:
        """Upscales images with the library."""
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder, "model.bin")
            convert.write(path, self.arrays)
            return library.upscale_all(path, self.channels, self.depth, images)

    def in_torch(self, small: np.ndarray, truncate: bool) -> np.ndarray:
        """Upscales one image with PyTorch in emulated half precision (FP16)."""
        return network.upscale(self.weights, small, partial(network.run_half, truncate=truncate))


METHODS = ("bicubic", "lanczos", "library", "rounded", "truncated")


def judge(model: Model, pairs: list[Pair], upscaled: list[np.ndarray] | None) -> Table:
    """Compares all methods. `upscaled` are the results of the library, if it was used.

    The figures are luma PSNR, RGB PSNR, SSIM, halo, and how far the means of the three colours are above the source in
    8-bit code values. "exact" is single precision.
    """
    table = {}
    for pair, by_library in zip(pairs, upscaled or [None] * len(pairs)):
        results = {
            "bicubic": resize.to_bytes(resize.upscale_bicubic(pair.small)),
            "lanczos": resize.to_bytes(resize.upscale_lanczos(pair.small)),
            "library": by_library,
            "rounded": model.in_torch(pair.small, False),
            "truncated": model.in_torch(pair.small, True),
            "exact": network.upscale(model.weights, pair.small, network.run),
        }
        shifts = {method: np.mean(result.astype(float) - pair.large, axis=(0, 1))
                  for method, result in results.items() if result is not None}
        table[pair.name] = {method: (*metrics.compare(results[method], pair.large), shifts[method])
                            for method in (*METHODS, "exact") if results[method] is not None}
    return table


def mean_row(table: Table) -> dict[str, tuple]:
    """The means of all figures over the images."""
    methods = next(iter(table.values()))
    return {method: tuple(np.mean([row[method][column] for row in table.values()], axis=0) for column in range(5))
            for method in methods}


def show(table: Table) -> None:
    """Prints the table."""
    methods = [method for method in METHODS if method in next(iter(table.values()))]
    print(f"{'luma PSNR (dB), SSIM':32}" + "".join(f"{method:>17}" for method in methods) + "    gain")
    best = "library" if "library" in methods else "rounded"
    for name, row in [*table.items(), ("mean", mean_row(table))]:
        print(f"{name[:31]:32}" + "".join(f"{row[m][0]:10.3f} {row[m][2]:.4f}" for m in methods)
              + f"  {row[best][0] - row['bicubic'][0]:+.3f}")
    mean = mean_row(table)
    print(f"{'mean of RGB PSNR (dB)':32}" + "".join(f"{mean[m][1]:10.3f}       " for m in methods))
    print(f"{'outside the 5x5 range (codes)':32}" + "".join(f"{mean[m][3]:10.3f}       " for m in methods))
    print(f"worse than bicubic: {', '.join(worse_than_bicubic(table)) or 'none'}")
    for method, change in half_precision(table).items():
        print(f"{method}: {change['psnr_y']:+.4f} dB relative to single precision, "
              f"means of red, green, blue {change['shift']} codes above the source")


def worse_than_bicubic(table: Table) -> list[str]:
    """The images on which bicubic has a higher luma PSNR."""
    best = "library" if "library" in next(iter(table.values())) else "rounded"
    return [name for name, row in table.items() if row[best][0] < row["bicubic"][0]]


def half_precision(table: Table) -> dict[str, dict]:
    """For each method: the change of the mean luma PSNR relative to single precision, and the shifts of the colours."""
    mean = mean_row(table)
    return {method: {"psnr_y": round(float(mean[method][0] - mean["exact"][0]), 4),
                     "shift": [round(float(value), 3) for value in mean[method][4]]}
            for method in ("library", "rounded", "truncated", "exact") if method in mean}


def summary(table: Table) -> dict[str, dict]:
    """The means for each kind of image (photo, drawing, drawn), for the model card. The name begins with the kind."""
    kinds = sorted({name.split("-")[0] for name in table})
    result = {}
    for kind in kinds:
        mean = mean_row({name: row for name, row in table.items() if name.split("-")[0] == kind})
        result[kind] = {method: {"psnr_y": round(float(row[0]), 3), "psnr_rgb": round(float(row[1]), 3),
                                 "ssim": round(float(row[2]), 4), "halo": round(float(row[3]), 2)}
                        for method, row in mean.items()}
    return result


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("model")
    parser.add_argument("folder", type=Path)
    parser.add_argument("--channels", type=int, help="of a .bin or .en file without a .json file beside it")
    parser.add_argument("--depth", type=int, help="number of layers minus 2")
    parser.add_argument("--without-library", action="store_true", help="use PyTorch only, where the library cannot run")
    parser.add_argument("--json", type=Path, help="also write the means to this file")
    arguments = parser.parse_args()
    sizes = (arguments.channels, arguments.depth) if arguments.channels is not None else None
    model = Model(arguments.model, sizes)
    pairs = read_pairs(arguments.folder)
    if arguments.without_library:
        upscaled, plain = None, [model.in_torch(small, True) for small in synthetic.small_images()]
    else:
        # One run of the program for all images, because it is slow to start.
        upscaled = model.in_library([pair.small for pair in pairs] + synthetic.small_images())
        upscaled, plain = upscaled[: len(pairs)], upscaled[len(pairs) :]
    table = judge(model, pairs, upscaled)
    show(table)
    checks = synthetic.check(plain)
    for line in synthetic.lines(checks):
        print(line)
    if arguments.json:
        photos = {name: row for name, row in table.items() if name.startswith("photo")}
        figures = {"images": summary(table), "worse": worse_than_bicubic(table),
                   "half_precision": half_precision(photos or table),
                   "synthetic": checks}
        arguments.json.write_text(json.dumps(figures, indent=2) + "\n")


if __name__ == "__main__":
    main()
