"""How a frame's time grows with the work."""
import math
from typing import List, Tuple

from driver.network import Network, Size
from driver.report import Table
from driver.session import Session
from driver.statistics import fit_line, minimum

Point = Tuple[float, Network, Size]  # what the time grows with, and what is measured there


def run(session: Session) -> None:
    table = session.table(
        "Growth of a frame's time",
        "Straight lines of least squares through the minimum times of four networks or sizes each. Operations go with "
        "the square of the channels between the layers.")
    base = Size(640, 360) if session.options.card else Size(64, 36)
    sizes = [Size(base.width * scale, base.height * scale) for scale in (1, 2, 3, 4)]
    by_channels = [Network(count, 2) for count in (8, 16, 32, 48)]
    growths: List[Tuple[str, str, List[Point]]] = [
        ("pixels", "10^3 pixels", [(size.pixels / 1e3, Network(16, 1), size) for size in sizes]),
        ("channels", "10^6 operations", [(network.operations(base) / 1e6, network, base) for network in by_channels]),
        ("layers", "layers", [(depth + 2, Network(16, depth), base) for depth in (1, 2, 4, 8)])]
    for name, unit, points in growths:
        with session.part(f"growth with {name}"):
            fit(session, name, unit, points, table)


def fit(session: Session, name: str, unit: str, points: List[Point], table: Table) -> None:
    times = [math.inf] * len(points)
    with session.start_library() as library:
        for _ in range(session.times(3, short=1)):
            for i, (_, network, size) in enumerate(points):
                library.ask("open " + session.opened(network, size))
                library.ask("frames 1")
                times[i] = min(times[i], minimum(library.ask(f"frames {session.times(4, short=1)}")))
                library.ask("close")
    row = table.add(**{"with": name, "unit": unit})
    for number, (point, milliseconds) in enumerate(zip(points, times), 1):
        row.update({f"point {number}": point[0], f"point {number}, ms": milliseconds})
    line = fit_line([point[0] for point in points], times)
    row.update({"ms per unit": line.slope, "ms at zero": line.intercept, "explained": line.explained})
