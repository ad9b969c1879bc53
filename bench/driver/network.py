"""The networks that are measured: their arithmetic, and their model files."""
import math
import random
import struct
from dataclasses import dataclass
from pathlib import Path
from typing import List, NamedTuple, Tuple

SCALE = 2
HALF_BYTES = 2
PIXEL_BYTES = 4


class Size(NamedTuple):
    """Of a frame, in pixels."""

    width: int
    height: int

    def __str__(self) -> str:
        return f"{self.width}x{self.height}"

    @property
    def pixels(self) -> int:
        return self.width * self.height


@dataclass(frozen=True)
class Network:
    """A chain of 3x3 convolutions."""

    channels: int
    depth: int  # layers less 2

    def __str__(self) -> str:
        return f"{self.channels} channels, depth {self.depth}"

    @property
    def layers(self) -> List[Tuple[int, int]]:
        """Channels into and out of each layer."""
        widths = [3] + [self.channels] * (self.depth + 1) + [3 * SCALE**2]
        return list(zip(widths, widths[1:]))

    def operations(self, size: Size) -> int:
        """Multiplications and additions of one frame's convolutions."""
        return sum(2 * 9 * inputs * outputs for inputs, outputs in self.layers) * size.pixels

    def moved_bytes(self, size: Size) -> int:
        """The least that one frame moves to and from the adapter's memory: every tensor written once and read once, in
        half precision (FP16), every weight read once, and the two images."""
        values = 3 + sum(inputs + outputs for inputs, outputs in self.layers) + 3 * SCALE**2
        weights = sum((9 * inputs + 1) * outputs for inputs, outputs in self.layers)
        images = PIXEL_BYTES * (1 + SCALE**2)
        return (values * HALF_BYTES + images) * size.pixels + weights * HALF_BYTES


def write_model(network: Network, path: Path) -> None:
    """A plain model file with random weights that keep the values of every layer spread over 0 to 1, so that two ways
    of computing it are told apart. The same for the same network."""
    source = random.Random(1)
    with open(path, "wb") as file:
        for inputs, outputs in network.layers:
            spread = 0.8 / math.sqrt(9 * inputs)
            values = [source.gauss(0.0, spread) for _ in range(9 * inputs * outputs)]
            values += [source.uniform(0.3, 0.7) for _ in range(outputs)]
            file.write(struct.pack(f"<{len(values)}e", *values))


def write_onnx(network: Network, model: Path, size: Size, activation: str, path: Path) -> None:
    """The network of a plain model file as an ONNX graph in half precision: for each layer Conv and its activation,
    then DepthToSpace in CRD order; input "x" {1, 3, height, width}, output "y" {1, 3, 2 height, 2 width}.

    The activation is "Clip", what an exporter writes, or "HardSigmoid" with a slope of 1 through 0, as the library has
    it. Both bound values to 0 to 1; DirectML computes them differently. Needs Debian's python3-onnx."""
    from onnx import TensorProto, checker, helper, save
    half = TensorProto.FLOAT16
    weights = model.read_bytes()
    nodes, initializers, tensor = [], [], "x"

    def constant(name: str, shape: Tuple[int, ...], values: bytes) -> str:
        initializers.append(helper.make_tensor(name, half, shape, values, raw=True))
        return name

    def take(name: str, *shape: int) -> str:
        nonlocal weights
        count = HALF_BYTES * math.prod(shape)
        values, weights = weights[:count], weights[count:]
        return constant(name, shape, values)

    for number, (inputs, outputs) in enumerate(network.layers, 1):
        parameters = [take(f"filter{number}", outputs, inputs, 3, 3), take(f"bias{number}", outputs)]
        nodes.append(helper.make_node("Conv", [tensor, *parameters], [f"sum{number}"], auto_pad="SAME_UPPER"))
        tensor = f"layer{number}"
        if activation == "Clip":
            nodes.append(helper.make_node("Clip", [f"sum{number}", "zero", "one"], [tensor]))
        else:
            nodes.append(helper.make_node("HardSigmoid", [f"sum{number}"], [tensor], alpha=1.0, beta=0.0))
    if activation == "Clip":
        constant("zero", (), struct.pack("<e", 0.0))
        constant("one", (), struct.pack("<e", 1.0))
    nodes.append(helper.make_node("DepthToSpace", [tensor], ["y"], blocksize=SCALE, mode="CRD"))
    images = [helper.make_tensor_value_info(name, half, [1, 3, size.height * scale, size.width * scale])
              for name, scale in (("x", 1), ("y", SCALE))]
    graph = helper.make_graph(nodes, "network", images[:1], images[1:], initializers)
    result = helper.make_model(graph, opset_imports=[helper.make_opsetid("", 17)], ir_version=8)
    checker.check_model(result)
    save(result, str(path))
