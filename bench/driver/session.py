"""One run of the benchmark: what its sections share."""
import argparse
import sys
from contextlib import contextmanager
from pathlib import Path
from typing import Iterator, List, Optional

from driver import figure
from driver.network import Network, Size, write_model, write_onnx
from driver.report import Report, Table
from driver.worker import Worker

# Under Wine, how Direct3D keeps its descriptors. On a software adapter virtual heaps save the library seconds at an
# open, and slow ONNX Runtime down. Outside Wine it means nothing.
PLAIN_HEAPS, VIRTUAL_HEAPS = "", "virtual_heaps"


class Session:
    """The options: `short` (a little of everything, to see that it works), `card` (sizes for a graphics card), `bin`
    (the folder of the programs), `start` (the command that starts one), `out` (the folder of the results), `seen_as`
    (what the programs call that folder)."""

    def __init__(self, options: argparse.Namespace) -> None:
        self.options = options
        self.report = Report()
        self.own_heaps, self.other_heaps = VIRTUAL_HEAPS, PLAIN_HEAPS
        if options.card:
            self.own_heaps, self.other_heaps = PLAIN_HEAPS, VIRTUAL_HEAPS
        (options.out / "models").mkdir(parents=True, exist_ok=True)

    def choose(self, short: List, software: List, card: List) -> List:
        """The one of the three that suits this run."""
        return short if self.options.short else card if self.options.card else software

    def patience(self, milliseconds: float) -> float:
        """How long to measure something that gets so long on a software adapter."""
        return 0.0 if self.options.short else milliseconds * (0.2 if self.options.card else 1.0)

    def times(self, count: int, short: int = 2) -> int:
        """The number of repetitions."""
        return short if self.options.short else count

    # The report.

    def table(self, title: str, note: str, steps: Optional[List[str]] = None) -> Table:
        """A new table of the report, with a row for each step."""
        table = Table(title, note, [{"step": name} for name in steps or []])
        self.report.tables.append(table)
        return table

    @contextmanager
    def part(self, what: str) -> Iterator[None]:
        """Around one part of the work. When it fails, the report says so, and the other parts go on."""
        outcome = "done"
        try:
            yield
        except Exception as failure:  # whatever it is, it must not take the results of the others along
            outcome = str(failure) or repr(failure)
            self.report.failures.append(f"{what}: {outcome}")
        print(f"bench: {what}: {outcome}", file=sys.stderr, flush=True)
        self.write()

    def write(self) -> None:
        """Writes what there is so far."""
        (self.options.out / "results.json").write_text(self.report.json(), encoding="utf-8")
        (self.options.out / "results.md").write_text(self.report.text(), encoding="utf-8")

    def draw(self) -> None:
        """Draws the figure where matplotlib is installed; elsewhere says how to do it later."""
        try:
            figure.draw(self.report.content(), self.options.out / "frames.svg")
        except ImportError as missing:
            print(f"bench: no figure ({missing}); where matplotlib is, --draw makes it from results.json",
                  file=sys.stderr)

    # Model files, made when they are first asked for.

    def model(self, network: Network) -> Path:
        path = self.options.out / "models" / f"model-{network.channels}-{network.depth}.bin"
        if not path.exists():
            write_model(network, path)
        return path

    def onnx_model(self, network: Network, size: Size, activation: str) -> Path:
        path = self.model(network)
        path = path.with_name(f"{path.stem}-{size}-{activation}.onnx")
        if not path.exists():
            write_onnx(network, self.model(network), size, activation, path)
        return path

    def seen(self, path: Path) -> str:
        """The path as the programs see it."""
        return f"{self.options.seen_as}/{path.relative_to(self.options.out).as_posix()}"

    def opened(self, network: Network, size: Size, activation: Optional[str] = None) -> str:
        """What "open" is followed by; for ONNX Runtime with an activation."""
        path = self.onnx_model(network, size, activation) if activation else self.model(network)
        return f"{size.width} {size.height} {network.channels} {network.depth} {self.seen(path)}"

    # Workers.

    def start(self, program: str, heaps: Optional[str] = None) -> Worker:
        heaps = self.own_heaps if heaps is None else heaps
        name = f"{program}.exe"
        command = [*self.options.start, name] if self.options.start else [str(self.options.bin / name)]
        # A worker that hangs must not take the results of the others along.
        return Worker(command, self.options.bin, {"VKD3D_CONFIG": heaps}, 60 if self.options.card else 3600)

    def start_library(self, heaps: Optional[str] = None) -> Worker:
        return self.start("bench_library", heaps)

    def start_parts(self) -> Worker:
        return self.start("bench_parts")

    def start_baseline(self) -> Worker:
        return self.start("bench_baseline", PLAIN_HEAPS)

    @property
    def has_baseline(self) -> bool:
        return (self.options.bin / "bench_baseline.exe").exists()
