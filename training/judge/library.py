"""Upscales images with the real library: `orvane upscale` on a folder, through Wine except on Windows."""
import os
import subprocess
import tempfile
from collections.abc import Sequence
from pathlib import Path

import numpy as np
from PIL import Image

from training import ROOT

TIMEOUT = 3600  # seconds; a software adapter is slow


def upscale_all(model: Path, channels: int, depth: int, images: Sequence[np.ndarray]) -> list[np.ndarray]:
    """Upscales images (height x width x 3 bytes, red first) in one process, without mirrored edges.

    The files are named in the order of size, because the library is re-created when the size changes.
    """
    order = sorted(range(len(images)), key=lambda index: images[index].shape)
    names = {index: f"{place:04}.png" for place, index in enumerate(order)}
    with tempfile.TemporaryDirectory() as folder:
        small, large = Path(folder, "small"), Path(folder, "large")
        small.mkdir()
        for index, image in enumerate(images):
            Image.fromarray(image).save(small / names[index])
        program = [ROOT / "tools/wine/run-wine", ROOT / "build/mingw-release/bin/orvane.exe"]
        command = [*program, "upscale", small, "-o", large, "--raw-edges", "--model", model,
                   "--channels", str(channels), "--depth", str(depth)]
        environment = {**os.environ, "ORVANE_WINE_TIMEOUT": str(TIMEOUT)}
        done = subprocess.run(command, env=environment, stdout=subprocess.DEVNULL, check=False)
        if done.returncode:
            raise SystemExit(f"orvane failed with exit code {done.returncode}")
        return [np.asarray(Image.open(large / names[index]).convert("RGB")) for index in range(len(images))]
