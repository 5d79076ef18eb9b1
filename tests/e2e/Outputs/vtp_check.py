#!/usr/bin/python3
"""Reads a .vtp graph with VTK and checks it against the node table written by the same run.

    vtp_check.py GRAPH.vtp NODES.csv

Exit 0 when the points (by node_id), the per-point radius (half the node table's diameter_mm), the
number of lines (half the sum of the degrees) and the cell data "length" agree; 1 otherwise; 2 when
VTK is missing. Prints what it compared.
"""

import csv
import math
import sys

try:
    from vtkmodules.util.numpy_support import vtk_to_numpy
    from vtkmodules.vtkIOXML import vtkXMLPolyDataReader
except ImportError as error:
    print("vtk not available:", error)
    sys.exit(2)


def main(vtp_path, csv_path):
    reader = vtkXMLPolyDataReader()
    reader.SetFileName(vtp_path)
    reader.Update()
    poly = reader.GetOutput()
    with open(csv_path, newline="") as handle:
        rows = {int(row["node_id"]): row for row in csv.DictReader(handle)}
    points = vtk_to_numpy(poly.GetPoints().GetData())
    ids = vtk_to_numpy(poly.GetPointData().GetArray("node_id"))
    radius = vtk_to_numpy(poly.GetPointData().GetArray("radius"))
    lengths = vtk_to_numpy(poly.GetCellData().GetArray("length"))
    problems = []
    if len(ids) != len(rows):
        problems.append("{} points, {} table rows".format(len(ids), len(rows)))
    for point, node, r in zip(points, ids, radius):
        row = rows[int(node)]
        if max(abs(point[i] - float(row[axis])) for i, axis in enumerate("xyz")) > 1e-9:
            problems.append("node {} at {} in the file, {} in the table".format(node, point, row))
        expected = float(row["diameter_mm"]) / 2 if row["diameter_mm"] else 0.0
        if not math.isclose(r, expected, rel_tol=1e-12, abs_tol=1e-12):
            problems.append("node {} radius {} against {}".format(node, r, expected))
    edges = sum(int(row["degree"]) for row in rows.values()) // 2
    if poly.GetNumberOfLines() != edges or len(lengths) != edges:
        problems.append("{} lines, {} lengths, {} edges by degree".format(poly.GetNumberOfLines(), len(lengths), edges))
    if not (lengths > 0).all():
        problems.append("an edge length is not positive")
    print("points {}, lines {}, radius {:.3f}..{:.3f}".format(len(ids), poly.GetNumberOfLines(), radius.min(),
                                                                radius.max()))
    for problem in problems[:10]:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
