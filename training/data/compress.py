"""What video compression does to a small picture: the last frame of a short pan, encoded with x264 and decoded again."""
import subprocess

import numpy as np

from training.data import resize

FRAMES = 4
MARGIN = 16  # pixels of the large picture that the pan needs on each side
_RGB = ["-f", "rawvideo", "-pix_fmt", "rgb24"]
_CONVERSION = ["-sws_flags", "accurate_rnd+full_chroma_int+full_chroma_inp+bitexact"]


def small_of(path):
    """Where the compressed small side of a picture lies: small-X.png beside photo-X.png or drawn-X.png."""
    return path.with_name("small-" + path.name.split("-", 1)[-1])


def _ffmpeg(arguments, data):
    command = ["ffmpeg", "-v", "error", "-nostdin", "-threads", "1", *arguments]
    return subprocess.run(command, input=data, stdout=subprocess.PIPE, check=True).stdout


def through_x264(frames, crf):
    """Frames of one size (bytes, red first) through the encoder and back; sides must be even."""
    height, width = frames[0].shape[:2]
    size = ["-s", f"{width}x{height}", "-r", "25"]
    video = _ffmpeg([*_RGB, *size, "-i", "-", *_CONVERSION, "-pix_fmt", "yuv420p", "-c:v", "libx264", "-preset", "medium",
                     "-crf", str(crf), "-threads", "1", "-f", "h264", "-"], b"".join(f.tobytes() for f in frames))
    pixels = _ffmpeg(["-f", "h264", "-i", "-", *_CONVERSION, *_RGB, "-"], video)
    return np.frombuffer(pixels, np.uint8).reshape(-1, height, width, 3)


def degraded_pair(large, crf, random, blur=0.0, noise=0.0):
    """(compressed small picture, the large picture that belongs to it). The pan ends in the middle of `large`, which loses
    a margin at each side. `blur`: the share of the four neighbours in each pixel; `noise`: standard deviation in codes."""
    height = (large.shape[0] - 2 * MARGIN) // 4 * 4
    width = (large.shape[1] - 2 * MARGIN) // 4 * 4
    step = random.integers(-2, 3, 2) * 2
    frames = []
    for index in range(FRAMES):
        y, x = MARGIN - step * (FRAMES - 1 - index)
        frame = large[y : y + height, x : x + width]
        small = _softened(resize.halve(frame), blur)
        frames.append(resize.to_bytes(small + random.normal(0, 1, small.shape) * noise))
    return through_x264(frames, crf)[-1], frame


def _softened(picture, blur):
    padded = np.pad(picture, ((1, 1), (1, 1), (0, 0)), mode="edge")
    around = (padded[:-2, 1:-1] + padded[2:, 1:-1] + padded[1:-1, :-2] + padded[1:-1, 2:]) / 4
    return (1 - blur) * picture + blur * around
