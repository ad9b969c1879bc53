"""Tests the parts of the training kit that do not need PyTorch: resizing, compressed tiles, metrics, model files."""
import json
import struct
import sys
import tempfile
import unittest
import unittest.mock
import zlib
from pathlib import Path

import numpy as np

sys.path.insert(0, str(Path(__file__).resolve().parents[2]))
from training import KIT  # noqa: E402
from training.data import compress, licences, pack, prepare, prepare_video, qt_resources, resize  # noqa: E402
from training.data import slides, sources  # noqa: E402
from training.judge import metrics, synthetic  # noqa: E402
from training.model import cipher, convert  # noqa: E402


def small_chain(channels=4, depth=1, seed=1):
    random = np.random.default_rng(seed)
    widths = [3] + [channels] * (depth + 1) + [12]
    return [(random.normal(0, 0.3, (o, i, 3, 3)).astype(np.float32), random.normal(0, 0.1, o).astype(np.float32))
            for i, o in zip(widths, widths[1:])]


class Resizing(unittest.TestCase):
    def test_downscaling_is_keys_kernel_stretched_by_two(self):
        row = resize.matrix(32, 0.5)[8]
        # Half the kernel at 0.25, 0.75, 1.25 and 1.75.
        half = np.array([0.43359375, 0.11328125, -0.03515625, -0.01171875])
        np.testing.assert_allclose(row[13:21], np.concatenate([half[::-1], half]), atol=1e-12)
        self.assertEqual(np.count_nonzero(np.abs(row) > 1e-12), 8)

    def test_edges_are_mirrored_with_the_edge_pixel(self):
        image = np.random.default_rng(2).random((12, 8, 3))
        around = np.pad(image, ((8, 8), (8, 8), (0, 0)), mode="symmetric")
        np.testing.assert_allclose(resize.downscale(image), resize.downscale(around)[4:-4, 4:-4], atol=1e-12)
        upscaled = resize.upscale_bicubic(around)[16:-16, 16:-16]
        np.testing.assert_allclose(resize.upscale_bicubic(image), upscaled, atol=1e-12)

    def test_polynomials(self):
        y, x = np.mgrid[:24, :32].astype(float)
        place_y, place_x = (np.mgrid[:48, :64] + 0.5) / 2 - 0.5
        # Rows and columns are told apart, a shift by half a pixel too.
        flat = (3 + 2 * x - y)[..., None]
        means = flat.reshape(12, 2, 16, 2).mean((1, 3))
        np.testing.assert_allclose(resize.downscale(flat)[3:-3, 3:-3, 0], means[3:-3, 3:-3])
        curved = (x * x - 2 * y * y + x * y)[..., None]
        aim = place_x**2 - 2 * place_y**2 + place_x * place_y
        np.testing.assert_allclose(resize.upscale_bicubic(curved)[6:-6, 6:-6, 0], aim[6:-6, 6:-6])

    def test_odd_sides_are_refused(self):
        with self.assertRaisesRegex(ValueError, "cannot downscale 4x3 by 2"):
            resize.downscale(np.zeros((3, 4, 3)))


class Video(unittest.TestCase):
    def test_a_compressed_image_is_aligned_with_the_downscaled_one(self):
        random = np.random.default_rng(4)
        # Sides that are not multiples of what the encoder and the pan need.
        blocks = random.integers(40, 216, (21, 42, 1)).repeat(8, 0).repeat(8, 1)[:166, :330]
        blocks = blocks.repeat(3, 2).astype(np.uint8)
        downscaled = resize.downscale(blocks)
        with unittest.mock.patch.object(compress, "through_x264", lambda frames, crf: np.stack(frames)):
            for _ in range(3):  # each with another pan
                small = prepare_video.compressed(blocks, random)
                np.testing.assert_allclose(small[:83, :165], downscaled, atol=20)  # for blur and noise


