"""Draws slides: small text, thin lines and saturated colours on one page.

Writes test/slide-*.png and slides.npz, tiles to train with, into the data folder. The two share neither words nor seed.
"""
import argparse
from collections.abc import Iterator, Sequence
from pathlib import Path

import numpy as np
from PIL import Image, ImageDraw, ImageFont

from training.data import drawn, pack

WIDTH, HEIGHT = 480, 320
TEST_SEED, TEST_COUNT = 303, 6
TEST_WORDS = """Budget forecast revenue 1st quarter margin risk owner status draft review agenda budgeted +12.4% 3,580
(n=48) Q4/2031 deadline roadmap scope target cost per unit α=0.05 ≥ 99.9% β-version €1.2m [done] illness yield jkl
WAV""".split()
GROUNDS = ((255, 255, 255), (0, 0, 0), (0, 32, 96), (250, 245, 225), (24, 24, 28), (200, 220, 240))
SATURATED = ((255, 0, 0), (0, 200, 0), (0, 0, 255), (255, 255, 0), (0, 255, 255), (255, 0, 255), (255, 128, 0))

Colour = tuple[int, int, int]


class Slide:
    """A page, and the parts that are drawn on it."""

    def __init__(self, random: np.random.Generator, ground: Colour, fonts: Sequence[str], words: Sequence[str]):
        self.random, self.fonts, self.words = random, fonts, words
        self.image = Image.new("RGB", (WIDTH, HEIGHT), ground)
        self.draw = ImageDraw.Draw(self.image)
        self.draw.fontmode = "1" if random.random() < 0.25 else "L"  # text without antialiasing, or with it
        self.plain = (255, 255, 255) if sum(ground) < 380 else (0, 0, 0)

    def saturated(self) -> Colour:
        return SATURATED[self.random.integers(len(SATURATED))]

    def ink(self) -> Colour:
        return self.plain if self.random.random() < 0.6 else self.saturated()

    def write(self, place: tuple[int, int], height: int, count: int, ink: Colour) -> None:
        font = ImageFont.truetype(self.fonts[self.random.integers(len(self.fonts))], height)
        text = " ".join(self.words[i] for i in self.random.integers(0, len(self.words), count))
        self.draw.text(place, text, ink, font)

    def title(self) -> None:
        self.draw.rectangle([0, 0, WIDTH, 34], self.saturated() if self.random.random() < 0.6 else None)
        self.write((10, 6), int(self.random.integers(15, 22)), 4, self.plain)
        self.draw.line([0, 35, WIDTH, 35], self.ink(), 1)

    def bullets(self, x: int, y: int) -> None:
        for _ in range(9):
            height = int(self.random.integers(8, 13))
            self.draw.ellipse([x, y + 3, x + 4, y + 7], self.saturated())
            self.write((x + 9, y), height, 5, self.ink())
            y += height + 4

    def table(self, x: int, y: int) -> None:
        columns, rows = int(self.random.integers(3, 6)), int(self.random.integers(5, 9))
        width, height, line = 220 // columns, 130 // rows, self.ink()
        for top in range(y, y + rows * height, height):
            if top == y or self.random.random() < 0.2:
                self.draw.rectangle([x, top, x + columns * width, top + height], self.saturated())
            for left in range(x, x + columns * width, width):
                self.draw.rectangle([left, top, left + width, top + height], None, line)
                self.write((left + 3, top + 2), 9, 1, self.plain)

    def chart(self, x: int, y: int) -> None:
        self.draw.line([x, y, x, y + 120, x + 210, y + 120], self.plain, 1)
        for tick in range(0, 120, 20):
            self.draw.line([x - 3, y + tick, x + 210 * (tick % 40 == 0), y + tick], self.ink(), 1)
        for left in range(x + 8, x + 200, 25):
            top = int(self.random.integers(10, 110))
            self.draw.rectangle([left, y + top, left + 12, y + 119], self.saturated())
            self.write((left - 2, y + 123), 8, 1, self.plain)
        points = [(x + 12 * step, y + int(self.random.integers(5, 115))) for step in range(18)]
        self.draw.line(points, self.saturated(), int(self.random.integers(1, 3)))

    def circles(self, x: int, y: int) -> None:
        for _ in range(7):
            left, top = x + int(self.random.integers(170)), y + int(self.random.integers(100))
            side = int(self.random.integers(8, 50))
            self.draw.ellipse([left, top, left + side, top + side], None, self.saturated(), 1)
            self.draw.line([left, top, left + side * 2, top + side // 2], self.ink(), 1)
        self.write((x, y + 60), 10, 5, self.ink())


def draw_many(seed: int, count: int, words: Sequence[str]) -> Iterator[Image.Image]:
    """Slides with a title and four parts, on each ground in turn. The same seed and words draw the same slides."""
    random, fonts = np.random.default_rng(seed), drawn.fonts()
    for index in range(count):
        slide = Slide(random, GROUNDS[index % len(GROUNDS)], fonts, words)
        slide.title()
        parts = (slide.bullets, slide.table, slide.chart, slide.circles)
        for place, number in enumerate(random.permutation(4)):
            parts[number](14 + 240 * (place % 2), 42 + 140 * (place // 2))
        yield slide.image


def tiles(seed: int, count: int) -> Iterator[np.ndarray]:
    """The tiles of `count` slides to train with, six of each."""
    for image in draw_many(seed, count, drawn.WORDS):
        pixels = np.asarray(image)
        for y in range(0, HEIGHT, pack.TILE):
            for x in range(0, WIDTH, pack.TILE):
                yield pixels[y : y + pack.TILE, x : x + pack.TILE]


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--count", type=int, default=60, help="slides to train with")
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    (arguments.data / "test").mkdir(parents=True, exist_ok=True)
    for index, image in enumerate(draw_many(TEST_SEED, TEST_COUNT, TEST_WORDS)):
        image.save(arguments.data / "test" / f"slide-{index}.png")
    encoded = [pack.encode(tile, True) for tile in tiles(arguments.seed, arguments.count)]
    pack.write(arguments.data / "slides.npz", {"slide": encoded})


if __name__ == "__main__":
    main()
