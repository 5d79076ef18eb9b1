"""The Graph class: a spatial graph of the graph plug-in, seen as NumPy arrays."""

import collections

import numpy as np

from ._session import FLIP, _graph, _tarnwick

Nodes = collections.namedtuple("Nodes", ["ids", "positions"])
Nodes.__doc__ = "Node ids (uint64, N) and world positions (float64, N x 3, RAS millimetres), in id order."


class Graph:
    """A spatial graph: nodes with ids, positions and numeric features, joined by edges with features.

    The graph lives in the host; the properties below return fresh NumPy arrays each time. Nodes are in
    ascending id order; edges in the host's order (undirected edges from their smaller id), the same
    order as the rows of :attr:`edge_features`.
    """

    def __init__(self, data):
        """Wraps a host data set; use :func:`tarnwick.load`, :func:`tarnwick.extract` or
        :meth:`from_arrays` to get graphs."""
        if not _graph.is_graph(data):
            raise ValueError("The data set is not a graph: " + data.describe())
        self._data = data

    @classmethod
    def from_arrays(cls, positions, edges=(), ids=None, node_features=None, edge_features=None, directed=False):
        """A new graph from arrays.

        :param positions: (N, 3) world positions, RAS millimetres (an (N, 2) array gets z = 0).
        :param edges: (M, 2) node ids.
        :param ids: N distinct non-negative integer ids; 0 .. N-1 when omitted.
        :param node_features: dict name -> N numbers.
        :param edge_features: dict name -> M numbers, in the order of ``edges``.
        :param directed: whether edges are directed.
        :raises ValueError: when shapes or ids do not fit.
        """
        positions = np.asarray(positions, dtype=np.float64)
        if positions.ndim != 2 or positions.shape[1] not in (2, 3):
            raise ValueError("positions must have shape (N, 3) or (N, 2), not {}".format(positions.shape))
        if positions.shape[1] == 2:
            positions = np.column_stack([positions, np.zeros(len(positions))])
        count = len(positions)
        ids = np.arange(count, dtype=np.uint64) if ids is None else _ids(ids, "ids")
        edges = _ids(edges, "edges").reshape(-1, 2) if len(edges) else np.zeros((0, 2), dtype=np.uint64)
        lps = positions * FLIP.diagonal()[:3]
        data = _graph.from_arrays(
            ids, lps, edges, _columns(node_features), _columns(edge_features), bool(directed)
        )
        return cls(data)

    @property
    def name(self):
        """The graph's name in the host."""
        return self._data.name

    @property
    def directed(self):
        """Whether the edges are directed."""
        return _graph.is_directed(self._data)

    @property
    def nodes(self):
        """:class:`Nodes`: ids (uint64, N) and world positions (N x 3, RAS mm) in ascending id order."""
        return Nodes(_graph.node_ids(self._data), _graph.world_positions(self._data) * FLIP.diagonal()[:3])

    @property
    def edges(self):
        """Edge end ids, uint64 array of shape (M, 2)."""
        return _graph.edges(self._data)

    @property
    def node_features(self):
        """Node features: dict name -> float64 array in node order."""
        return _graph.node_features(self._data)

    @property
    def edge_features(self):
        """Edge features: dict name -> float64 array in edge order (``"length"``, ``"diameter"`` ...)."""
        return _graph.edge_features(self._data)

    @property
    def matrix(self):
        """4 x 4 matrix from the graph's stored node coordinates to world RAS; :attr:`nodes` already
        applies it."""
        return FLIP @ np.asarray(self._data.matrix_to_world)

    def __len__(self):
        return len(_graph.node_ids(self._data))

    def __repr__(self):
        return "<tarnwick.Graph {}>".format(self._data.describe())

    def save(self, path):
        """Writes the graph by the file's extension: ``.tnw`` (the host's data file, placement kept) or
        ``.graphml`` (world positions, LPS, as ``tarnwick-cli extract`` writes them).

        :raises OSError: when the file cannot be written.
        """
        data = _graph.world_copy(self._data) if str(path).lower().endswith(".graphml") else self._data
        _tarnwick.save(str(path), [data])

    def to_networkx(self):
        """A ``networkx.Graph`` (``DiGraph`` when directed): nodes keyed by id with ``x``, ``y``, ``z``
        (world RAS) and every node feature; edges with every edge feature. Needs networkx."""
        from .interop import to_networkx

        return to_networkx(self)

    def segments(self):
        """A pandas DataFrame with one row per vessel segment (a chain of edges between nodes that do
        not have exactly two neighbours): ``start_node``, ``end_node``, ``num_edges``, ``length`` (mm,
        from the edge feature "length", else straight edge lengths), ``mean_diameter`` (length-weighted),
        ``min_diameter``, ``max_diameter`` (NaN without an edge feature "diameter"). Needs pandas."""
        from .interop import segments

        return segments(self)


def _ids(values, what):
    array = np.asarray(values)
    if array.size and (array.dtype.kind not in "iu" or array.min() < 0):
        raise ValueError("{} must be non-negative integers".format(what))
    return array.astype(np.uint64)


def _columns(features):
    return {str(name): np.ascontiguousarray(values, dtype=np.float64) for name, values in (features or {}).items()}
