"""Cuts batches of training pairs from the packed tiles, on the training device.

Tiles are bytes, count x side x side x 3, blue first. A tile counts as a whole image: at its edges the network sees the
same zeros as at the edges of a frame.
"""
from pathlib import Path

import numpy as np
import torch

from training.data import pack, resize

PLAIN_TILES = 400


class Tiles:
    """One group of pairs. `small` has half the sides of `large`; the first `photos` pairs are photographs.

    The constructor takes arrays with red first.
    """

    def __init__(self, large: np.ndarray, small: np.ndarray | None = None, photos: int = 0):
        self.photos = photos
        self.large = np.ascontiguousarray(large[..., ::-1])
        self.small = _downscaled(self.large) if small is None else np.ascontiguousarray(small[..., ::-1])


def _downscaled(tiles: np.ndarray) -> np.ndarray:
    matrix = resize.matrix(tiles.shape[1], 0.5).astype(np.float32)
    small = np.empty((len(tiles), len(matrix), len(matrix), 3), np.uint8)
    for index, tile in enumerate(tiles):
        rows = np.tensordot(matrix, tile.astype(np.float32), 1)
        columns = np.tensordot(matrix, rows.swapaxes(0, 1), 1)
        small[index] = np.clip(columns.swapaxes(0, 1) + 0.5, 0, 255)
    return small


def _colour(random: np.random.Generator) -> np.ndarray:
    return random.integers(0, 2, 3) * 255 if random.random() < 0.3 else random.integers(0, 256, 3)


def _plain(random: np.random.Generator, side: int) -> np.ndarray:
    """A flat colour, a ramp, or sharp rectangles on a flat colour as in user interfaces."""
    colour = _colour(random)
    if random.random() < 0.4:
        tile = np.full((side, side, 3), colour, np.uint8)
        for _ in range(12):
            (y, x), (height, width) = random.integers(0, side, 2), random.integers(2, 40, 2)
            tile[y : y + height, x : x + width] = _colour(random)
        return tile
    slope = random.normal(0, 1.0, (2, 3)) * (random.random() < 0.6)
    y, x = np.mgrid[:side, :side]
    return np.clip(colour + y[..., None] * slope[0] + x[..., None] * slope[1] + 0.5, 0, 255).astype(np.uint8)


def load(folder: Path, group: str, seed: int) -> Tiles:
    """Reads a group from the data folder: "photo", "drawing", "slide" or "video"; "plain" is created from `seed`."""
    if group == "plain":
        random = np.random.default_rng(seed)
        return Tiles(np.stack([_plain(random, pack.TILE) for _ in range(PLAIN_TILES)]))
    if group == "video":
        kinds, small = ("photo", "drawing"), folder / "video.npz"
        large = [pack.read(folder / "tiles.npz", kind)[pack.read_numbers(small, kind)] for kind in kinds]
        return Tiles(np.concatenate(large), np.concatenate([pack.read(small, kind) for kind in kinds]), len(large[0]))
    tiles = pack.read(folder / ("slides.npz" if group == "slide" else "tiles.npz"), group)
    return Tiles(tiles, photos=len(tiles) if group == "photo" else 0)


def _turns(grid: torch.Tensor) -> torch.Tensor:
    """The eight ways to flip and transpose a square of pixel indices, each as a row."""
    rows = []
    for turn in range(8):
        turned = grid.flip(0) if turn & 1 else grid
        turned = turned.flip(1) if turn & 2 else turned
        rows.append((turned.T if turn & 4 else turned).reshape(-1))
    return torch.stack(rows)


def _side_weights(crop: int, reach: int, ring: float) -> torch.Tensor:
    """Weights of the pixels along one side of a crop, a row for each of four cases.

    The index of the case is 1 if the crop starts inside the tile, plus 2 if it ends inside. There the network sees
    zeros that do not exist in the image, so these pixels count less.
    """
    weights = torch.ones(4, crop)
    weights[1::2, :reach] = ring
    weights[2:, crop - reach :] = ring
    return weights


