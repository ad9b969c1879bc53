"""Writes the network as an ONNX graph (opset 13) with the onnx package, and reads such graphs.

Written: Conv and Clip for each layer, DepthToSpace (CRD) at the end. The input "image" is N x 3 x H x W, blue first,
0 to 1; the output is "upscaled".
Read: any chain of 3x3 Conv with padding 1, each followed by a clamp to [0, 1] (Clip, or HardSigmoid with alpha 1 and
beta 0). The last clamp may stand before or after an optional DepthToSpace (CRD).
"""
from pathlib import Path
from typing import NoReturn

import numpy as np
import onnx
from onnx import TensorProto, helper, numpy_helper

from training.model.convert import Weights


def write(path: Path, weights: Weights) -> None:
    """Writes the weights as an ONNX file."""
    nodes, values = [], [numpy_helper.from_array(np.float32(0), "zero"), numpy_helper.from_array(np.float32(1), "one")]
    name = "image"
    for number, (filters, bias) in enumerate(weights, 1):
        values += [numpy_helper.from_array(np.float32(filters), f"filter{number}"),
                   numpy_helper.from_array(np.float32(bias), f"bias{number}")]
        nodes += [helper.make_node("Conv", [name, f"filter{number}", f"bias{number}"], [f"sum{number}"],
                                   kernel_shape=[3, 3], pads=[1, 1, 1, 1]),
                  helper.make_node("Clip", [f"sum{number}", "zero", "one"], [f"layer{number}"])]
        name = f"layer{number}"
    nodes.append(helper.make_node("DepthToSpace", [name], ["upscaled"], blocksize=2, mode="CRD"))
    graph = helper.make_graph(
        nodes, "orvane",
        [helper.make_tensor_value_info("image", TensorProto.FLOAT, ["N", 3, "H", "W"])],
        [helper.make_tensor_value_info("upscaled", TensorProto.FLOAT, ["N", 3, "H2", "W2"])], values)
    model = helper.make_model(graph, opset_imports=[helper.make_opsetid("", 13)], producer_name="orvane")
    model.ir_version = 8
    onnx.checker.check_model(model)
    onnx.save(model, str(path))


def _attributes(node: onnx.NodeProto) -> dict:
    return {attribute.name: helper.get_attribute_value(attribute) for attribute in node.attribute}


class _Reader:
    """A graph with its constants and, in order, the nodes that compute something."""

    def __init__(self, path: Path, graph: onnx.GraphProto):
        self.path = path
        self.constants = {value.name: numpy_helper.to_array(value) for value in graph.initializer}
        for node in graph.node:
            if node.op_type == "Constant" and "value" in _attributes(node):
                self.constants[node.output[0]] = numpy_helper.to_array(_attributes(node)["value"])
        self.nodes = [node for node in graph.node if node.op_type not in ("Constant", "Identity")]

    def refuse(self, why: str) -> NoReturn:
        raise SystemExit(f"{self.path}: Orvane cannot run this network: {why}")

    def constant(self, name: str) -> np.ndarray:
        """The value of an input that must be a constant."""
        if name not in self.constants:
            self.refuse(f"{name or 'an input'} is computed, but a constant is needed")
        return self.constants[name]

    def convolution(self, node: onnx.NodeProto) -> tuple[np.ndarray, np.ndarray]:
        """The filter and the bias of a Conv node."""
        attributes = _attributes(node)
        expected = {"strides": [1, 1], "dilations": [1, 1], "group": 1, "pads": [1, 1, 1, 1]}
        for name, value in expected.items():
            found = attributes.get(name, [0, 0, 0, 0] if name == "pads" else value)
            if found != value:
                self.refuse(f"{node.name or node.output[0]} has {name} {found}, but {value} is needed")
        filters = np.float32(self.constant(node.input[1]))
        bias = np.float32(self.constant(node.input[2])) if len(node.input) > 2 else np.zeros(len(filters), np.float32)
        return filters, bias

    def is_clamp(self, node: onnx.NodeProto) -> bool:
        """Whether a node clamps to [0, 1]."""
        attributes = _attributes(node)
        if node.op_type == "HardSigmoid":
            return attributes.get("alpha", 0.2) == 1 and attributes.get("beta", 0.5) == 0
        if node.op_type != "Clip":
            return False
        low, high = (attributes.get("min"), attributes.get("max")) if len(node.input) == 1 else (
            float(self.constant(name)) if name else None for name in [*node.input[1:], ""][:2])
        return low == 0 and high == 1


def read(path: Path) -> Weights:
    """Reads the weights of an ONNX file. Exits with a message if the graph is not such a chain."""
    try:
        reader = _Reader(path, onnx.load(str(path)).graph)
    except Exception as error:  # the package has no common class for what protobuf and the disk raise
        raise SystemExit(f"{path}: not a readable ONNX file ({error})") from None
    weights, previous, clamped, shuffled = [], None, True, False
    for node in reader.nodes:
        if previous is not None and previous not in node.input:
            reader.refuse(f"{node.op_type} does not take the output of the node before it: the graph branches")
        if node.op_type == "Conv" and clamped and not shuffled:
            weights.append(reader.convolution(node))
            clamped = False
        elif reader.is_clamp(node) and not clamped:
            clamped = True
        elif node.op_type == "DepthToSpace" and not shuffled and _attributes(node).get("mode") == b"CRD":
            shuffled = True
        else:
            reader.refuse(f"{node.op_type} is not expected here: each layer must be Conv and a clamp to 0 and 1")
        previous = node.output[0]
    if not clamped:
        reader.refuse("the last layer is not clamped to 0 and 1")
    return weights
