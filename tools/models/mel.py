"""Log-mel features: the filter bank, and the features as a graph of convolutions."""

import numpy as np

from graph import FLOAT, Graph

SAMPLE_RATE = 16000
WINDOW = 400
HOP = 160
BINS = WINDOW // 2 + 1
FLOOR = 1e-10
DYNAMIC_RANGE = 8.0  # powers of ten below the loudest value
_LINEAR_HZ = 200 / 3  # width of a mel below 1 kHz
_KNEE_HZ = 1000.0
_LOG_STEP = np.log(6.4) / 27


def _mel_to_hz(mels: np.ndarray) -> np.ndarray:
    """The scale that is linear to 1 kHz and logarithmic above."""
    knee = _KNEE_HZ / _LINEAR_HZ
    return np.where(mels < knee, mels * _LINEAR_HZ, _KNEE_HZ * np.exp(_LOG_STEP * (mels - knee)))


def filter_bank(bands: int) -> np.ndarray:
    """Triangles of equal area over the bins of a 400-point transform, f64 [bands, 201]."""
    top = _KNEE_HZ / _LINEAR_HZ + np.log(SAMPLE_RATE / 2 / _KNEE_HZ) / _LOG_STEP
    edges = _mel_to_hz(np.linspace(0, top, bands + 2))
    bins = np.arange(BINS) * SAMPLE_RATE / WINDOW
    rising = (bins - edges[:-2, None]) / (edges[1:-1] - edges[:-2])[:, None]
    falling = (edges[2:, None] - bins) / (edges[2:] - edges[1:-1])[:, None]
    return np.maximum(0, np.minimum(rising, falling)) * (2 / (edges[2:] - edges[:-2]))[:, None]


def window() -> np.ndarray:
    """Periodic Hann window, f64 [400]."""
    return 0.5 - 0.5 * np.cos(2 * np.pi * np.arange(WINDOW) / WINDOW)


def features(audio: np.ndarray, bands: int) -> np.ndarray:
    """f32 [samples], a multiple of 160, to f32 [1, bands, 1, samples / 160]; computed in float64."""
    padded = np.pad(audio.astype(np.float64), WINDOW // 2, mode="reflect")
    frames = np.lib.stride_tricks.sliding_window_view(padded, WINDOW)[::HOP][:len(audio) // HOP]
    power = np.abs(np.fft.rfft(frames * window(), axis=1)) ** 2
    logs = np.log10(np.maximum(filter_bank(bands) @ power.T, FLOOR))
    logs = np.maximum(logs, logs.max() - DYNAMIC_RANGE)
    return ((logs + 4) / 4).astype(np.float32)[None, :, None, :]


def _transform() -> np.ndarray:
    """The windowed transform as convolution kernels, cosines then sines, f32 [402, 1, 400]."""
    phase = 2 * np.pi * (np.outer(np.arange(BINS), np.arange(WINDOW)) % WINDOW) / WINDOW
    return (np.concatenate([np.cos(phase), np.sin(phase)]) * window()).astype(np.float32)[:, None, :]


def build_mel(graph: Graph, bands: int) -> None:
    """audio f32 [samples], a multiple of 160, to melspectrogram_features f32 [1, bands, 1, frames].

    The right side is padded by 40 and not 200: that leaves out the last frame, which is not wanted.
    """
    graph.input("audio", FLOAT, ["samples"])
    graph.output("melspectrogram_features", FLOAT, [1, bands, 1, "frames"])
    half = WINDOW // 2
    value = graph.node("Pad", ["audio", graph.ints(half, half - HOP)], mode="reflect")
    value = graph.node("Reshape", [value, graph.ints(1, 1, -1)])
    value = graph.node("Conv", [value, graph.constant("transform", _transform())], kernel_shape=[WINDOW],
                       strides=[HOP])
    value = graph.node("Mul", [value, value])
    real, imaginary = graph.node("Split", [value], outputs=2, axis=1)
    bank = graph.constant("bank", filter_bank(bands).astype(np.float32))
    value = graph.node("MatMul", [bank, graph.node("Add", [real, imaginary])])
    value = graph.node("Log", [graph.node("Max", [value, _scalar(graph, "floor", FLOOR)])])
    value = graph.node("Mul", [value, _scalar(graph, "quarter_log10", 0.25 / np.log(10))])
    lowest = graph.node("Sub", [graph.node("ReduceMax", [value], keepdims=0),
                                _scalar(graph, "quarter_range", DYNAMIC_RANGE / 4)])
    value = graph.node("Add", [graph.node("Max", [value, lowest]), _scalar(graph, "shift", 1.0)])
    graph.node("Unsqueeze", [value, graph.ints(2)], "melspectrogram_features")


def _scalar(graph: Graph, name: str, value: float) -> str:
    return graph.constant(name, np.array(value, np.float32))
