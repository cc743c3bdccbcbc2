#!/usr/bin/env bash
# Does what docs/first-card.md says: installs a build into an empty home, and types the page's sessions there.
#
# usage: first_card.sh PYTHON ROOT BUILD_FOLDER COMPILER BUILD_TYPE [COMPILER_FLAGS]
set -euo pipefail

python=$1 root=$2 build=$3 compiler=$4 build_type=$5 flags=${6:-}
here=$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT

cmake --install "$build" --prefix "$home/lcmp" >"$home/install.log" || { cat "$home/install.log"; exit 1; }

# What the page does not say, because a reader's compiler is the machine's: how this build was made.
export CXX=$compiler CXXFLAGS=$flags CMAKE_BUILD_TYPE=$build_type
"$python" "$here/session.py" --root "$root" --home "$home" "$root/docs/first-card.md" "$home/lcmp/bin/lcmp"
