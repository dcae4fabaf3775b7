"""Breaks weight files at random and reads them: the readers may refuse a file with a ModelError and do nothing else.

python fuzz_weights.py [SECONDS] [SEED]: prints how many files were tried; fails with the seed of the file that broke it."""

import random
import struct
import sys
import tempfile
import time
from pathlib import Path

import numpy as np

from errors import ModelError
from tensorfile import TensorFile, write_tensors
from wheels import parse_joined

TOKENS = [b"-1", b"1e9", b"null", b"[]", b"{}", b"\"F16\"", b"\"F64\"", b"18446744073709551616", b"[0, 4]", b"\x00", b"\xff\xfe", b'"a":']


def good_container(folder: Path) -> bytes:
    path = folder / "good.safetensors"
    write_tensors(path, {"a.weight": np.arange(12, dtype=np.float32).reshape(3, 4), "b": np.ones(5, np.float16)})
    return path.read_bytes()


def good_joined() -> bytes:
    """The joined form's head and two variables."""
    def text(value: str) -> bytes:
        raw = value.encode() + b"\0"
        return struct.pack("<H", len(raw)) + raw

    data = struct.pack("<I", 6) + text("WhisperSpec") + struct.pack("<II", 3, 2)
    for name, shape in (("encoder/conv1/weight", (2, 3)), ("decoder/scalar", (1,))):
        raw = np.ones(shape, np.float16).tobytes()
        data += text(name) + struct.pack("<B", len(shape)) + struct.pack(f"<{len(shape)}I", *shape)
        data += struct.pack("<BI", 4, len(raw)) + raw
    return data + struct.pack("<I", 0)


def broken(good: bytes, dice: random.Random) -> bytes:
    data = bytearray(good)
    for _ in range(dice.randint(1, 6)):
        place = dice.randrange(len(data)) if data else 0
        match dice.randrange(5):
            case 0: data[place:place + 1] = bytes([dice.randrange(256)])
            case 1: data[place:place + dice.randint(1, 12)] = b""
            case 2: data[place:place] = dice.choice(TOKENS)
            case 3: data = data[:place]
            case 4: data[place:place + 4] = struct.pack("<I", dice.choice([0, 1, 2 ** 31, 2 ** 32 - 1, dice.randrange(2 ** 32)]))
    return bytes(data)


def read_container(data: bytes, folder: Path) -> None:
    path = folder / "broken.safetensors"
    path.write_bytes(data)
    file = TensorFile(path)
    for name in ("a.weight", "b", "none"):
        if name in file:
            file.tensor(name)


def main() -> int:
    seconds = float(sys.argv[1]) if sys.argv[1:] and sys.argv[1] else 10
    seed = int(sys.argv[2]) if len(sys.argv) > 2 else 0
    end, tried, refused = time.monotonic() + seconds, 0, 0
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        goods = [good_container(folder), good_joined()]
        while time.monotonic() < end:
            dice = random.Random(seed + tried)
            which = tried % 2
            data = broken(goods[which], dice)
            try:
                read_container(data, folder) if which == 0 else parse_joined(data, "broken")
            except ModelError:
                refused += 1
            except Exception:
                print(f"seed {seed + tried} breaks the reader", file=sys.stderr)
                raise
            tried += 1
    print(f"{tried} files tried, {refused} refused")
    return 0 if refused else 1


if __name__ == "__main__":
    sys.exit(main())
