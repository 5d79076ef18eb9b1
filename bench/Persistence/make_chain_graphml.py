#!/usr/bin/env python3
"""Writes a GraphML chain graph for memory and time measurements of the GraphML import.

Usage: make_chain_graphml.py NODES OUT.graphml

Node i (ids n1..nN) lies at (i * 0.5, sin(i / 100) * 20, cos(i / 100) * 20); edge i joins n_i and
n_{i+1} and carries the edge feature "diameter" (1 + (i mod 7) / 10). The layout is the one the
program's own GraphML writer produces, so the file reads as an exported graph. The text is written in
blocks, so memory stays small for any size.
"""
import math
import sys


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    count = int(sys.argv[1])
    with open(sys.argv[2], "w", encoding="utf-8") as out:
        out.write('<?xml version="1.0" encoding="utf-8"?>\n'
                  '<graphml xmlns="http://graphml.graphdrawing.org/xmlns">\n')
        for key, owner in (("x", "node"), ("y", "node"), ("z", "node"), ("diameter", "edge")):
            out.write(f'    <key id="{key}" for="{owner}" attr.name="{key}" attr.type="double"/>\n')
        out.write('    <graph id="G" edgedefault="undirected">\n')
        block = []
        for i in range(1, count + 1):
            block.append(f'        <node id="n{i}">\n'
                         f'            <data key="x">{i * 0.5!r}</data>\n'
                         f'            <data key="y">{math.sin(i / 100) * 20!r}</data>\n'
                         f'            <data key="z">{math.cos(i / 100) * 20!r}</data>\n'
                         '        </node>\n')
            if len(block) == 10000:
                out.write("".join(block))
                block.clear()
        out.write("".join(block))
        block.clear()
        for i in range(1, count):
            block.append(f'        <edge source="n{i}" target="n{i + 1}">\n'
                         f'            <data key="diameter">{1 + (i % 7) / 10!r}</data>\n'
                         '        </edge>\n')
            if len(block) == 10000:
                out.write("".join(block))
                block.clear()
        out.write("".join(block))
        out.write("    </graph>\n</graphml>\n")


if __name__ == "__main__":
    main()
