"""Sizes and weights of a speech model in one form, whatever file they came from.

Names of tensors: X is `encoder` or `decoder`, i the layer; every linear is stored [out, in].

    encoder/conv1/weight [width, mel_bands, 3]        encoder/conv2/weight [width, width, 3]
    encoder/position_encodings/encodings              decoder/position_encodings/encodings
    decoder/embeddings/weight [vocabulary, width]     also the last projection
    X/layer_i/self_attention/linear_0 [3 width, width]    rows of query, key, value; linear_1: output
    decoder/layer_i/attention/linear_0 query, linear_1 [2 width, width] key and value, linear_2 output
    X/layer_i/ffn/linear_0 [4 width, width], linear_1 [width, 4 width]
    each of the three blocks and X itself: layer_norm/gamma, layer_norm/beta
"""

from dataclasses import asdict, dataclass
from typing import Callable

import numpy as np

from errors import ModelError

HEAD_WIDTH = 64
FFN_FACTOR = 4

# Sizes of the released models: (width, encoder layers, decoder layers, mel bands, vocabulary).
VARIANTS = {
    "tiny": (384, 4, 4, 80, 51865),
    "tiny.en": (384, 4, 4, 80, 51864),
    "base": (512, 6, 6, 80, 51865),
    "base.en": (512, 6, 6, 80, 51864),
    "small": (768, 12, 12, 80, 51865),
    "small.en": (768, 12, 12, 80, 51864),
    "medium": (1024, 24, 24, 80, 51865),
    "medium.en": (1024, 24, 24, 80, 51864),
    "large-v2": (1280, 32, 32, 80, 51865),
    "large-v3": (1280, 32, 32, 128, 51866),
    "large-v3-turbo": (1280, 32, 4, 128, 51866),
}


@dataclass(frozen=True)
class Dims:
    """Sizes that shape the graphs."""

    mel_bands: int
    audio_positions: int
    text_positions: int
    width: int
    heads: int
    encoder_layers: int
    decoder_layers: int
    vocabulary: int

    def check(self, source: str) -> None:
        """Refuses sizes that no released model has and the graphs cannot hold."""
        limits = {"mel_bands": 256, "audio_positions": 1500, "text_positions": 4096, "width": 4096,
                  "heads": 64, "encoder_layers": 96, "decoder_layers": 96, "vocabulary": 1 << 20}
        for name, value in asdict(self).items():
            if type(value) is not int or not 0 < value <= limits[name]:
                raise ModelError(f"{source}: {name} is {value!r}, expected 1 to {limits[name]}")
        if self.width != self.heads * HEAD_WIDTH or self.width % 128:
            raise ModelError(f"{source}: width {self.width} with {self.heads} heads is not supported")

    @property
    def multilingual(self) -> bool:
        """Whether the model has a token per language; the English-only ones have one token less."""
        return self.vocabulary > 51864

    def variant(self) -> str | None:
        """The released model of these sizes, if there is one."""
        sizes = (self.width, self.encoder_layers, self.decoder_layers, self.mel_bands, self.vocabulary)
        return next((name for name, known in VARIANTS.items() if known == sizes), None)


def expected_shapes(dims: Dims) -> dict[str, tuple[int, ...]]:
    """Every tensor a model of these sizes has, with its shape."""
    width, inner = dims.width, FFN_FACTOR * dims.width
    shapes: dict[str, tuple[int, ...]] = {
        "encoder/conv1/weight": (width, dims.mel_bands, 3),
        "encoder/conv1/bias": (width,),
        "encoder/conv2/weight": (width, width, 3),
        "encoder/conv2/bias": (width,),
        "encoder/position_encodings/encodings": (dims.audio_positions, width),
        "decoder/position_encodings/encodings": (dims.text_positions, width),
        "decoder/embeddings/weight": (dims.vocabulary, width),
    }
    blocks = {
        "self_attention": [(3 * width, width), (width, width)],
        "attention": [(width, width), (2 * width, width), (width, width)],
        "ffn": [(inner, width), (width, inner)],
    }
    for side, layers in (("encoder", dims.encoder_layers), ("decoder", dims.decoder_layers)):
        norms = [side]
        for layer in range(layers):
            for block, linears in blocks.items():
                if side == "encoder" and block == "attention":
                    continue
                prefix = f"{side}/layer_{layer}/{block}"
                norms.append(prefix)
                for index, shape in enumerate(linears):
                    shapes[f"{prefix}/linear_{index}/weight"] = shape
                    shapes[f"{prefix}/linear_{index}/bias"] = shape[:1]
        for prefix in norms:
            shapes[f"{prefix}/layer_norm/gamma"] = (width,)
            shapes[f"{prefix}/layer_norm/beta"] = (width,)
    return shapes


class Weights:
    """Tensors by name, read when asked for, so that a large model never lies in memory whole.

    `load(name)` gives the tensor as stored (any float type) or raises ModelError; its shape is checked here.
    """

    def __init__(self, dims: Dims, load: Callable[[str], np.ndarray], source: str):
        self.dims = dims
        self.shapes = expected_shapes(dims)
        self.source = source
        self._load = load

    def stored(self, name: str) -> np.ndarray:
        """The tensor as its file holds it."""
        tensor = self._load(name)
        if tensor.shape != self.shapes[name]:
            raise ModelError(f"{self.source}: {name} has shape {list(tensor.shape)}, "
                             f"expected {list(self.shapes[name])}")
        return tensor

    def __getitem__(self, name: str) -> np.ndarray:
        """The tensor as float32, contiguous."""
        tensor = np.ascontiguousarray(self.stored(name), dtype=np.float32)
        if not np.isfinite(tensor).all():
            raise ModelError(f"{self.source}: {name} holds values that are not finite")
        return tensor
