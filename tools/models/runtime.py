"""Runs the graphs of a model folder: what the check and the tests need of a decoder loop."""

from pathlib import Path

import numpy as np
import onnxruntime

from weights import HEAD_WIDTH, Dims

THREADS = 2
HIDDEN = -1e9


def open_graph(path: Path, threads: int = THREADS) -> onnxruntime.InferenceSession:
    options = onnxruntime.SessionOptions()
    options.intra_op_num_threads = threads
    options.inter_op_num_threads = 1
    options.log_severity_level = 3
    return onnxruntime.InferenceSession(str(path), options, providers=["CPUExecutionProvider"])


def run(session: onnxruntime.InferenceSession, **inputs: np.ndarray) -> dict[str, np.ndarray]:
    """All outputs by name."""
    return dict(zip((output.name for output in session.get_outputs()), session.run(None, inputs)))


class Decoder:
    """One text under way: keeps the cache between calls."""

    def __init__(self, session: onnxruntime.InferenceSession, dims: Dims, cross: dict[str, np.ndarray],
                 rows: int = 128):
        self._session, self._cross = session, cross
        self._keys = np.zeros((dims.decoder_layers, dims.heads, rows, HEAD_WIDTH), np.float32)
        self._values = self._keys.copy()
        self._mask = np.full((1, rows), HIDDEN, np.float32)
        self.length = 0

    def step(self, tokens: list[int]) -> dict[str, np.ndarray]:
        """Appends tokens and returns the outputs; the logits are those after the last one."""
        outputs = run(self._session, input_ids=np.array([tokens], np.int32),
                      cache_length=np.array([self.length], np.int32), key_cache=self._keys,
                      value_cache=self._values, decoder_key_padding_mask=self._mask, **self._cross)
        place = slice(self.length, self.length + len(tokens))
        self._keys[:, :, place] = outputs["key_cache_updates"]
        self._values[:, :, place] = outputs["value_cache_updates"]
        self._mask[:, place] = 0
        self.length += len(tokens)
        return outputs
