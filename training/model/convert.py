"""Converts weights between .npz, .safetensors, .onnx, the library's plain .bin and its encrypted .en.

In memory the weights are a list of (filter, bias) with 32-bit floats; a filter is outputs x inputs x 3 x 3. In .npz and
.safetensors the arrays are called filter1, bias1, filter2, ... The files of the library do not contain the number of
channels and layers; NAME.json beside them does.
"""
import argparse
import json
from pathlib import Path

import numpy as np

from training.model import cipher

Weights = list[tuple[np.ndarray, np.ndarray]]


def read(path: str | Path, sizes: tuple[int, int] | None = None) -> Weights:
    """Reads and checks weights. `sizes`: (channels, depth) of a .bin or .en file without a .json file beside it."""
    path = Path(path)
    if path.suffix == ".npz":
        with np.load(path) as arrays:
            weights = from_names({name: arrays[name] for name in arrays.files}, path)
    elif path.suffix == ".safetensors":
        weights = from_names(_read_safetensors(path), path)
    elif path.suffix == ".onnx":
        from training.model import onnx_chain
        weights = onnx_chain.read(path)
    elif path.suffix in (".bin", ".en"):
        data = path.read_bytes()
        weights = from_bytes(cipher.decrypt(data) if path.suffix == ".en" else data, *(sizes or _sizes_beside(path)))
    else:
        raise SystemExit(f"{path}: unknown file name extension (.npz, .safetensors, .onnx, .bin, .en)")
    check(weights, path)
    return weights


def write(path: str | Path, weights: Weights) -> None:
    """Checks the weights and writes them in the format that the extension selects."""
    path = Path(path)
    check(weights, path)
    named = {}
    for number, (filters, bias) in enumerate(weights, 1):
        named[f"filter{number}"], named[f"bias{number}"] = np.float32(filters), np.float32(bias)
    if path.suffix == ".npz":
        np.savez(path, **named)
    elif path.suffix == ".safetensors":
        _write_safetensors(path, named)
    elif path.suffix == ".onnx":
        from training.model import onnx_chain
        onnx_chain.write(path, weights)
    elif path.suffix in (".bin", ".en"):
        data = to_bytes(weights)
        path.write_bytes(cipher.encrypt(data) if path.suffix == ".en" else data)
    else:
        raise SystemExit(f"{path}: unknown file name extension (.npz, .safetensors, .onnx, .bin, .en)")


def sizes_of(weights: Weights) -> tuple[int, int]:
    """(channels, depth), the two numbers that a host passes to the library."""
    return len(weights[-1][0][0]), len(weights) - 2


def check(weights: Weights, name: object) -> None:
    """Exits with a message if the library cannot run the weights. `name` is for the message."""
    def refuse(why: str) -> None:
        raise SystemExit(f"{name}: Orvane cannot run this network: {why}")

    if not 2 <= len(weights) <= 16:
        refuse(f"{len(weights)} layers, but 2 to 16 are needed")
    inputs = 3
    for number, (filters, bias) in enumerate(weights, 1):
        if filters.ndim != 4 or filters.shape[2:] != (3, 3):
            refuse(f"filter {number} is {'x'.join(map(str, filters.shape))}, but outputs x inputs x 3 x 3 is needed")
        if filters.shape[1] != inputs:
            refuse(f"layer {number} takes {filters.shape[1]} channels, but receives {inputs}")
        if bias.shape != filters.shape[:1]:
            refuse(f"bias {number} has {bias.size} values for {filters.shape[0]} outputs")
        if number > 1 and number < len(weights) and filters.shape[0] != inputs:
            refuse(f"layer {number} gives {filters.shape[0]} channels, but all hidden layers must give {inputs}")
        if not all((np.abs(part) <= np.finfo(np.float16).max).all() for part in (filters, bias)):
            refuse(f"layer {number} holds values beyond the range of half precision")
        inputs = filters.shape[0]
    if inputs != 12:
        refuse(f"the last layer gives {inputs} channels, but 12 are needed")


