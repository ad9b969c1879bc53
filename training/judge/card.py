"""Writes weights/NAME.md, with the figures that evaluate.py found, and weights/NAME.png, with crops side by side."""
import argparse
import json
from pathlib import Path

import numpy as np
from PIL import Image, ImageDraw, ImageFont

from training import ROOT
from training.data import drawn, resize
from training.judge import evaluate
from training.model import convert

CROP = 56  # pixels of the large picture
ZOOM = 3
# Picture of the test folder, and the corner of the crop as a share of its sides.
CROPS = (("photo-friends_by_Aitzol_Berasategi", 0.35, 0.3), ("photo-china", 0.35, 0.4), ("drawn-3", 0.05, 0.1))
KINDS = {"photo": "photographs", "drawing": "drawings", "drawn": "text, lines, interfaces"}


def crops(model, folder):
    """One row a picture: source, nearest, bicubic, model."""
    rows = []
    for name, down, across in CROPS:
        pair = next((p for p in evaluate.read_pairs(folder) if p.name == name), None)
        if pair is None:
            continue
        pictures = [pair.large, resize.double_nearest(pair.small), resize.to_bytes(resize.double_bicubic(pair.small)),
                    model.in_torch(pair.small, True)]
        y, x = int(pair.large.shape[0] * down), int(pair.large.shape[1] * across)
        row = [np.kron(p[y : y + CROP, x : x + CROP], np.ones((ZOOM, ZOOM, 1), np.uint8)) for p in pictures]
        rows.append(np.concatenate(row, axis=1))
    return np.concatenate(rows, axis=0)


def labelled(pixels):
    titled = Image.new("RGB", (pixels.shape[1], pixels.shape[0] + 20), "white")
    titled.paste(Image.fromarray(pixels), (0, 20))
    draw, font = ImageDraw.Draw(titled), ImageFont.truetype(drawn.fonts()[0], 13)
    for column, title in enumerate(("source", "nearest", "bicubic", "model")):
        draw.text((column * CROP * ZOOM + 4, 2), title, "black", font)
    return titled


def cost(weights):
    """(weights, multiply-adds for each pixel of the small picture)."""
    products = sum(filters.size for filters, _ in weights)
    return products + sum(bias.size for _, bias in weights), products


def beside_default(folder, figures):
    """Sentences for a model that is judged on compressed frames, against the model for clean ones."""
    path = folder / "figures-default.json"
    if not path.exists():
        return []
    this, other = (of["pictures"]["photo"]["library"]["psnr_y"] for of in (figures, json.loads(path.read_text())))
    return ["The small pictures were compressed with x264 at crf 28. "
            f"On the photographs `default` gives {other:.2f} dB: this model {this - other:+.2f} dB.", ""]


def figure_table(figures):
    lines = ["| test pictures | bicubic | Lanczos | model | gain | RGB: bicubic, model | SSIM: bicubic, model | "
             "halo: bicubic, model |",
             "|---|---|---|---|---|---|---|---|"]
    for kind, row in figures["pictures"].items():
        b, z, m = row["bicubic"], row["lanczos"], row["library"]
        lines.append(f"| {KINDS.get(kind, kind)} | {b['psnr_y']:.2f} | {z['psnr_y']:.2f} | {m['psnr_y']:.2f} | "
                     f"{m['psnr_y'] - b['psnr_y']:+.2f} | {b['psnr_rgb']:.2f}, {m['psnr_rgb']:.2f} | "
                     f"{b['ssim']:.4f}, {m['ssim']:.4f} | {b['halo']:.2f}, {m['halo']:.2f} |")
    return lines


def _codes(change):
    return ", ".join(f"{value:+.2f}" for value in change["shift"])


def text_of(name, card, figures, weights, more):
    size, products = cost(weights)
    s = figures["synthetic"]
    rounding, training = figures["half_precision"], card["training"]
    start = f" from `{card['start']}` on" if card.get("start") else ""
    processor = f" ({training['processor_minutes']:.0f} minutes of processor time)" if training["processor_minutes"] else ""
    return "\n".join([
        f"# {name}", "", f"For {card['purpose']}. {card['channels']} channels, depth {card['depth']}: "
        f"{size} weights, {products} multiply-adds for each pixel of the small picture.", "",
        "Doubled by `liborvane.dll`; luma PSNR in dB (BT.601, studio range, rounded to 8 bits, a border of 2 pixels cut). "
        "Halo: by how many codes a result leaves the range of the 5x5 source pixels around, root mean square:", "",
        *figure_table(figures), "", *more,
        f"The test pictures gave no training tile. Worse than bicubic on: {', '.join(figures['worse']) or 'none of them'}.", "",
        f"Half precision on the photographs, in PyTorch against single: rounding {rounding['rounded']['psnr_y']:+.3f} dB of luma, "
        f"truncating {rounding['truncated']['psnr_y']:+.3f} dB. Against the source the means of red, green and blue are off by "
        f"{_codes(rounding['rounded'])} codes when rounding and {_codes(rounding['truncated'])} when truncating.", "",
        f"Flat colours: off by at most {s['flat_inner']} code(s) inside; at the rim by {s['mid_grey_rim']} for middle grey, "
        f"{s['grey_rim']} for any grey, {s['colour_rim']} for pure colours. Smooth ramps: the four pixels of a 2x2 block differ by "
        f"{s['checkerboard']} codes (bicubic {s['checkerboard_bicubic']}). Bars leave the range of their source by "
        f"{s['halo']} codes (bicubic {s['halo_bicubic']}).", "",
        f"Trained{start} for {training['steps']} steps, {training['minutes']:.0f} minutes on {training['machine']}{processor}, "
        f"seed {card['seed']}, with `training/configs/{name}.json`. What it saw: [training/DATA.md](../training/DATA.md).", "",
        f"![source, nearest, bicubic, model]({name}.png)", "",
        "The photographs: \"friends\" by Aitzol Berasategi (CC-BY-4.0), \"china\" by Daniel Büchele (CC-BY-2.0).", ""])


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("name")
    parser.add_argument("--data", type=Path, default=Path("build/training/data"))
    parser.add_argument("--results", type=Path, default=Path("build/training"))
    parser.add_argument("--weights", type=Path, default=ROOT / "weights")
    arguments = parser.parse_args()
    path = arguments.weights / f"{arguments.name}.json"
    card = json.loads(path.read_text())
    results = arguments.results / arguments.name
    figures = json.loads((results / "figures.json").read_text())
    card["figures"] = {kind: {method: row[method]["psnr_y"] for method in ("bicubic", "lanczos", "library")}
                       for kind, row in figures["pictures"].items()}
    path.write_text(json.dumps(card, indent=2) + "\n")
    model = evaluate.Model(arguments.weights / f"{arguments.name}.en", None)
    (arguments.weights / f"{arguments.name}.md").write_text(text_of(
        arguments.name, card, figures, model.arrays, beside_default(results, figures)))
    picture = labelled(crops(model, arguments.data / ("test-video" if (results / "figures-default.json").exists() else "test")))
    picture.save(arguments.weights / f"{arguments.name}.png", optimize=True)


if __name__ == "__main__":
    main()
