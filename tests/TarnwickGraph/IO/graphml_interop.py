"""Reads and writes GraphML with NetworkX and igraph for the interoperability tests.

  graphml_interop.py check           exit 0 when both modules import, 1 otherwise
  graphml_interop.py read LIB FILE...   prints the graphs LIB (networkx or igraph) reads from the
        files as a JSON list with one object per file:
        {"directed": bool,
         "nodes": {file id: {attribute: [python type name, repr of the value]}},
         "edges": [[source file id, target file id, {attribute: [type, repr]}], ...]}
  graphml_interop.py write STYLE FILE   writes the sample graph below in one of these styles:
        networkx        NetworkX defaults (key ids d0, d1, ...; string node ids a, b, c)
        networkx-named  NetworkX with key ids equal to the attribute names
        igraph          igraph, directed (key ids v_x, e_weight, ...; node ids n0, n1, n2)

The sample graph: nodes a (x 1, y 2, radius 0.5), b (x 3, y 4, radius 1.5), c (x 5, y 6, radius 2.5);
edges a-b (weight 1.25) and b-c (weight 2.5); two-dimensional (no z).

Run with the Debian interpreter (/usr/bin/python3), which sees python3-networkx and python3-igraph.
"""
import json
import sys

NODES = [("a", 1.0, 2.0, 0.5), ("b", 3.0, 4.0, 1.5), ("c", 5.0, 6.0, 2.5)]
EDGES = [("a", "b", 1.25), ("b", "c", 2.5)]


def typed(value):
    return [type(value).__name__, repr(value)]


def read_networkx(path):
    import networkx as nx

    graph = nx.read_graphml(path)
    return {
        "directed": graph.is_directed(),
        "nodes": {str(n): {k: typed(v) for k, v in data.items()} for n, data in graph.nodes(data=True)},
        "edges": [[str(u), str(v), {k: typed(x) for k, x in data.items()}] for u, v, data in graph.edges(data=True)],
    }


def read_igraph(path):
    import igraph as ig

    graph = ig.Graph.Read_GraphML(path)
    ids = graph.vs["id"]
    return {
        "directed": graph.is_directed(),
        "nodes": {v["id"]: {k: typed(x) for k, x in v.attributes().items() if k != "id"} for v in graph.vs},
        "edges": [[ids[e.source], ids[e.target], {k: typed(x) for k, x in e.attributes().items()}] for e in graph.es],
    }


def write_networkx(path, named):
    import networkx as nx

    graph = nx.Graph()
    for name, x, y, radius in NODES:
        graph.add_node(name, x=x, y=y, radius=radius)
    for u, v, weight in EDGES:
        graph.add_edge(u, v, weight=weight)
    nx.write_graphml(graph, path, named_key_ids=named)


def write_igraph(path):
    import igraph as ig

    index = {name: i for i, (name, *_rest) in enumerate(NODES)}
    graph = ig.Graph(len(NODES), [(index[u], index[v]) for u, v, _w in EDGES], directed=True)
    graph.vs["x"] = [n[1] for n in NODES]
    graph.vs["y"] = [n[2] for n in NODES]
    graph.vs["radius"] = [n[3] for n in NODES]
    graph.es["weight"] = [e[2] for e in EDGES]
    graph.write_graphml(path)


def main(argv):
    if argv[1] == "check":
        try:
            import igraph  # noqa: F401
            import networkx  # noqa: F401
        except ImportError as error:
            print(error)
            return 1
        return 0
    if argv[1] == "read":
        reader = {"networkx": read_networkx, "igraph": read_igraph}[argv[2]]
        print(json.dumps([reader(path) for path in argv[3:]]))
        return 0
    if argv[1] == "write":
        style, path = argv[2], argv[3]
        if style == "igraph":
            write_igraph(path)
        else:
            write_networkx(path, named=style == "networkx-named")
        return 0
    print("unknown command", argv[1], file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
