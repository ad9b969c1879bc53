"""The network as the library runs it, and the form of it that is trained.

Channels are in the library's order (0 is blue), values in [0, 1], tensors N x C x H x W. Each 3x3 layer sees zeros
beyond the edges and is clamped to [0, 1]. The 12 outputs of the last layer become an image of twice the size in CRD
order (channel = colour * 4 + row * 2 + column), as with PyTorch's pixel_shuffle.
"""
from collections.abc import Callable, Sequence

import numpy as np
import torch
import torch.nn.functional as F
from torch import nn

from training.data import resize

Weights = list[tuple[torch.Tensor, torch.Tensor]]  # (filter, bias) of each layer


def layer_shapes(channels: int, depth: int) -> list[tuple[int, int]]:
    """(inputs, outputs) of each layer."""
    if depth < 0:
        raise ValueError("depth must be at least 0")
    widths = [3] + [channels] * (depth + 1) + [12]
    return list(zip(widths[:-1], widths[1:]))


def interpolation_filter(channels: int) -> torch.Tensor:
    """The last filter that upscales the first three channels bilinearly."""
    filters = torch.zeros(12, channels, 3, 3)
    near, far = 0.75, 0.25
    for colour in range(3):
        for row in range(2):
            for column in range(2):
                vertical = torch.tensor([far, near, 0.0] if row == 0 else [0.0, near, far])
                horizontal = torch.tensor([far, near, 0.0] if column == 0 else [0.0, near, far])
                filters[colour * 4 + row * 2 + column, colour] = torch.outer(vertical, horizontal)
    return filters


def identity_filter(inputs: int, outputs: int) -> torch.Tensor:
    """A filter that passes the channels on unchanged."""
    filters = torch.zeros(outputs, inputs, 3, 3)
    for channel in range(min(inputs, outputs)):
        filters[channel, channel, 1, 1] = 1
    return filters


def features(count: int) -> torch.Tensor:
    """Random first filters with zero mean: each responds to edges of some colour and direction."""
    filters = torch.randn(count, 3, 3, 3)
    return (filters - filters.mean(dim=(1, 2, 3), keepdim=True)) * 0.3


def grown(weights: Weights, channels: int, depth: int) -> Weights:
    """A wider and deeper network with exactly the same result as `weights`.

    Additional channels start as features that the last layer ignores. Additional layers start as the identity.
    """
    width, layers = len(weights[0][0]), len(weights) - 2
    if channels < width or depth < layers:
        raise ValueError(f"{width} channels and depth {layers} do not fit into {channels} and {depth}")
    result = []
    for index, (inputs, outputs) in enumerate(layer_shapes(channels, depth)):
        is_first, is_last = index == 0, index == depth + 1
        source = weights[0] if is_first else weights[-1] if is_last else weights[index] if index <= layers else None
        filters, bias = identity_filter(inputs, outputs), torch.zeros(outputs)
        if is_first:
            filters = features(outputs)
        elif is_last:
            filters = torch.zeros_like(filters)
        if source:
            rows, columns = source[0].shape[:2]
            filters[:rows] = 0
            filters[:rows, :columns] = source[0]
            bias[:rows] = source[1]
        result.append((filters, bias))
    return result


def with_colours_inverted(weights: Weights, layers: Sequence[int]) -> Weights:
    """The same network, but these layers (the first is 0) pass the three colours on as 1 - colour.

    A device that truncates then makes the image darker in some layers and brighter in others. The result differs only
    at the edges of the image, where the zeros that the next layer sees now mean white. Further training corrects that.
    """
    result = [(filters.clone(), bias.clone()) for filters, bias in weights]
    for layer in layers:
        (filters, bias), (next_filters, next_bias) = result[layer : layer + 2]
        filters[:3] *= -1
        bias[:3] = 1 - bias[:3]
        next_bias += next_filters[:, :3].sum(dim=(1, 2, 3))
        next_filters[:, :3] *= -1
    return result


