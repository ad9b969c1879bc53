"""Frame by frame beside ONNX Runtime: from the same bytes in host memory to the same bytes in host memory."""
import math
import operator
from contextlib import ExitStack
from typing import Dict, List, Tuple

from driver.network import Network, Size
from driver.report import Row
from driver.session import Session
from driver.statistics import median, minimum, quantile
from driver.turns import Side, compare, frames_of_turn, take_turns
from driver.worker import Worker

# From NVIDIA's data sheets: 10^12 operations a second in half precision (FP16) on the tensor cores, without sparsity,
# and on all others; GB/s of the memory. The first whose name is part of the adapter's.
CARDS = {"H100 PCIe": (756.0, 102.4, 2000.0), "H100": (989.4, 133.8, 3350.0), "H200": (989.4, 133.8, 4800.0)}

# The sides. The first two always take part, if ONNX Runtime is there.
LIBRARY, BASELINE, SAME, HEAPS = "Orvane", "ONNX Runtime", "ONNX Runtime, same activation", "virtual heaps"
NOTE = """\
Each in a process of its own; they take turns. The ratio is that of a turn's medians: the median of all turns, and the \
quarters beside it. "ONNX Runtime session only" is without the conversion of images. Processor time is that of all \
cores. The difference is that of two bytes of the images. The same activation: beside ONNX Runtime with the library's \
hard sigmoid in place of the clip that exporters write; both give the same image. On a card: operations are the \
convolutions' multiplications and additions; bytes, every tensor written once and read once."""


def cases(session: Session) -> List[Tuple[Network, Size]]:
    narrow = Network(8, 1)
    if session.options.short:
        return [(narrow, Size(64, 36))]
    sizes = session.choose([], [(64, 36), (160, 90), (320, 180), (640, 360)],
                           [(64, 36), (640, 360), (1280, 720), (1920, 1080), (2560, 1440)])
    return [(network, Size(*size)) for network in (Network(32, 2), narrow) for size in sizes]


def run(session: Session) -> None:
    table = session.table("One frame, milliseconds, beside ONNX Runtime", NOTE)
    for network, size in cases(session):
        with session.part(f"frames of {size}, {network}"), ExitStack() as workers:
            sides, frames = start_sides(session, workers, network, size)
            take_turns(list(sides.values()), session.patience(15_000), session.times(3, short=2))
            times = sides[LIBRARY].frames
            row = table.add(network=str(network), size=str(size), frames=len(times))
            row.update({"min": minimum(times), "median": median(times), "95 %": quantile(times, 0.95)})
            if BASELINE in sides:
                add_baseline(session, sides, frames, row)
            if session.options.card:
                row["virtual heaps"] = median(sides[HEAPS].frames)
                add_share_of_card(session.report.facts["adapter"], network, size, row)


def start_sides(session: Session, workers: ExitStack, network: Network, size: Size) -> Tuple[Dict[str, Side], int]:
    """The sides, with frames of this size, and how many of them a turn has."""
    library = workers.enter_context(session.start_library())
    library.ask("open " + session.opened(network, size))
    library.ask("frames 1")
    frames = frames_of_turn(library, "frames", session.patience(500))
    sides = {LIBRARY: Side(library, f"frames {frames}")}

    def join(name: str, worker: Worker, activation: str = "") -> None:
        workers.enter_context(worker)
        worker.ask("open " + session.opened(network, size, activation))
        worker.ask("frames 2")
        sides[name] = Side(worker, f"frames {frames}")

    if session.has_baseline:
        with session.part(f"ONNX Runtime, {size}, {network}"):
            join(BASELINE, session.start_baseline(), "Clip")
    if BASELINE in sides:
        with session.part(f"ONNX Runtime with hard sigmoids, {size}, {network}"):
            join(SAME, session.start_baseline(), "HardSigmoid")
    if session.options.card:
        join(HEAPS, session.start_library(session.other_heaps))
    return sides, frames


def add_baseline(session: Session, sides: Dict[str, Side], frames: int, row: Row) -> None:
    """The columns beside ONNX Runtime."""
    library, baseline = sides[LIBRARY], sides[BASELINE]
    row.update({"ONNX Runtime min": minimum(baseline.frames), "ONNX Runtime median": median(baseline.frames),
                "ONNX Runtime 95 %": quantile(baseline.frames, 0.95),
                "ONNX Runtime session only": median(baseline.worker.ask(f"sessions {frames}")),
                **compare(library, baseline).columns(),
                "largest difference": largest_difference(session, library.worker, baseline.worker)})
    if SAME in sides:
        same = compare(library, sides[SAME]).columns()
        row.update({f"same activation: {name}": value for name, value in same.items() if not name.endswith("%")})


def largest_difference(session: Session, library: Worker, baseline: Worker) -> int:
    """Between the bytes of the two last images."""
    path = session.options.out / "image.rgba"
    images = []
    for worker in (library, baseline):
        worker.ask("save " + session.seen(path))
        images.append(path.read_bytes())
        path.unlink()
    if len(images[0]) != len(images[1]):
        raise ValueError("the images are of different sizes")
    return max(map(abs, map(operator.sub, *images)))


def add_share_of_card(adapter: str, network: Network, size: Size, row: Row) -> None:
    """The columns that say how much of the card's best a frame reaches."""
    tensor, other, memory = next((values for name, values in CARDS.items() if name in adapter), (math.nan,) * 3)
    teraflops = network.operations(size) / row["median"] / 1e9
    gigabytes = network.moved_bytes(size) / row["median"] / 1e6
    row.update({"frames/s": 1e3 / row["median"], "TFLOPS": teraflops,
                "% of the tensor cores": 100 * teraflops / tensor, "% of the other cores": 100 * teraflops / other,
                "GB/s": gigabytes, "% of the memory": 100 * gigabytes / memory})
