"""Writes an ONNX graph node by node, with its large tensors in a data file beside it.

The data file is written while the graph grows, each tensor at a multiple of 4096 bytes, so that a runtime can map
it. Names are counted, never random: the same calls give the same bytes.
"""

from pathlib import Path
from typing import Sequence

import numpy as np
import onnx
from onnx import TensorProto, helper

ALIGNMENT = 4096
INLINE_BYTES = 256
OPSET = 17
CONTRIB = "com.microsoft"
IR_VERSION = 8

FLOAT, HALF, INT32, INT64 = TensorProto.FLOAT, TensorProto.FLOAT16, TensorProto.INT32, TensorProto.INT64


class Graph:
    """One graph under construction, saved at the end of its `with` block unless that fails."""

    def __init__(self, path: Path):
        self.path = path
        self._data_path = path.with_name(path.name + ".data")
        self._data = open(self._data_path, "wb")
        self._nodes: list[onnx.NodeProto] = []
        self._tensors: dict[str, onnx.TensorProto] = {}
        self._inputs: list[onnx.ValueInfoProto] = []
        self._outputs: list[onnx.ValueInfoProto] = []
        self._counts: dict[str, int] = {}

    def input(self, name: str, kind: int, shape: Sequence[int | str]) -> str:
        """Declares an input; a word as a size is a free axis."""
        self._inputs.append(helper.make_tensor_value_info(name, kind, shape))
        return name

    def output(self, name: str, kind: int, shape: Sequence[int | str]) -> str:
        """Declares an output; a node must produce it."""
        self._outputs.append(helper.make_tensor_value_info(name, kind, shape))
        return name

    def has(self, name: str) -> bool:
        """Whether a constant of that name was already written."""
        return name in self._tensors

    def constant(self, name: str, value: np.ndarray) -> str:
        """Adds a named constant once; later calls with the name return it without looking at `value`."""
        if name not in self._tensors:
            value = np.asarray(value, order="C")
            self._tensors[name] = self._inline(name, value) if value.nbytes <= INLINE_BYTES else self._external(
                name, value)
        return name

    def ints(self, *values: int) -> str:
        """A constant list of int64, as shapes and axes want it."""
        return self.constant("ints_" + "_".join(map(str, values)).replace("-", "m"), np.array(values, np.int64))

    def node(self, op: str, inputs: Sequence[str], to: str | Sequence[str] | None = None, *, outputs: int = 1,
             contrib: bool = False, cast: int | None = None, **attributes):
        """Adds a node. Returns its output's name, or a list when there are more. `cast` is Cast's type."""
        count = self._counts[op] = self._counts.get(op, 0) + 1
        name = f"{op}_{count}"
        if to is None:
            names = [f"{name}_out"] if outputs == 1 else [f"{name}_out{i}" for i in range(outputs)]
        else:
            names = [to] if isinstance(to, str) else list(to)
        if cast is not None:
            attributes["to"] = cast
        self._nodes.append(helper.make_node(op, list(inputs), names, name=name, domain=CONTRIB if contrib else "",
                                            **attributes))
        return names[0] if len(names) == 1 else names

    def __enter__(self) -> "Graph":
        return self

    def __exit__(self, kind, *_) -> None:
        self._data.close()
        if kind is None:
            self._save()

    def _save(self) -> None:
        if self._data_path.stat().st_size == 0:
            self._data_path.unlink()
        graph = helper.make_graph(self._nodes, self.path.stem, self._inputs, self._outputs,
                                  initializer=list(self._tensors.values()))
        opsets = [helper.make_opsetid("", OPSET), helper.make_opsetid(CONTRIB, 1)]
        model = helper.make_model(graph, opset_imports=opsets, ir_version=IR_VERSION, producer_name="tavrin-models")
        self.path.write_bytes(model.SerializeToString(deterministic=True))

    @staticmethod
    def _tensor(name: str, value: np.ndarray) -> onnx.TensorProto:
        return TensorProto(name=name, data_type=helper.np_dtype_to_tensor_dtype(value.dtype), dims=value.shape)

    def _inline(self, name: str, value: np.ndarray) -> onnx.TensorProto:
        tensor = self._tensor(name, value)
        tensor.raw_data = value.tobytes()
        return tensor

    def _external(self, name: str, value: np.ndarray) -> onnx.TensorProto:
        self._data.write(b"\0" * (-self._data.tell() % ALIGNMENT))
        tensor = self._tensor(name, value)
        tensor.data_location = TensorProto.EXTERNAL
        for key, text in (("location", self._data_path.name), ("offset", self._data.tell()),
                          ("length", value.nbytes)):
            entry = tensor.external_data.add()
            entry.key, entry.value = key, str(text)
        self._data.write(value.data if value.size else b"")
        return tensor
