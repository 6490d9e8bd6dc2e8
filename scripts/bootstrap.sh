#!/usr/bin/env bash
# Installs the build tools and libraries the project needs, using apt-get
# (the tool's command-line, JSON, capture and decompression libraries, the
# Python package's dependencies, and the references of the differential tests).
# Quiet and quick when everything is already present; `apt-get update` runs
# at most once, and only when something has to be installed.
#
#   scripts/bootstrap.sh        what `make test`, `make check` and `make bench` need
#   scripts/bootstrap.sh fuzz   what `make fuzz` needs: the build tools and
#                               clang with its libFuzzer and sanitizer runtimes
set -euo pipefail

build_tools=(cmake g++ make pkg-config flex bison libfl-dev)
tool_libraries=(libcli11-dev nlohmann-json3-dev libpcap-dev zlib1g-dev libzstd-dev liblzma-dev)
# The Python package: its build, its dependencies and its tests.
python_packages=(python3 python3-dev pybind11-dev python3-numpy python3-pandas python3-matplotlib python3-distributed
                 python3-tables python3-pytest)
# Independent references the differential tests compare with (skipped where absent).
references=(python3-canmatrix python3-can tshark)

case "${1:-}" in
  "")
    packages=("${build_tools[@]}" "${tool_libraries[@]}" googletest libgtest-dev libgmock-dev libbenchmark-dev
              "${python_packages[@]}" "${references[@]}") ;;
  fuzz)
    packages=("${build_tools[@]}" "${tool_libraries[@]}" clang libclang-rt-14-dev) ;;
  *)
    echo "usage: $0 [fuzz]" >&2
    exit 2 ;;
esac

missing=()
for pkg in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$pkg")
  fi
done

[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then
  command -v sudo >/dev/null 2>&1 || { echo "bootstrap: need root or sudo to install: ${missing[*]}" >&2; exit 1; }
  sudo="sudo"
fi

echo "bootstrap: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq >/dev/null
$sudo apt-get install -y -qq -o DPkg::Lock::Timeout=300 --no-install-recommends "${missing[@]}" >/dev/null
