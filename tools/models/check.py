"""Holds a new pack against full precision on a built-in clip, and refuses it when it is off."""

import wave
from dataclasses import dataclass
from pathlib import Path

import numpy as np

from errors import ModelError
from mel import HOP, SAMPLE_RATE, features
from reference import Reference
from runtime import Decoder, open_graph, run
from settings import Settings
from weights import Weights

CLIP = Path(__file__).with_name("clip.wav")
LONGEST = 60  # tokens
FEWEST = 5
CLEAR_MARGIN = 0.5  # logits between the two best tokens; below it either may win


@dataclass(frozen=True)
class Tolerance:
    """Upper limits: relative errors by norm, Kullback-Leibler mean in nats."""

    encoder: float
    cross: float
    logits: float
    divergence: float
    features: float = 1e-3
    alignment: float = 0.2


# Cross tensors are halves, good to 5e-4, also at full precision. In a pack they inherit the error of the embeddings,
# most of all the values: they vary less than the embeddings do.
TOLERANCES = {
    "pack": Tolerance(encoder=0.10, cross=0.20, logits=0.05, divergence=5e-3),
    "full": Tolerance(encoder=1e-4, cross=1e-3, logits=1e-4, divergence=1e-7, alignment=1e-3),
}


@dataclass(frozen=True)
class Figures:
    """What the check measured, in the units of Tolerance."""

    features: float
    encoder: float
    cross: float
    logits: float
    divergence: float
    alignment: float
    tokens: int
    wrong: int

    def __str__(self) -> str:
        return (f"features {self.features:.1e}, encoder {self.encoder:.2e}, cross {self.cross:.2e}, "
                f"logits {self.logits:.2e}, divergence {self.divergence:.1e}, alignment {self.alignment:.1e}, "
                f"wrong tokens {self.wrong} of {self.tokens}")

    def failures(self, limits: Tolerance) -> list[str]:
        """The figures outside the limits, by name."""
        names = ("features", "encoder", "cross", "logits", "divergence", "alignment")
        failed = [name for name in names if not getattr(self, name) <= getattr(limits, name)]
        return failed + (["tokens"] if self.wrong or self.tokens < FEWEST else [])


def read_clip(path: Path, seconds: int = 30) -> np.ndarray:
    """A 16-bit, 16 kHz mono file, silence appended, f32 [samples]."""
    with wave.open(str(path)) as file:
        if (file.getframerate(), file.getnchannels(), file.getsampwidth()) != (SAMPLE_RATE, 1, 2):
            raise ModelError(f"{path}: not 16 kHz, mono, 16 bits")
        samples = np.frombuffer(file.readframes(file.getnframes()), "<i2").astype(np.float32) / 32768
    return np.pad(samples, (0, max(0, seconds * SAMPLE_RATE - len(samples))))


def relative(actual: np.ndarray, expected: np.ndarray) -> float:
    """Norm of the difference by norm of the expected value."""
    actual, expected = actual.astype(np.float64), expected.astype(np.float64)
    return float(np.linalg.norm(actual - expected) / np.linalg.norm(expected))


def log_shares(logits: np.ndarray) -> np.ndarray:
    logits = logits.astype(np.float64) - logits.max(axis=-1, keepdims=True)
    return logits - np.log(np.exp(logits).sum(axis=-1, keepdims=True))


def measure(folder: Path, weights: Weights, settings: Settings) -> Figures:
    """Runs the folder's graphs and the reference over the clip."""
    dims = weights.dims
    audio = read_clip(CLIP, seconds=dims.audio_positions * 2 * HOP // SAMPLE_RATE)
    mel = features(audio, dims.mel_bands)
    own_mel = run(open_graph(folder / "MelSpectrogram.onnx"), audio=audio)["melspectrogram_features"]
    cross = run(open_graph(folder / "AudioEncoder.onnx"), melspectrogram_features=mel)
    embeds = cross.pop("encoder_output_embeds")[0]
    tokens, logits, alignment = _greedy(folder, weights, settings, cross)

    reference = Reference(weights)
    true_embeds = reference.encode(mel)
    true_cross = reference.cross(true_embeds)
    start = len(settings.prompt()) - 1
    true_logits, shares = reference.logits(true_cross, tokens)
    true_logits = true_logits[start:]
    true_alignment = np.stack([shares[layer, head] for layer, head in settings.alignment_heads])
    logs, true_logs = log_shares(logits), log_shares(true_logits)
    return Figures(
        features=float(np.abs(own_mel - mel).max()), encoder=relative(embeds, true_embeds),
        cross=_cross_error(cross, true_cross), logits=relative(logs, true_logs),
        divergence=float((np.exp(true_logs) * (true_logs - logs)).sum(axis=1).mean()),
        alignment=relative(alignment, true_alignment), tokens=len(tokens) - start,
        wrong=_wrong(logits, true_logits, settings))


def check(folder: Path, weights: Weights, settings: Settings, precision: str) -> Figures:
    """Figures of a pack within its limits; ModelError with the figures otherwise."""
    figures = measure(folder, weights, settings)
    failures = figures.failures(TOLERANCES[precision])
    if failures:
        raise ModelError(f"{weights.source}: the {precision} graphs are off in {', '.join(failures)}: {figures}; "
                         "nothing written (name layers with --blocks, or take --precision full)")
    return figures


def _greedy(folder: Path, weights: Weights, settings: Settings,
            cross: dict[str, np.ndarray]) -> tuple[list[int], np.ndarray, np.ndarray]:
    """The folder's own transcript of the clip.

    Returns prompt and words without the end, logits [words + end, vocabulary] and alignment [heads, tokens, P].
    The reference then judges each choice given the same past: one pass instead of one per token.
    """
    decoder = Decoder(open_graph(folder / "TextDecoder.onnx"), weights.dims, cross)
    tokens, logits, alignment = settings.prompt(), [], []
    fresh = tokens
    while len(logits) < LONGEST:
        outputs = decoder.step(fresh)
        logits.append(outputs["logits"][0, 0])
        alignment.append(outputs["alignment_heads_weights"][0])
        best = int(logits[-1][:settings.special["end"] + 1].argmax())
        if best == settings.special["end"]:
            break
        fresh = [best]
        tokens = tokens + fresh
    else:
        tokens = tokens[:-1]
    return tokens, np.stack(logits), np.concatenate(alignment, axis=1)


def _cross_error(cross: dict[str, np.ndarray], true_cross: list[tuple[np.ndarray, np.ndarray]]) -> float:
    """The worst relative error over all cross tensors."""
    return max(relative(cross[f"cross_{kind}_{layer}"][0].swapaxes(0, 1).reshape(expected.shape), expected)
               for layer, pair in enumerate(true_cross) for kind, expected in zip(("key", "value"), pair))


def _wrong(logits: np.ndarray, true_logits: np.ndarray, settings: Settings) -> int:
    """Choices that differ from full precision's although that had a clear margin."""
    allowed = settings.special["end"] + 1
    best = logits[:, :allowed].argmax(axis=1)
    true_best = true_logits[:, :allowed].argmax(axis=1)
    ranked = np.sort(true_logits[:, :allowed], axis=1)
    return int(((best != true_best) & (ranked[:, -1] - ranked[:, -2] > CLEAR_MARGIN)).sum())