def from_names(arrays: dict[str, np.ndarray], name: object) -> Weights:
    """The weights from arrays called filter1, bias1, filter2, ..."""
    count = len(arrays) // 2
    wanted = {f"{kind}{number}" for kind in ("filter", "bias") for number in range(1, count + 1)}
    if set(arrays) != wanted or not count:
        raise SystemExit(f"{name}: Orvane cannot run this network: arrays filter1, bias1, filter2, ... are needed, "
                         f"there are {', '.join(sorted(arrays)[:8]) or 'none'}")
    return [(np.float32(arrays[f"filter{n}"]), np.float32(arrays[f"bias{n}"])) for n in range(1, count + 1)]


def to_bytes(weights: Weights) -> bytes:
    """The content of a plain model file, in half precision."""
    return b"".join(np.ascontiguousarray(part, "<f2").tobytes() for layer in weights for part in layer)


def from_bytes(data: bytes, channels: int, depth: int) -> Weights:
    """The weights from the content of a plain model file."""
    widths = [3] + [channels] * (depth + 1) + [12]
    need = 2 * sum(o * i * 9 + o for i, o in zip(widths, widths[1:]))
    if len(data) != need:
        raise SystemExit(f"the file has {len(data)} bytes, but {depth + 2} layers of {channels} channels need {need}")
    values, weights, at = np.frombuffer(data, "<f2").astype(np.float32), [], 0
    for inputs, outputs in zip(widths, widths[1:]):
        size = outputs * inputs * 9
        weights.append((values[at : at + size].reshape(outputs, inputs, 3, 3), values[at + size : at + size + outputs]))
        at += size + outputs
    return weights


def _sizes_beside(path: Path) -> tuple[int, int]:
    beside = path.with_suffix(".json")
    if not beside.exists():
        raise SystemExit(f"the number of channels of {path} is unknown, because there is no {beside.name}: "
                         "pass --channels and --depth")
    numbers = json.loads(beside.read_text())
    return numbers["channels"], numbers["depth"]


_TYPES = {"F16": "<f2", "F32": "<f4", "F64": "<f8"}


def _read_safetensors(path: Path) -> dict[str, np.ndarray]:
    data = path.read_bytes()
    try:
        length = int.from_bytes(data[:8], "little")
        header, content = json.loads(data[8 : 8 + length]), data[8 + length :]
        arrays = {}
        for name, entry in header.items():
            if name != "__metadata__":
                begin, end = entry["data_offsets"]
                arrays[name] = np.frombuffer(content[begin:end], _TYPES[entry["dtype"]]).reshape(entry["shape"])
        return arrays
    except (ValueError, KeyError, TypeError, AttributeError) as error:
        raise SystemExit(f"{path}: not a readable .safetensors file ({error})") from None


def _write_safetensors(path: Path, named: dict[str, np.ndarray]) -> None:
    header, at = {"__metadata__": {"format": "pt", "network": "orvane chain, channel 0 is blue, CRD"}}, 0
    for name, array in named.items():
        header[name] = {"dtype": "F32", "shape": list(array.shape), "data_offsets": [at, at + array.nbytes]}
        at += array.nbytes
    text = json.dumps(header).encode()
    text += b" " * (-len(text) % 8)
    content = b"".join(array.astype("<f4").tobytes() for array in named.values())
    path.write_bytes(len(text).to_bytes(8, "little") + text + content)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("source")
    parser.add_argument("target")
    parser.add_argument("--channels", type=int, help="of a .bin or .en file without a .json file beside it")
    parser.add_argument("--depth", type=int, help="number of layers minus 2")
    arguments = parser.parse_args()
    sizes = (arguments.channels, arguments.depth) if arguments.channels is not None else None
    weights = read(arguments.source, sizes)
    write(arguments.target, weights)
    channels, depth = sizes_of(weights)
    print(f"{arguments.target}: {channels} channels, depth {depth}")


if __name__ == "__main__":
    main()
