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


def write(path, groups):
    """groups: name -> list of encoded tiles."""
    arrays = {}
    for name, tiles in groups.items():
        arrays[f"{name}.bytes"] = np.frombuffer(b"".join(tiles), np.uint8)
        arrays[f"{name}.sizes"] = np.array([len(tile) for tile in tiles], np.int32)
    partial = path.with_suffix(".partial.npz")
    np.savez(partial, **arrays)
    partial.rename(path)


def read(path, group):
    """All tiles of a group as one array: count x side x side x 3."""
    with np.load(path) as arrays:
        if f"{group}.sizes" not in arrays:
            raise SystemExit(f"{path} has no tiles named {group}; run prepare.py")
        sizes, content = arrays[f"{group}.sizes"], arrays[f"{group}.bytes"].tobytes()
    ends = np.cumsum(sizes)
    return np.stack([np.asarray(Image.open(io.BytesIO(content[end - size : end])).convert("RGB"))
                     for size, end in zip(sizes, ends)])
