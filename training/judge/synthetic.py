"""What a model does to pictures whose right answer is known: flat colours, smooth ramps, sharp edges.

All figures are in codes of 8 bits.
"""
import numpy as np

from training.data import resize

SIDE = 24
RIM = 4  # pixels of the doubled picture that count as its rim


def flat_pictures():
    """Grey from black to white, and the corners of the colour cube."""
    colours = [(grey,) * 3 for grey in (0, 32, 64, 96, 128, 160, 192, 224, 255)]
    colours += [(255, 0, 0), (0, 255, 0), (0, 0, 255), (0, 255, 255), (255, 0, 255), (255, 255, 0), (200, 120, 60)]
    return [np.full((SIDE, SIDE, 3), colour, np.uint8) for colour in colours]


def ramps():
    """Slow slopes in three directions, as (small, large)."""
    pairs = []
    for down, across in ((0, 2.0), (2.0, 0), (1.3, 0.9)):
        y, x = np.mgrid[: 2 * SIDE, : 2 * SIDE]
        large = np.repeat((40 + (down * y + across * x))[..., None], 3, 2)
        pairs.append((resize.to_bytes(resize.halve(large)), large))
    return pairs


def edges():
    """Dark bars on bright ground and the other way round, smoothed as a camera would, as (small, large)."""
    pairs = []
    for low, high in ((40, 215), (215, 40)):
        large = np.full((2 * SIDE, 2 * SIDE, 3), low, np.uint8)
        large[10:38, 16:22] = high
        large[20:25, 8:40] = high
        pairs.append((resize.to_bytes(resize.halve(large)), large))
    return pairs


def _inner(picture):
    return picture[RIM:-RIM, RIM:-RIM].astype(float)


def checkerboard(picture, aim):
    """Root mean square of what changes with the place in the 2x2 block, over the inner part of a smooth picture."""
    error = _inner(picture) - aim[RIM:-RIM, RIM:-RIM]
    phases = [error[y::2, x::2].mean(axis=(0, 1)) for y in (0, 1) for x in (0, 1)]
    return float(np.std(phases, axis=0).max())


def halo(picture, large):
    """By how much a doubled picture leaves the range of its source, over all pixels: root mean square."""
    inner, source = _inner(picture), _inner(large)
    beyond = np.maximum(inner - source.max(), 0) + np.maximum(source.min() - inner, 0)
    return float(np.sqrt(np.mean(beyond**2)))


def small_pictures():
    """What has to be doubled for `check`, in its order."""
    return flat_pictures() + [small for small, _ in ramps() + edges()]


def check(doubled):
    flats, slopes, bars = flat_pictures(), ramps(), edges()
    flat = [(result.astype(int) - picture[0, 0]) for picture, result in zip(flats, doubled)]
    sloped = doubled[len(flats) : len(flats) + len(slopes)]
    barred = doubled[len(flats) + len(slopes) :]
    return {
        "flat_inner": int(max(np.abs(difference[RIM:-RIM, RIM:-RIM]).max() for difference in flat)),
        "grey_rim": int(max(np.abs(difference).max() for difference in flat[:9])),
        "mid_grey_rim": int(np.abs(flat[4]).max()),
        "colour_rim": int(max(np.abs(difference).max() for difference in flat[9:])),
        "checkerboard": round(max(checkerboard(a, b[1]) for a, b in zip(sloped, slopes)), 3),
        "checkerboard_bicubic": round(max(checkerboard(resize.to_bytes(resize.double_bicubic(a)), b) for a, b in slopes), 3),
        "halo": round(max(halo(a, b[1]) for a, b in zip(barred, bars)), 2),
        "halo_bicubic": round(max(halo(resize.to_bytes(resize.double_bicubic(a)), b) for a, b in bars), 2),
    }


def lines(checks):
    yield (f"flat colours: off by at most {checks['flat_inner']} inside; at the rim {checks['mid_grey_rim']} for middle grey, "
           f"{checks['grey_rim']} for any grey, {checks['colour_rim']} for pure colours")
    yield (f"smooth ramps: the four phases of a 2x2 block differ by {checks['checkerboard']} "
           f"(bicubic {checks['checkerboard_bicubic']})")
    yield f"bars: beyond the range of the source by {checks['halo']} (bicubic {checks['halo_bicubic']})"
