"""Model folders in the layout most users have: model.safetensors, tokenizer.json, config.json, and perhaps
generation_config.json."""

import json
from pathlib import Path

import numpy as np

from errors import ModelError
from settings import Settings
from tensorfile import TensorFile, write_tensors
from weights import Dims, Weights, expected_shapes

# Our size: its key in their config.json. Two more keys must agree with these.
SIZE_KEYS = {
    "mel_bands": "num_mel_bands", "audio_positions": "max_source_positions",
    "text_positions": "max_target_positions", "width": "d_model", "heads": "encoder_attention_heads",
    "encoder_layers": "encoder_layers", "decoder_layers": "decoder_layers", "vocabulary": "vocab_size",
}
_BLOCKS = {"self_attention": "self_attn", "attention": "encoder_attn"}
_NORMS = {"self_attention": "self_attn_layer_norm", "attention": "encoder_attn_layer_norm", "ffn": "final_layer_norm"}
_LINEARS = {
    ("self_attention", "0"): ("q_proj", "k_proj", "v_proj"), ("self_attention", "1"): ("out_proj",),
    ("attention", "0"): ("q_proj",), ("attention", "1"): ("k_proj", "v_proj"), ("attention", "2"): ("out_proj",),
    ("ffn", "0"): ("fc1",), ("ffn", "1"): ("fc2",),
}


def their_names(name: str) -> list[str | None]:
    """Their tensors that, stacked, make ours. None stands for the key's bias: theirs has none, ours is zero."""
    side, *rest = name.split("/")
    if rest[0].startswith("conv"):
        return [f"model.{side}.{rest[0]}.{rest[1]}"]
    if rest[0] == "position_encodings":
        return [f"model.{side}.embed_positions.weight"]
    if rest[0] == "embeddings":
        return ["model.decoder.embed_tokens.weight"]
    kind = {"gamma": "weight", "beta": "bias"}.get(rest[-1], rest[-1])
    if rest[0] == "layer_norm":
        return [f"model.{side}.layer_norm.{kind}"]
    layer, block = rest[0].removeprefix("layer_"), rest[1]
    prefix = f"model.{side}.layers.{layer}."
    if rest[2] == "layer_norm":
        return [f"{prefix}{_NORMS[block]}.{kind}"]
    inner = f"{_BLOCKS[block]}." if block in _BLOCKS else ""
    parts = _LINEARS[block, rest[2].removeprefix("linear_")]
    return [None if (part, kind) == ("k_proj", "bias") else f"{prefix}{inner}{part}.{kind}" for part in parts]


def read_folder(folder: Path) -> tuple[Weights, Settings, bytes]:
    """Weights, settings and the tokenizer of a user's folder."""
    config = _json(folder / "config.json")
    dims = _dims(config, folder / "config.json")
    file = TensorFile(folder / "model.safetensors")
    _check_tied(file)
    tokenizer = _read(folder / "tokenizer.json")
    return Weights(dims, lambda name: _load(file, dims, name), str(file.path)), _settings(
        folder, config, tokenizer, dims), tokenizer


def _load(file: TensorFile, dims: Dims, name: str) -> np.ndarray:
    parts = [np.zeros(dims.width, np.float16) if their is None else file.tensor(their) for their in their_names(name)]
    try:
        return parts[0] if len(parts) == 1 else np.concatenate(parts)
    except ValueError:
        raise ModelError(f"{file.path}: the parts of {name} do not fit together") from None


def _check_tied(file: TensorFile) -> None:
    """The graphs make the logits with the embeddings' table; a projection of its own would be lost."""
    own, table = "proj_out.weight", "model.decoder.embed_tokens.weight"
    if own in file and not np.array_equal(file.tensor(own), file.tensor(table)):
        raise ModelError(f"{file.path}: {own} differs from the embeddings, which is not supported")


def _dims(config: dict, path: Path) -> Dims:
    missing = [key for key in (*SIZE_KEYS.values(), "decoder_attention_heads") if key not in config]
    if missing:
        raise ModelError(f"{path}: {', '.join(missing)} missing")
    dims = Dims(**{ours: config[theirs] for ours, theirs in SIZE_KEYS.items()})
    dims.check(str(path))
    if config["decoder_attention_heads"] != dims.heads:
        raise ModelError(f"{path}: encoder and decoder differ in heads")
    return dims


def _settings(folder: Path, config: dict, tokenizer: bytes, dims: Dims) -> Settings:
    """From generation_config.json where it says something, else from config.json and the tokenizer."""
    path = folder / "generation_config.json"
    generation = _json(path) if path.is_file() else {}
    languages = generation.get("lang_to_id")
    lists = {key: generation.get(key, config.get(key)) or [] for key in ("suppress_tokens", "begin_suppress_tokens")}
    heads = generation.get("alignment_heads")
    if (not all(isinstance(value, list) for value in lists.values()) or not isinstance(languages, dict | None)
            or not isinstance(heads, list | None) or not all(isinstance(pair, list) for pair in heads or [])):
        raise ModelError(f"{path}: lists of tokens, languages or heads are malformed")
    return Settings.from_tokenizer(
        tokenizer, dims, str(folder / "tokenizer.json"), lang_ids=list(languages.values()) if languages else None,
        suppress_ids=lists["suppress_tokens"], suppress_ids_begin=lists["begin_suppress_tokens"],
        alignment_heads=heads)


def _read(path: Path) -> bytes:
    try:
        return path.read_bytes()
    except OSError as error:
        raise ModelError(f"{path}: {error.strerror or error}") from None


def _json(path: Path) -> dict:
    try:
        content = json.loads(_read(path))
    except (ValueError, RecursionError):
        raise ModelError(f"{path}: not JSON") from None
    if not isinstance(content, dict):
        raise ModelError(f"{path}: not a JSON object")
    return content


def write_folder(folder: Path, weights: Weights, settings: Settings, tokenizer: bytes) -> None:
    """The same model in this layout. Tensors keep their type."""
    dims, tensors = weights.dims, {}
    for name in expected_shapes(dims):
        theirs = their_names(name)
        for part, value in zip(theirs, np.split(weights.stored(name), len(theirs))):
            if part is not None:
                tensors[part] = value
            elif value.any():
                raise ModelError(f"{weights.source}: {name} has a key bias, which this layout cannot hold")
    write_tensors(folder / "model.safetensors", tensors)
    (folder / "tokenizer.json").write_bytes(tokenizer)
    sizes = {theirs: getattr(dims, ours) for ours, theirs in SIZE_KEYS.items()}
    config = {"model_type": "whisper", **sizes, "decoder_attention_heads": dims.heads}
    (folder / "config.json").write_text(json.dumps(config, indent=2) + "\n")
    names = {entry["id"]: entry["content"] for entry in json.loads(tokenizer)["added_tokens"]}
    generation = {"alignment_heads": settings.alignment_heads, "suppress_tokens": settings.suppress_ids,
                  "begin_suppress_tokens": settings.suppress_ids_begin,
                  "lang_to_id": {names[i]: i for i in settings.lang_ids}}
    (folder / "generation_config.json").write_text(json.dumps(generation, indent=2) + "\n")
