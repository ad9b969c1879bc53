"""Every relative link of the documents points to a file that exists and, after a #, to a heading in it."""
import re
import tempfile
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def documents(root: Path) -> list[Path]:
    """All Markdown files but those of the build."""
    folders = [path for path in root.iterdir() if path.is_dir() and path.name not in ("build", ".git")]
    return sorted([*root.glob("*.md"), *(path for folder in folders for path in folder.rglob("*.md"))])


def without_code(text: str) -> str:
    return re.sub(r"^```.*?^```|^ {4}[^\n]*|`[^`\n]*`", "", text, flags=re.MULTILINE | re.DOTALL)


def anchors(path: Path) -> set[str]:
    """The names that the forge gives to the headings."""
    headings = re.findall(r"^#+ (.*)$", path.read_text(encoding="utf-8"), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-") for heading in headings}


def is_dead(document: Path, link: str) -> bool:
    name, _, anchor = link.partition("#")
    target = document.parent / name if name else document
    return not target.exists() or (anchor != "" and anchor not in anchors(target))


def dead_links(root: Path) -> list[str]:
    found = []
    for document in documents(root):
        links = re.findall(r"\]\(([^)\s]+)", without_code(document.read_text(encoding="utf-8")))
        found += [f"{document.relative_to(root)}: {link}" for link in links
                  if not re.match(r"[a-z]+:", link) and is_dead(document, link)]
    return found


class Links(unittest.TestCase):
    def test_none_is_dead(self):
        self.assertGreater(len(documents(ROOT)), 10)
        self.assertEqual(dead_links(ROOT), [])

    def test_a_dead_one_is_found(self):
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / "docs").mkdir()
            Path(folder, "docs", "a.md").write_text("# A `b`: c\n[x](../README.md) [y](#a-b-c) [z](https://a.b)\n")
            Path(folder, "README.md").write_text("[x](docs/a.md#a-b-c) `[n](n.md)`\n![i](none.png) [y](docs/a.md#d)\n")
            self.assertEqual(dead_links(Path(folder)), ["README.md: none.png", "README.md: docs/a.md#d"])


if __name__ == "__main__":
    unittest.main()
