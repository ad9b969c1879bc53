"""Resizes images by 2 and by 1/2 as the super-resolution literature does, compatible with MATLAB's imresize.

An image is an array of height x width x channels. Upscaling uses the bicubic kernel (Keys, a = -0.5). Downscaling uses
the same kernel stretched by two, which filters out what the small image cannot represent. Beyond its edges the image
is mirrored, with the edge pixel repeated.
"""
from collections.abc import Callable

import numpy as np

Kernel = Callable[[np.ndarray], np.ndarray]


def cubic(x: np.ndarray) -> np.ndarray:
    """Keys' kernel with a = -0.5: support 4, reproduces polynomials up to the second degree."""
    x = np.abs(x)
    inner = 1.5 * x**3 - 2.5 * x**2 + 1
    outer = -0.5 * x**3 + 2.5 * x**2 - 4 * x + 2
    return np.where(x <= 1, inner, np.where(x < 2, outer, 0.0))


def lanczos3(x: np.ndarray) -> np.ndarray:
    """The Lanczos kernel with three lobes: support 6."""
    return np.where(np.abs(x) < 3, np.sinc(x) * np.sinc(x / 3), 0.0)


def _resize_rows(image: np.ndarray, scale: float, kernel: Kernel, support: int) -> np.ndarray:
    """Resizes along the first axis by `scale` (2 or 0.5)."""
    stretch = min(scale, 1.0)
    length = image.shape[0]
    centres = (np.arange(round(length * scale)) + 0.5) / scale - 0.5
    taps = int(np.ceil(support / stretch)) + 2
    first = np.floor(centres - support / stretch / 2).astype(int)
    positions = first[:, None] + np.arange(taps)
    weights = kernel((centres[:, None] - positions) * stretch)
    weights /= weights.sum(axis=1, keepdims=True)
    mirrored = positions % (2 * length)
    mirrored = np.where(mirrored < length, mirrored, 2 * length - 1 - mirrored)
    result = np.zeros((len(centres),) + image.shape[1:])
    for tap in range(taps):
        result += weights[:, tap].reshape((-1,) + (1,) * (image.ndim - 1)) * image[mirrored[:, tap]]
    return result


def _resize(image: np.ndarray, scale: float, kernel: Kernel, support: int) -> np.ndarray:
    image = np.asarray(image, np.float64)
    rows = _resize_rows(image, scale, kernel, support)
    return _resize_rows(np.ascontiguousarray(rows.swapaxes(0, 1)), scale, kernel, support).swapaxes(0, 1)


def to_bytes(image: np.ndarray) -> np.ndarray:
    """Rounds values to 8 bits, clamped to 0 to 255."""
    return np.clip(np.floor(np.asarray(image) + 0.5), 0, 255).astype(np.uint8)


def matrix(length: int, scale: float, kernel: Kernel = cubic, support: int = 4) -> np.ndarray:
    """The matrix that resizes a column of `length` values. It is faster for many images of one size."""
    return _resize_rows(np.eye(length), scale, kernel, support)


def downscale(image: np.ndarray) -> np.ndarray:
    """Bicubic downscaling by 2. Both sides must be even. The values are not rounded."""
    if image.shape[0] % 2 or image.shape[1] % 2:
        raise ValueError(f"cannot downscale {image.shape[1]}x{image.shape[0]} by 2: both sides must be even")
    return _resize(image, 0.5, cubic, 4)


def upscale_bicubic(image: np.ndarray) -> np.ndarray:
    """Bicubic upscaling by 2. The values are not rounded."""
    return _resize(image, 2, cubic, 4)


def upscale_lanczos(image: np.ndarray) -> np.ndarray:
    """Lanczos upscaling by 2. The values are not rounded."""
    return _resize(image, 2, lanczos3, 6)


def upscale_nearest(image: np.ndarray) -> np.ndarray:
    """Repeats every pixel in both directions."""
    return np.repeat(np.repeat(image, 2, axis=0), 2, axis=1)
