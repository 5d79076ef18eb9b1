#!/usr/bin/env bash
# Makes the README's picture of the desktop application: the bundled synthetic sample opened in
# `tarnwick`, the centerline extraction run on it, and the main window saved by the application's own
# grab. Runs under a virtual X server (xvfb-run), so it works without a display.
#
#   tools/screenshot-desktop.sh [BUILD_DIR] [OUTPUT_PNG]      (defaults: build, docs/desktop.png)
set -euo pipefail

build=${1:-build}
output=${2:-docs/desktop.png}
for program in tarnwick tarnwick-cli; do
  if [ ! -x "$build/bin/$program" ]; then
    echo "screenshot-desktop.sh: $build/bin/$program is missing; build it first" >&2
    exit 1
  fi
done
command -v xvfb-run > /dev/null || { echo "screenshot-desktop.sh: xvfb-run is missing (Debian: xvfb)" >&2; exit 1; }

sample=$(mktemp -d)
trap 'rm -rf "$sample"' EXIT
"$build/bin/tarnwick-cli" sample -o "$sample" > /dev/null
mkdir -p "$(dirname "$output")"
xvfb-run -a -s "-screen 0 1600x1000x24" \
  "$build/bin/tarnwick" "$sample/vessels.nii.gz" --run CenterlineGraphExtraction --screenshot "$output"
echo "Wrote $output"
