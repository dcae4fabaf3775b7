"""The model's arithmetic written out in numpy, float32: what the graphs are measured against.

Nothing here is fast or shared with the graph builders, on purpose.
"""

from math import erf, exp, pi, sqrt

import numpy as np

from weights import HEAD_WIDTH, Weights

_STEP = 1 / 256
_GRID = np.arange(0, 6, _STEP)
_ERF = np.array([erf(x) for x in _GRID])
_SLOPE = np.array([2 / sqrt(pi) * exp(-x * x) for x in _GRID])


def error_function(x: np.ndarray) -> np.ndarray:
    """erf, by the third-order series around the nearest point of a grid; good to 1e-10 in float64."""
    size = np.abs(x)
    index = np.minimum((size / _STEP + 0.5).astype(np.int32), len(_GRID) - 1)
    at = _GRID[index].astype(x.dtype)
    off = np.minimum(size - at, _STEP)
    value = _ERF[index].astype(x.dtype) + _SLOPE[index].astype(x.dtype) * off * (
        1 - at * off + (2 * at * at - 1) * off * off / 3)
    return np.copysign(value, x)


def gelu(x: np.ndarray) -> np.ndarray:
    return x * (1 + error_function(x * x.dtype.type(sqrt(0.5)))) / 2


def softmax(x: np.ndarray) -> np.ndarray:
    shares = np.exp(x - x.max(axis=-1, keepdims=True))
    return shares / shares.sum(axis=-1, keepdims=True)


class Reference:
    """Full-precision forward passes. P positions, T tokens, W width, H heads."""

    def __init__(self, weights: Weights):
        self.weights = weights

    def encode(self, features: np.ndarray) -> np.ndarray:
        """[1, bands, 1, frames] to [P, W]."""
        value = self._convolution("encoder/conv1", features[0, :, 0, :], stride=1)
        value = self._convolution("encoder/conv2", value, stride=2).T
        value = value + self.weights["encoder/position_encodings/encodings"][:len(value)]
        for layer in range(self.weights.dims.encoder_layers):
            block = f"encoder/layer_{layer}"
            joint = self._linear(f"{block}/self_attention/linear_0", self._norm(f"{block}/self_attention", value))
            context, _ = self._attend(*np.split(joint, 3, axis=1))
            value = value + self._linear(f"{block}/self_attention/linear_1", context)
            value = self._ffn(block, value)
        return self._norm("encoder", value)

    def cross(self, embeds: np.ndarray) -> list[tuple[np.ndarray, np.ndarray]]:
        """[P, W] to key and value [P, W] per decoder layer."""
        return [tuple(np.split(self._linear(f"decoder/layer_{layer}/attention/linear_1", embeds), 2, axis=1))
                for layer in range(self.weights.dims.decoder_layers)]

    def logits(self, cross: list[tuple[np.ndarray, np.ndarray]], tokens: list[int]) -> tuple[np.ndarray, np.ndarray]:
        """Logits after every token, [T, vocabulary], and all cross-attention shares, [layers, H, T, P]."""
        table = self.weights["decoder/embeddings/weight"]
        value = table[tokens] + self.weights["decoder/position_encodings/encodings"][:len(tokens)]
        hidden = np.triu(np.full((len(tokens), len(tokens)), -np.inf, np.float32), 1)
        shares = []
        for layer, (key, audio) in enumerate(cross):
            block = f"decoder/layer_{layer}"
            joint = self._linear(f"{block}/self_attention/linear_0", self._norm(f"{block}/self_attention", value))
            context, _ = self._attend(*np.split(joint, 3, axis=1), hidden)
            value = value + self._linear(f"{block}/self_attention/linear_1", context)
            query = self._linear(f"{block}/attention/linear_0", self._norm(f"{block}/attention", value))
            context, layer_shares = self._attend(query, key, audio)
            shares.append(layer_shares)
            value = value + self._linear(f"{block}/attention/linear_2", context)
            value = self._ffn(block, value)
        return self._norm("decoder", value) @ table.T, np.stack(shares)

    def _linear(self, name: str, value: np.ndarray) -> np.ndarray:
        return value @ self.weights[f"{name}/weight"].T + self.weights[f"{name}/bias"]

    def _norm(self, block: str, value: np.ndarray) -> np.ndarray:
        centred = value - value.mean(axis=1, keepdims=True)
        deviation = np.sqrt((centred ** 2).mean(axis=1, keepdims=True) + np.float32(1e-5))
        return (centred / deviation * self.weights[f"{block}/layer_norm/gamma"]
                + self.weights[f"{block}/layer_norm/beta"])

    def _ffn(self, block: str, value: np.ndarray) -> np.ndarray:
        inner = gelu(self._linear(f"{block}/ffn/linear_0", self._norm(f"{block}/ffn", value)))
        return value + self._linear(f"{block}/ffn/linear_1", inner)

    def _convolution(self, name: str, value: np.ndarray, stride: int) -> np.ndarray:
        """[in, frames] to [out, frames / stride], kernel 3, padding 1, GELU."""
        padded = np.pad(value, ((0, 0), (1, 1)))
        frames = value.shape[1]
        kernel = self.weights[f"{name}/weight"]
        total = sum(kernel[:, :, tap] @ padded[:, tap:tap + frames:stride] for tap in range(3))
        return gelu(total + self.weights[f"{name}/bias"][:, None])

    @staticmethod
    def _attend(query: np.ndarray, key: np.ndarray, value: np.ndarray,
                mask: np.ndarray | np.float32 = np.float32(0)) -> tuple[np.ndarray, np.ndarray]:
        """[T, W], [P, W], [P, W] to context [T, W] and shares [H, T, P]."""
        query, key, value = (part.reshape(len(part), -1, HEAD_WIDTH).swapaxes(0, 1) for part in (query, key, value))
        scores = query @ key.swapaxes(1, 2) * np.float32(HEAD_WIDTH ** -0.5)
        shares = softmax(scores + mask)
        context = (shares @ value).swapaxes(0, 1)
        return context.reshape(len(context), -1), shares
