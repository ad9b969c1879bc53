"""The benchmark: runs its sections, prints their tables and writes them with a figure into a folder.

It starts Windows programs that lie in one folder: workers, one process for each side of a comparison, and orvane.exe.
Without matplotlib it draws no figure, and without onnx it needs the model files that --prepare has made; for the rest,
Python's own library is enough.
"""
import argparse
import json
import os
import platform
import subprocess
import sys
from pathlib import Path
from typing import Dict

from driver import figure
from driver.session import Session
from sections import frames, growth, memory, models, opening, operators, parts, rows

SECTIONS = {"frames": frames, "parts": parts, "rows": rows, "memory": memory, "operators": operators,
            "opening": opening, "growth": growth, "models": models}
REPOSITORY = Path(__file__).resolve().parent.parent


def read_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="bench", description="Measures the library, beside ONNX Runtime where "
                                     "bench_baseline.exe lies among the programs.")
    parser.add_argument("sections", nargs="*", metavar="SECTION", help=f"{', '.join(SECTIONS)}; or all")
    parser.add_argument("--out", type=Path, default=Path("bench-results"),
                        help="folder for results.json, results.md and frames.svg (default: %(default)s)")
    parser.add_argument("--short", action="store_true", help="a little of everything, to see that it works")
    parser.add_argument("--card", action="store_true", help="sizes for a graphics card")
    parser.add_argument("--prepare", action="store_true", help="only write the model files, for a machine without onnx")
    parser.add_argument("--draw", action="store_true", help="only draw the figure again, from results.json")
    parser.add_argument("--bin", type=Path, default=REPOSITORY / "build/mingw-release/bin",
                        help="folder of the programs (default: that of ./dev build)")
    parser.add_argument("--start", nargs=1, help="command that starts a Windows program of the folder that it runs in "
                        "(default: tools/wine/run-wine; nothing on Windows)")
    parser.add_argument("--seen-as", help="what the programs call the folder --out (default: its own path)")
    options = parser.parse_args()
    unknown = set(options.sections) - set(SECTIONS)
    if unknown:
        parser.error(f"no such section: {', '.join(sorted(unknown))}")
    is_windows = os.name == "nt"
    options.bin, options.out = options.bin.resolve(), options.out.resolve()
    options.start = options.start[0].split() if options.start else (
        [] if is_windows else [str(REPOSITORY / "tools/wine/run-wine")])
    options.seen_as = options.seen_as or ("" if is_windows else "Z:") + options.out.as_posix()
    return options


def processor_name() -> str:
    name = platform.processor()
    if os.path.exists("/proc/cpuinfo"):
        with open("/proc/cpuinfo", encoding="utf-8") as file:
            name = next((line.split(":")[1].strip() for line in file if line.startswith("model name")), name)
    return f"{os.cpu_count()} x {name}"


def read_facts(options: argparse.Namespace) -> Dict[str, str]:
    """What `orvane check` says of this machine."""
    if not (options.bin / "bench_library.exe").exists():
        raise SystemExit(f"bench: there is no bench_library.exe in {options.bin}; build the target bench first")
    program = options.start + ["orvane.exe"] if options.start else [str(options.bin / "orvane.exe")]
    result = subprocess.run([*program, "check", "--json"], cwd=options.bin, stdout=subprocess.PIPE, check=False)
    try:
        machine = json.loads(result.stdout)
    except ValueError:
        raise SystemExit(f"bench: orvane.exe check ended with {result.returncode} and no answer") from None
    if "reason" in machine:
        raise SystemExit("bench: this machine cannot run the library: " + machine["reason"])
    adapter = next(adapter["name"] for adapter in machine["adapters"] if adapter["used"])
    return {"adapter": adapter, "processor": processor_name(), "Windows": machine["windows"]}


def prepare(session: Session) -> None:
    """Writes the ONNX models of all comparisons, and the plain files that they are made of."""
    openings = [(opening.NETWORK, size) for size in opening.sizes(session)]
    for network, size in frames.cases(session) + openings:
        for activation in ("Clip", "HardSigmoid"):
            session.onnx_model(network, size, activation)


def measure(session: Session) -> None:
    report = session.report
    report.facts = read_facts(session.options)
    for name, value in report.facts.items():
        print(f"{name}: {value}")
    print("" if session.has_baseline else "There is no bench_baseline.exe: nothing to compare with.\n", flush=True)
    for name in session.options.sections or SECTIONS:
        before = len(report.tables)
        SECTIONS[name].run(session)
        print(*(table.text() for table in report.tables[before:]), sep="\n", flush=True)
    session.draw()
    if report.failures:
        raise SystemExit(f"bench: {len(report.failures)} parts of the benchmark failed")


def main() -> None:
    os.environ.setdefault("ORVANE_WINE_TIMEOUT", "3600")
    options = read_arguments()
    if options.draw:
        figure.draw(json.loads((options.out / "results.json").read_text(encoding="utf-8")), options.out / "frames.svg")
    elif options.prepare:
        prepare(Session(options))
    else:
        measure(Session(options))


if __name__ == "__main__":
    sys.exit(main())