class Batches:
    """Batches of random crops. The seed and the number of the step decide a batch, so training can be resumed.

    Of `settings`, these are used: "mix" (share of the crops for each group), "seed", "batch", "crop" (side of a small
    crop in pixels), "ring", "halo" and "depth".
    """

    def __init__(self, groups: dict[str, Tiles], settings: dict, device: str):
        self.seed, self.size, self.crop = settings["seed"], settings["batch"], settings["crop"]
        self.counts = np.array([len(groups[name].small) for name in settings["mix"]])
        self.firsts = np.cumsum(self.counts) - self.counts
        self.shares = np.array(list(settings["mix"].values()), float) / sum(settings["mix"].values())
        small, large = (np.concatenate([getattr(groups[name], side) for name in settings["mix"]])
                        for side in ("small", "large"))
        self.side = small.shape[1]
        drawn = [np.arange(len(groups[name].small)) >= groups[name].photos for name in settings["mix"]]
        self.halo = settings["halo"] * torch.from_numpy(np.concatenate(drawn)).float().to(device)
        if self.crop > self.side:
            raise SystemExit(f"crops of {self.crop} pixels do not fit into tiles of {self.side}")
        self.small, self.large = (torch.from_numpy(part).view(-1, 3).to(device) for part in (small, large))
        cell = torch.arange(self.crop)
        fine = torch.arange(2 * self.crop)
        self.small_places = _turns(cell[:, None] * self.side + cell).to(device)
        self.large_places = _turns(fine[:, None] * 2 * self.side + fine).to(device)
        self.weight_places = _turns(cell[:, None] * self.crop + cell).to(device)
        reach = min(settings["depth"] + 2, self.crop // 4)
        self.side_weights = _side_weights(self.crop, reach, settings["ring"]).to(device)

    def choose(self, step: int) -> torch.Tensor:
        """Tile, row, column and turn of each crop: 4 x batch. A quarter of the rows and columns lie at an edge."""
        random = np.random.default_rng((self.seed, step))
        group = random.choice(len(self.counts), self.size, p=self.shares)
        tile = self.firsts[group] + (random.random(self.size) * self.counts[group]).astype(np.int64)
        room = self.side - self.crop
        place = random.integers(room + 1, size=(2, self.size))
        edge = random.integers(8, size=(2, self.size))
        place = np.where(edge == 0, 0, np.where(edge == 1, room, place))
        return torch.from_numpy(np.stack([tile, *place, random.integers(8, size=self.size)]))

    def cut(self, chosen: torch.Tensor) -> tuple[torch.Tensor, torch.Tensor, torch.Tensor, torch.Tensor]:
        """Cuts the crops that `choose` has chosen; `chosen` must be on the device.

        Returns the small and the large crops in [0, 1], the weight of each large pixel, and the weight of halos in each
        crop.
        """
        tile, y, x, turn = chosen
        small = self._gathered(self.small, tile * self.side**2 + y * self.side + x, self.small_places[turn], self.crop)
        start = tile * (2 * self.side) ** 2 + 2 * y * 2 * self.side + 2 * x
        large = self._gathered(self.large, start, self.large_places[turn], 2 * self.crop)
        rows, columns = (self.side_weights[(p > 0).long() + 2 * (p < self.side - self.crop).long()] for p in (y, x))
        weight = (rows[:, :, None] * columns[:, None, :]).reshape(self.size, -1).gather(1, self.weight_places[turn])
        weight = weight.view(self.size, 1, self.crop, self.crop)
        weight = torch.nn.functional.interpolate(weight, scale_factor=2.0, mode="nearest")
        return small, large, weight, self.halo[tile].view(self.size, 1, 1, 1)

    def _gathered(self, pixels: torch.Tensor, start: torch.Tensor, places: torch.Tensor, side: int) -> torch.Tensor:
        """The channels of a pixel stay together in memory, which makes convolutions faster."""
        return pixels[start[:, None] + places].view(self.size, side, side, 3).permute(0, 3, 1, 2).float() / 255
