#!/usr/bin/env bash
# GraphML export and import of one graph with ours and with NetworkX, side by side: seconds of the
# operation alone (wall clock), processor seconds (user + system) and peak memory (maximum resident
# set size) of the whole process. On a shared machine the processor seconds are the steadier measure.
#   bench/Persistence/run_graphml_vs_networkx.sh BUILD_DIR [NODES] [EDGES]
# BUILD_DIR must be configured with -DTARNWICK_BUILD_BENCH=ON and have tarnwick-graphml-tool built.
set -euo pipefail
build=${1:?usage: $0 BUILD_DIR [NODES] [EDGES]}
nodes=${2:-1000000}
edges=${3:-1000000}
here=$(cd "$(dirname "$0")" && pwd)
tool="$build/bin/tarnwick-graphml-tool"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$tool" generate "$nodes" "$edges" "$work/graph" >/dev/null
echo "graph: $nodes nodes, $edges edges, two edge features; file $(du -m "$work/graph.graphml" | cut -f1) MB"
printf '%-10s %-7s %12s %12s %10s\n' tool op "op wall s" "process cpu s" "peak MiB"

# Runs a command under /usr/bin/time; the command prints its operation's own wall-clock seconds.
measure() {
    local name=$1 op=$2
    shift 2
    local seconds
    seconds=$(/usr/bin/time -f '%U %S %M' -o "$work/usage" "$@" 2>/dev/null)
    read -r user system rss <"$work/usage"
    printf '%-10s %-7s %12s %12.2f %10d\n' "$name" "$op" "$seconds" "$(awk "BEGIN { print $user + $system }")" $((rss / 1024))
}

measure ours write "$tool" write "$work/graph" "$work/ours.graphml"
measure networkx write /usr/bin/python3 "$here/networkx_graphml.py" write "$work/graph" "$work/networkx.graphml"
measure ours read "$tool" read "$work/graph.graphml"
measure networkx read /usr/bin/python3 "$here/networkx_graphml.py" read "$work/graph.graphml"
