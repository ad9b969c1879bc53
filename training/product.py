"""Runs pictures through the real library: `orvane stream` under Wine, frames as PAM on its pipes."""
import os
import subprocess
from pathlib import Path

import numpy as np

ROOT = Path(__file__).parent.parent
TIMEOUT = 3600  # seconds; a software adapter takes its time


def _pam(picture):
    height, width = picture.shape[:2]
    header = f"P7\nWIDTH {width}\nHEIGHT {height}\nDEPTH 3\nMAXVAL 255\nTUPLTYPE RGB\nENDHDR\n"
    return header.encode() + picture.tobytes()


def _read_pams(data):
    at = 0
    while at < len(data):
        end = data.find(b"ENDHDR\n", at) + 7
        if end < at + 7:
            return
        fields = dict(line.split(maxsplit=1) for line in data[at:end].decode().splitlines() if " " in line)
        shape = [int(fields[name]) for name in ("HEIGHT", "WIDTH", "DEPTH")]
        size = shape[0] * shape[1] * shape[2]
        if len(data) < end + size:
            return
        yield np.frombuffer(data[end : end + size], np.uint8).reshape(shape)[..., :3]
        at = end + size


def double_all(model, channels, depth, pictures):
    """Pictures: height x width x 3 bytes, red first. They go through one process, and so through one instance that is
    rebuilt when the size changes, which is why those of one size follow each other; nothing is mirrored at their edges."""
    order = sorted(range(len(pictures)), key=lambda index: pictures[index].shape)
    program = ROOT / "build/mingw-release/bin/orvane.exe"
    command = [ROOT / "cmake/run-wine", program, "stream", "--raw-edges", "--model", model,
               "--channels", str(channels), "--depth", str(depth)]
    done = subprocess.run(command, input=b"".join(_pam(pictures[index]) for index in order), stdout=subprocess.PIPE,
                          env={**os.environ, "ORVANE_WINE_TIMEOUT": str(TIMEOUT)}, check=False)
    results = list(_read_pams(done.stdout))
    if done.returncode or len(results) != len(pictures):
        raise SystemExit(f"orvane gave {len(results)} of {len(pictures)} pictures and ended with code {done.returncode}")
    return [result for _, result in sorted(zip(order, results), key=lambda pair: pair[0])]
