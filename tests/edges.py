#!/usr/bin/env python3
"""Checks that includes run only downward between the folders of src/, and that every folder's headers are its own.

Who may use whom stands here once; src/CMakeLists.txt links accordingly."""

import re
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
# A folder, and the folders that it may include. The longest matching name counts.
MAY_USE = {
    "support": set(),
    "platform": {"support"},
    "platform/onnx": {"platform", "support"},
    "platform/linux": {"platform", "support"},
    "platform/fake": {"platform", "support"},
    "speech": {"platform", "support"},
    "dictation/text": {"support"},
    "audio": {"platform", "support"},
    "server": {"dictation/text", "platform", "support"},
    "meeting": {"speech", "audio", "server", "dictation/text", "platform", "support"},
    "ui": {"meeting", "speech", "audio", "server", "dictation/text", "platform", "support"},
    "app": {"ui", "meeting", "speech", "audio", "server", "dictation/text", "platform", "platform/linux",
            "platform/onnx", "support"},
}
# Tests may script the ports.
TESTS_MAY_USE = {"platform/fake"}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.MULTILINE)


def folder_of(path: str) -> str | None:
    matches = [name for name in MAY_USE if path.startswith(name + "/")]
    return max(matches, key=len) if matches else None


def faults_of(file: Path) -> list[str]:
    own_path = file.relative_to(ROOT / "src").as_posix()
    own = folder_of(own_path)
    if own is None:
        return [f"src/{own_path}: in no known folder"]
    allowed = MAY_USE[own] | {own} | (TESTS_MAY_USE if own_path.endswith(("_test.cpp", "TestSupport.h")) else set())
    faults = []
    for target in INCLUDE.findall(file.read_text()):
        folder = folder_of(target)
        if folder is None or not (ROOT / "src" / target).exists():
            faults.append(f"src/{own_path}: \"{target}\" is not written from src/ on")
        elif folder not in allowed:
            faults.append(f"src/{own_path}: {own} may not use {folder} (\"{target}\")")
    return faults


def main() -> int:
    files = sorted(file for pattern in ("*.h", "*.cpp") for file in (ROOT / "src").rglob(pattern))
    faults = [fault for file in files for fault in faults_of(file)]
    print("\n".join(faults) if faults else f"{len(files)} files: all includes run downward")
    return 1 if faults or not files else 0


if __name__ == "__main__":
    sys.exit(main())
