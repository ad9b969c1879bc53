"""The file of training tiles: one .npz with every tile as JPEG or WebP, small enough to carry to another machine."""
import io

import numpy as np
from PIL import Image

TILE = 160  # pixels a side; the small side of a pair has half as many


def encode(tile, lossless):
    """Photographs lose nothing that matters at this quality and without colour subsampling; drawings would."""
    out = io.BytesIO()
    if lossless:
        Image.fromarray(tile).save(out, "WEBP", lossless=True, quality=90)
    else:
        Image.fromarray(tile).save(out, "JPEG", quality=93, subsampling=0, optimize=True)
    return out.getvalue()


def write(path, groups, numbers=None):
    """groups: name -> list of encoded tiles; numbers: name -> which tiles of another file they belong to."""
    arrays = {}
    for name, tiles in groups.items():
        arrays[f"{name}.bytes"] = np.frombuffer(b"".join(tiles), np.uint8)
        arrays[f"{name}.sizes"] = np.array([len(tile) for tile in tiles], np.int32)
    for name, of in (numbers or {}).items():
        arrays[f"{name}.numbers"] = np.array(of, np.int32)
    partial = path.with_suffix(".partial.npz")
    np.savez(partial, **arrays)
    partial.rename(path)


def _array(path, name):
    with np.load(path) as arrays:
        if name not in arrays:
            raise SystemExit(f"{path} has no {name}; remove it and make it anew")
        return arrays[name]


def count(path, group):
    return len(_array(path, f"{group}.sizes"))


def read_numbers(path, group):
    return _array(path, f"{group}.numbers")


def read(path, group):
    """All tiles of a group as one array: count x side x side x 3."""
    sizes, content = _array(path, f"{group}.sizes"), _array(path, f"{group}.bytes").tobytes()
    ends = np.cumsum(sizes)
    return np.stack([np.asarray(Image.open(io.BytesIO(content[end - size : end])).convert("RGB"))
                     for size, end in zip(sizes, ends)])
