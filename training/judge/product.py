"""Runs pictures through the real library: `orvane upscale` on a folder, under Wine where this is not Windows."""
import os
import subprocess
import tempfile
from pathlib import Path

import numpy as np
from PIL import Image

from training import ROOT

TIMEOUT = 3600  # seconds; a software adapter takes its time


def double_all(model, channels, depth, pictures):
    """Pictures: height x width x 3 bytes, red first. They go through one process; nothing is mirrored at their edges. Names
    are given in the order of size, because the library is set up anew when the size changes."""
    order = sorted(range(len(pictures)), key=lambda index: pictures[index].shape)
    names = {index: f"{place:04}.png" for place, index in enumerate(order)}
    with tempfile.TemporaryDirectory() as folder:
        small, large = Path(folder, "small"), Path(folder, "large")
        small.mkdir()
        for index, picture in enumerate(pictures):
            Image.fromarray(picture).save(small / names[index])
        command = [ROOT / "tools/wine/run-wine", ROOT / "build/mingw-release/bin/orvane.exe", "upscale", small, "-o", large,
                   "--raw-edges", "--model", model, "--channels", str(channels), "--depth", str(depth)]
        done = subprocess.run(command, env={**os.environ, "ORVANE_WINE_TIMEOUT": str(TIMEOUT)}, stdout=subprocess.DEVNULL,
                              check=False)
        if done.returncode:
            raise SystemExit(f"orvane ended with code {done.returncode}")
        return [np.asarray(Image.open(large / names[index]).convert("RGB")) for index in range(len(pictures))]
