"""The text decoder as a graph: one for prompts and for single steps."""

import numpy as np

from encoder import EPSILON
from graph import FLOAT, INT32, INT64, Graph
from quantise import BLOCK, BlockLinears, FullLinears, blocks
from weights import HEAD_WIDTH, Dims, Weights

HIDDEN = -1e9
SCALE = HEAD_WIDTH ** -0.5
EMBEDDINGS = "decoder/embeddings"


def scaled_queries(weights: Weights) -> Weights:
    """The same weights with the attention's 1/8 in the decoder's query rows, where it costs nothing.

    A product of one row with factor 1 takes the runtime's direct path; any other factor has it pack the whole key
    matrix first. 1/8 is a power of two: no bit of the weights or of their quantised form is lost.
    """
    def load(name: str) -> np.ndarray:
        tensor = weights[name]
        if name.startswith("decoder/") and "attention/linear_0/" in name:
            tensor = tensor.copy()
            tensor[:weights.dims.width] *= np.float32(SCALE)
        return tensor

    return Weights(weights.dims, load, weights.source)


class DecoderBuilder:
    """Builds the graph in the order of its data.

    T tokens, N rows of the cache, P audio positions, H heads, W width, L layers.
    """

    def __init__(self, graph: Graph, weights: Weights, alignment_heads: list[list[int]], *, packed: bool,
                 cross_type: int):
        self.graph, self.packed, self.cross_type = graph, packed, cross_type
        self.weights = scaled_queries(weights)
        self.linears = (BlockLinears if packed else FullLinears)(graph, self.weights)
        self.dims: Dims = weights.dims
        self.alignment_heads = alignment_heads
        self.keys: list[str] = []
        self.values: list[str] = []
        self.alignment: list[str] = []

    def build(self) -> None:
        graph, dims = self.graph, self.dims
        self._declare()
        self.tokens = graph.node("Shape", ["input_ids"], start=1, end=2)
        self.cache_rows = graph.node("Shape", ["key_cache"], start=2, end=3)
        self.mask = self._mask()
        self.split_sizes = graph.node("Concat", [self.cache_rows, self.tokens], axis=0)
        self.key_slices = self._layers_of("key_cache")
        self.value_slices = self._layers_of("value_cache")
        value, pending = self._embed()
        bias = ""
        for layer in range(dims.decoder_layers):
            value, pending, bias = self._layer(layer, value, pending, bias)
        normed, _ = self._norm("decoder", value, pending, bias)
        self._logits(normed)
        graph.node("Concat", self.keys, "key_cache_updates", axis=0)
        graph.node("Concat", self.values, "value_cache_updates", axis=0)
        graph.node("Concat", self.alignment, "alignment_heads_weights", axis=1)

    def _declare(self) -> None:
        graph, dims = self.graph, self.dims
        layers, heads = dims.decoder_layers, dims.heads
        graph.input("input_ids", INT32, [1, "tokens"])
        graph.input("cache_length", INT32, [1])
        for kind in ("key", "value"):
            graph.input(f"{kind}_cache", FLOAT, [layers, heads, "cache", HEAD_WIDTH])
        graph.input("decoder_key_padding_mask", FLOAT, [1, "cache"])
        for layer in range(layers):
            for kind in ("key", "value"):
                graph.input(f"cross_{kind}_{layer}", self.cross_type, [1, heads, "positions", HEAD_WIDTH])
        graph.output("logits", FLOAT, [1, 1, dims.vocabulary])
        for kind in ("key", "value"):
            graph.output(f"{kind}_cache_updates", FLOAT, [layers, heads, "tokens", HEAD_WIDTH])
        graph.output("alignment_heads_weights", FLOAT, [1, len(self.alignment_heads), "tokens", "positions"])

    def _mask(self) -> str:
        """[T, N + T]: the caller's mask over the cache, then no token before its turn."""
        graph = self.graph
        shape = graph.node("Concat", [self.tokens, self.cache_rows], axis=0)
        cached = graph.node("Expand", ["decoder_key_padding_mask", shape])
        zero, one = graph.constant("zero", np.array(0, np.int64)), graph.constant("one", np.array(1, np.int64))
        order = graph.node("Range", [zero, graph.node("Squeeze", [self.tokens]), one])
        later = graph.node("Less", [graph.node("Unsqueeze", [order, graph.ints(1)]), order])
        hidden = graph.node("Where", [later, graph.constant("hidden", np.array(HIDDEN, np.float32)),
                                      graph.constant("visible", np.array(0, np.float32))])
        return graph.node("Concat", [cached, hidden], axis=1)

    def _layers_of(self, name: str) -> list[str]:
        """[L, H, N, 64] to L times [1, H, N, 64]."""
        layers = self.dims.decoder_layers
        return self.graph.node("Split", [name], [f"{name}_{i}" for i in range(layers)], axis=0)

    def _embed(self) -> tuple[str, str]:
        """Token embeddings [1, T, W] and the positions to add, [T, W]."""
        graph = self.graph
        length = graph.node("Cast", [graph.node("Squeeze", ["cache_length"])], cast=INT64)
        count = graph.node("Squeeze", [self.tokens])
        one = graph.constant("one", np.array(1, np.int64))
        places = graph.node("Range", [length, graph.node("Add", [length, count]), one])
        name = "decoder/position_encodings/encodings"
        positions = graph.node("Gather", [graph.constant(name, self.weights[name]), places], axis=0)
        return self._token_embeddings(), positions

    def _token_embeddings(self) -> str:
        """[1, T, W], from the table that also makes the logits."""
        graph, width = self.graph, self.dims.width
        table, scales = f"{EMBEDDINGS}/weight", f"{EMBEDDINGS}/scales"
        if not self.packed:
            return graph.node("Gather", [graph.constant(table, self.weights[table]), "input_ids"], axis=0)
        levels, factors = blocks(self.weights[table])
        rows = graph.node("Gather", [graph.constant(table, levels), "input_ids"], axis=0)
        rows = graph.node("Cast", [rows], cast=FLOAT)
        rows = graph.node("Sub", [rows, graph.constant("middle", np.array(128, np.float32))])
        chosen = graph.node("Gather", [graph.constant(scales, factors), "input_ids"], axis=0)
        rows = graph.node("Mul", [rows, graph.node("Unsqueeze", [chosen, graph.ints(3)])])
        return graph.node("Reshape", [rows, graph.ints(1, -1, width)])

    def _layer(self, layer: int, value: str, pending: str, bias: str) -> tuple[str, str, str]:
        """Self-attention, cross-attention, two linears. The last block's output is added by the next norm."""
        linears, block = self.linears, f"decoder/layer_{layer}"
        last = layer == self.dims.decoder_layers - 1
        normed, value = self._norm(f"{block}/self_attention", value, pending, bias)
        pending = linears.apply(self._self_attention(layer, normed), f"{block}/self_attention/linear_1")
        bias = linears.bias(f"{block}/self_attention/linear_1")
        normed, value = self._norm(f"{block}/attention", value, pending, bias)
        context, value = self._cross_attention(layer, normed, value, last)
        pending = linears.apply(context, f"{block}/attention/linear_2")
        bias = linears.bias(f"{block}/attention/linear_2")
        normed, value = self._norm(f"{block}/ffn", value, pending, bias)
        inner = linears.apply(normed, f"{block}/ffn/linear_0", bias=True)
        inner = self.graph.node("Gelu", [inner], contrib=True)
        return value, linears.apply(inner, f"{block}/ffn/linear_1"), linears.bias(f"{block}/ffn/linear_1")

    def _norm(self, block: str, value: str, pending: str, bias: str) -> tuple[str, str]:
        """Adds what the last block left, then normalises. Returns (normed, sum)."""
        graph = self.graph
        gamma, beta = (graph.constant(f"{block}/layer_norm/{part}", self.weights[f"{block}/layer_norm/{part}"])
                       for part in ("gamma", "beta"))
        outputs = [f"{block}/normed", "", "", f"{block}/sum"]
        inputs = [value, pending, gamma, beta] + ([bias] if bias else [])
        graph.node("SkipLayerNormalization", inputs, outputs, contrib=True, epsilon=EPSILON)
        return outputs[0], outputs[3]

    def _heads(self, value: str, count: int) -> str:
        """[1, T, count * 64] to [1, count, T, 64]."""
        split = self.graph.node("Reshape", [value, self.graph.ints(1, -1, count, HEAD_WIDTH)])
        return self.graph.node("Transpose", [split], perm=[0, 2, 1, 3])

    def _joined(self, value: str) -> str:
        """[1, H, T, 64] to [1, T, W]."""
        rows = self.graph.node("Transpose", [value], perm=[0, 2, 1, 3])
        return self.graph.node("Reshape", [rows, self.graph.ints(1, -1, self.dims.width)])

    def _scores(self, query: str, key: str) -> str:
        """[1, H, T, 64] and [1, H, P, 64] to [1, H, T, P]."""
        return self.graph.node("FusedMatMul", [query, key], contrib=True, transB=1, alpha=1.0)

    def _self_attention(self, layer: int, normed: str) -> str:
        """Over cache and new tokens. Scores are joined rather than keys: the cache is then not copied again."""
        graph, heads = self.graph, self.dims.heads
        joint = self.linears.apply(normed, f"decoder/layer_{layer}/self_attention/linear_0", bias=True)
        query, key, value = graph.node("Split", [self._heads(joint, 3 * heads)], outputs=3, axis=1)
        self.keys.append(key)
        self.values.append(value)
        scores = graph.node("Concat", [self._scores(query, self.key_slices[layer]), self._scores(query, key)], axis=3)
        shares = graph.node("Softmax", [graph.node("Add", [scores, self.mask])], axis=-1)
        cached, fresh = graph.node("Split", [shares, self.split_sizes], outputs=2, axis=3)
        context = graph.node("Add", [graph.node("MatMul", [cached, self.value_slices[layer]]),
                                     graph.node("MatMul", [fresh, value])])
        return self._joined(context)

    def _cross_attention(self, layer: int, normed: str, value: str, last: bool) -> tuple[str, str]:
        """Over the audio. In the last layer only the last token goes on: nothing reads the others any more."""
        graph = self.graph
        query = self._heads(self.linears.apply(normed, f"decoder/layer_{layer}/attention/linear_0", bias=True),
                            self.dims.heads)
        shares = graph.node("Softmax", [self._scores(query, self._audio(f"cross_key_{layer}"))], axis=-1)
        chosen = [head for at, head in self.alignment_heads if at == layer]
        if chosen:
            self.alignment.append(graph.node("Gather", [shares, graph.ints(*chosen)], axis=1))
        if last:
            shares = graph.node("Slice", [shares, graph.ints(-1), graph.ints(1 << 30), graph.ints(2)])
            value = graph.node("Slice", [value, graph.ints(-1), graph.ints(1 << 30), graph.ints(1)])
        return self._joined(graph.node("MatMul", [shares, self._audio(f"cross_value_{layer}")])), value

    def _audio(self, name: str) -> str:
        """A cross tensor as f32."""
        return name if self.cross_type == FLOAT else self.graph.node("Cast", [name], cast=FLOAT)

    def _logits(self, normed: str) -> None:
        """[1, 1, W] to [1, 1, vocabulary] with the embeddings' own table."""
        graph, dims = self.graph, self.dims
        table = f"{EMBEDDINGS}/weight"
        if self.packed:
            graph.node("MatMulNBits", [normed, table, f"{EMBEDDINGS}/scales"], "logits", contrib=True, K=dims.width,
                       N=dims.vocabulary, bits=8, block_size=BLOCK, accuracy_level=4)
        else:
            graph.node("FusedMatMul", [normed, table], "logits", contrib=True, transB=1, alpha=1.0)
