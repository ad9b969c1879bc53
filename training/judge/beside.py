"""Shows an upscaled image beside the bicubic result for the same small image.

    python3 -m training.judge.beside SMALL UPSCALED OUT.png
"""
import sys

import numpy as np
from PIL import Image, ImageDraw, ImageOps

from training.data import resize

TITLE = 18  # height of the strip above the images in pixels


def beside(small: np.ndarray, upscaled: np.ndarray) -> Image.Image:
    """The bicubic result on the left, `upscaled` on the right, each with a title."""
    bicubic = resize.to_bytes(resize.upscale_bicubic(small))
    if upscaled.shape != bicubic.shape:
        raise SystemExit(f"{upscaled.shape[1]}x{upscaled.shape[0]} is not twice {small.shape[1]}x{small.shape[0]}")
    both = np.concatenate([bicubic, np.full_like(bicubic[:, :4], 255), upscaled], axis=1)
    result = Image.new("RGB", (both.shape[1], both.shape[0] + TITLE), "white")
    result.paste(Image.fromarray(both), (0, TITLE))
    draw = ImageDraw.Draw(result)
    draw.text((4, 3), "bicubic", "black")
    draw.text((bicubic.shape[1] + 8, 3), "Orvane", "black")
    return result


def main() -> None:
    if len(sys.argv) != 4:
        raise SystemExit(__doc__)
    small, upscaled = (np.asarray(ImageOps.exif_transpose(Image.open(path)).convert("RGB")) for path in sys.argv[1:3])
    beside(small, upscaled).save(sys.argv[3])


if __name__ == "__main__":
    main()
