"""Makes one model folder: graphs, tokenizer, settings, record; checked before it appears under its name."""

import os
import shutil
import sys
import tempfile
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path
from typing import Iterator

from check import check
from decoder import DecoderBuilder
from encoder import build_encoder
from errors import ModelError
from graph import FLOAT, HALF, Graph
from mel import build_mel
from quantise import OUTLIERS, FullLinears, RowLinears
from record import write_record
from settings import Settings, config_bytes
from weights import Weights

CROSS_TYPES = {"half": HALF, "float": FLOAT}
GATE = "SpeechGate.onnx"


@dataclass(frozen=True)
class Request:
    """Everything a model folder is made from."""

    weights: Weights
    settings: Settings
    tokenizer: bytes
    gate: bytes | None
    variant: str
    precision: str
    cross: str
    blocks: tuple[str, ...]
    source: dict


def progress(text: str) -> None:
    print(text, file=sys.stderr, flush=True)


@contextmanager
def replaced(target: Path) -> Iterator[Path]:
    """A folder to fill beside `target`; takes its place at the end, or vanishes when something fails."""
    try:
        target.parent.mkdir(parents=True, exist_ok=True)
        work = Path(tempfile.mkdtemp(prefix=f".{target.name}.", dir=target.parent))
        try:
            yield work
            old = work.with_name(work.name + ".old")
            if target.exists():
                os.rename(target, old)
            os.rename(work, target)
            shutil.rmtree(old, ignore_errors=True)
        finally:
            shutil.rmtree(work, ignore_errors=True)
    except OSError as error:
        raise ModelError(f"{error.filename or target}: {error.strerror or error}") from None


def make(request: Request, target: Path) -> None:
    """Builds, checks and records; `target` is replaced only when all went well."""
    _check_blocks(request)
    if target.exists() and not (target / "config.json").is_file():
        raise ModelError(f"{target}: exists and is not a model folder")
    with replaced(target) as work:
        _write_graphs(request, work)
        dims = request.weights.dims
        (work / "tokenizer.json").write_bytes(request.tokenizer)
        (work / "config.json").write_bytes(
            config_bytes(request.settings, dims, request.variant, request.precision))
        if request.gate is not None:
            (work / GATE).write_bytes(request.gate)
        progress("checking against full precision")
        figures = check(work, request.weights, request.settings, request.precision)
        progress(f"within limits: {figures}")
        write_record(work, variant=request.variant, precision=request.precision, cross=request.cross,
                     source=request.source)
    progress(f"{target}: ready")


def _check_blocks(request: Request) -> None:
    if request.blocks and request.precision == "full":
        raise ModelError("--blocks: only the precision pack has 8-bit layers")
    for name in request.blocks:
        if not name.startswith("encoder/") or f"{name}/weight" not in request.weights.shapes or "/linear_" not in name:
            raise ModelError(f"--blocks {name}: no such linear in the encoder")


def _write_graphs(request: Request, work: Path) -> None:
    weights, packed, cross_type = request.weights, request.precision == "pack", CROSS_TYPES[request.cross]

    def encoder(graph: Graph) -> None:
        ranges = tuple(set(OUTLIERS.get(request.variant, ())) - set(request.blocks))
        linears = RowLinears(graph, weights, ranges, request.blocks) if packed else FullLinears(graph, weights)
        build_encoder(graph, weights, linears, cross_type)

    def decoder(graph: Graph) -> None:
        DecoderBuilder(graph, weights, request.settings.alignment_heads, packed=packed, cross_type=cross_type).build()

    for name, fill in (("MelSpectrogram", lambda graph: build_mel(graph, weights.dims.mel_bands)),
                       ("AudioEncoder", encoder), ("TextDecoder", decoder)):
        progress(f"writing {name}")
        with Graph(work / f"{name}.onnx") as graph:
            fill(graph)
