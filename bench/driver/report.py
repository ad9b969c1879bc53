"""The results: tables for the screen, and the same as JSON."""
import json
import math
from dataclasses import dataclass, field
from typing import Any, Dict, List, Union

Value = Union[str, float]
Row = Dict[str, Value]  # values by the names of their columns, NaN where nothing was measured


def screen_text(value: Value) -> str:
    """Numbers with four digits at least, whole ones without decimals."""
    if isinstance(value, str):
        return value
    if not math.isfinite(value):
        return ""
    digits_before = int(math.log10(max(abs(value), 1.0))) + 1
    return f"{value:.{0 if value == math.floor(value) else max(4 - digits_before, 0)}f}"


@dataclass
class Table:
    title: str
    note: str = ""  # below the table
    rows: List[Row] = field(default_factory=list)

    def add(self, **values: Value) -> Row:
        """A new row, which may be given more columns later."""
        self.rows.append(values)
        return values

    def text(self) -> str:
        """As Markdown, in columns of even width."""
        columns = list(dict.fromkeys(name for row in self.rows for name in row))
        lines = [columns] + [[screen_text(row.get(name, math.nan)) for name in columns] for row in self.rows]
        widths = [max(3, *map(len, column)) for column in zip(*lines)]
        lines.insert(1, ["-" * width for width in widths])
        rows = ("".join(f"| {cell:{width}} " for cell, width in zip(line, widths)) + "|\n" for line in lines)
        return f"### {self.title}\n\n{''.join(rows)}\n{self.note}\n"


@dataclass
class Report:
    facts: Dict[str, str] = field(default_factory=dict)  # of the machine
    failures: List[str] = field(default_factory=list)  # parts of the work that failed, and why
    tables: List[Table] = field(default_factory=list)

    def content(self) -> Dict[str, Any]:
        """What results.json holds. Null where nothing was measured."""
        def known(value: Value) -> Union[Value, None]:
            return value if isinstance(value, str) or math.isfinite(value) else None
        return {**self.facts, "failures": self.failures,
                "tables": [{"title": table.title, "note": table.note,
                            "rows": [{name: known(value) for name, value in row.items()} for row in table.rows]}
                           for table in self.tables]}

    def json(self) -> str:
        return json.dumps(self.content(), indent=2) + "\n"

    def text(self) -> str:
        """What results.md holds."""
        return "".join(table.text() + "\n" for table in self.tables)
