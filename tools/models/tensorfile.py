"""The safetensors container: 8 bytes of header length, a JSON header, raw tensors. Files come from users: every
number in them is checked before it is used."""

import json
import struct
from pathlib import Path

import numpy as np

from errors import ModelError

HEADER_LIMIT = 32 << 20
RANK_LIMIT = 8
ITEM_BYTES = {"F32": 4, "F16": 2, "BF16": 2}


class TensorFile:
    """A file opened for reading, mapped and not loaded."""

    def __init__(self, path: Path):
        self.path = path
        try:
            size = path.stat().st_size
            with open(path, "rb") as file:
                self._entries, start = _read_header(file, size, path)
            _check_layout(self._entries, size - start, path)
            self._data = np.memmap(path, np.uint8, "r")[start:]
        except OSError as error:
            raise ModelError(f"{path}: {error.strerror or error}") from None

    def __contains__(self, name: str) -> bool:
        return name in self._entries

    def shape(self, name: str) -> tuple[int, ...]:
        return tuple(self._entry(name)["shape"])

    def tensor(self, name: str) -> np.ndarray:
        """F32 and F16 as stored, BF16 widened to f32."""
        entry = self._entry(name)
        begin, end = entry["data_offsets"]
        raw, shape = self._data[begin:end].tobytes(), entry["shape"]
        if entry["dtype"] == "BF16":
            wide = np.frombuffer(raw, "<u2").astype(np.uint32) << 16
            return wide.view(np.float32).reshape(shape)
        return np.frombuffer(raw, "<f4" if entry["dtype"] == "F32" else "<f2").reshape(shape)

    def _entry(self, name: str) -> dict:
        if name not in self._entries:
            raise ModelError(f"{self.path}: {name} is missing")
        return self._entries[name]


def _read_header(file, size: int, path: Path) -> tuple[dict[str, dict], int]:
    """Entries by name, and where the tensors begin."""
    first = file.read(8)
    if len(first) < 8:
        raise ModelError(f"{path}: too short for a header")
    length = struct.unpack("<Q", first)[0]
    if length > min(HEADER_LIMIT, size - 8):
        raise ModelError(f"{path}: header of {length} bytes in a file of {size}")
    try:
        entries = json.loads(file.read(length), object_pairs_hook=lambda pairs: _unique(pairs, path))
    except (ValueError, RecursionError):
        raise ModelError(f"{path}: header is not JSON") from None
    if not isinstance(entries, dict):
        raise ModelError(f"{path}: header is not a table of tensors")
    entries.pop("__metadata__", None)
    return entries, 8 + length


def _unique(pairs: list[tuple[str, object]], path: Path) -> dict:
    table = dict(pairs)
    if len(table) != len(pairs):
        raise ModelError(f"{path}: header names something twice")
    return table


def _check_layout(entries: dict[str, dict], size: int, path: Path) -> None:
    """Refuses tensors of unknown types, wrong sizes, outside the data or on top of one another."""
    reached = 0
    for name, entry in entries.items():
        _check_entry(name, entry, size, path)
    for name, entry in sorted(entries.items(), key=lambda item: item[1]["data_offsets"]):
        begin, end = entry["data_offsets"]
        if begin < reached:
            raise ModelError(f"{path}: {name} overlaps another tensor")
        reached = end


def _check_entry(name: str, entry: object, size: int, path: Path) -> None:
    if not isinstance(entry, dict) or not {"dtype", "shape", "data_offsets"} <= entry.keys():
        raise ModelError(f"{path}: {name} is not described")
    dtype, shape, offsets = entry["dtype"], entry["shape"], entry["data_offsets"]
    if not isinstance(dtype, str) or dtype not in ITEM_BYTES:
        raise ModelError(f"{path}: {name} has the type {dtype!r}, expected {', '.join(ITEM_BYTES)}")
    if not _are_sizes(shape) or len(shape) > RANK_LIMIT:
        raise ModelError(f"{path}: {name} has no proper shape")
    if not _are_sizes(offsets) or len(offsets) != 2 or not offsets[0] <= offsets[1] <= size:
        raise ModelError(f"{path}: {name} lies outside the file")
    expected = ITEM_BYTES[dtype]
    for length in shape:
        expected *= length
    if offsets[1] - offsets[0] != expected:
        raise ModelError(f"{path}: {name} has {offsets[1] - offsets[0]} bytes, its shape takes {expected}")


def _are_sizes(value: object) -> bool:
    return isinstance(value, list) and all(type(item) is int and 0 <= item < 1 << 48 for item in value)


def write_tensors(path: Path, tensors: dict[str, np.ndarray]) -> None:
    """Writes f16 or f32 tensors, in the order of their names."""
    header, at = {"__metadata__": {"format": "pt"}}, 0
    for name in sorted(tensors):
        tensor = tensors[name]
        kind = {"float16": "F16", "float32": "F32"}[tensor.dtype.name]
        header[name] = {"dtype": kind, "shape": list(tensor.shape), "data_offsets": [at, at + tensor.nbytes]}
        at += tensor.nbytes
    text = json.dumps(header).encode()
    text += b" " * (-len(text) % 8)
    with open(path, "wb") as file:
        file.write(struct.pack("<Q", len(text)) + text)
        for name in sorted(tensors):
            file.write(np.ascontiguousarray(tensors[name]).tobytes())
