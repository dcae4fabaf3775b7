#!/usr/bin/env python3
"""Plain one-operator graphs of the encoder's products: what this machine and the runtime can do at best.

Writes the graphs and limits.tsv: the part of a window, the graph, how often the part occurs per window, and the
operations of one run. Several lines of one part are different ways to compute it; the quickest is the limit.
"""

import argparse
import json
from pathlib import Path

import numpy as np

from graph import FLOAT, INT32, Graph, TensorProto


class Limits:
    """Graphs for one model's sizes."""

    def __init__(self, folder: Path, dims: dict):
        self.folder, self.dims = folder, dims
        self.random = np.random.default_rng(1)
        self.lines: list[str] = []

    def write(self) -> None:
        dims = self.dims
        width, heads, positions = dims["width"], dims["heads"], dims["audio_positions"]
        layers, head = dims["encoder_layers"], width // heads
        self.floats("convolution 1", 1, (2 * positions, 3 * dims["mel_bands"]), width)
        self.floats("convolution 2", 1, (positions, 3 * width), width)
        self.batched("attention, scores", layers, (heads, positions, head), (heads, head, positions))
        self.batched("attention, context", layers, (heads, positions, positions), (heads, positions, head))
        self.integers("query, key, value", layers, (positions, width), 3 * width)
        self.integers("query, key, value", 3 * layers, (positions, width), width)
        self.integers("attention output", layers, (positions, width), width)
        self.integers("feed forward, first", layers, (positions, width), 4 * width)
        self.integers("feed forward, second", layers, (positions, 4 * width), width)
        self.integers("cross keys and values", dims["decoder_layers"], (positions, width), 2 * width)
        self.integers("cross keys and values", 2 * dims["decoder_layers"], (positions, width), width)
        (self.folder / "limits.tsv").write_text("".join(self.lines))

    def floats(self, part: str, count: int, rows: tuple[int, int], columns: int) -> None:
        """Single precision by a constant matrix."""
        matrix = self.random.standard_normal((rows[1], columns), np.float32)
        with self._graph(part, count, f"float_{rows[0]}_{rows[1]}_{columns}", rows[0] * rows[1] * columns) as graph:
            graph.input("a", FLOAT, rows)
            graph.output("y", FLOAT, [rows[0], columns])
            graph.node("MatMul", ["a", graph.constant("b", matrix)], "y")

    def batched(self, part: str, count: int, left: tuple[int, int, int], right: tuple[int, int, int]) -> None:
        """Single precision, both sides computed, all heads at once."""
        name = f"batched_{left[1]}_{left[2]}_{right[2]}"
        with self._graph(part, count, name, left[0] * left[1] * left[2] * right[2]) as graph:
            graph.input("a", FLOAT, left)
            graph.input("b", FLOAT, right)
            graph.output("y", FLOAT, [left[0], left[1], right[2]])
            graph.node("MatMul", ["a", "b"], "y")

    def integers(self, part: str, count: int, rows: tuple[int, int], columns: int) -> None:
        """8-bit activations by a constant 8-bit matrix, the sums left as they are."""
        matrix = self.random.integers(-127, 128, (rows[1], columns)).astype(np.int8)
        with self._graph(part, count, f"integer_{rows[0]}_{rows[1]}_{columns}", rows[0] * rows[1] * columns) as graph:
            graph.input("a", TensorProto.UINT8, rows)
            graph.output("y", INT32, [rows[0], columns])
            graph.node("MatMulInteger", ["a", graph.constant("b", matrix)], "y")

    def _graph(self, part: str, count: int, name: str, products: int) -> Graph:
        self.lines.append(f"{part}\t{name}.onnx\t{count}\t{2 * products}\n")
        return Graph(self.folder / f"{name}.onnx")


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("model", type=Path, metavar="FOLDER", help="the model whose sizes count")
    parser.add_argument("--out", type=Path, required=True, metavar="FOLDER")
    options = parser.parse_args()
    options.out.mkdir(parents=True, exist_ok=True)
    Limits(options.out, json.loads((options.model / "config.json").read_bytes())["dims"]).write()


if __name__ == "__main__":
    main()
