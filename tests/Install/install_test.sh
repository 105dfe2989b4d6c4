#!/usr/bin/env bash
# Installs the build to a temporary prefix, builds a small host against it through CMake
# and through pkg-config, and runs both without LD_LIBRARY_PATH: each must load the
# installed library, which finds its sibling libraries beside itself.
#   install_test.sh <build dir> <libdir relative to the prefix> <C++ compiler> [flags...]
set -euo pipefail
build=$1 libdir=$2 compiler=$3
shift 3
flags=("$@")
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
unset LD_LIBRARY_PATH

cmake --install "$build" --prefix "$prefix" >/dev/null

# The host must load the library of the prefix, not the one of the build tree.
check() {
  local output
  output=$("$1") || { echo "FAIL: $1 exited with $?" >&2; exit 1; }
  if [ "$(dirname "$(realpath "$output")")" != "$(realpath "$prefix/$libdir")" ]; then
    echo "FAIL: $1 loaded '$output', not the library in $prefix" >&2
    exit 1
  fi
  echo "ok: $1 loaded $output"
}

cmake -S "$here/consumer" -B "$work/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="${flags[*]}" -DCMAKE_EXE_LINKER_FLAGS="${flags[*]}" >/dev/null
cmake --build "$work/cmake" >/dev/null
check "$work/cmake/consumer"

# A pkg-config host names the run path to a private prefix itself, as it would for any
# library outside the system's folders.
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
read -r -a pc_flags <<<"$(pkg-config --cflags --libs qm_Library)"
"$compiler" "${flags[@]}" "$here/consumer/main.cpp" -o "$work/pkgconfig-consumer" "${pc_flags[@]}" \
  -Wl,-rpath,"$(pkg-config --variable=libdir qm_Library)"
check "$work/pkgconfig-consumer"
