"""Makes training tiles and test pictures whose small side was compressed as video is; needs prepare.py's pictures.

Adds video.npz, val-video/ and test-video/ to the data folder.
"""
import argparse
import shutil
import sys
from pathlib import Path

import numpy as np
from PIL import Image

import compress
import pack
import prepare
import sources

TEST_CRF = 28
CRFS = 25, 32  # of the training tiles, the second left out: what is streamed


def tiles_of(source, random, limit):
    """Pairs of tiles from one picture at one of its sizes, compressed at a random quality."""
    picture = source.load()
    factors = prepare.sizes_of(source, picture)
    large = np.asarray(prepare.reduced(picture, factors[random.integers(len(factors))]))
    if min(large.shape[:2]) < pack.TILE + 2 * compress.MARGIN:
        return
    blur, noise = random.random(2) * (random.random(2) < 0.2) * (0.2, 1.2)
    small, large = compress.degraded_pair(large, int(random.integers(*CRFS)), random, blur, noise)
    half = pack.TILE // 2
    places = prepare.corners(*small.shape[:2], half)
    pairs = [(small[y : y + half, x : x + half], large[2 * y : 2 * (y + half), 2 * x : 2 * (x + half)]) for y, x in places]
    pairs.sort(key=lambda pair: prepare.bicubic_error(pair[1]), reverse=True)
    for a, b in pairs[:limit]:
        yield pack.encode(a, True), pack.encode(b, False)


def gather(arguments, random):
    small, large = [], []
    for source in sources.read_all(arguments.packages):
        wanted = arguments.photo_tiles if source.kind == "photo" else 1
        if prepare.split_of(source) == "train" and (source.kind == "photo" or random.random() < 0.4):
            for a, b in tiles_of(source, random, wanted):
                small.append(a)
                large.append(b)
            print(f"\r{len(small)} tiles ", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    return {"video": large, "video-small": small}


def compress_pictures(source, target):
    shutil.rmtree(target, ignore_errors=True)
    target.mkdir()
    for path in sorted(source.glob("photo-*.png")):
        picture = np.asarray(Image.open(path).convert("RGB"))
        small, large = compress.degraded_pair(picture, TEST_CRF, np.random.default_rng(1))
        Image.fromarray(large).save(target / path.name)
        Image.fromarray(small).save(target / path.name.replace("photo-", "small-"))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--packages", type=Path, default=Path("build/training/packages"))
    parser.add_argument("--photo-tiles", type=int, default=3, help="at most, of each photograph")
    parser.add_argument("--seed", type=int, default=2)
    arguments = parser.parse_args()
    for split in ("val", "test"):
        compress_pictures(arguments.data / split, arguments.data / f"{split}-video")
    groups = gather(arguments, np.random.default_rng(arguments.seed))
    pack.write(arguments.data / "video.npz", groups)
    print(f"{len(groups['video'])} tiles, {(arguments.data / 'video.npz').stat().st_size / 1e6:.1f} MB")


if __name__ == "__main__":
    main()
