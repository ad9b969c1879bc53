"""Finds the licence under which a package distributes an image."""
import fnmatch
import gzip
import re
from pathlib import Path

# Licences that allow weights learnt from an image to be distributed with attribution.
FREE = re.compile(r"^(public-domain|PD|CC0(-1\.0)?|CC-BY(-SA)?-\d\.\d)$", re.IGNORECASE)


def is_free(licence: str | None) -> bool:
    """Whether all parts and alternatives of a licence expression are free."""
    return bool(licence) and all(FREE.match(part) for part in re.split(r"\s+(?:and|or)\s+|,", licence.strip()))


def read_copyright(folder: Path, package: str) -> list[tuple[str, str]]:
    """Reads a machine-readable copyright file into (file name pattern, licence) pairs, in the order of the file.

    The patterns have no file name extension.
    """
    path = next(Path(folder, "usr/share/doc", package).glob("copyright*"))
    text = gzip.open(path, "rt").read() if path.suffix == ".gz" else path.read_text()
    rules = []
    for paragraph in re.split(r"\n\s*\n", text):
        files = re.search(r"^Files:((?:.*\n)(?:[ \t].*\n)*)", paragraph + "\n", re.MULTILINE)
        licence = re.search(r"^License:\s*(\S.*)$", paragraph, re.MULTILINE)
        if files and licence:
            rules += [(_without_extension(pattern), licence[1].strip()) for pattern in files[1].split()]
    return rules


def licence_of(rules: list[tuple[str, str]], name: str) -> str | None:
    """The licence of the last matching rule.

    File name extensions are ignored, because packages convert PNG and JPEG to WebP.
    """
    found = None
    for pattern, licence in rules:
        if fnmatch.fnmatchcase(_without_extension(name), pattern):
            found = licence
    return found


def _without_extension(name: str) -> str:
    return re.sub(r"\.(png|jpe?g|webp|svg)$", "", name, flags=re.IGNORECASE)
