#!/usr/bin/env bash
# Installs a build into an empty prefix and has the project in consumer/ find, build, link and run against it.
#
# usage: installed.sh BUILD_FOLDER COMPILER BUILD_TYPE [COMPILER_FLAGS]
set -euo pipefail

build=$1 compiler=$2 build_type=$3 flags=${4:-}
consumer=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }

hidden=$(find "$work/prefix" -path '*detail*' -o -name '*.cpp' ! -path '*/examples/*')
[ -z "$hidden" ] || { echo "installed, and should not be: $hidden"; exit 1; }

# Programs find the libraries beside them, wherever the prefix is.
for program in "$work"/prefix/bin/*; do
    [ ! -e "$program" ] || "$program" --help >/dev/null
done

# The consumer stands outside this tree, so that it cannot find anything here by chance.
cp -r "$consumer" "$work/consumer"
cmake -S "$work/consumer" -B "$work/build" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" \
    -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE="$build_type" -DCMAKE_CXX_FLAGS="$flags"
cmake --build "$work/build"

# A class's table of virtual operations and its type information stand in the library alone: a program that had
# its own could not be told from one that was built against another version.
own=$(find "$work/build" -name '*.cpp.o' -exec "${NM:-nm}" -C --defined-only {} + |
    grep -E ' [VW] (vtable|typeinfo) for ' | grep -Ev ' for (std|boost|__cxxabiv1)::' || true)
[ -z "$own" ] || { printf 'the library should have these, not its user:\n%s\n' "$own"; exit 1; }

ctest --test-dir "$work/build" --output-on-failure --no-tests=error
