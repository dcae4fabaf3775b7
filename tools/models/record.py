"""`pack.json`: what a model folder was made from, and size and hash of every file in it."""

import hashlib
import json
from dataclasses import dataclass
from pathlib import Path

from errors import ModelError
from settings import json_lines

RECORD = "pack.json"
FORMAT = 1
LICENCE = "MIT (weights: OpenAI)"


def sha256(path: Path) -> str:
    with open(path, "rb") as file:
        return hashlib.file_digest(file, "sha256").hexdigest()


def write_record(folder: Path, *, variant: str, precision: str, cross: str, source: dict) -> None:
    """Records every file that lies in the folder now. Only the line `source` depends on where the weights came from."""
    files = {path.name: {"size": path.stat().st_size, "sha256": sha256(path)} for path in sorted(folder.iterdir())}
    content = {"format": FORMAT, "variant": variant, "precision": precision, "cross": cross, "licence": LICENCE,
               "source": source, "files": files}
    (folder / RECORD).write_bytes(json_lines(content))


@dataclass(frozen=True)
class State:
    """What `list` and `verify` say of one folder."""

    folder: Path
    variant: str
    precision: str
    size: int
    missing: list[str]
    changed: list[str]

    @property
    def word(self) -> str:
        return "missing part" if self.missing else "changed" if self.changed else "ok"


def inspect(folder: Path) -> State:
    """Compares a folder with its record. Raises ModelError when there is no readable record."""
    path = folder / RECORD
    try:
        content = json.loads(path.read_bytes())
        known = content["format"] == FORMAT
        files = {str(name): (entry["size"], entry["sha256"]) for name, entry in content["files"].items()}
        variant, precision = str(content["variant"]), str(content["precision"])
    except OSError as error:
        raise ModelError(f"{path}: {error.strerror or error}") from None
    except (ValueError, KeyError, TypeError, AttributeError, RecursionError):
        raise ModelError(f"{path}: not a record of a model folder") from None
    if not known or any(Path(name).name != name for name in files):
        raise ModelError(f"{path}: not a record of format {FORMAT}")
    missing = [name for name in files if not (folder / name).is_file()]
    changed = [name for name, entry in files.items() if name not in missing and not _same(folder / name, *entry)]
    size = sum(part.stat().st_size for part in folder.iterdir() if part.is_file())
    return State(folder, variant, precision, size, missing, changed)


def _same(path: Path, size: int, digest: str) -> bool:
    return path.stat().st_size == size and sha256(path) == digest
