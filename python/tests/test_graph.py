"""Graphs as arrays: NetworkX and file round trips, segments, and how errors reach Python."""

import os
import tempfile
import unittest

import numpy as np

import tarnwick


def sample_graph(directed):
    """A Y-shaped graph with sparse ids and features that are not round numbers."""
    ids = [3, 10, 11, 12, 40]
    positions = [[0.0, 0.0, 0.0], [1.5, 0.0, 0.0], [3.0, 0.25, 0.0], [4.5, 0.5, -1.0], [1.5, 2.0, 0.125]]
    edges = [[3, 10], [10, 11], [11, 12], [10, 40]]
    return tarnwick.Graph.from_arrays(
        positions,
        edges=edges,
        ids=ids,
        node_features={"radius": [0.5, 0.75, 1.0 / 3.0, 2.0**40 + 1.0, -7.0]},
        edge_features={"diameter": [1.0, 2.0, 3.0, 0.1], "length": [1.5, 1.6, 1.7, 2.0]},
        directed=directed,
    )


def assert_same_graph(test, actual, expected):
    test.assertEqual(actual.directed, expected.directed)
    np.testing.assert_array_equal(actual.nodes.ids, expected.nodes.ids)
    np.testing.assert_array_equal(actual.nodes.positions, expected.nodes.positions)
    np.testing.assert_array_equal(actual.edges, expected.edges)
    for mine, theirs in ((actual.node_features, expected.node_features), (actual.edge_features, expected.edge_features)):
        test.assertEqual(sorted(mine), sorted(theirs))
        for name in theirs:
            np.testing.assert_array_equal(mine[name], theirs[name], err_msg=name)


class RoundTrips(unittest.TestCase):
    def test_networkx_keeps_ids_positions_and_features(self):
        for directed in (False, True):
            with self.subTest(directed=directed):
                graph = sample_graph(directed)
                nx_graph = graph.to_networkx()
                self.assertEqual(nx_graph.is_directed(), directed)
                self.assertEqual(nx_graph.nodes[12]["z"], -1.0)
                self.assertEqual(nx_graph.edges[10, 40]["diameter"], 0.1)
                assert_same_graph(self, tarnwick.from_networkx(nx_graph), graph)

    def test_files_keep_the_graph(self):
        graph = sample_graph(False)
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "graph.tnw")
            graph.save(path)
            assert_same_graph(self, tarnwick.load(path), graph)
            # GraphML numbers nodes itself; positions and features come back in the same order.
            path = os.path.join(folder, "graph.graphml")
            graph.save(path)
            loaded = tarnwick.load(path)
            np.testing.assert_allclose(loaded.nodes.positions, graph.nodes.positions, rtol=0, atol=1e-12)
            np.testing.assert_array_equal(loaded.edge_features["diameter"], graph.edge_features["diameter"])

    def test_segments_run_between_junctions_and_ends(self):
        table = sample_graph(False).segments()
        rows = {frozenset((row.start_node, row.end_node)): row for row in table.itertuples()}
        self.assertEqual(set(rows), {frozenset((3, 10)), frozenset((10, 12)), frozenset((10, 40))})
        branch = rows[frozenset((10, 12))]
        self.assertEqual(branch.num_edges, 2)
        self.assertAlmostEqual(branch.length, 3.3)
        self.assertAlmostEqual(branch.mean_diameter, (2.0 * 1.6 + 3.0 * 1.7) / 3.3)
        self.assertEqual((branch.min_diameter, branch.max_diameter), (2.0, 3.0))
        self.assertAlmostEqual(rows[frozenset((10, 40))].length, 2.0)


class Errors(unittest.TestCase):
    def test_wrong_names_raise_value_error_listing_the_valid_ones(self):
        graph = sample_graph(False)
        with self.assertRaisesRegex(ValueError, "no parameter 'smoothingStrenght'.*smoothingStrength"):
            tarnwick.run("GraphSmoothing", graph, smoothingStrenght=1.0)
        with self.assertRaisesRegex(ValueError, "Unknown algorithm 'GraphSmoothen'.*GraphSmoothing"):
            tarnwick.run("GraphSmoothen", graph)
        with self.assertRaisesRegex(ValueError, "mode"):
            tarnwick.run("GraphSmoothing", graph, mode="NoSuchMode")

    def test_bad_input_files_and_failures_map_to_python_exceptions(self):
        with self.assertRaisesRegex(ValueError, "4-D"):
            tarnwick.extract(np.ones((4, 4, 4, 2), dtype=np.uint8))
        with self.assertRaisesRegex(ValueError, "must hold numbers"):
            tarnwick.extract(np.full((4, 4, 4), "a"))
        with self.assertRaises(OSError):
            tarnwick.load("/nonexistent/graph.tnw")
        with self.assertRaises(OSError):
            sample_graph(False).save("/nonexistent/folder/graph.tnw")
        # The algorithm's logged reason reaches both the exception and Python's logging.
        with self.assertLogs("tarnwick", level="ERROR") as logged:
            with self.assertRaisesRegex(RuntimeError, "status 2 \\(invalid input\\): .+") as raised:
                tarnwick.extract(np.zeros((8, 8, 8), dtype=np.uint8))
        self.assertIn(logged.records[-1].getMessage(), str(raised.exception))

    def test_parameters_list_enumeration_labels_that_run_accepts(self):
        graph = sample_graph(False)
        mode = next(p for p in tarnwick.parameters("GraphSmoothing", graph) if p["name"] == "mode")
        self.assertEqual(mode["type"], "enum")
        self.assertGreater(len(mode["values"]), 1)
        before = graph.nodes.positions
        tarnwick.run("GraphSmoothing", graph, mode=mode["values"][-1], smoothingStrength=1.0)
        self.assertFalse(np.array_equal(graph.nodes.positions, before))

if __name__ == "__main__":
    unittest.main()
