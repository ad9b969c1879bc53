"""Judges a model on images with a known correct result: flat colours, ramps, sharp edges, text on black.

All figures are in 8-bit code values.
"""
from collections.abc import Iterator, Sequence

import numpy as np
from PIL import Image, ImageDraw, ImageFont

from training.data import drawn, resize

Pair = tuple[np.ndarray, np.ndarray]  # small, large

SIDE = 24
RIM = 4  # width of the rim of an upscaled image in pixels


def flat_images() -> list[np.ndarray]:
    """Grey from black to white, and the corners of the colour cube."""
    colours = [(grey,) * 3 for grey in (0, 32, 64, 96, 128, 160, 192, 224, 255)]
    colours += [(255, 0, 0), (0, 255, 0), (0, 0, 255), (0, 255, 255), (255, 0, 255), (255, 255, 0), (200, 120, 60)]
    return [np.full((SIDE, SIDE, 3), colour, np.uint8) for colour in colours]


def ramps() -> list[Pair]:
    """Smooth ramps in three directions."""
    pairs = []
    for down, across in ((0, 2.0), (2.0, 0), (1.3, 0.9)):
        y, x = np.mgrid[: 2 * SIDE, : 2 * SIDE]
        large = np.repeat((40 + (down * y + across * x))[..., None], 3, 2)
        pairs.append((resize.to_bytes(resize.downscale(large)), large))
    return pairs


def edges() -> list[Pair]:
    """Bright bars on a dark background and the reverse."""
    pairs = []
    for low, high in ((40, 215), (215, 40)):
        large = np.full((2 * SIDE, 2 * SIDE, 3), low, np.uint8)
        large[10:38, 16:22] = high
        large[20:25, 8:40] = high
        pairs.append((resize.to_bytes(resize.downscale(large)), large))
    return pairs


def texts_on_black() -> list[Pair]:
    """Six lines of small text on black: one page in white, one in white and pure colours."""
    font = next(path for path in drawn.fonts() if path.endswith("/DejaVuSans.ttf"))
    pairs = []
    for inks in (["white"], ["white", "red", "lime", "blue", "yellow", "cyan"]):
        page = Image.new("RGB", (240, 160))
        draw, top = ImageDraw.Draw(page), 3
        for line, height in enumerate((9, 11, 13, 16, 20, 26)):
            text = "Flat black beside text 0123 (x)"
            draw.text((6, top), text, inks[line % len(inks)], ImageFont.truetype(font, height))
            top += height * 29 // 20
        large = np.asarray(page)
        pairs.append((resize.to_bytes(resize.downscale(large)), large))
    return pairs


def _inner(image: np.ndarray) -> np.ndarray:
    return image[RIM:-RIM, RIM:-RIM].astype(float)


def _bicubic(small: np.ndarray) -> np.ndarray:
    return resize.to_bytes(resize.upscale_bicubic(small))


def checkerboard(image: np.ndarray, aim: np.ndarray) -> float:
    """How far the four pixels of a 2x2 block differ in their mean error, away from the rim: standard deviation."""
    error = _inner(image) - aim[RIM:-RIM, RIM:-RIM]
    phases = [error[y::2, x::2].mean(axis=(0, 1)) for y in (0, 1) for x in (0, 1)]
    return float(np.std(phases, axis=0).max())


def halo(image: np.ndarray, large: np.ndarray) -> float:
    """How far an upscaled image leaves the range of its whole source: root mean square."""
    inner, source = _inner(image), _inner(large)
    beyond = np.maximum(inner - source.max(), 0) + np.maximum(source.min() - inner, 0)
    return float(np.sqrt(np.mean(beyond**2)))


def speckle(image: np.ndarray, large: np.ndarray) -> int:
    """The largest value of the upscaled image where all of the 5x5 source pixels around are black."""
    around = np.lib.stride_tricks.sliding_window_view(large, (5, 5), axis=(0, 1))
    black = np.pad(around.max(axis=(-3, -2, -1)) == 0, 2)
    return int(_inner(image)[_inner(black) > 0].max())


def small_images() -> list[np.ndarray]:
    """The images to upscale for `check`, in its order."""
    return flat_images() + [small for small, _ in ramps() + edges() + texts_on_black()]


def check(upscaled: Sequence[np.ndarray]) -> dict[str, float]:
    """The figures of the upscaled `small_images`: the largest deviation of each kind."""
    flats, slopes, bars, texts = flat_images(), ramps(), edges(), texts_on_black()
    flat = [(result.astype(int) - image[0, 0]) for image, result in zip(flats, upscaled)]
    sloped = upscaled[len(flats) : len(flats) + len(slopes)]
    barred = upscaled[len(flats) + len(slopes) : -len(texts)]
    return {
        "flat_inner": int(max(np.abs(difference[RIM:-RIM, RIM:-RIM]).max() for difference in flat)),
        "grey_rim": int(max(np.abs(difference).max() for difference in flat[:9])),
        "mid_grey_rim": int(np.abs(flat[4]).max()),
        "colour_rim": int(max(np.abs(difference).max() for difference in flat[9:])),
        "checkerboard": round(max(checkerboard(a, b[1]) for a, b in zip(sloped, slopes)), 3),
        "checkerboard_bicubic": round(max(checkerboard(_bicubic(a), b) for a, b in slopes), 3),
        "halo": round(max(halo(a, b[1]) for a, b in zip(barred, bars)), 2),
        "halo_bicubic": round(max(halo(_bicubic(a), b) for a, b in bars), 2),
        "speckle": max(speckle(a, b[1]) for a, b in zip(upscaled[-len(texts) :], texts)),
        "speckle_bicubic": max(speckle(_bicubic(a), b) for a, b in texts),
    }


def lines(checks: dict[str, float]) -> Iterator[str]:
    """The figures as text."""
    yield (f"flat colours: error at most {checks['flat_inner']} inside; at the rim {checks['mid_grey_rim']} for middle "
           f"grey, {checks['grey_rim']} for any grey, {checks['colour_rim']} for pure colours")
    yield (f"smooth ramps: the four pixels of a 2x2 block differ by {checks['checkerboard']} "
           f"(bicubic {checks['checkerboard_bicubic']})")
    yield f"bars: outside the range of the source by {checks['halo']} (bicubic {checks['halo_bicubic']})"
    yield f"flat black beside text: error at most {checks['speckle']} (bicubic {checks['speckle_bicubic']})"
