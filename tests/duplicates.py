#!/usr/bin/env python3
"""Finds blocks of lines that stand in two places of the sources: eight or more lines that are the same but for blanks."""

import subprocess
import sys
from collections import defaultdict
from pathlib import Path

LEAST = 8


def lines_of(path: Path) -> list[tuple[int, str]]:
    """Lines that say something: no blanks, comments, includes or lone brackets."""
    result = []
    for number, line in enumerate(path.read_text(errors="replace").splitlines(), 1):
        text = "".join(line.split())
        if len(text) > 3 and not text.startswith(("//", "#include", "#pragma", "using", "namespace")):
            result.append((number, text))
    return result


def main() -> int:
    names = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", "*.cpp", "*.h", "*.py"], capture_output=True,
                           text=True, check=True).stdout.split()
    seen = defaultdict(list)
    for name in names:
        lines = lines_of(Path(name))
        for i in range(len(lines) - LEAST + 1):
            seen["\n".join(text for _, text in lines[i:i + LEAST])].append((name, lines[i][0]))
    places = sorted({tuple(where[:2]) for where in seen.values() if len(where) > 1})
    shown = set()
    for (a, a_line), (b, b_line) in places:
        if (a, b, a_line - b_line) not in shown:
            print(f"{a}:{a_line} stands again at {b}:{b_line}")
        shown.update((a, b, a_line - b_line + shift) for shift in range(-2, 3))
    return 1 if places else 0


if __name__ == "__main__":
    sys.exit(main())
