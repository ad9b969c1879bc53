"""Creates the training tiles and the test images from the packages of sources.json and from images drawn here.

Writes into the data folder: tiles.npz (for training), val/ and test/ (PNG images of sources that give no training
tile), and sources.tsv (each image with its package, licence, kind, split and number of tiles).
"""
import argparse
import hashlib
import math
import sys
from collections.abc import Iterator
from pathlib import Path

import numpy as np
from PIL import Image

from training.data import drawn, pack, resize, sources

LONGEST_SIDES = (1700, 1150, 850, 640)  # large photographs are used at several sizes
LOSSY_REDUCTION = 1.6  # hides the artefacts of JPEG and WebP, above all the subsampled colours
TEST_SIZE = (480, 320)
LEAST_TEST_SIDE = 260  # smaller photographs are soft and say little about a model
KEPT = 0.29  # share of the tiles of a photograph: those with the largest error after bicubic upscaling
DRAWING_TILES = 4  # for each drawing
LUMA = np.array([0.299, 0.587, 0.114], np.float32)
DOWNSCALING = resize.matrix(pack.TILE, 0.5).astype(np.float32)
UPSCALING = resize.matrix(pack.TILE // 2, 2).astype(np.float32)


def factors_of(source: sources.Source, image: Image.Image) -> list[float]:
    """The factors by which an image is reduced: sharp results only, each size once."""
    longest = max(image.size)
    least = LOSSY_REDUCTION if source.lossy else 1.0
    targets = [side for side in LONGEST_SIDES if longest / side >= max(least, 1.0)]
    if source.kind == "drawing":
        targets = targets[:1]
    return [side / longest for side in targets] or [1 / least]


def reduced(image: Image.Image, factor: float) -> Image.Image:
    """The image with both sides multiplied by `factor`, if that is below 1, and made even."""
    if factor >= 1:
        return image
    size = [max(2, round(side * factor)) // 2 * 2 for side in image.size]
    return image.resize(size, Image.LANCZOS)


def bicubic_error(tile: np.ndarray) -> float:
    """Mean squared error of the luma after bicubic downscaling and upscaling."""
    grey = tile @ LUMA
    small = np.round(DOWNSCALING @ grey @ DOWNSCALING.T)
    return float(np.mean((UPSCALING @ small @ UPSCALING.T - grey)[4:-4, 4:-4] ** 2))


def corners(height: int, width: int, side: int) -> list[tuple[int, int]]:
    """(y, x) of the squares of a grid that lie inside an image."""
    return [(y, x) for y in range(0, height - side + 1, side) for x in range(0, width - side + 1, side)]


def cut(pixels: np.ndarray, place: tuple[int, int], side: int = pack.TILE) -> np.ndarray:
    """The square of `side` pixels at `place` (y, x)."""
    y, x = place
    return pixels[y : y + side, x : x + side]


def places_of_tiles(pixels: np.ndarray, kind: str) -> list[tuple[int, int]]:
    """(y, x) of the tiles of an image: those with the largest error after bicubic upscaling, the largest first."""
    places = corners(*pixels.shape[:2], pack.TILE)
    count = math.ceil(KEPT * len(places)) if kind == "photo" else DRAWING_TILES
    return sorted(places, key=lambda place: bicubic_error(cut(pixels, place)), reverse=True)[:count]


def tiled(source: sources.Source, image: Image.Image) -> Iterator[tuple[np.ndarray, list[tuple[int, int]]]]:
    """Yields the pixels of an image and the places of its tiles, for each size at which it is used.

    Other files refer to tiles by their index, so this order must not change.
    """
    for factor in factors_of(source, image):
        pixels = np.asarray(reduced(image, factor))
        yield pixels, places_of_tiles(pixels, source.kind)


def fingerprint(image: Image.Image) -> np.ndarray:
    """A 64-bit difference hash, as an array of booleans."""
    grey = np.asarray(image.convert("L").resize((9, 8), Image.BOX), int)
    return (grey[:, 1:] > grey[:, :-1]).ravel()


def split_of(source: sources.Source) -> str:
    """The split: "train", "val" or "test". It depends on the name only, so adding packages does not change it."""
    if source.kept_for_test:
        return "test"
    number = hashlib.sha256(source.key.encode()).digest()[0]
    return "test" if number < 16 else "val" if number < 24 else "train"


def middle(image: Image.Image, size: tuple[int, int]) -> Image.Image:
    """The middle of an image, at most `size` (width, height), with even sides."""
    width, height = (min(side, limit) // 2 * 2 for side, limit in zip(image.size, size))
    left, top = (image.width - width) // 2, (image.height - height) // 2
    return image.crop((left, top, left + width, top + height))


def keep_image(folder: Path, source: sources.Source, image: Image.Image) -> bool:
    """Saves a test image. Returns False if it is too small or too empty to be useful."""
    kept = middle(reduced(image, factors_of(source, image)[-1]), TEST_SIZE)
    if np.std(kept) < 1 or source.kind == "photo" and min(kept.size) < LEAST_TEST_SIDE:
        return False
    folder.mkdir(parents=True, exist_ok=True)
    kept.save(folder / f"{source.kind}-{Path(source.name).stem}.png")
    return True


def distinct(packages: Path) -> Iterator[tuple[sources.Source, Image.Image]]:
    """Yields all images of the packages, without those that look like an earlier one."""
    seen = []
    for source in sources.read_all(packages):
        image = source.load()
        mark = fingerprint(image)
        if all(np.count_nonzero(mark != other) > 3 for other in seen):
            seen.append(mark)
            yield source, image


def gather(arguments: argparse.Namespace) -> tuple[dict[str, list[bytes]], list[tuple[str, ...]]]:
    """Saves the validation and test images. Returns the encoded tiles and the rows of sources.tsv."""
    tiles, used = {"photo": [], "drawing": []}, []
    for source, image in distinct(arguments.packages):
        split, count = split_of(source), 0
        if split == "train":
            for pixels, places in tiled(source, image):
                tiles[source.kind] += [pack.encode(cut(pixels, place), source.kind != "photo") for place in places]
                count += len(places)
        elif not keep_image(arguments.data / split, source, image):
            continue
        used.append((source.package, source.name, source.licence, source.kind, split, str(count)))
        print(f"\r{len(used)} images, {sum(map(len, tiles.values()))} tiles ", end="", file=sys.stderr, flush=True)
    print(file=sys.stderr)
    return tiles, used


def add_drawings(arguments: argparse.Namespace, tiles: dict[str, list[bytes]]) -> None:
    """Adds tiles, validation images and test images with text, lines and interfaces."""
    for image in drawn.draw_many(arguments.seed, arguments.drawn, pack.TILE):
        tiles["drawing"].append(pack.encode(np.asarray(image), True))
    for split, seed in (("val", 101), ("test", 202)):
        (arguments.data / split).mkdir(parents=True, exist_ok=True)
        for index, image in enumerate(drawn.draw_many(seed, 6, 240)):
            image.save(arguments.data / split / f"drawn-{index}.png")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--packages", type=Path, default=Path("build/training/packages"))
    parser.add_argument("--drawn", type=int, default=400, help="number of tiles with text, lines and interfaces")
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    arguments.data.mkdir(parents=True, exist_ok=True)
    tiles, used = gather(arguments)
    add_drawings(arguments, tiles)
    (arguments.data / "sources.tsv").write_text("".join("\t".join(row) + "\n" for row in used))
    pack.write(arguments.data / "tiles.npz", tiles)
    size = (arguments.data / "tiles.npz").stat().st_size / 1e6
    print(f"{len(tiles['photo'])} tiles of photographs, {len(tiles['drawing'])} tiles of drawings, {size:.1f} MB")


if __name__ == "__main__":
    main()
