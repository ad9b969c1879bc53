"""Batches of training pairs, made in memory from the packed tiles."""
import numpy as np

import pack
import resize

CROP = 32  # pixels of the small side that a network sees at a time


def _halved(tiles):
    matrix = resize.matrix(tiles.shape[2], 0.5).astype(np.float32)
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


def load(path, group):
    compressed = f"{group}-small"
    if group == "video":
        return Tiles(pack.read(path, group), pack.read(path, compressed))
    return Tiles(pack.read(path, group))


def _offset(random, room):
    """Where a crop starts; one in four lies at an edge of the tile."""
    choice = random.integers(8)
    return 0 if choice == 0 else room if choice == 1 else int(random.integers(room + 1))


def _side_weights(offset, room, reach, ring):
    """Pixels that see zeros beyond the crop count less, unless the picture ends there too."""
    weights = np.ones(CROP, np.float32)
    if offset > 0:
        weights[:reach] = ring
    if offset < room:
        weights[-reach:] = ring
    return weights


def _plain(random):
    """A flat colour or a ramp, as a large and a small picture."""
    slope = random.normal(0, 1.0, (2, 3, 1, 1)) * (random.random() < 0.6)
    across = np.arange(2 * CROP)
    large = random.integers(0, 256, (3, 1, 1)) + slope[0] * across[:, None] + slope[1] * across
    large = np.clip(large, 0, 255)
    matrix = resize.matrix(2 * CROP, 0.5)
    return large, matrix @ large @ matrix.T


class Batches:
    """Batch number `step` is always the same for the same seed, so that training can go on where it stopped.

    mix: group -> share of the crops; "plain" stands for flat colours and ramps."""

    def __init__(self, groups, mix, seed, size, reach, ring):
        self.groups, self.seed, self.size, self.reach, self.ring = groups, seed, size, reach, ring
        self.names = list(mix)
        self.shares = np.array([mix[name] for name in mix], float) / sum(mix.values())

    def __call__(self, step):
        """small, large (uint8 values as float32 in [0, 1]) and the weight of each small pixel."""
        random = np.random.default_rng((self.seed, step))
        small = np.empty((self.size, 3, CROP, CROP), np.float32)
        large = np.empty((self.size, 3, 2 * CROP, 2 * CROP), np.float32)
        weight = np.ones((self.size, 1, CROP, CROP), np.float32)
        for index, group in enumerate(random.choice(len(self.names), self.size, p=self.shares)):
            if self.names[group] == "plain":
                ramp = _plain(random)
                large[index], small[index] = (np.floor(np.clip(part, 0, 255) + 0.5) for part in ramp)
            else:
                self._crop(random, self.groups[self.names[group]], small[index], large[index], weight[index])
        return small / 255, large / 255, weight

    def _crop(self, random, tiles, small, large, weight):
        which = random.integers(len(tiles.small))
        room = tiles.small.shape[2] - CROP
        y, x = _offset(random, room), _offset(random, room)
        rows = _side_weights(y, room, self.reach, self.ring)
        columns = _side_weights(x, room, self.reach, self.ring)
        small[:] = _turned(tiles.small[which, :, y : y + CROP, x : x + CROP], turn := random.integers(8))
        large[:] = _turned(tiles.large[which, :, 2 * y : 2 * (y + CROP), 2 * x : 2 * (x + CROP)], turn)
        weight[:] = _turned((rows[:, None] * columns)[None], turn)


def _turned(picture, turn):
    """One of the eight ways to flip and transpose."""
    if turn & 1:
        picture = picture[:, ::-1]
    if turn & 2:
        picture = picture[:, :, ::-1]
    return picture.swapaxes(1, 2) if turn & 4 else picture
