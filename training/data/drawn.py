"""Draws what is seen on screens but not in photographs: text, line art and user interfaces."""
from collections.abc import Iterator
from pathlib import Path

import numpy as np
from PIL import Image, ImageDraw, ImageFont

# Part of the data: other words would draw other training tiles and test images.
WORDS = """frame picture edge light water stone open close save view window street house garden number seven letter
winter summer river mountain colour sharp small large double error network layer signal paper music table answer
question between through Saturday 2048 1997 0.35 (x, y) file:// -> == #7f 100% Über café naïve señor""".split()


def fonts() -> list[str]:
    """Paths of the DejaVu and Liberation fonts, sorted."""
    found = sorted(Path("/usr/share/fonts/truetype").glob("*/*.ttf"))
    found = [str(path) for path in found if path.parent.name in ("dejavu", "liberation")]
    if not found:
        raise SystemExit("no fonts found: install fonts-dejavu-core and fonts-liberation")
    return found


def _colour(random: np.random.Generator, low: int = 0, high: int = 256) -> tuple[int, ...]:
    grey = random.integers(low, high)
    tint = random.integers(-40, 41, 3) if random.random() < 0.5 else np.zeros(3, int)
    return tuple(int(value) for value in np.clip(grey + tint, 0, 255))


def _pair(random: np.random.Generator) -> tuple[tuple[int, ...], tuple[int, ...]]:
    """A background and a text colour that is readable on it."""
    dark, bright = _colour(random, 0, 90), _colour(random, 150, 256)
    if random.random() < 0.3:
        return (255, 255, 255), (0, 0, 0)
    return (bright, dark) if random.random() < 0.6 else (dark, bright)


def _sentence(random: np.random.Generator, count: int) -> str:
    return " ".join(WORDS[i] for i in random.integers(0, len(WORDS), count))


def text(random: np.random.Generator, size: int, font_names: list[str]) -> Image.Image:
    """Lines of text in several fonts and sizes, `size` x `size` pixels."""
    background, ink = _pair(random)
    image = Image.new("RGB", (size, size), background)
    draw = ImageDraw.Draw(image)
    y = int(random.integers(-4, 6))
    while y < size:
        height = int(random.choice([9, 10, 11, 12, 13, 14, 16, 18, 20, 24, 32, 48]))
        font = ImageFont.truetype(font_names[random.integers(len(font_names))], height)
        for _ in range(int(random.integers(1, 5))):
            draw.text((int(random.integers(-20, 12)), y), _sentence(random, 9), ink, font)
            y += int(height * 1.3)
        if random.random() < 0.3:
            ink = _colour(random, 0, 90) if sum(background) > 380 else _colour(random, 150, 256)
    return image


def lines(random: np.random.Generator, size: int, _fonts: list[str]) -> Image.Image:
    """Line art, drawn at four times the size and reduced, so that its edges are smooth."""
    background, ink = _pair(random)
    image = Image.new("RGB", (size * 4, size * 4), background)
    draw = ImageDraw.Draw(image)
    for _ in range(int(random.integers(6, 24))):
        a, b = random.integers(-40, size * 4 + 40, (2, 2))
        box = [*np.minimum(a, b).tolist(), *np.maximum(a, b).tolist()]
        width = int(random.integers(3, 20))
        colour = ink if random.random() < 0.5 else _colour(random)
        shape = random.integers(5)
        if shape == 0:
            draw.line([*a.tolist(), *b.tolist()], colour, width)
        elif shape == 1:
            draw.ellipse(box, colour if random.random() < 0.4 else None, ink, width)
        elif shape == 2:
            draw.polygon([tuple(p) for p in random.integers(0, size * 4, (4, 2)).tolist()], colour, ink)
        elif shape == 3:
            draw.arc(box, 0, int(random.integers(90, 330)), colour, width)
        else:
            step = int(random.integers(8, 32))
            for offset in range(0, size * 2, step):
                draw.line([box[0] + offset, box[1], box[0], box[1] + offset], ink, max(2, step // 4))
    return image.resize((size, size), Image.BOX)


def interface(random: np.random.Generator, size: int, font_names: list[str]) -> Image.Image:
    """Overlapping windows and buttons with labels."""
    background, ink = _pair(random)
    image = Image.new("RGB", (size, size), background)
    draw = ImageDraw.Draw(image)
    font = ImageFont.truetype(font_names[random.integers(len(font_names))], int(random.integers(10, 16)))
    for _ in range(int(random.integers(4, 12))):
        x, y = (int(v) for v in random.integers(-20, size - 10, 2))
        width, height = int(random.integers(20, size)), int(random.integers(14, 60))
        colour = _colour(random)
        readable = (0, 0, 0) if sum(colour) > 380 else (255, 255, 255)
        if random.random() < 0.5:
            draw.rectangle([x, y, x + width, y + height], colour, ink if random.random() < 0.6 else None)
        else:
            draw.rounded_rectangle([x, y, x + width, y + height], 5, colour, ink)
        draw.text((x + 6, y + 4), _sentence(random, 3), readable, font)
        if random.random() < 0.3:
            draw.line([x, y + height + 3, x + width, y + height + 3], ink, 1)
    return image


def draw_many(seed: int, count: int, size: int) -> Iterator[Image.Image]:
    """Yields `count` images of the three kinds in turn. The same seed gives the same images."""
    random = np.random.default_rng(seed)
    names = fonts()
    for index in range(count):
        yield (text, lines, interface)[index % 3](random, size, names)
