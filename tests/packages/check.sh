#!/usr/bin/env bash
# Installs packages into an empty root and uses what is in them, as their users do.
#
# usage: check.sh MACHINE FOLDER_OF_THE_PACKAGES
set -euo pipefail

machine=$1 folder=$(readlink -f "$2")
tests=$(dirname "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")")
project=$(dirname "$tests")
triplet=$(dpkg-architecture -f -a "$machine" -q DEB_HOST_MULTIARCH 2>/dev/null)
version=$(sed -n 's/^project(lcmp VERSION \([0-9.]*\).*/\1/p' "$project/CMakeLists.txt")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root
libraries=$root/usr/lib/$triplet

failed() { printf '%s: %s\n' "$machine" "$*" >&2; exit 1; }

quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; return 1; }; }

# For another machine: its compiler, which takes headers from the root, and the emulator.
compiler=(g++) emulator=() cross=()
if [ "$machine" != "$(dpkg --print-architecture)" ]; then
    compiler=("$triplet-g++" -isystem "$root/usr/include")
    emulator=(qemu-ppc -R 0xc0000000 -L "/usr/$triplet")
    cross=(-DCMAKE_TOOLCHAIN_FILE="$project/cmake/$triplet.cmake" -DCMAKE_FIND_ROOT_PATH="$root")
fi

install_packages() {
    mkdir -p "$root/var/lib/dpkg/info" "$root/var/lib/dpkg/updates" "$work/bin"
    touch "$root/var/lib/dpkg/status"
    quietly fakeroot dpkg --root="$root" --log=/dev/null --no-triggers \
        --force-depends --force-architecture --force-not-root --force-bad-path -i "$folder"/*.deb
    # The development files depend on Boost, which is headers alone and the same for all machines.
    ln -s /usr/include/boost "$root/usr/include/boost"
    printf '#!/bin/sh\nexec %s "%s/usr/bin/lcmp" "$@"\n' \
        "env LD_LIBRARY_PATH=$libraries ${emulator[*]}" "$root" >"$work/bin/lcmp"
    chmod +x "$work/bin/lcmp"
}

program_runs() {
    [ "$("$work/bin/lcmp" --version)" = "lcmp $version" ] || failed "lcmp --version is not lcmp $version"
    "$work/bin/lcmp" model lint "$root"/usr/share/lcmp/models/*.yaml >/dev/null
}

# What is in the libraries' names, and what a debugger finds their symbols by.
libraries_are_whole() {
    local library
    for library in lcmp lcmpudp lcmpmodel lcmpplatform; do
        readelf -d "$libraries/lib$library.so" | grep -q "SONAME.*\[lib$library.so.0\]" || failed "lib$library has no SONAME"
        readelf -n "$libraries/lib$library.so" | grep -q 'Build ID' || failed "lib$library has no build id"
    done
}

# Every verb has a manual; none has anything that the formatter complains of.
manuals_can_be_read() {
    local page verb
    for verb in $("$work/bin/lcmp" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
        [ -e "$root/usr/share/man/man1/lcmp-$verb.1.gz" ] || failed "there is no manual of lcmp $verb"
    done
    for page in "$root"/usr/share/man/man?/*.gz; do
        MANWIDTH=80 LC_ALL=C.UTF-8 man --warnings -l "$page" >"$work/page" 2>"$work/complaints"
        [ ! -s "$work/complaints" ] || { cat "$work/complaints" >&2; failed "$page"; }
        grep -q '^NAME' "$work/page" || failed "$page has no text"
    done
}

completions_complete() {
    local shell script
    while read -r shell script; do
        quietly python3 -B "$tests/completions/completions_test.py" "$shell" "$work/bin" "$root/usr/share/$script" \
            "$root/usr/share/lcmp/models"
    done <<'SHELLS'
bash bash-completion/completions/lcmp
zsh zsh/vendor-completions/_lcmp
fish fish/vendor_completions.d/lcmp.fish
SHELLS
}

# It lies where this machine's Wireshark looks, but for the machine's name, and shows a frame.
dissector_dissects() {
    local plugins
    plugins=$(tshark -G folders 2>/dev/null | sed -n 's/^Global Lua Plugins:[[:space:]]*//p')
    plugins=${plugins/$(dpkg-architecture -q DEB_HOST_MULTIARCH 2>/dev/null)/$triplet}
    [ -e "$root$plugins/lcmp.lua" ] || failed "Wireshark looks for plugins in $plugins, and there is no dissector"
    mkdir -p "$work/home/.local/lib/wireshark"
    ln -s "$root$plugins" "$work/home/.local/lib/wireshark/plugins"
    HOME=$work/home tshark -G protocols 2>/dev/null | grep -q '[[:space:]]lcmp$' ||
        failed "tshark does not load the dissector"
}

# No user of the libraries needs yaml-cpp's own description.
cmake_finds_them() {
    cp -r "$tests/structure/consumer" "$work/consumer"
    quietly cmake -S "$work/consumer" -B "$work/by-cmake" -G Ninja "${cross[@]}" -DCMAKE_PREFIX_PATH="$root/usr" \
        -DCMAKE_DISABLE_FIND_PACKAGE_yaml-cpp=ON
    grep -q "lcmp_DIR:PATH=$root/" "$work/by-cmake/CMakeCache.txt" || failed "CMake has found other libraries"
    quietly cmake --build "$work/by-cmake"
    LD_LIBRARY_PATH=$libraries quietly ctest --test-dir "$work/by-cmake" --output-on-failure --no-tests=error
}

flags_of() { PKG_CONFIG_LIBDIR=$libraries/pkgconfig pkg-config --cflags --libs "$1"; }

compile() {
    local flags
    read -ra flags <<<"$(flags_of "$2")"
    "${compiler[@]}" -std=c++17 "$1" -o "$work/by-pkg-config" "${flags[@]}"
}

pkg_config_finds_them() {
    local library source
    while read -r library source; do
        PKG_CONFIG_LIBDIR=$libraries/pkgconfig pkg-config --validate "$library"
        [ "$(PKG_CONFIG_LIBDIR=$libraries/pkgconfig pkg-config --modversion "$library")" = "$version" ]
        compile "$work/consumer/$source" "$library"
        LD_LIBRARY_PATH=$libraries "${emulator[@]}" "$work/by-pkg-config" >/dev/null
    done <<'SOURCES'
lcmp library.cpp
lcmpudp transport.cpp
lcmpmodel model.cpp
SOURCES
    for source in "$root"/usr/share/doc/liblcmp-dev/examples/*.cpp; do
        compile "$source" lcmpudp
    done
}

set -E
check='packages are installed'
trap 'printf "%s: not so: %s (line %s)\n" "$machine" "${check//_/ }" "$LINENO" >&2' ERR
install_packages
for check in program_runs libraries_are_whole manuals_can_be_read completions_complete dissector_dissects \
    cmake_finds_them pkg_config_finds_them; do
    "$check" # not as a condition, in which bash would go on after a failure
    printf '%-9s %s\n' "$machine" "${check//_/ }"
done
