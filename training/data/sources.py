"""Fetches the packages of sources.json without installing them, and lists the pictures in them that may be used."""
import io
import json
import re
import subprocess
from dataclasses import dataclass
from pathlib import Path

from PIL import Image

from training.data import licences, qt_resources

SMALLEST_SIDE = 200
Image.MAX_IMAGE_PIXELS = None


@dataclass
class Source:
    package: str
    name: str
    licence: str
    kind: str  # "photo" or "drawing"
    content: bytes
    lossy: bool
    kept_for_test: bool

    @property
    def key(self):
        return f"{self.package}/{self.name}"

    def load(self):
        """The picture as RGB; what is transparent becomes white."""
        picture = Image.open(io.BytesIO(self.content))
        if picture.mode in ("RGBA", "LA", "P", "PA"):
            picture = picture.convert("RGBA")
            white = Image.new("RGBA", picture.size, "white")
            picture = Image.alpha_composite(white, picture)
        return picture.convert("RGB")


def fetch(entry, folder):
    """Downloads and unpacks one package; returns the folder with its files."""
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


def read_all(folder):
    """Yields every picture that is large enough and free, package by package."""
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


def _files(root, entry):
    if "pictures" in entry:
        for path in root.glob(entry["pictures"]):
            if path.is_file() and not path.is_symlink():
                yield str(path.relative_to(root)), path.read_bytes()
    else:
        for path in root.glob(entry["resources"]):
            for name, content in qt_resources.read(path.read_bytes()):
                yield name.split("/gcompris/")[-1], content


def _size(content):
    try:
        return Image.open(io.BytesIO(content)).size
    except OSError:
        return (0, 0)


def _licence(entry, rules, root, name):
    if entry["licence"] == "by file":
        return licences.licence_of(rules, entry.get("name", "{path}").format(file=Path(name).name, path=name))
    if entry["licence"] == "by metadata":
        for path in (root / name).parents[2].glob("metadata.*"):
            stated = re.search(r'License"?\s*[:=]\s*"?([\w.-]+)', path.read_text())
            return stated[1] if stated else None
    return entry["licence"]
