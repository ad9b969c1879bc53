"""Writes a model card: weights/NAME.md with the figures of evaluate.py, and weights/NAME.png with crops."""
import argparse
import json
from pathlib import Path

import numpy as np
from PIL import Image, ImageDraw, ImageFont

from training import ROOT
from training.data import drawn, resize
from training.judge import evaluate
from training.model.convert import Weights

CROP = 56  # side of a crop of the large image in pixels
ZOOM = 3
# The test images, and for each the top left corner of its crop as a share of height and width.
CROPS = (("photo-friends_by_Aitzol_Berasategi", 0.35, 0.3), ("photo-china", 0.35, 0.4), ("drawn-3", 0.05, 0.1))
KINDS = {"photo": "photographs", "drawing": "drawings", "drawn": "text, lines, interfaces", "slide": "slides"}


def crops(model: evaluate.Model, folder: Path) -> np.ndarray:
    """A row for each image: source, nearest, bicubic, model."""
    rows = []
    for name, down, across in CROPS:
        pair = next((p for p in evaluate.read_pairs(folder) if p.name == name), None)
        if pair is None:
            continue
        images = [pair.large, resize.upscale_nearest(pair.small), resize.to_bytes(resize.upscale_bicubic(pair.small)),
                  model.in_torch(pair.small, True)]
        y, x = int(pair.large.shape[0] * down), int(pair.large.shape[1] * across)
        row = [np.kron(image[y : y + CROP, x : x + CROP], np.ones((ZOOM, ZOOM, 1), np.uint8)) for image in images]
        rows.append(np.concatenate(row, axis=1))
    return np.concatenate(rows, axis=0)


def labelled(pixels: np.ndarray) -> Image.Image:
    """The crops with a title above each column."""
    titled = Image.new("RGB", (pixels.shape[1], pixels.shape[0] + 20), "white")
    titled.paste(Image.fromarray(pixels), (0, 20))
    draw, font = ImageDraw.Draw(titled), ImageFont.truetype(drawn.fonts()[0], 13)
    for column, title in enumerate(("source", "nearest", "bicubic", "model")):
        draw.text((column * CROP * ZOOM + 4, 2), title, "black", font)
    return titled


def cost(weights: Weights) -> tuple[int, int]:
    """(number of weights, multiply-adds for each input pixel)."""
    products = sum(filters.size for filters, _ in weights)
    return products + sum(bias.size for _, bias in weights), products


def compared_to_default(folder: Path, figures: dict) -> list[str]:
    """Lines for a model that is judged on compressed frames: the comparison with `default`."""
    path = folder / "figures-default.json"
    if not path.exists():
        return []
    this, other = (of["images"]["photo"]["library"]["psnr_y"] for of in (figures, json.loads(path.read_text())))
    return ["The small images were compressed with x264 at crf 28. "
            f"On the photographs, this model reaches {this:.2f} dB, "
            f"`default` {other:.2f} dB ({this - other:+.2f} dB).", ""]


def figure_table(figures: dict) -> list[str]:
    """The table of the metrics, a row for each kind of image."""
    lines = ["| test images | bicubic | Lanczos | model | gain | RGB: bicubic, model | SSIM: bicubic, model | "
             "halo: bicubic, model |",
             "|---|---|---|---|---|---|---|---|"]
    for kind, row in figures["images"].items():
        b, z, m = row["bicubic"], row["lanczos"], row["library"]
        lines.append(f"| {KINDS.get(kind, kind)} | {b['psnr_y']:.2f} | {z['psnr_y']:.2f} | {m['psnr_y']:.2f} | "
                     f"{m['psnr_y'] - b['psnr_y']:+.2f} | {b['psnr_rgb']:.2f}, {m['psnr_rgb']:.2f} | "
                     f"{b['ssim']:.4f}, {m['ssim']:.4f} | {b['halo']:.2f}, {m['halo']:.2f} |")
    return lines


def _shifts(change: dict) -> str:
    return ", ".join(f"{value:+.2f}" for value in change["shift"])