class Layer(nn.Module):
    """A 3x3 filter trained as `mix @ basis + start`.

    These are more parameters than the filter has, which trains better. Every step runs the filter itself, so nothing is
    lost at export.
    """

    def __init__(self, start: torch.Tensor, bias: torch.Tensor, spread: float):
        super().__init__()
        outputs, inputs = start.shape[:2]
        rank = max(4 * max(inputs, outputs), 64)
        self.register_buffer("start", start)
        self.basis = nn.Parameter(torch.randn(rank, inputs * 9) / (inputs * 9) ** 0.5)
        self.mix = nn.Parameter(torch.randn(outputs, rank) * spread / rank**0.5)
        self.bias = nn.Parameter(bias.clone())

    def filter(self) -> torch.Tensor:
        """The filter that runs: outputs x inputs x 3 x 3."""
        return (self.mix @ self.basis).view_as(self.start) + self.start


class Chain(nn.Module):
    """The trained form of the network.

    It starts from `weights`, which may be those of a smaller network. Without them it starts as bilinear interpolation,
    with random features in the channels after the colours.
    """

    def __init__(self, channels: int, depth: int, weights: Weights | None = None):
        super().__init__()
        self.layers = nn.ModuleList()
        shapes = layer_shapes(channels, depth)
        weights = weights and grown(weights, channels, depth)
        for index, (inputs, outputs) in enumerate(shapes):
            if weights:
                self.layers.append(Layer(*weights[index], 0.0))
            elif index == len(shapes) - 1:
                self.layers.append(Layer(interpolation_filter(inputs), torch.zeros(outputs), 0.1))
            else:
                self.layers.append(Layer(identity_filter(inputs, outputs), torch.zeros(outputs), 0.1))
        if not weights:
            self.layers[0].start[3:] += features(channels)[3:]

    def collapsed(self) -> Weights:
        """The weights that the library runs, with gradients."""
        return [(layer.filter(), layer.bias) for layer in self.layers]


def run(weights: Weights, image: torch.Tensor, inner: torch.dtype = torch.float32) -> torch.Tensor:
    """Runs the network without its last clamp. `inner` is the type of the layers between the first and the last."""
    value = image
    for index, (filters, bias) in enumerate(weights):
        last = index == len(weights) - 1
        kind = inner if 0 < index and not last else image.dtype
        value = F.conv2d(value.to(kind), filters.to(kind), bias.to(kind), padding=1)
        if not last:
            value = value.to(inner).clamp(0, 1)
    return F.pixel_shuffle(value, 2)


def to_half(value: torch.Tensor, truncate: bool) -> torch.Tensor:
    """Rounds non-negative values to half precision (FP16), to nearest or toward zero. Returns 32-bit floats."""
    half = value.half()
    if truncate:
        above = half.float() > value
        half = torch.where(above, (half.view(torch.int16) - 1).view(torch.float16), half)
    return half.float()


def run_half(weights: Weights, image: torch.Tensor, truncate: bool) -> torch.Tensor:
    """Runs the network as the library does.

    Weights are in half precision; the input and the result of each layer are rounded or truncated to it. Sums are in
    single precision, and each layer is clamped. Gradients pass through the rounding unchanged.
    """

    def rounded(value: torch.Tensor) -> torch.Tensor:
        return value + (to_half(value.detach(), truncate) - value.detach())

    value = rounded(image)
    for filters, bias in weights:
        value = F.conv2d(value, filters.half().float(), bias.half().float(), padding=1).clamp(0, 1)
        value = rounded(value)
    return F.pixel_shuffle(value, 2)


def upscale(weights: Weights, small: np.ndarray, run_network: Callable[[Weights, torch.Tensor], torch.Tensor],
            device: str = "cpu") -> np.ndarray:
    """Upscales one image (height x width x 3 bytes, red first). `run_network`: `run`, or a partial `run_half`."""
    with torch.no_grad():
        planes = np.ascontiguousarray(small[..., ::-1].transpose(2, 0, 1))
        value = torch.from_numpy(planes).float().to(device)[None] / 255
        result = run_network([(f.to(device), b.to(device)) for f, b in weights], value).clamp(0, 1)[0]
    return resize.to_bytes(result.cpu().numpy().transpose(1, 2, 0)[..., ::-1] * 255.0)
