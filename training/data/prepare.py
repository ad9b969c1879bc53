"""Makes the training tiles and the test pictures from the packages of sources.json and from drawings.

Writes into the data folder: tiles.npz (for training), val/ and test/ (PNG pictures of sources that gave no training tile),
and sources.tsv (every picture used, its package, licence and share).
"""
import argparse
import hashlib
import math
import sys
from pathlib import Path

import numpy as np
from PIL import Image

from training.data import drawn, pack, resize, sources

LONGEST_SIDES = (1700, 1150, 850, 640)  # large photographs are used at several sizes
LOSSY_REDUCTION = 1.6  # hides what JPEG and WebP did to a picture, the halved colours above all
TEST_SIZE = (480, 320)
LEAST_TEST_SIDE = 260  # smaller photographs are soft: they say little about a model
KEPT = 0.29  # of the tiles of a photograph, those that bicubic doubling gets wrong most
DRAWING_TILES = 4  # a picture
LUMA = np.array([0.299, 0.587, 0.114], np.float32)
HALVING = resize.matrix(pack.TILE, 0.5).astype(np.float32)
DOUBLING = resize.matrix(pack.TILE // 2, 2).astype(np.float32)


def sizes_of(source, picture):
    """The sizes at which a picture is used: sharp, and not one twice."""
    longest = max(picture.size)
    least = LOSSY_REDUCTION if source.lossy else 1.0
    targets = [side for side in LONGEST_SIDES if longest / side >= max(least, 1.0)]
    if source.kind == "drawing":
        targets = targets[:1]
    return [side / longest for side in targets] or [1 / least]


def reduced(picture, factor):
    if factor >= 1:
        return picture
    size = [max(2, round(side * factor)) // 2 * 2 for side in picture.size]
    return picture.resize(size, Image.LANCZOS)


def bicubic_error(tile):
    """The mean squared error of the luma, in about codes of luma, after halving and doubling."""
    grey = tile @ LUMA
    return float(np.mean((DOUBLING @ np.round(HALVING @ grey @ HALVING.T) @ DOUBLING.T - grey)[4:-4, 4:-4] ** 2))


def corners(height, width, side):
    return [(y, x) for y in range(0, height - side + 1, side) for x in range(0, width - side + 1, side)]


def cut(pixels, place, side=pack.TILE):
    y, x = place
    return pixels[y : y + side, x : x + side]


def places_of_tiles(pixels, kind):
    """Where on a grid the tiles of a picture lie: those that bicubic doubling gets wrong most, the worst first."""
    places = corners(*pixels.shape[:2], pack.TILE)
    count = math.ceil(KEPT * len(places)) if kind == "photo" else DRAWING_TILES
    return sorted(places, key=lambda place: bicubic_error(cut(pixels, place)), reverse=True)[:count]


def tiled(source, picture):
    """(pixels, where its tiles lie) of a picture at each size at which it is used. What belongs to the tiles by their numbers
    relies on this order."""
    for factor in sizes_of(source, picture):
        pixels = np.asarray(reduced(picture, factor))
        yield pixels, places_of_tiles(pixels, source.kind)


def fingerprint(picture):
    grey = np.asarray(picture.convert("L").resize((9, 8), Image.BOX), int)
    return (grey[:, 1:] > grey[:, :-1]).ravel()


def split_of(source):
    """By the name of the picture, so that it does not change when packages are added."""
    if source.kept_for_test:
        return "test"
    number = hashlib.sha256(source.key.encode()).digest()[0]
    return "test" if number < 16 else "val" if number < 24 else "train"


def middle(picture, size):
    """The middle of a picture, at most `size`, sides even."""
    width, height = (min(side, limit) // 2 * 2 for side, limit in zip(picture.size, size))
    left, top = (picture.width - width) // 2, (picture.height - height) // 2
    return picture.crop((left, top, left + width, top + height))


def keep_picture(folder, source, picture):
    """False: too small or too empty to tell anything."""
    kept = middle(reduced(picture, sizes_of(source, picture)[-1]), TEST_SIZE)
    if np.std(kept) < 1 or source.kind == "photo" and min(kept.size) < LEAST_TEST_SIDE:
        return False
    folder.mkdir(parents=True, exist_ok=True)
    kept.save(folder / f"{source.kind}-{Path(source.name).stem}.png")
    return True


def distinct(packages):
    """(source, picture) of all that the packages have, without those that look like an earlier one."""
    seen = []
    for source in sources.read_all(packages):
        picture = source.load()
        mark = fingerprint(picture)
        if all(np.count_nonzero(mark != other) > 3 for other in seen):
            seen.append(mark)
            yield source, picture


def gather(arguments):
    """Goes through all pictures; returns encoded tiles and the list of what was used."""
    tiles, used = {"photo": [], "drawing": []}, []
    for source, picture in distinct(arguments.packages):
        split, count = split_of(source), 0
        if split == "train":
            for pixels, places in tiled(source, picture):
                tiles[source.kind] += [pack.encode(cut(pixels, place), source.kind != "photo") for place in places]
                count += len(places)
        elif not keep_picture(arguments.data / split, source, picture):
            continue
        used.append((source.package, source.name, source.licence, source.kind, split, str(count)))
        print(f"\r{len(used)} pictures, {sum(map(len, tiles.values()))} tiles ", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    return tiles, used


def add_drawings(arguments, tiles):
    for picture in drawn.draw_many(arguments.seed, arguments.drawn, pack.TILE):
        tiles["drawing"].append(pack.encode(np.asarray(picture), True))
    for split, seed in (("val", 101), ("test", 202)):
        (arguments.data / split).mkdir(parents=True, exist_ok=True)
        for index, picture in enumerate(drawn.draw_many(seed, 6, 240)):
            picture.save(arguments.data / split / f"drawn-{index}.png")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--packages", type=Path, default=Path("build/training/packages"))
    parser.add_argument("--drawn", type=int, default=400, help="tiles of text, lines and interfaces")
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    arguments.data.mkdir(parents=True, exist_ok=True)
    tiles, used = gather(arguments)
    add_drawings(arguments, tiles)
    (arguments.data / "sources.tsv").write_text("".join("\t".join(row) + "\n" for row in used))
    pack.write(arguments.data / "tiles.npz", tiles)
    size = (arguments.data / "tiles.npz").stat().st_size / 1e6
    print(f"{len(tiles['photo'])} tiles of photographs, {len(tiles['drawing'])} of drawings, {size:.1f} MB")


if __name__ == "__main__":
    main()
