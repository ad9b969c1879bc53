"""Inside a frame and an open: what lies around the convolutions, and what each step takes."""
import time
from typing import List

from driver.network import Network, Size
from driver.report import Table
from driver.session import Session
from driver.statistics import median
from driver.turns import Side, compare, frames_of_turn, take_turns
from driver.worker import Worker

NETWORK = Network(32, 2)
FRAME_STEPS = ["recording, upload heap filled", "upload", "image2tensor",
               *(f"layer {number}" for number, _ in enumerate(NETWORK.layers, 1)),
               "DepthToSpaceCRD", "copy to read-back", "submission and wait", "rows out"]
OPEN_STEPS = ["Direct3D's device", "DirectML's device", "shaders", "weights, operators, buffers",
              "initialization of the operators", "textures"]


def sizes(session: Session) -> List[Size]:
    return [Size(*size) for size in session.choose(
        [(64, 36)], [(64, 36), (160, 90), (320, 180)], [(64, 36), (640, 360), (1920, 1080)])]


def run(session: Session) -> None:
    overhead = session.table(
        "Whole frames against their convolutions alone",
        f"{NETWORK}; medians. The same operators, in one process, take turns with and without the rest of the frame.")
    frame = session.table(
        "Steps of a frame, milliseconds",
        "Medians. Recording, submission and rows are by the processor's clock; the steps between them are stamped by "
        "the queue and lie within the submission.", FRAME_STEPS)
    opening = session.table("Steps of an open, milliseconds", "Once each, in a new process.", OPEN_STEPS)
    for size in sizes(session):
        with session.part(f"parts of a frame at {size}"), session.start_parts() as parts:
            add_steps(opening, size, parts.ask("open " + session.opened(NETWORK, size)))
            compare_with_convolutions(session, parts, size, overhead)
            add_steps(frame, size, time_frame_steps(session, parts))


def add_steps(table: Table, size: Size, times: List[float]) -> None:
    """The times of all steps, as a column."""
    for row, milliseconds in zip(table.rows, times, strict=True):
        row[str(size)] = milliseconds


def compare_with_convolutions(session: Session, parts: Worker, size: Size, table: Table) -> None:
    parts.ask("convolutions 0 1")
    frames = frames_of_turn(parts, "convolutions 0", session.patience(500))
    whole, bare = sides = [Side(parts, f"whole {frames}"), Side(parts, f"convolutions 0 {frames}")]
    take_turns(sides, session.patience(20_000), session.times(4))
    table.add(**{"size": str(size), "frames": len(whole.frames), "frame, ms": median(whole.frames),
                 "convolutions, ms": median(bare.frames), **compare(whole, bare).columns()})


def time_frame_steps(session: Session, parts: Worker) -> List[float]:
    frames: List[List[float]] = []
    end = time.monotonic() + session.patience(5_000) / 1000
    while len(frames) < session.times(4) or time.monotonic() < end:
        frames.append(parts.ask("apart"))
    return [median(times) for times in zip(*frames)]
