"""Sides of a comparison that take turns, so that what else the machine does affects all of them alike."""
import time
from typing import List, NamedTuple, Sequence

from driver.report import Row
from driver.statistics import median, minimum, quantile
from driver.worker import Worker


class Side:
    """A worker, and the command that runs several frames and answers with their times in milliseconds."""

    def __init__(self, worker: Worker, command: str) -> None:
        self.worker = worker
        self.command = command
        self.frames: List[float] = []
        self.turn_medians: List[float] = []
        self.processor = 0.0  # time of all cores together; Windows counts it in steps of 10 to 16 ms

    def take_turn(self) -> None:
        before = self.worker.ask_one("processor")
        times = self.worker.ask(self.command)
        self.processor += self.worker.ask_one("processor") - before
        self.frames += times
        self.turn_medians.append(median(times))


def take_turns(sides: Sequence[Side], milliseconds: float, least_turns: int) -> None:
    """Lets every side run once a turn, a different one first each turn, for at least so long and so many turns."""
    end = time.monotonic() + milliseconds / 1000
    turn = 0
    while turn < least_turns or time.monotonic() < end:
        for i in range(len(sides)):
            sides[(turn + i) % len(sides)].take_turn()
        turn += 1


def frames_of_turn(worker: Worker, command: str, milliseconds: float) -> int:
    """How many frames the command runs in about so many milliseconds, 50 at most. Runs one to see."""
    return int(min(max(milliseconds / worker.ask_one(f"{command} 1"), 1), 50))


class Ratio(NamedTuple):
    """What one side takes relative to another."""

    median: float  # of the turns' ratios
    low: float  # a quarter of the turns lies below
    high: float  # a quarter above
    minima: float  # of the shortest frames
    processor: float  # of the time of all cores together

    def columns(self) -> Row:
        return dict(zip(("ratio", "25 %", "75 %", "ratio of minima", "ratio of processor time"), self))


def compare(side: Side, other: Side) -> Ratio:
    ratios = [a / b for a, b in zip(side.turn_medians, other.turn_medians)]
    processor = side.processor / len(side.frames) * len(other.frames)
    return Ratio(median(ratios), quantile(ratios, 0.25), quantile(ratios, 0.75),
                 minimum(side.frames) / minimum(other.frames),
                 processor / other.processor if other.processor else float("nan"))
