"""Simulates video compression: encodes a short pan over an image with x264 and decodes its last frame."""
import subprocess
from collections.abc import Sequence
from pathlib import Path

import numpy as np

from training.data import resize

FRAMES = 4
MARGIN = 16  # pixels of the large image that the pan needs on each side
_RGB = ["-f", "rawvideo", "-pix_fmt", "rgb24"]
_CONVERSION = ["-sws_flags", "accurate_rnd+full_chroma_int+full_chroma_inp+bitexact"]


def small_of(path: Path) -> Path:
    """Path of the compressed small side of an image: small-X.png beside photo-X.png or drawn-X.png."""
    return path.with_name("small-" + path.name.split("-", 1)[-1])


def _ffmpeg(arguments: list[str], data: bytes) -> bytes:
    command = ["ffmpeg", "-v", "error", "-nostdin", "-threads", "1", *arguments]
    return subprocess.run(command, input=data, stdout=subprocess.PIPE, check=True).stdout


def through_x264(frames: Sequence[np.ndarray], crf: int) -> np.ndarray:
    """Encodes and decodes frames of one size (height x width x 3 bytes, red first). Both sides must be even."""
    height, width = frames[0].shape[:2]
    size = ["-s", f"{width}x{height}", "-r", "25"]
    encoder = ["-pix_fmt", "yuv420p", "-c:v", "libx264", "-preset", "medium", "-crf", str(crf), "-threads", "1"]
    video = _ffmpeg([*_RGB, *size, "-i", "-", *_CONVERSION, *encoder, "-f", "h264", "-"],
                    b"".join(frame.tobytes() for frame in frames))
    pixels = _ffmpeg(["-f", "h264", "-i", "-", *_CONVERSION, *_RGB, "-"], video)
    return np.frombuffer(pixels, np.uint8).reshape(-1, height, width, 3)


def degraded_pair(large: np.ndarray, crf: int, random: np.random.Generator, blur: float = 0.0,
                  noise: float = 0.0) -> tuple[np.ndarray, np.ndarray]:
    """Returns the compressed small image and the large image that belongs to it.

    The pan ends in the middle of `large`, which loses a margin on each side. `blur` is the share of the four
    neighbours in each pixel, `noise` the standard deviation in 8-bit code values.
    """
    height = (large.shape[0] - 2 * MARGIN) // 4 * 4
    width = (large.shape[1] - 2 * MARGIN) // 4 * 4
    step = random.integers(-2, 3, 2) * 2
    frames = []
    for index in range(FRAMES):
        y, x = MARGIN - step * (FRAMES - 1 - index)
        frame = large[y : y + height, x : x + width]
        small = _softened(resize.downscale(frame), blur)
        frames.append(resize.to_bytes(small + random.normal(0, 1, small.shape) * noise))
    return through_x264(frames, crf)[-1], frame


def _softened(image: np.ndarray, blur: float) -> np.ndarray:
    padded = np.pad(image, ((1, 1), (1, 1), (0, 0)), mode="edge")
    around = (padded[:-2, 1:-1] + padded[2:, 1:-1] + padded[1:-1, :-2] + padded[1:-1, 2:]) / 4
    return (1 - blur) * image + blur * around
