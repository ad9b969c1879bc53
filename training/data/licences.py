"""Finds out under which licence a package gives a picture."""
import fnmatch
import gzip
import re
from pathlib import Path

# Licences under which what was learnt from a picture can be passed on with its source named.
FREE = re.compile(r"^(public-domain|PD|CC0(-1\.0)?|CC-BY(-SA)?-\d\.\d)$", re.IGNORECASE)


def is_free(licence):
    """Every one of the alternatives or parts of a licence text must be free."""
    return bool(licence) and all(FREE.match(part) for part in re.split(r"\s+(?:and|or)\s+|,", licence.strip()))


def read_copyright(folder, package):
    """(pattern without ending, licence) pairs of a machine-readable copyright file, in the file's order."""
    path = next(Path(folder, "usr/share/doc", package).glob("copyright*"))
    text = gzip.open(path, "rt").read() if path.suffix == ".gz" else path.read_text()
    rules = []
    for paragraph in re.split(r"\n\s*\n", text):
        files = re.search(r"^Files:((?:.*\n)(?:[ \t].*\n)*)", paragraph + "\n", re.MULTILINE)
        licence = re.search(r"^License:\s*(\S.*)$", paragraph, re.MULTILINE)
        if files and licence:
            rules += [(_without_ending(pattern), licence[1].strip()) for pattern in files[1].split()]
    return rules


def licence_of(rules, name):
    """The last rule that matches wins. Endings are left out, since packages convert PNG and JPEG to WebP."""
    found = None
    for pattern, licence in rules:
        if fnmatch.fnmatchcase(_without_ending(name), pattern):
            found = licence
    return found


def _without_ending(name):
    return re.sub(r"\.(png|jpe?g|webp|svg)$", "", name, flags=re.IGNORECASE)
