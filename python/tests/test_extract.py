"""The main job from NumPy arrays: same graph as the command line, whatever the array's layout and
placement."""

import os
import subprocess
import tempfile
import unittest

import nibabel
import numpy as np

import tarnwick


def cli_path():
    """tarnwick-cli of the same build (ctest passes it; else next to the package in the build tree)."""
    return os.environ.get("TARNWICK_CLI") or os.path.join(
        os.path.dirname(tarnwick.__file__), os.pardir, os.pardir, "bin", "tarnwick-cli"
    )


def graph_arrays(graph):
    return graph.nodes.ids, graph.nodes.positions, graph.edges, graph.edge_features


def assert_same_graph(test, actual, expected, atol=0.0):
    ids, positions, edges, features = graph_arrays(actual)
    expected_ids, expected_positions, expected_edges, expected_features = graph_arrays(expected)
    np.testing.assert_array_equal(ids, expected_ids)
    np.testing.assert_allclose(positions, expected_positions, rtol=0, atol=atol)
    np.testing.assert_array_equal(edges, expected_edges)
    test.assertEqual(sorted(features), sorted(expected_features))
    for name in expected_features:
        np.testing.assert_allclose(features[name], expected_features[name], rtol=0, atol=atol, err_msg=name)


class ExtractionFromArrays(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        folder = cls.folder.name
        # An oblique, anisotropic sample, so that a wrong axis order or frame cannot go unnoticed.
        run = [cli_path(), "--log-level", "3"]
        subprocess.run(run + ["sample", "-o", folder, "--size", "64", "--oblique", "--spacing", "0.8,1,1.2"],
                       check=True, capture_output=True)
        cls.mask_path = os.path.join(folder, "vessels.nii.gz")
        cls.cli_graph_path = os.path.join(folder, "cli.tnw")
        subprocess.run(run + ["extract", cls.mask_path, "-o", cls.cli_graph_path], check=True, capture_output=True)
        image = nibabel.load(cls.mask_path)
        cls.mask = np.asanyarray(image.dataobj)
        cls.affine = image.affine

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_equals_the_command_line_output(self):
        cli_graph = tarnwick.load(self.cli_graph_path)
        # The host's own reading of the file gives the same graph to the last bit of rounding ...
        mask, affine = tarnwick.load_image(self.mask_path)
        graph = tarnwick.extract(mask, affine=affine)
        self.assertIn("diameter", graph.edge_features)
        self.assertIn("length", graph.edge_features)
        assert_same_graph(self, graph, cli_graph, atol=1e-9)
        # ... and nibabel's (float32 affine in the header) the same graph: vessel ends are carried to the
        # mask's surface by sampling it, where a rounding difference can move an end by a few hundredths
        # of a millimetre.
        self.assertTrue(self.mask.flags.f_contiguous)
        from_nibabel = tarnwick.extract(self.mask, affine=self.affine)
        np.testing.assert_array_equal(from_nibabel.edges, cli_graph.edges)
        np.testing.assert_allclose(from_nibabel.nodes.positions, cli_graph.nodes.positions, rtol=0, atol=0.05)

    def test_layout_and_type_do_not_change_the_graph(self):
        reference = tarnwick.extract(self.mask, affine=self.affine)
        padded = np.zeros(tuple(n + 2 for n in self.mask.shape), dtype=self.mask.dtype)
        padded[1:-1, 1:-1, 1:-1] = self.mask
        variants = {
            "C order": np.ascontiguousarray(self.mask),
            "strided view": padded[1:-1, 1:-1, 1:-1],
            "reversed view": self.mask[::-1, :, :][::-1, :, :],
            "bool": self.mask.astype(bool),
            "int64": self.mask.astype(np.int64),
            "float32": np.asfortranarray(self.mask, dtype=np.float32),
        }
        for name, mask in variants.items():
            with self.subTest(name):
                assert_same_graph(self, tarnwick.extract(mask, affine=self.affine), reference)
        # The host reads a Fortran-ordered mask in place.
        self.assertTrue(np.shares_memory(tarnwick.Image.from_array(self.mask, affine=self.affine).array, self.mask))

    def test_nibabel_affine_round_trip_puts_nodes_on_mask_voxels(self):
        # A bent tube in an oblique, shifted, anisotropic frame, written and read back by nibabel.
        mask = np.zeros((40, 36, 30), dtype=np.uint8)
        i, j, k = np.meshgrid(*(np.arange(n) for n in mask.shape), indexing="ij")
        mask[((j - 18) ** 2 + (k - 15) ** 2 <= 16) & (i > 4)] = 1
        mask[((i - 8) ** 2 + (k - 15) ** 2 <= 16) & (j >= 18) & (j < 32)] = 1
        angle = 0.4
        rotation = np.array([[np.cos(angle), -np.sin(angle), 0], [np.sin(angle), np.cos(angle), 0], [0, 0, 1]])
        affine = np.eye(4)
        affine[:3, :3] = rotation @ np.diag([0.7, 0.9, 1.3])
        affine[:3, 3] = [-12.0, 30.5, 4.25]
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "tube.nii.gz")
            nibabel.save(nibabel.Nifti1Image(mask, affine), path)
            image = nibabel.load(path)
            read_mask, read_affine = np.asanyarray(image.dataobj), image.affine
            array, loaded_affine = tarnwick.load_image(path)
        np.testing.assert_allclose(loaded_affine, read_affine, atol=1e-5)
        np.testing.assert_array_equal(array, read_mask)

        graph = tarnwick.extract(read_mask, affine=read_affine, minVesselDiameter=0.5)
        self.assertGreater(len(graph), 10)
        positions = np.column_stack([graph.nodes.positions, np.ones(len(graph))])
        indices = np.rint((np.linalg.inv(read_affine) @ positions.T)[:3].T).astype(int)
        self.assertTrue(np.all(mask[tuple(indices.T)] == 1), "a node lies outside the tube")
        # Both arms are found: nodes reach the far end of each.
        self.assertGreater(indices[:, 0].max(), 30)
        self.assertGreater(indices[:, 1].max(), 24)


if __name__ == "__main__":
    unittest.main()
