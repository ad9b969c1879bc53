"""The chain that the library runs, and the form of it that is trained.

Channels are in the library's order (0 is blue), pictures are in [0, 1], tensors N x C x H x W. Each 3x3 layer sees zeros
beyond the edges and is clamped to [0, 1]; the last one has 12 outputs that become a picture of twice the size in CRD order
(channel = colour * 4 + row * 2 + column), which is PyTorch's pixel_shuffle.
"""
import torch
import torch.nn.functional as F
from torch import nn


def layer_shapes(channels, depth):
    """(inputs, outputs) of every layer."""
    if depth < 0:
        raise ValueError("depth must be at least 0")
    widths = [3] + [channels] * (depth + 1) + [12]
    return list(zip(widths[:-1], widths[1:]))


def interpolation_filter(channels):
    """The last layer that doubles the first three channels bilinearly."""
    filters = torch.zeros(12, channels, 3, 3)
    near, far = 0.75, 0.25
    for colour in range(3):
        for row in range(2):
            for column in range(2):
                vertical = torch.tensor([far, near, 0.0] if row == 0 else [0.0, near, far])
                horizontal = torch.tensor([far, near, 0.0] if column == 0 else [0.0, near, far])
                filters[colour * 4 + row * 2 + column, colour] = torch.outer(vertical, horizontal)
    return filters


def identity_filter(inputs, outputs):
    filters = torch.zeros(outputs, inputs, 3, 3)
    for channel in range(min(inputs, outputs)):
        filters[channel, channel, 1, 1] = 1
    return filters


def features(count):
    """First filters without mean: each answers to an edge of some colour and direction."""
    filters = torch.randn(count, 3, 3, 3)
    return (filters - filters.mean(dim=(1, 2, 3), keepdim=True)) * 0.3


def grown(weights, channels, depth):
    """A wider and deeper chain that does exactly what `weights` do: further channels start as features that the last layer
    does not look at yet, further layers pass everything on."""
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


def with_colours_inverted(weights, layers):
    """The same chain, but these layers (the first is 0) pass the three colours on as 1 - colour. A device that truncates then
    makes the picture darker in some layers and brighter in others. It is another chain only at the picture's edges, since
    the zeros that the next layer sees there mean white: train on."""
    result = [(filters.clone(), bias.clone()) for filters, bias in weights]
    for layer in layers:
        (filters, bias), (next_filters, next_bias) = result[layer : layer + 2]
        filters[:3] *= -1
        bias[:3] = 1 - bias[:3]
        next_bias += next_filters[:, :3].sum(dim=(1, 2, 3))
        next_filters[:, :3] *= -1
    return result


class Layer(nn.Module):
    """A 3x3 filter trained as `mix @ basis + start`: more numbers than the filter has, which trains better. What runs is
    always the filter itself, so nothing is lost when it is written out."""

    def __init__(self, start, bias, spread):
        super().__init__()
        outputs, inputs = start.shape[:2]
        rank = max(4 * max(inputs, outputs), 64)
        self.register_buffer("start", start)
        self.basis = nn.Parameter(torch.randn(rank, inputs * 9) / (inputs * 9) ** 0.5)
        self.mix = nn.Parameter(torch.randn(outputs, rank) * spread / rank**0.5)
        self.bias = nn.Parameter(bias.clone())

    def filter(self):
        return (self.mix @ self.basis).view_as(self.start) + self.start


class Chain(nn.Module):
    """The trained form. `weights`: (filter, bias) of every layer to start from, of this chain or a smaller one; without them
    the chain starts as bilinear interpolation with random features beside the picture."""

    def __init__(self, channels, depth, weights=None):
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

    def collapsed(self):
        return [(layer.filter(), layer.bias) for layer in self.layers]


def run(weights, picture, inner=torch.float32):
    """The network without its last clamp. `inner`: the type in which the layers between the first and the last compute."""
    value = picture
    for index, (filters, bias) in enumerate(weights):
        last = index == len(weights) - 1
        kind = inner if 0 < index and not last else picture.dtype
        value = F.conv2d(value.to(kind), filters.to(kind), bias.to(kind), padding=1)
        if not last:
            value = value.to(inner).clamp(0, 1)
    return F.pixel_shuffle(value, 2)


def to_half(value, truncate):
    """Rounds values of at least 0 to half precision, to nearest or toward zero; the result is float again."""
    half = value.half()
    if truncate:
        above = half.float() > value
        half = torch.where(above, (half.view(torch.int16) - 1).view(torch.float16), half)
    return half.float()


def run_half(weights, picture, truncate):
    """As the library runs it: weights in half precision, the picture and what every layer gives rounded or truncated to it,
    sums in single precision, every layer clamped. Gradients pass the rounding unchanged."""

    def rounded(value):
        return value + (to_half(value.detach(), truncate) - value.detach())

    value = rounded(picture)
    for filters, bias in weights:
        value = F.conv2d(value, filters.half().float(), bias.half().float(), padding=1).clamp(0, 1)
        value = rounded(value)
    return F.pixel_shuffle(value, 2)