def half_precision_text(change: dict) -> list[str]:
    """What rounding and truncation to half precision change."""
    rounded, truncated = change["rounded"], change["truncated"]
    return ["Half precision (FP16), in PyTorch on the photographs, compared with single precision:", "",
            "| device | luma PSNR | mean of red, green, blue above the source, in 8-bit code values |", "|---|---|---|",
            f"| rounds | {rounded['psnr_y']:+.3f} dB | {_shifts(rounded)} |",
            f"| truncates | {truncated['psnr_y']:+.3f} dB | {_shifts(truncated)} |", ""]


def synthetic_text(checks: dict) -> list[str]:
    """The figures for images with a known correct result."""
    return ["Images with a known correct result, in 8-bit code values:", "",
            f"- Flat colours: the largest error is {checks['flat_inner']} inside the image. At its edges "
            f"it is {checks['mid_grey_rim']} for middle grey, {checks['grey_rim']} for any grey "
            f"and {checks['colour_rim']} for pure colours.",
            f"- Smooth ramps: the four pixels of a 2x2 block differ by {checks['checkerboard']} "
            f"(bicubic {checks['checkerboard_bicubic']}).",
            f"- Bars: the result leaves the range of the source by {checks['halo']} (bicubic "
            f"{checks['halo_bicubic']}), root mean square.",
            f"- Flat black beside text, all 5x5 source pixels around being black: error at most {checks['speckle']} "
            f"(bicubic {checks['speckle_bicubic']}).", ""]


def training_text(name: str, card: dict) -> list[str]:
    """How the model was trained."""
    training = card["training"]
    start = f" from `{card['start']}`" if card.get("start") else ""
    cpu = f" ({training['processor_minutes']:.0f} minutes of CPU time)" if training["processor_minutes"] else ""
    return [f"Trained{start} for {training['steps']} steps in {training['minutes']:.0f} minutes on "
            f"{training['machine']}{cpu}, with seed {card['seed']} and `training/configs/{name}.json`. "
            "The training data: [training/DATA.md](../training/DATA.md).", ""]


def text_of(name: str, card: dict, figures: dict, weights: Weights, comparison: list[str]) -> str:
    """The whole card as Markdown."""
    size, products = cost(weights)
    return "\n".join([
        f"# {name}", "",
        f"For {card['purpose']}. {card['channels']} channels, depth {card['depth']}: {size:,} weights, "
        f"{products:,} multiply-adds per input pixel.", "",
        "Figures of the results from `liborvane.dll`. The luma PSNR is in dB (BT.601, studio range, rounded to 8 bits, "
        "without a border of 2 pixels). Halo: how far a result leaves the range of the 5x5 source pixels around it, "
        "root mean square in 8-bit code values.", "",
        *figure_table(figures), "", *comparison,
        "No training tile comes from a test image. "
        f"Images on which bicubic is better: {', '.join(figures['worse']) or 'none'}.", "",
        *half_precision_text(figures["half_precision"]), *synthetic_text(figures["synthetic"]),
        *training_text(name, card),
        f"![source, nearest, bicubic, model]({name}.png)", "",
        "The photographs: \"friends\" by Aitzol Berasategi (CC-BY-4.0), \"china\" by Daniel Büchele (CC-BY-2.0).", ""])


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("name", help="name of a model in weights/")
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--results", type=Path, default=Path("build/training"))
    parser.add_argument("--weights", type=Path, default=ROOT / "weights")
    arguments = parser.parse_args()
    path = arguments.weights / f"{arguments.name}.json"
    card = json.loads(path.read_text())
    results = arguments.results / arguments.name
    figures = json.loads((results / "figures.json").read_text())
    card["figures"] = {kind: {method: row[method]["psnr_y"] for method in ("bicubic", "lanczos", "library")}
                       for kind, row in figures["images"].items()}
    path.write_text(json.dumps(card, indent=2) + "\n")
    model = evaluate.Model(arguments.weights / f"{arguments.name}.en", None)
    (arguments.weights / f"{arguments.name}.md").write_text(text_of(
        arguments.name, card, figures, model.arrays, compared_to_default(results, figures)))
    folder = "test-video" if (results / "figures-default.json").exists() else "test"
    image = labelled(crops(model, arguments.data / folder))
    image.save(arguments.weights / f"{arguments.name}.png", optimize=True)


if __name__ == "__main__":
    main()