class Metrics(unittest.TestCase):
    def test_luma(self):
        colours = np.array([[[255, 255, 255], [0, 0, 0], [255, 0, 0], [0, 255, 0], [0, 0, 255]]])
        self.assertEqual(metrics.luma(colours)[0].tolist(), [235, 16, 81, 145, 41])

    def test_psnr_and_ssim(self):
        random = np.random.default_rng(3)
        image = random.integers(0, 256, (24, 24))
        self.assertAlmostEqual(metrics.psnr(image, image + 5), 20 * np.log10(255 / 5))
        self.assertAlmostEqual(metrics.ssim(image, image), 1)
        # For two flat images only the means count.
        a, b, c1 = 50.0, 80.0, 6.5025
        self.assertAlmostEqual(metrics.ssim(np.full((16, 16), a), np.full((16, 16), b)),
                               (2 * a * b + c1) / (a * a + b * b + c1), places=6)

    def test_halo(self):
        truth = np.zeros((20, 20, 3))
        truth[:, 10:] = 100
        image = truth.copy()
        image[8, 8] = 50  # two pixels from the edge: within the range around it
        self.assertEqual(metrics.halo(image, truth), 0)
        image[8, 4], image[8, 15] = 16, 84  # in flat areas, above and below them
        self.assertAlmostEqual(metrics.halo(image, truth), np.sqrt(2 * 16**2 / 16**2))


class Text(unittest.TestCase):
    def test_speckle_is_what_appears_on_black_away_from_text(self):
        large = np.zeros((32, 32, 3), np.uint8)
        large[14:18, 14:18] = 255
        result = large.copy()
        result[12, 15] = 90  # two pixels from the text
        result[1, 20] = 80  # at the rim of the image
        self.assertEqual(synthetic.speckle(result, large), 0)
        result[11, 15, 1] = 12
        self.assertEqual(synthetic.speckle(result, large), 12)

    def test_slides_to_train_with_and_to_test_with_share_no_words(self):
        self.assertEqual(set(slides.TEST_WORDS) & set(slides.drawn.WORDS), set())

    @unittest.skipUnless(Path("/usr/share/fonts/truetype/dejavu").is_dir(), "the fonts are those of ./dev train")
    def test_slides_are_repeatable_and_fill_their_tiles(self):
        first, again = ([np.asarray(tile) for tile in slides.tiles(7, 2)] for _ in range(2))
        self.assertEqual([tile.shape for tile in first], [(160, 160, 3)] * 12)
        for a, b in zip(first, again):
            np.testing.assert_array_equal(a, b)
            self.assertGreater(a.std(), 5)


class ModelFiles(unittest.TestCase):
    def test_every_format_keeps_the_weights(self):
        chain = small_chain()
        with tempfile.TemporaryDirectory() as folder:
            for extension, tolerance in (("npz", 0), ("safetensors", 0), ("bin", 1e-3), ("en", 1e-3)):
                path = Path(folder, f"chain.{extension}")
                convert.write(path, chain)
                for written, read in zip(chain, convert.read(path, (4, 1))):
                    for a, b in zip(written, read):
                        np.testing.assert_allclose(a, b, atol=tolerance)

    def test_other_networks_are_refused(self):
        def changed(layer, part):
            chain = small_chain()
            chain[layer] = part(*chain[layer])
            return chain

        for chain, message in (
            (small_chain()[:1], "1 layers"),
            (changed(0, lambda f, b: (f[:, :2], b)), "layer 1 takes 2 channels, but receives 3"),
            (changed(1, lambda f, b: (f[..., :1], b)), "filter 2 is 4x4x3x1"),
            (changed(2, lambda f, b: (f[:8], b[:8])), "the last layer gives 8 channels"),
            (changed(1, lambda f, b: (f, b[:3])), "bias 2 has 3 values for 4 outputs"),
            (changed(1, lambda f, b: (f * 1e9, b)), "layer 2 holds values beyond the range of half precision"),
        ):
            with self.subTest(message), self.assertRaisesRegex(SystemExit, message):
                convert.check(chain, "chain")

    def test_a_container_as_the_library_reads_it(self):
        # Encrypted by `orvane model encrypt` from the bytes 0 to 20.
        encrypted = bytes.fromhex("d3af3c285c640f6a7c5db003990b29208a6ee0f895d96a00169d397113aa86ca")
        self.assertEqual(cipher.decrypt(encrypted), bytes(range(21)))
        for size in range(18):
            self.assertEqual(cipher.decrypt(cipher.encrypt(bytes(range(size)))), bytes(range(size)))
        with self.assertRaisesRegex(ValueError, "damaged"):
            cipher.decrypt(encrypted[:-1] + bytes([encrypted[-1] ^ 1]))


