"""Graphs to and from NetworkX, and the segment table as a pandas DataFrame."""

import logging
import numbers

import numpy as np

from .graph import Graph

_POSITION_KEYS = ("x", "y", "z")
_log = logging.getLogger("tarnwick")


def to_networkx(graph):
    """See :meth:`tarnwick.Graph.to_networkx`."""
    import networkx as nx

    result = nx.DiGraph() if graph.directed else nx.Graph()
    ids, positions = graph.nodes
    node_features = graph.node_features
    for row, node in enumerate(ids.tolist()):
        attributes = dict(zip(_POSITION_KEYS, positions[row].tolist()))
        attributes.update((name, float(values[row])) for name, values in node_features.items())
        result.add_node(node, **attributes)
    edge_features = graph.edge_features
    for row, (u, v) in enumerate(graph.edges.tolist()):
        result.add_edge(u, v, **{name: float(values[row]) for name, values in edge_features.items()})
    return result


def from_networkx(nx_graph):
    """A :class:`tarnwick.Graph` from a NetworkX graph (``DiGraph`` gives a directed graph).

    Nodes must be non-negative integers (they become the ids) with numeric ``x`` and ``y`` attributes
    (and ``z``; 0 when missing), world RAS millimetres. Every other numeric attribute of nodes and edges
    becomes a feature (NaN where a node or edge lacks it); other attributes are left out with a warning.
    Features are stored as float64, so numbers round-trip exactly up to 2**53.

    :raises ValueError: for multigraphs, other node keys or missing positions.
    """
    if nx_graph.is_multigraph():
        raise ValueError("Multigraphs cannot be converted; collapse parallel edges first")
    ids = list(nx_graph.nodes)
    if any(not isinstance(node, numbers.Integral) or isinstance(node, bool) or node < 0 for node in ids):
        raise ValueError("Node keys must be non-negative integers to become ids")
    node_attributes = [nx_graph.nodes[node] for node in ids]
    missing = [node for node, attributes in zip(ids, node_attributes) if "x" not in attributes or "y" not in attributes]
    if missing:
        raise ValueError("Nodes without 'x' and 'y' attributes: {}".format(missing[:10]))
    positions = [[float(attributes.get(key, 0.0)) for key in _POSITION_KEYS] for attributes in node_attributes]
    edges = [(u, v) for u, v in nx_graph.edges]
    edge_attributes = [nx_graph.edges[u, v] for u, v in edges]
    return Graph.from_arrays(
        np.array(positions, dtype=np.float64).reshape(-1, 3),
        edges=np.array(edges, dtype=np.uint64).reshape(-1, 2),
        ids=np.array(ids, dtype=np.uint64),
        node_features=_numeric_columns(node_attributes, skip=_POSITION_KEYS, what="node"),
        edge_features=_numeric_columns(edge_attributes, skip=(), what="edge"),
        directed=nx_graph.is_directed(),
    )


def segments(graph):
    """See :meth:`tarnwick.Graph.segments`."""
    import pandas as pd

    ids, positions = graph.nodes
    edges = graph.edges
    features = graph.edge_features
    row_of = {node: row for row, node in enumerate(ids.tolist())}
    if "length" in features:
        lengths = features["length"]
    else:
        lengths = np.linalg.norm(positions[[row_of[u] for u in edges[:, 0].tolist()]] -
                                 positions[[row_of[v] for v in edges[:, 1].tolist()]], axis=1)
    diameters = features.get("diameter")

    incident = {node: [] for node in row_of}  # node -> [(edge row, other end)], directions ignored
    for row, (u, v) in enumerate(edges.tolist()):
        incident[u].append((row, v))
        if u != v:
            incident[v].append((row, u))
    records = []
    used = np.zeros(len(edges), dtype=bool)

    def walk(start, row, node):
        rows = [row]
        used[row] = True
        while node != start and len(incident[node]) == 2:
            onward = [(r, n) for r, n in incident[node] if not used[r]]
            if not onward:
                break
            row, node = onward[0]
            rows.append(row)
            used[row] = True
        records.append(_segment_record(start, node, rows, lengths, diameters))

    for start in ids.tolist():
        if len(incident[start]) != 2:
            for row, node in incident[start]:
                if not used[row]:
                    walk(start, row, node)
    for start in ids.tolist():  # closed loops of degree-2 nodes
        for row, node in incident[start]:
            if not used[row]:
                walk(start, row, node)
    columns = ["start_node", "end_node", "num_edges", "length", "mean_diameter", "min_diameter", "max_diameter"]
    return pd.DataFrame.from_records(records, columns=columns)


def _segment_record(start, end, rows, lengths, diameters):
    length = float(np.sum(lengths[rows]))
    if diameters is None:
        mean = low = high = float("nan")
    else:
        values = diameters[rows]
        weights = lengths[rows]
        mean = float(np.average(values, weights=weights)) if weights.sum() > 0 else float(np.mean(values))
        low, high = float(values.min()), float(values.max())
    return (start, end, len(rows), length, mean, low, high)


def _numeric_columns(attribute_dicts, skip, what):
    names = []
    dropped = set()
    for attributes in attribute_dicts:
        for name, value in attributes.items():
            if name in skip or name in names:
                continue
            if isinstance(value, numbers.Real):
                names.append(name)
            else:
                dropped.add(name)
    dropped -= set(names)
    if dropped:
        _log.warning("Non-numeric %s attributes left out: %s", what, ", ".join(sorted(map(str, dropped))))
    return {
        name: np.array([float(attributes.get(name, np.nan)) for attributes in attribute_dicts], dtype=np.float64)
        for name in names
    }
