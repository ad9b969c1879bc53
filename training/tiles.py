"""Batches of training pairs, made in memory from the packed tiles."""
import functools
from collections import deque
from concurrent.futures import ThreadPoolExecutor

import numpy as np

import pack
import resize


def _halved(tiles):
    matrix = _halving(tiles.shape[2])
    small = np.empty((len(tiles), 3, tiles.shape[2] // 2, tiles.shape[3] // 2), np.uint8)
    for index, tile in enumerate(tiles):
        small[index] = np.clip(matrix @ tile.astype(np.float32) @ matrix.T + 0.5, 0, 255)
    return small


class Tiles:
    """One group of tiles: `large` and `small`, count x 3 x side x side, blue first. A tile counts as a whole picture: at its
    edges the network sees what it sees at the edges of a frame."""

    def __init__(self, large, small=None):
        self.large = np.ascontiguousarray(large[..., ::-1].transpose(0, 3, 1, 2))
        self.small = _halved(self.large) if small is None else np.ascontiguousarray(small[..., ::-1].transpose(0, 3, 1, 2))


def load(folder, group):
    if group == "video":
        return Tiles(pack.read(folder / "video.npz", group), pack.read(folder / "video.npz", "video-small"))
    return Tiles(pack.read(folder / "tiles.npz", group))


def _offset(random, room):
    """Where a crop starts; one in four lies at an edge of the tile."""
    choice = random.integers(8)
    return 0 if choice == 0 else room if choice == 1 else int(random.integers(room + 1))


def _side_weights(crop, offset, room, reach, ring):
    """Pixels that see zeros beyond the crop count less, unless the picture ends there too."""
    weights = np.ones(crop, np.float32)
    if offset > 0:
        weights[:reach] = ring
    if offset < room:
        weights[-reach:] = ring
    return weights


@functools.lru_cache
def _halving(length):
    return resize.matrix(length, 0.5).astype(np.float32)


def _plain(random, crop):
    """A flat colour or a ramp, as a large and a small picture."""
    slope = random.normal(0, 1.0, (2, 3, 1, 1)) * (random.random() < 0.6)
    across = np.arange(2 * crop)
    large = random.integers(0, 256, (3, 1, 1)) + slope[0] * across[:, None] + slope[1] * across
    large = np.clip(large, 0, 255)
    return large, _halving(2 * crop) @ large @ _halving(2 * crop).T


class Batches:
    """Batch number `step` is always the same for the same seed, so that training can go on where it stopped.

    groups: name -> Tiles. settings, of which are used: "mix" (group -> share of the crops; "plain" stands for flat colours and
    ramps), "seed", "batch", "crop" (pixels of the small side that the network sees at a time), "ring" and "depth"."""

    def __init__(self, groups, settings):
        self.groups, self.seed, self.size, self.crop = groups, settings["seed"], settings["batch"], settings["crop"]
        self.ring, self.reach = settings["ring"], settings["depth"] + 2
        self.names = list(settings["mix"])
        self.shares = np.array(list(settings["mix"].values()), float) / sum(settings["mix"].values())

    def __call__(self, step):
        """small, large (uint8 values as float32 in [0, 1]) and the weight of each small pixel."""
        random = np.random.default_rng((self.seed, step))
        crop = self.crop
        small = np.empty((self.size, 3, crop, crop), np.float32)
        large = np.empty((self.size, 3, 2 * crop, 2 * crop), np.float32)
        weight = np.ones((self.size, 1, crop, crop), np.float32)
        for index, group in enumerate(random.choice(len(self.names), self.size, p=self.shares)):
            if self.names[group] == "plain":
                ramp = _plain(random, crop)
                large[index], small[index] = (np.floor(np.clip(part, 0, 255) + 0.5) for part in ramp)
            else:
                self._cut(random, self.groups[self.names[group]], small[index], large[index], weight[index])
        return small / 255, large / 255, weight

    def _cut(self, random, tiles, small, large, weight):
        crop, which = self.crop, random.integers(len(tiles.small))
        room = tiles.small.shape[2] - crop
        y, x = _offset(random, room), _offset(random, room)
        rows = _side_weights(crop, y, room, self.reach, self.ring)
        columns = _side_weights(crop, x, room, self.reach, self.ring)
        turn = random.integers(8)
        small[:] = _turned(tiles.small[which, :, y : y + crop, x : x + crop], turn)
        large[:] = _turned(tiles.large[which, :, 2 * y : 2 * (y + crop), 2 * x : 2 * (x + crop)], turn)
        weight[:] = _turned((rows[:, None] * columns)[None], turn)

    def ahead(self, step, workers):
        """The batches from `step` on, made by other threads before they are needed; 0: made when they are asked for."""
        if not workers:
            while True:
                yield self(step)
                step += 1
        with ThreadPoolExecutor(workers) as pool:
            waiting = deque(pool.submit(self, step + index) for index in range(4 * workers))
            step += len(waiting)
            while True:
                yield waiting.popleft().result()
                waiting.append(pool.submit(self, step))
                step += 1


def _turned(picture, turn):
    """One of the eight ways to flip and transpose."""
    if turn & 1:
        picture = picture[:, ::-1]
    if turn & 2:
        picture = picture[:, :, ::-1]
    return picture.swapaxes(1, 2) if turn & 4 else picture
