"""Recomputes a segment table from a GraphML file with NetworkX and compares it with the CSV that
`tarnwick-cli extract --segments` wrote. Usage: segment_table_reference.py GRAPH.graphml TABLE.csv.
Exit status 0 when they agree, 1 with the differences on standard output, 2 when NetworkX is missing.

The reference works differently from the C++ walk: it removes the junctions and ends (degree != 2) and
takes each remaining connected run of degree-2 nodes, with the edges that attach it, as one segment."""
import csv
import math
import sys

try:
    import networkx as nx
except ImportError as error:
    print(error)
    sys.exit(2)


def reference_segments(graph):
    ends = {n for n in graph if graph.degree(n) != 2}
    segments = []
    for a, b, data in graph.edges(data=True):
        if a in ends and b in ends:
            segments.append({"ends": (a, b), "edges": [data]})
    inner = graph.subgraph(n for n in graph if n not in ends)
    for run in nx.connected_components(inner):
        edges = [data for a, b, data in graph.edges(run, data=True)]
        touching = [n for a, b in graph.edges(run) for n in (a, b) if n in ends]
        if not touching:
            continue  # a loop of degree-2 nodes only: not produced by the extraction
        segments.append({"ends": (touching[0], touching[-1]), "edges": edges})
    for s in segments:
        lengths = [e["length"] for e in s["edges"]]
        diameters = [e["diameter"] for e in s["edges"]]
        s["length"] = sum(lengths)
        pa = [graph.nodes[s["ends"][0]][k] for k in "xyz"]
        pb = [graph.nodes[s["ends"][1]][k] for k in "xyz"]
        s["chord"] = math.dist(pa, pb)
        s["mean"] = sum(d * l for d, l in zip(diameters, lengths)) / s["length"]
        ordered = sorted(diameters)
        mid = len(ordered) // 2
        s["median"] = ordered[mid] if len(ordered) % 2 else (ordered[mid - 1] + ordered[mid]) / 2
        s["min"], s["max"] = min(diameters), max(diameters)
        s["volume"] = sum(math.pi * (d / 2) ** 2 * l for d, l in zip(diameters, lengths))
    return segments


def order_segments(segments):
    tree = nx.MultiGraph()
    for i, s in enumerate(segments):
        tree.add_edge(*s["ends"], key=i)
    forest = all(nx.is_tree(tree.subgraph(c)) for c in nx.connected_components(tree))
    for component in nx.connected_components(tree):
        leaves = [n for n in component if tree.degree(n) == 1]
        root = max(leaves, key=lambda n: segments[next(iter(tree.edges(n, keys=True)))[2]]["mean"])
        depth = nx.single_source_shortest_path_length(tree, root)
        for a, b, i in tree.subgraph(component).edges(keys=True):
            segments[i]["generation"] = min(depth[a], depth[b])
        if not forest:
            continue
        order = {}
        for node in nx.dfs_postorder_nodes(tree, root):
            children = [order[c] for c in tree.neighbors(node) if depth[c] > depth[node]]
            top = max(children, default=1)
            order[node] = top + 1 if children.count(top) >= 2 else top
        for a, b, i in tree.subgraph(component).edges(keys=True):
            segments[i]["strahler"] = order[a if depth[a] > depth[b] else b]
    return forest, tree.number_of_edges() - tree.number_of_nodes() + nx.number_connected_components(tree)


def main(graph_path, csv_path):
    graph = nx.read_graphml(graph_path, node_type=lambda text: int(text.lstrip("n")))
    segments = reference_segments(graph)
    forest, cycles = order_segments(segments)
    with open(csv_path, newline="") as f:
        rows = list(csv.DictReader(f))
    problems = []
    if len(rows) != len(segments):
        problems.append(f"{len(rows)} rows, {len(segments)} reference segments")
    unmatched = list(segments)
    columns = [("length_mm", "length"), ("chord_mm", "chord"), ("mean_diameter_mm", "mean"),
               ("median_diameter_mm", "median"), ("min_diameter_mm", "min"), ("max_diameter_mm", "max"),
               ("volume_mm3", "volume")]
    for row in rows:
        ends = {int(row["start_node"]), int(row["end_node"])}
        match = next((s for s in unmatched if set(s["ends"]) == ends and int(row["num_edges"]) == len(s["edges"])
                      and math.isclose(float(row["length_mm"]), s["length"], rel_tol=1e-7)), None)
        if match is None:
            problems.append(f"row {row['segment_id']} has no reference segment")
            continue
        unmatched.remove(match)
        for column, key in columns:
            if not math.isclose(float(row[column]), match[key], rel_tol=1e-7, abs_tol=1e-9):
                problems.append(f"row {row['segment_id']} {column}: {row[column]} != {match[key]}")
        if match["chord"] > 0 and not math.isclose(float(row["tortuosity"]), match["length"] / match["chord"],
                                                   rel_tol=1e-7):
            problems.append(f"row {row['segment_id']} tortuosity: {row['tortuosity']}")
        if int(row["generation"]) != match["generation"]:
            problems.append(f"row {row['segment_id']} generation: {row['generation']} != {match['generation']}")
        if forest and int(row["strahler"] or 0) != match["strahler"]:
            problems.append(f"row {row['segment_id']} strahler: {row['strahler']} != {match['strahler']}")
    if not forest and sum(1 for row in rows if row["strahler"] == "") != cycles:
        problems.append(f"segments without a Strahler order differ from the {cycles} independent cycles")
    print("\n".join(problems) if problems else f"{len(rows)} segments agree (forest: {forest})")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
