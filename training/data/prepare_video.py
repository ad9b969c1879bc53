"""Makes training tiles and test pictures whose small side was compressed as video is; needs prepare.py's pictures.

Adds video.npz, val-video/ and test-video/ to the data folder. video.npz holds only small sides: the large ones are tiles of
tiles.npz.
"""
import argparse
import shutil
import sys
from pathlib import Path

import numpy as np
from PIL import Image

from training.data import compress, pack, prepare

TEST_CRF = 28
CRFS = 25, 32  # of the training tiles, the second left out: what is streamed
DRAWINGS = 0.4  # the share of them of which one tile is taken
SCREENS = 70  # tiles of text, lines and interfaces


def compressed(large, random):
    """The small side of a whole picture, at a random quality."""
    margin = compress.MARGIN
    bottom, right = (margin + -side % 4 for side in large.shape[:2])
    padded = np.pad(large, ((margin, bottom), (margin, right), (0, 0)), mode="symmetric")
    blur, noise = random.random(2) * (random.random(2) < 0.2) * (0.2, 1.2)
    return compress.degraded_pair(padded, int(random.integers(*CRFS)), random, blur, noise)[0]


def gather(packages, random):
    """Goes through the pictures as prepare.py does, so that the large sides, which are its tiles, are not kept twice.

    Returns by kind the encoded small sides and which tile each belongs to, and how many tiles of drawings there are."""
    kinds = ("photo", "drawing")
    small, numbers, counts = {kind: [] for kind in kinds}, {kind: [] for kind in kinds}, dict.fromkeys(kinds, 0)
    for source, picture in prepare.distinct(packages):
        if prepare.split_of(source) != "train":
            continue
        for large, places in prepare.tiled(source, picture):
            used = places if source.kind == "photo" else places[:1] if random.random() < DRAWINGS else []
            if used:
                whole = compressed(large, random)
                small[source.kind] += [pack.encode(prepare.cut(whole, (y // 2, x // 2), pack.TILE // 2), True) for y, x in used]
                numbers[source.kind] += range(counts[source.kind], counts[source.kind] + len(used))
            counts[source.kind] += len(places)
        print(f"\r{sum(map(len, small.values()))} tiles ", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    return small, numbers, counts["drawing"]


def add_screens(tiles, first, small, numbers, random):
    """The first of the tiles that prepare.py drew itself; in `tiles` they come after those of other drawings."""
    drawings = pack.read(tiles, "drawing")
    screens = range(first, len(drawings))[:SCREENS]
    small["drawing"] += [pack.encode(compressed(drawings[number], random), True) for number in screens]
    numbers["drawing"] += screens


def compress_pictures(source, target):
    shutil.rmtree(target, ignore_errors=True)
    target.mkdir()
    for path in sorted([*source.glob("photo-*.png"), *source.glob("drawn-*.png")]):
        picture = np.asarray(Image.open(path).convert("RGB"))
        small, large = compress.degraded_pair(picture, TEST_CRF, np.random.default_rng(1))
        Image.fromarray(large).save(target / path.name)
        Image.fromarray(small).save(compress.small_of(target / path.name))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--packages", type=Path, default=Path("build/training/packages"))
    parser.add_argument("--seed", type=int, default=2)
    arguments = parser.parse_args()
    for split in ("val", "test"):
        compress_pictures(arguments.data / split, arguments.data / f"{split}-video")
    tiles = arguments.data / "tiles.npz"
    small, numbers, drawings = gather(arguments.packages, np.random.default_rng(arguments.seed))
    if len(numbers["photo"]) != pack.count(tiles, "photo"):
        raise SystemExit(f"{tiles} comes from other pictures; run prepare.py")
    add_screens(tiles, drawings, small, numbers, np.random.default_rng((arguments.seed, 1)))
    pack.write(arguments.data / "video.npz", small, numbers)
    print(f"{sum(map(len, small.values()))} tiles, {(arguments.data / 'video.npz').stat().st_size / 1e6:.1f} MB")


if __name__ == "__main__":
    main()
