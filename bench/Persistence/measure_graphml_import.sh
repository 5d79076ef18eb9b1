#!/usr/bin/env bash
# Peak memory and time of a GraphML import: writes a chain graph of NODES nodes with
# make_chain_graphml.py (kept in WORKDIR for later runs) and loads it with `tarnwick-cli info`
# under /usr/bin/time -v. Prints the file size, peak resident memory, bytes per node, wall and CPU time.
# Usage: bench/Persistence/measure_graphml_import.sh BUILD_DIR NODES [WORKDIR]
set -euo pipefail
build=${1:?build folder}
nodes=${2:?node count}
work=${3:-/tmp/tarnwick-graphml-bench}
here=$(cd "$(dirname "$0")" && pwd)
mkdir -p "$work"
file=$work/chain-$nodes.graphml
[ -f "$file" ] || python3 "$here/make_chain_graphml.py" "$nodes" "$file"
report=$work/time-$nodes.txt
/usr/bin/time -v "$build/bin/tarnwick-cli" info "$file" >/dev/null 2>"$report"
grep -q "Imported 3D graph with $nodes nodes" "$report" || { cat "$report" >&2; exit 1; }
rss_kb=$(awk -F': ' '/Maximum resident set size/ {print $2}' "$report")
wall=$(awk -F': ' '/Elapsed \(wall clock\)/ {print $2}' "$report")
user=$(awk -F': ' '/User time/ {print $2}' "$report")
system=$(awk -F': ' '/System time/ {print $2}' "$report")
echo "nodes: $nodes, file: $(stat -L -c %s "$file") bytes"
echo "peak RSS: $((rss_kb / 1024)) MiB, $((rss_kb * 1024 / nodes)) bytes per node"
echo "wall: $wall, user: ${user} s, system: ${system} s"
