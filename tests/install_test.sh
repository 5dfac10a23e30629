#!/usr/bin/env bash
# install_test.sh BUILD-DIR CXX: installs the build, moves it to another folder and builds the minimal
# host against it as host authors do. A host with another layout of RapidJSON must be refused.
set -euo pipefail
build=$1 cxx=$2
source=$(cd "$(dirname "$0")/.." && pwd)
example=$source/examples/minimal_host
image=$source/tests/data/three-modules.fru
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() {
    echo "$1" >&2
    exit 1
}

snippet=$(sed -n '/^## Loading the module/,/^## Building by hand/s/^    //p' "$source/README.md")
[[ $snippet == *dlopen* && $(grep . "$example/minimal_host.cpp") == *"$snippet"* ]] ||
    fail "the code in README.md is not a part of minimal_host.cpp"

DESTDIR=$work/stage cmake --install "$build" --prefix /opt/em_pni >"$work/install.log"
prefix=$work/moved
mv "$work/stage/opt/em_pni" "$prefix"
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name em_pni.pc)")
export PKG_CONFIG_PATH

compile() {
    local program=$1
    shift
    "$cxx" -std=c++20 -Wall -Wextra -Wconversion -Werror "$example/minimal_host.cpp" -o "$work/$program" "$@"
}
{
    cmake -S "$example" -B "$work/package" -D CMAKE_PREFIX_PATH="$prefix" -D CMAKE_CXX_COMPILER="$cxx"
    cmake --build "$work/package"
    cp "$work/package/minimal_host" "$work/package_host"
} >"$work/package.log" 2>&1 & package=$!
# shellcheck disable=SC2046  # the flags are several words
compile pc_host $(pkg-config --cflags --libs em_pni) & pc=$!
# <netdb.h> has macros with names of ours.
compile plain_host -I "$prefix/include" -include netdb.h & plain=$!
compile other_host -I "$prefix/include" -D RAPIDJSON_48BITPOINTER_OPTIMIZATION=0 & other=$!
wait "$package" || fail "$(<"$work/package.log")"
wait "$pc"
wait "$plain"
wait "$other"

module=$(pkg-config --variable=moduledir em_pni)/em_pni.so
grep -F "minimal_host $prefix/" "$work/package.log" | grep -F "/em_pni/em_pni.so FRU-FILE" >/dev/null ||
    fail "the CMake package has no em_pni_MODULE_DIR"
for host in package_host pc_host plain_host; do
    [[ $("$work/$host" "$module" "$image") == '{"NumberOfModules":3,'* ]] || fail "$host has no inventory"
done
if "$work/other_host" "$module" "$image" 2>"$work/errors" || ! grep '^other interface: ' "$work/errors"; then
    fail "a host with another RapidJSON is not refused"
fi
"$prefix/bin/pni-host" query "$image" >/dev/null || fail "pni-host does not find the installed module"
