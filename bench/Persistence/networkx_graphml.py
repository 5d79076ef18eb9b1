"""NetworkX side of run_graphml_vs_networkx.sh; one operation per process.

  networkx_graphml.py write PREFIX OUT.graphml   builds the graph from PREFIX.positions/.edges/.features
                                                 (float64, int64, float64) and times write_graphml
  networkx_graphml.py read FILE.graphml          times read_graphml
Prints the seconds the GraphML operation alone took. Run with /usr/bin/python3 (Debian's networkx).
"""
import sys
import time

import networkx as nx
import numpy as np


def build(prefix):
    positions = np.fromfile(prefix + ".positions", dtype=np.float64).reshape(-1, 3)
    edges = np.fromfile(prefix + ".edges", dtype=np.int64).reshape(-1, 2)
    features = np.fromfile(prefix + ".features", dtype=np.float64).reshape(-1, 2)
    graph = nx.Graph()
    graph.add_nodes_from(
        (f"n{i + 1}", {"x": float(p[0]), "y": float(p[1]), "z": float(p[2])}) for i, p in enumerate(positions))
    graph.add_edges_from((f"n{a + 1}", f"n{b + 1}", {"diameter": float(f[0]), "length": float(f[1])})
                         for (a, b), f in zip(edges, features))
    return graph


def main(argv):
    if argv[1] == "write":
        graph = build(argv[2])
        start = time.perf_counter()
        nx.write_graphml(graph, argv[3])
    elif argv[1] == "read":
        start = time.perf_counter()
        nx.read_graphml(argv[2])
    else:
        return 2
    print(f"{time.perf_counter() - start:.3f}")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
