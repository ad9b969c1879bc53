"""Creates training tiles and test images whose small side went through video compression. Run prepare.py first.

Adds video.npz, val-video/ and test-video/ to the data folder. video.npz holds the small sides only; the large sides are
the tiles of tiles.npz.
"""
import argparse
import shutil
import sys
from pathlib import Path

import numpy as np
from PIL import Image

from training.data import compress, pack, prepare

TEST_CRF = 28
CRFS = 25, 32  # range of the training tiles, without the second: usual for streaming
DRAWINGS = 0.4  # share of the drawings that give one tile
SCREENS = 70  # number of tiles with text, lines and interfaces


def compressed(large: np.ndarray, random: np.random.Generator) -> np.ndarray:
    """The compressed small side of a whole image, at a random quality."""
    margin = compress.MARGIN
    bottom, right = (margin + -side % 4 for side in large.shape[:2])
    padded = np.pad(large, ((margin, bottom), (margin, right), (0, 0)), mode="symmetric")
    blur, noise = random.random(2) * (random.random(2) < 0.2) * (0.2, 1.2)
    return compress.degraded_pair(padded, int(random.integers(*CRFS)), random, blur, noise)[0]


def gather(packages: Path, random: np.random.Generator) -> tuple[dict[str, list[bytes]], dict[str, list[int]], int]:
    """Compresses the images in the order of prepare.py, so that its tiles serve as the large sides.

    Returns for each kind the encoded small sides and the tile that each belongs to, and the number of drawn tiles.
    """
    kinds = ("photo", "drawing")
    small, numbers, counts = {kind: [] for kind in kinds}, {kind: [] for kind in kinds}, dict.fromkeys(kinds, 0)
    for source, image in prepare.distinct(packages):
        if prepare.split_of(source) != "train":
            continue
        for large, places in prepare.tiled(source, image):
            used = places if source.kind == "photo" else places[:1] if random.random() < DRAWINGS else []
            if used:
                whole = compressed(large, random)
                halves = [prepare.cut(whole, (y // 2, x // 2), pack.TILE // 2) for y, x in used]
                small[source.kind] += [pack.encode(half, True) for half in halves]
                numbers[source.kind] += range(counts[source.kind], counts[source.kind] + len(used))
            counts[source.kind] += len(places)
        print(f"\r{sum(map(len, small.values()))} tiles ", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    return small, numbers, counts["drawing"]


def add_screens(tiles: Path, first: int, small: dict[str, list[bytes]], numbers: dict[str, list[int]],
                random: np.random.Generator) -> None:
    """Adds some of the tiles that prepare.py drew itself, which start at `first` among the drawings of `tiles`."""
    drawings = pack.read(tiles, "drawing")
    screens = range(first, len(drawings))[:SCREENS]
    small["drawing"] += [pack.encode(compressed(drawings[number], random), True) for number in screens]
    numbers["drawing"] += screens


def compress_images(source: Path, target: Path) -> None:
    """Writes the compressed pairs of the images of one folder into another."""
    shutil.rmtree(target, ignore_errors=True)
    target.mkdir()
    for path in sorted([*source.glob("photo-*.png"), *source.glob("drawn-*.png")]):
        image = np.asarray(Image.open(path).convert("RGB"))
        small, large = compress.degraded_pair(image, TEST_CRF, np.random.default_rng(1))
        Image.fromarray(large).save(target / path.name)
        Image.fromarray(small).save(compress.small_of(target / path.name))


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--packages", type=Path, default=Path("build/training/packages"))
    parser.add_argument("--seed", type=int, default=2)
    arguments = parser.parse_args()
    for split in ("val", "test"):
        compress_images(arguments.data / split, arguments.data / f"{split}-video")
    tiles = arguments.data / "tiles.npz"
    small, numbers, drawings = gather(arguments.packages, np.random.default_rng(arguments.seed))
    if len(numbers["photo"]) != pack.count(tiles, "photo"):
        raise SystemExit(f"{tiles} was made from other images; run prepare.py again")
    add_screens(tiles, drawings, small, numbers, np.random.default_rng((arguments.seed, 1)))
    pack.write(arguments.data / "video.npz", small, numbers)
    print(f"{sum(map(len, small.values()))} tiles, {(arguments.data / 'video.npz').stat().st_size / 1e6:.1f} MB")


if __name__ == "__main__":
    main()
