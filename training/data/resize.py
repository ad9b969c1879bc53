"""Halving and doubling as the super-resolution literature does them.

A picture is an array of height x width x channels. Halving is bicubic (Keys, a = -0.5) with the kernel stretched by two so
that it removes what the small picture cannot hold; doubling uses the kernel as it stands. Beyond an edge the picture is
mirrored, the edge pixel included. MATLAB's imresize does the same.
"""
import numpy as np


def cubic(x):
    """Keys' kernel with a = -0.5: support 4, reproduces polynomials up to the second degree."""
    x = np.abs(x)
    inner = 1.5 * x**3 - 2.5 * x**2 + 1
    outer = -0.5 * x**3 + 2.5 * x**2 - 4 * x + 2
    return np.where(x <= 1, inner, np.where(x < 2, outer, 0.0))


def lanczos3(x):
    return np.where(np.abs(x) < 3, np.sinc(x) * np.sinc(x / 3), 0.0)


def _resize_rows(picture, scale, kernel, support):
    """Resizes along the first axis by `scale` (2 or 0.5)."""
    stretch = min(scale, 1.0)
    length = picture.shape[0]
    centres = (np.arange(round(length * scale)) + 0.5) / scale - 0.5
    taps = int(np.ceil(support / stretch)) + 2
    first = np.floor(centres - support / stretch / 2).astype(int)
    positions = first[:, None] + np.arange(taps)
    weights = kernel((centres[:, None] - positions) * stretch)
    weights /= weights.sum(axis=1, keepdims=True)
    mirrored = positions % (2 * length)
    mirrored = np.where(mirrored < length, mirrored, 2 * length - 1 - mirrored)
    result = np.zeros((len(centres),) + picture.shape[1:])
    for tap in range(taps):
        result += weights[:, tap].reshape((-1,) + (1,) * (picture.ndim - 1)) * picture[mirrored[:, tap]]
    return result


def _resize(picture, scale, kernel, support):
    picture = np.asarray(picture, np.float64)
    rows = _resize_rows(picture, scale, kernel, support)
    return _resize_rows(np.ascontiguousarray(rows.swapaxes(0, 1)), scale, kernel, support).swapaxes(0, 1)


def to_bytes(picture):
    return np.clip(np.floor(np.asarray(picture) + 0.5), 0, 255).astype(np.uint8)


def matrix(length, scale, kernel=cubic, support=4):
    """The matrix that resizes a column of `length` values: for many pictures of one size."""
    return _resize_rows(np.eye(length), scale, kernel, support)


def halve(picture):
    """Both sides must be even. Values are those of the input, not rounded."""
    if picture.shape[0] % 2 or picture.shape[1] % 2:
        raise ValueError(f"cannot halve {picture.shape[1]}x{picture.shape[0]}: both sides must be even")
    return _resize(picture, 0.5, cubic, 4)


def double_bicubic(picture):
    return _resize(picture, 2, cubic, 4)


def double_lanczos(picture):
    return _resize(picture, 2, lanczos3, 6)


def double_nearest(picture):
    return np.repeat(np.repeat(picture, 2, axis=0), 2, axis=1)
