#!/usr/bin/env python3
"""Runs clang-tidy over source files, two at a time, and remembers which were clean: tidy.py BUILD_FOLDER FILE...

A file is clean for as long as its preprocessed text and .clang-tidy stay the same. The memory lies in the build folder."""

import hashlib
import json
import os
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

TIDY = "clang-tidy-19"


def key_of(command: list[str], folder: str) -> str:
    """What a verdict depends on. The compiler's own search for headers is part of the text it gives."""
    preprocess = [word for word in command if word not in ("-c",)]
    at = preprocess.index("-o")
    del preprocess[at:at + 2]
    if "ccache" in preprocess[0]:
        del preprocess[0]
    text = subprocess.run(preprocess + ["-E"], cwd=folder, capture_output=True, check=True).stdout
    return hashlib.sha256(text + Path(".clang-tidy").read_bytes()).hexdigest()


def faults_of(file: str, build: str, entry: dict, memory: Path) -> str:
    stamp = memory / key_of(shlex.split(entry["command"]), entry["directory"])
    if stamp.exists():
        return ""
    run = subprocess.run([TIDY, "-quiet", "-p", build, file], capture_output=True, text=True, check=False)
    if run.returncode == 0:
        stamp.touch()
        return ""
    found = [line for line in run.stdout.splitlines() if ": error: " in line or ": warning: " in line]
    return "\n".join(found) or run.stdout or run.stderr


def main() -> int:
    build, *files = sys.argv[1:]
    memory = Path(build) / "tidy"
    memory.mkdir(exist_ok=True)
    entries = {entry["file"]: entry for entry in json.loads((Path(build) / "compile_commands.json").read_text())}
    known = [(file, entries[path]) for file in files if (path := str(Path(file).resolve())) in entries]
    with ThreadPoolExecutor(os.cpu_count() or 1) as pool:
        texts = [text for text in pool.map(lambda f: faults_of(f[0], build, f[1], memory), known) if text]
    print("\n".join(texts) if texts else f"{len(known)} files are clean")
    return 1 if texts or not known else 0


if __name__ == "__main__":
    sys.exit(main())
