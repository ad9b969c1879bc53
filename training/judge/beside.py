"""Shows a doubled picture beside what bicubic doubling makes of the same small one.

    python3 -m training.judge.beside SMALL DOUBLED OUT.png
"""
import sys

import numpy as np
from PIL import Image, ImageDraw, ImageOps

from training.data import resize

TITLE = 18  # pixels of the strip above the pictures


def beside(small, doubled):
    bicubic = resize.to_bytes(resize.double_bicubic(small))
    if doubled.shape != bicubic.shape:
        raise SystemExit(f"{doubled.shape[1]}x{doubled.shape[0]} is not twice {small.shape[1]}x{small.shape[0]}")
    both = np.concatenate([bicubic, np.full_like(bicubic[:, :4], 255), doubled], axis=1)
    result = Image.new("RGB", (both.shape[1], both.shape[0] + TITLE), "white")
    result.paste(Image.fromarray(both), (0, TITLE))
    draw = ImageDraw.Draw(result)
    draw.text((4, 3), "bicubic", "black")
    draw.text((bicubic.shape[1] + 8, 3), "Orvane", "black")
    return result


def main():
    if len(sys.argv) != 4:
        raise SystemExit(__doc__)
    small, doubled = (np.asarray(ImageOps.exif_transpose(Image.open(path)).convert("RGB")) for path in sys.argv[1:3])
    beside(small, doubled).save(sys.argv[3])


if __name__ == "__main__":
    main()
