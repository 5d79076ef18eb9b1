#!/usr/bin/env bash
# Installs every Debian package the project needs to build, test and benchmark.
# Idempotent; run as root on Debian 12. Pass --no-gui to skip Qt and X packages.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  libeigen3-dev libboost-dev libfmt-dev nlohmann-json3-dev libcli11-dev libnanoflann-dev
  libinsighttoolkit5-dev zlib1g-dev libdeflate-dev
  libepoxy-dev libegl-dev libgl-dev libegl-mesa0 libgl1-mesa-dri libpng-dev libfreetype-dev fonts-dejavu-core
  libgtest-dev libgmock-dev libbenchmark-dev
  python3 python3-dev pybind11-dev python3-numpy python3-scipy python3-skimage python3-networkx python3-igraph python3-nibabel python3-pandas python3-vtk9
  hyperfine time
)
gui_packages=(qtbase5-dev xvfb xauth libglx-mesa0)

with_gui=1
for arg in "$@"; do
  case "$arg" in
    --no-gui) with_gui=0 ;;
    *) echo "install-deps.sh: unknown option '$arg'" >&2; exit 2 ;;
  esac
done
[ "$with_gui" = 1 ] && packages+=("${gui_packages[@]}")

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -eq 0 ]; then
  echo "install-deps.sh: all ${#packages[@]} packages present"
  exit 0
fi

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
echo "install-deps.sh: installed ${#missing[@]} packages"
