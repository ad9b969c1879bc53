"""The figure: times of frames by pixels, on logarithmic axes. Needs matplotlib."""
from pathlib import Path
from typing import Any, Dict, List, Tuple

SIDES = {"median": "Orvane", "ONNX Runtime median": "ONNX Runtime"}  # by their columns


def frame_series(results: Dict[str, Any]) -> Dict[str, List[Tuple[int, float]]]:
    """Pixels and milliseconds by the names of sides and networks, from what results.json holds."""
    series: Dict[str, List[Tuple[int, float]]] = {}
    for table in results["tables"]:
        for row in table["rows"]:
            for column, side in SIDES.items():
                if "network" in row and row.get(column):
                    width, height = map(int, row["size"].split("x"))
                    series.setdefault(f"{side}, {row['network']}", []).append((width * height, row[column]))
    return series


def draw(results: Dict[str, Any], path: Path) -> None:
    """Writes the figure as SVG, if the results have frames to show."""
    series = frame_series(results)
    if not series:
        return
    from matplotlib import rc_context
    from matplotlib.figure import Figure
    with rc_context({"svg.fonttype": "none"}):
        figure = Figure(figsize=(8.4, 4.2))
        axes = figure.subplots()
        for name, points in series.items():
            axes.loglog(*zip(*points), marker="o", markersize=4, label=name)
        axes.set(title="One frame", xlabel="pixels of the input image", ylabel="milliseconds")
        axes.grid(True)
        axes.legend(loc="upper left", bbox_to_anchor=(1.02, 1.0), frameon=False)
        figure.savefig(path, bbox_inches="tight")
