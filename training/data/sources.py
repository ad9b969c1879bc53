"""Downloads the packages of sources.json without installing them, and lists the images that may be used."""
import io
import json
import re
import subprocess
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

from PIL import Image

from training.data import licences, qt_resources

SMALLEST_SIDE = 200
Image.MAX_IMAGE_PIXELS = None


@dataclass
class Source:
    """An image of a package. The split into training, validation and test images depends on `key`."""

    package: str
    name: str
    licence: str
    kind: str  # "photo" or "drawing"
    content: bytes
    lossy: bool
    kept_for_test: bool

    @property
    def key(self) -> str:
        return f"{self.package}/{self.name}"

    def load(self) -> Image.Image:
        """Decodes the image to RGB. Transparent parts become white."""
        image = Image.open(io.BytesIO(self.content))
        if image.mode in ("RGBA", "LA", "P", "PA"):
            image = image.convert("RGBA")
            white = Image.new("RGBA", image.size, "white")
            image = Image.alpha_composite(white, image)
        return image.convert("RGB")


def fetch(entry: dict, folder: Path) -> Path:
    """Downloads and unpacks one package, unless it is there already. Returns the folder with its files."""
    target = Path(folder, entry["package"])
    if not target.is_dir():
        Path(folder).mkdir(parents=True, exist_ok=True)
        subprocess.run(["apt-get", "download", "-qq", f"{entry['package']}={entry['version']}"], cwd=folder, check=True)
        archive = next(Path(folder).glob(f"{entry['package']}_*.deb"))
        partial = target.with_suffix(".partial")
        subprocess.run(["dpkg-deb", "-x", archive, partial], check=True)
        partial.rename(target)
        archive.unlink()
    return target


def read_all(folder: Path) -> Iterator[Source]:
    """Yields all images that are large enough and under a free licence, package by package."""
    for entry in json.loads(Path(__file__).with_name("sources.json").read_text()):
        root = fetch(entry, folder)
        rules = licences.read_copyright(root, entry["package"]) if entry["licence"] == "by file" else []
        for name, content in sorted(_files(root, entry)):
            licence = _licence(entry, rules, root, name)
            if licences.is_free(licence) and min(_size(content)) >= SMALLEST_SIDE:
                drawing = any(part in name for part in entry.get("drawings", []))
                yield Source(entry["package"], name, licence, "drawing" if drawing else entry["kind"], content,
                             lossy=not content.startswith(b"\x89PNG"),
                             kept_for_test=any(part in name for part in entry.get("test", [])))


def _files(root: Path, entry: dict) -> Iterator[tuple[str, bytes]]:
    if "images" in entry:
        for path in root.glob(entry["images"]):
            if path.is_file() and not path.is_symlink():
                yield str(path.relative_to(root)), path.read_bytes()
    else:
        for path in root.glob(entry["resources"]):
            for name, content in qt_resources.read(path.read_bytes()):
                yield name.split("/gcompris/")[-1], content


def _size(content: bytes) -> tuple[int, int]:
    try:
        return Image.open(io.BytesIO(content)).size
    except OSError:
        return (0, 0)


def _licence(entry: dict, rules: list[tuple[str, str]], root: Path, name: str) -> str | None:
    if entry["licence"] == "by file":
        return licences.licence_of(rules, entry.get("name", "{path}").format(file=Path(name).name, path=name))
    if entry["licence"] == "by metadata":
        for path in (root / name).parents[2].glob("metadata.*"):
            stated = re.search(r'License"?\s*[:=]\s*"?([\w.-]+)', path.read_text())
            return stated[1] if stated else None
    return entry["licence"]
