"""Opens, in processes that did nothing before, and again in the same process."""
from typing import Dict, List

from driver.network import Network, Size
from driver.report import Table
from driver.session import Session
from driver.statistics import median
from driver.worker import Worker

NETWORK = Network(32, 2)


def sizes(session: Session) -> List[Size]:
    return [Size(*size) for size in session.choose([(64, 36)], [(64, 36), (320, 180)], [(640, 360), (1920, 1080)])]


def run(session: Session) -> None:
    table = session.table(
        "Opening, milliseconds",
        f"{NETWORK}; medians of processes started in turn. A new size is what the first frame of that size takes "
        "beyond a later one. Other heaps: the first open with plain heaps, or on a card with virtual ones.")
    for size in sizes(session):
        with session.part(f"opening at {size}"):
            time_size(session, size, table)


def time_size(session: Session, size: Size, table: Table) -> None:
    times: Dict[str, List[float]] = {name: [] for name in (
        "first open", "its first frame", "second open", "new size", "other heaps", "ONNX Runtime session",
        "ONNX Runtime first frame", "ONNX Runtime second session")}
    opened = "open " + session.opened(NETWORK, size)
    for _ in range(session.times(3, short=1)):
        with session.start_library() as library:
            open_twice(library, opened, list(times.values())[:3])
            times["new size"].append(new_size(library, size))
            if session.has_baseline:
                with session.start_baseline() as baseline:
                    open_twice(baseline, "open " + session.opened(NETWORK, size, "Clip"), list(times.values())[-3:])
    with session.start_library(session.other_heaps) as library:
        times["other heaps"] = library.ask(opened)
    row = table.add(size=str(size), **{name: median(values) for name, values in times.items()})
    row["ratio of the first"] = row["first open"] / row["ONNX Runtime session"]
    row["ratio of the second"] = row["second open"] / row["ONNX Runtime second session"]


def open_twice(worker: Worker, opened: str, times: List[List[float]]) -> None:
    """Appends the times of the first open, its first frame and the second open."""
    times[0] += worker.ask(opened)
    times[1] += worker.ask("frames 1")
    worker.ask("close")
    times[2] += worker.ask(opened)


def new_size(library: Worker, size: Size) -> float:
    """What the first frame of another size takes beyond a later one."""
    library.ask(f"resize {size.width - 8} {size.height}")
    frames = library.ask("frames 3")
    return frames[0] - frames[-1]
