"""Packs training tiles: one .npz file with each tile as JPEG or WebP, small enough to copy to another machine."""
import io
from collections.abc import Sequence
from pathlib import Path

import numpy as np
from PIL import Image

TILE = 160  # pixels along each side of a large tile; the small one of a pair has half as many


def encode(tile: np.ndarray, lossless: bool) -> bytes:
    """Encodes a tile (side x side x 3 bytes, red first).

    At this quality and without colour subsampling JPEG is good enough for photographs, but not for drawings.
    """
    out = io.BytesIO()
    if lossless:
        Image.fromarray(tile).save(out, "WEBP", lossless=True, quality=90)
    else:
        Image.fromarray(tile).save(out, "JPEG", quality=93, subsampling=0, optimize=True)
    return out.getvalue()


def write(path: Path, groups: dict[str, list[bytes]], numbers: dict[str, Sequence[int]] | None = None) -> None:
    """Writes groups of encoded tiles. `numbers` says for each group to which tiles of another file its tiles belong."""
    arrays = {}
    for name, tiles in groups.items():
        arrays[f"{name}.bytes"] = np.frombuffer(b"".join(tiles), np.uint8)
        arrays[f"{name}.sizes"] = np.array([len(tile) for tile in tiles], np.int32)
    for name, of in (numbers or {}).items():
        arrays[f"{name}.numbers"] = np.array(of, np.int32)
    partial = path.with_suffix(".partial.npz")
    np.savez(partial, **arrays)
    partial.rename(path)


def _array(path: Path, name: str) -> np.ndarray:
    with np.load(path) as arrays:
        if name not in arrays:
            raise SystemExit(f"{path} has no {name}; delete the file and create it again")
        return arrays[name]


def count(path: Path, group: str) -> int:
    """Number of tiles in a group."""
    return len(_array(path, f"{group}.sizes"))


def read_numbers(path: Path, group: str) -> np.ndarray:
    """For each tile of a group, the index of the tile of another file that it belongs to."""
    return _array(path, f"{group}.numbers")


def read(path: Path, group: str) -> np.ndarray:
    """All tiles of a group as one array of bytes: count x side x side x 3, red first."""
    sizes, content = _array(path, f"{group}.sizes"), _array(path, f"{group}.bytes").tobytes()
    ends = np.cumsum(sizes)
    return np.stack([np.asarray(Image.open(io.BytesIO(content[end - size : end])).convert("RGB"))
                     for size, end in zip(sizes, ends)])
