"""The audio encoder as a graph, with the decoder's cross-attention keys and values as further outputs."""

import numpy as np

from graph import FLOAT, Graph
from quantise import Linears
from weights import HEAD_WIDTH, Dims, Weights

EPSILON = 1e-5


def build_encoder(graph: Graph, weights: Weights, linears: Linears, cross_type: int) -> None:
    """melspectrogram_features f32 [1, bands, 1, frames] to embeddings [1, positions, width], positions = frames / 2,
    and per decoder layer cross_key_i, cross_value_i [1, heads, positions, 64] of `cross_type`."""
    dims = weights.dims
    graph.input("melspectrogram_features", FLOAT, [1, dims.mel_bands, 1, "frames"])
    value, pending = _front(graph, weights)
    linear_bias = ""
    for layer in range(dims.encoder_layers):
        block = f"encoder/layer_{layer}"
        normed, value = _norm(graph, weights, f"{block}/self_attention", value, pending, linear_bias)
        pending = linears.apply(_attention(graph, linears, dims, f"{block}/self_attention", normed),
                                f"{block}/self_attention/linear_1")
        linear_bias = linears.bias(f"{block}/self_attention/linear_1")
        normed, value = _norm(graph, weights, f"{block}/ffn", value, pending, linear_bias)
        inner = linears.apply(normed, f"{block}/ffn/linear_0", bias=True)
        inner = graph.node("Gelu", [inner], contrib=True)
        pending = linears.apply(inner, f"{block}/ffn/linear_1")
        linear_bias = linears.bias(f"{block}/ffn/linear_1")
    graph.output("encoder_output_embeds", FLOAT, [1, "positions", dims.width])
    embeds, _ = _norm(graph, weights, "encoder", value, pending, linear_bias, to="encoder_output_embeds")
    _cross(graph, linears, dims, embeds, cross_type)


def _front(graph: Graph, weights: Weights) -> tuple[str, str]:
    """Two convolutions over time, [1, positions, width], and the positions to add, [positions, width]."""
    value = graph.node("Squeeze", ["melspectrogram_features", graph.ints(2)])
    for name, stride in (("encoder/conv1", 1), ("encoder/conv2", 2)):
        inputs = [value] + [graph.constant(f"{name}/{part}", weights[f"{name}/{part}"]) for part in ("weight", "bias")]
        value = graph.node("Conv", inputs, kernel_shape=[3], pads=[1, 1], strides=[stride])
        value = graph.node("Gelu", [value], contrib=True)
    value = graph.node("Transpose", [value], perm=[0, 2, 1])
    name = "encoder/position_encodings/encodings"
    count = graph.node("Shape", [value], start=1, end=2)
    positions = graph.node("Slice", [graph.constant(name, weights[name]), graph.ints(0), count, graph.ints(0)])
    return value, positions


def _norm(graph: Graph, weights: Weights, block: str, value: str, pending: str, bias: str,
          to: str | None = None) -> tuple[str, str]:
    """Adds what the last block left (`pending` without its bias), then normalises. Returns (normed, sum)."""
    gamma, beta = (graph.constant(f"{block}/layer_norm/{part}", weights[f"{block}/layer_norm/{part}"])
                   for part in ("gamma", "beta"))
    label = f"{block}/sum"
    outputs = [to or f"{block}/normed", "", "", label]
    inputs = [value, pending, gamma, beta] + ([bias] if bias else [])
    graph.node("SkipLayerNormalization", inputs, outputs, contrib=True, epsilon=EPSILON)
    return outputs[0], label


def _attention(graph: Graph, linears: Linears, dims: Dims, block: str, normed: str) -> str:
    """Self-attention over all positions, fused, with one bias for query, key and value."""
    width = dims.width
    parts = [linears.apply(normed, f"{block}/linear_0", slice(i * width, (i + 1) * width)) for i in range(3)]
    return graph.node("MultiHeadAttention", parts + [linears.bias(f"{block}/linear_0")], contrib=True,
                      num_heads=dims.heads)


def _cross(graph: Graph, linears: Linears, dims: Dims, embeds: str, cross_type: int) -> None:
    """Keys and values of every decoder layer's cross-attention, [1, heads, positions, 64] each."""
    width = dims.width
    shape = graph.ints(1, -1, dims.heads, HEAD_WIDTH)
    for layer in range(dims.decoder_layers):
        for index, kind in enumerate(("key", "value")):
            rows = slice(index * width, (index + 1) * width)
            product = linears.apply(embeds, f"decoder/layer_{layer}/attention/linear_1", rows, bias=True)
            split = graph.node("Reshape", [product, shape])
            if cross_type != FLOAT:
                split = graph.node("Cast", [split], cast=cross_type)
            name = graph.output(f"cross_{kind}_{layer}", cross_type, [1, dims.heads, "positions", HEAD_WIDTH])
            graph.node("Transpose", [split], name, perm=[0, 2, 1, 3])
