"""Ids and heads that a decoder loop needs, and the `config.json` that carries them."""

import json
from dataclasses import asdict, dataclass

from errors import ModelError
from weights import Dims

# Our key: the names under which tokenizers carry it. The first that is found counts.
SPECIAL_TOKENS = {
    "end": ("<|endoftext|>",),
    "start": ("<|startoftranscript|>",),
    "translate": ("<|translate|>",),
    "transcribe": ("<|transcribe|>",),
    "previous": ("<|startofprev|>",),
    "no_speech": ("<|nospeech|>", "<|nocaptions|>"),
    "no_timestamps": ("<|notimestamps|>",),
}


@dataclass(frozen=True)
class Settings:
    """What one variant's decoding needs beside the graphs."""

    lang_ids: list[int]
    suppress_ids: list[int]
    suppress_ids_begin: list[int]
    alignment_heads: list[list[int]]
    special: dict[str, int]

    @staticmethod
    def from_tokenizer(tokenizer: bytes, dims: Dims, source: str, *, lang_ids: list[int] | None = None,
                       suppress_ids: list[int], suppress_ids_begin: list[int],
                       alignment_heads: list[list[int]] | None = None) -> "Settings":
        """Fills in what is not given: languages from the tokenizer, heads from the last half of the layers."""
        special, languages = _special_ids(tokenizer, source)
        if not dims.multilingual:
            languages = []
        heads = alignment_heads or [[layer, head] for layer in range(dims.decoder_layers // 2, dims.decoder_layers)
                                    for head in range(dims.heads)]
        settings = Settings(
            lang_ids=list(languages if lang_ids is None else lang_ids), suppress_ids=list(suppress_ids),
            suppress_ids_begin=list(suppress_ids_begin), alignment_heads=[list(pair) for pair in heads],
            special=special)
        settings.check(dims, source)
        settings.lang_ids.sort()
        settings.alignment_heads.sort()
        return settings

    def check(self, dims: Dims, source: str) -> None:
        """Refuses ids outside the vocabulary and heads outside the model."""
        for name in ("lang_ids", "suppress_ids", "suppress_ids_begin"):
            if any(type(i) is not int or not 0 <= i < dims.vocabulary for i in getattr(self, name)):
                raise ModelError(f"{source}: {name} holds an id outside the vocabulary of {dims.vocabulary}")
        if any(not 0 <= i < dims.vocabulary for i in self.special.values()):
            raise ModelError(f"{source}: a special token is outside the vocabulary of {dims.vocabulary}")
        for pair in self.alignment_heads:
            if (len(pair) != 2 or any(type(i) is not int for i in pair)
                    or not 0 <= pair[0] < dims.decoder_layers or not 0 <= pair[1] < dims.heads):
                raise ModelError(f"{source}: alignment head {pair} is outside the model")

    def prompt(self) -> list[int]:
        """The tokens before the first word of an English transcript without times."""
        special = self.special
        if not self.lang_ids:
            return [special["start"], special["no_timestamps"]]
        return [special["start"], self.lang_ids[0], special["transcribe"], special["no_timestamps"]]


def _special_ids(tokenizer: bytes, source: str) -> tuple[dict[str, int], list[int]]:
    """Ids of the tokens that steer decoding, and of the languages."""
    try:
        added = {entry["content"]: entry["id"] for entry in json.loads(tokenizer)["added_tokens"]}
    except (ValueError, KeyError, TypeError):
        raise ModelError(f"{source}: not a tokenizer with added tokens") from None
    if any(type(i) is not int for i in added.values()):
        raise ModelError(f"{source}: an added token has no number")
    special = {key: next((added[name] for name in names if name in added), None)
               for key, names in SPECIAL_TOKENS.items()}
    missing = [key for key, value in special.items() if value is None]
    if missing:
        raise ModelError(f"{source}: the tokens {', '.join(missing)} are missing")
    special["time_begin"] = special["no_timestamps"] + 1
    first = special["start"] + 1
    languages = [i for i in added.values() if first <= i < min(special["translate"], special["transcribe"])]
    return special, languages


def config_bytes(settings: Settings, dims: Dims, variant: str, precision: str) -> bytes:
    """`config.json` of a model folder: one key per line, always in the same order."""
    content = {"variant": variant, "precision": precision, "dims": asdict(dims), **asdict(settings)}
    return json_lines(content)


def json_lines(content: dict) -> bytes:
    """A JSON object with one top-level key per line."""
    lines = ",\n".join(f"  {json.dumps(key)}: {json.dumps(value)}" for key, value in content.items())
    return f"{{\n{lines}\n}}\n".encode()
