#!/usr/bin/env python3
"""Checks that docs/health.md shows the drive families as zelPlug has them.

    family_table.py ROOT            exits with 1 when the table differs from the rows
    family_table.py ROOT --write    makes the table anew
"""

import os
import sys

ROWS, PAGE = "libraries/zelPlug/SmartFamilies.inc", "docs/health.md"
BEGIN, END = "<!-- families: ", "<!-- end of families -->"
COLUMNS = ("Family", "Vendors", "Models", "Page", "Hours", "Bytes written", "Used", "Reserve", "Source")


def table_of(rows):
    """The rows as Markdown: a table for each group, below what is said of the group."""
    lines, head, said, in_table, started = [], None, [], False, False
    for row in rows.splitlines():
        cells = [cell.strip() for cell in row.split("|")]
        if row.startswith("# ") and started:
            said.append(row[2:])
        elif not row:
            started, in_table, said = True, False, []
        elif row.startswith("    "):
            if head is None:
                sys.exit(f"{ROWS}: a line of readings without a line of models: {row.strip()}")
            if not in_table:
                lines += ["", " ".join(said), "", f"| {' | '.join(COLUMNS)} |", "|---" * len(COLUMNS) + "|"]
                in_table = True
            told = head[:1] + [f"`{cell}`" if cell else "" for cell in head[1:] + cells[:4]] + cells[4:]
            lines.append(f"| {' | '.join(told)} |")
            head = None
        elif len(cells) == 4:
            head = cells
    return "\n".join(lines).strip()


def main(root, write):
    with open(os.path.join(root, ROWS), encoding="utf-8") as file:
        table = table_of(file.read())
    path = os.path.join(root, PAGE)
    with open(path, encoding="utf-8") as file:
        page = file.read()
    begin = page.index("\n", page.index(BEGIN)) + 1
    wanted = f"{page[:begin]}\n{table}\n\n{page[page.index(END):]}"
    if write:
        with open(path, "w", encoding="utf-8") as file:
            file.write(wanted)
    elif wanted != page:
        print(f"{PAGE} differs from {ROWS}; tests/house/family_table.py . --write makes it anew")
        return 1
    return 0


if __name__ == "__main__":
    if len(sys.argv) not in (2, 3) or sys.argv[2:] not in ([], ["--write"]):
        sys.exit(__doc__)
    sys.exit(main(sys.argv[1], len(sys.argv) == 3))