class Split(unittest.TestCase):
    def test_every_image_keeps_its_use(self):
        # A test image must never become a training image, whatever is renamed.
        kept = {}
        for entry in json.loads((KIT / "data/sources.json").read_text()):
            kept.setdefault(entry["package"], []).extend(entry.get("test", []))
        rows = [line.split("\t") for line in (KIT / "data/images.tsv").read_text().splitlines()]
        self.assertGreater(len(rows), 700)
        for package, name, licence, kind, split, _ in rows:
            kept_for_test = any(part in name for part in kept[package])
            source = sources.Source(package, name, licence, kind, b"", False, kept_for_test)
            self.assertEqual(prepare.split_of(source), split, name)
            self.assertTrue(licences.is_free(licence), name)


class PackedTiles(unittest.TestCase):
    def test_tiles_come_back_in_their_order(self):
        # Of different sizes when encoded.
        random = np.random.default_rng(5)
        tiles = [random.integers(0, limit, (pack.TILE, pack.TILE, 3), np.uint8) for limit in (2, 256, 16)]
        with tempfile.TemporaryDirectory() as folder:
            path = Path(folder, "tiles.npz")
            encoded = [pack.encode(tile, True) for tile in tiles]
            pack.write(path, {"photo": [], "drawing": encoded}, {"drawing": [7, 1, 4]})
            np.testing.assert_array_equal(pack.read(path, "drawing"), tiles)
            self.assertEqual(pack.read_numbers(path, "drawing").tolist(), [7, 1, 4])
            self.assertEqual((pack.count(path, "photo"), pack.count(path, "drawing")), (0, 3))
            with self.assertRaisesRegex(SystemExit, "has no video.sizes"):
                pack.count(path, "video")


def resource_file(files):
    """A Qt resource file of version 1: a folder "a" with these files (name, flags, stored content)."""
    names, contents, tree = b"", b"", struct.pack(">IHII", 0, 2, 1, 1)
    nodes = [("a", 2, len(files), 2)] + [(name, flags, 0, None) for name, flags, _ in files]
    stored = [None] + [content for _, _, content in files]
    for (name, flags, first, second), content in zip(nodes, stored):
        if content is not None:
            second = len(contents)
            contents += struct.pack(">I", len(content)) + content
        tree += struct.pack(">IHII", len(names), flags, first, second)
        names += struct.pack(">HI", len(name), 0) + name.encode("utf-16-be")
    start = struct.calcsize(">4s4I")
    places = (1, start, start + len(tree), start + len(tree) + len(contents))
    return struct.pack(">4s4I", b"qres", *places) + tree + contents + names


class QtResources(unittest.TestCase):
    def test_files_in_folders(self):
        packed = struct.pack(">I", 500) + zlib.compress(b"x" * 500)
        data = resource_file([("\u00fc.png", 0, b"plain"), ("b.webp", 1, packed), ("c.webp", 4, b"zstd")])
        self.assertEqual(list(qt_resources.read(data)), [("/a/\u00fc.png", b"plain"), ("/a/b.webp", b"x" * 500)])
        with self.assertRaisesRegex(ValueError, "not a Qt resource file"):
            list(qt_resources.read(b"qreS" + data[4:]))


class Licences(unittest.TestCase):
    def test_only_free_images_are_used(self):
        rules = [("*", "GPL-3+"), ("a/*", "CC-BY-SA-3.0"), ("a/b", "public-domain")]
        self.assertEqual([licences.licence_of(rules, name) for name in ("c.png", "a/c.webp", "a/b.jpg")],
                         ["GPL-3+", "CC-BY-SA-3.0", "public-domain"])
        for licence, free in (("CC0-1.0", True), ("CC-BY-4.0", True), ("GPL-3+", False), ("CC-BY-NC-4.0", False),
                              ("CC-BY-3.0 and Bitstream", False), (None, False)):
            self.assertEqual(licences.is_free(licence), free, licence)


if __name__ == "__main__":
    unittest.main()
