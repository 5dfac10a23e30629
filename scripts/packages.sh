# Sourced by the other scripts: installs Debian packages that are missing, and does nothing when none is.

ensure_packages() {
    local missing=()
    local package
    for package in "$@"; do
        if [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]; then
            missing+=("$package")
        fi
    done
    [ "${#missing[@]}" -gt 0 ] || return 0
    echo "Installing: ${missing[*]}"
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        as_root=(sudo)
    fi
    "${as_root[@]}" apt-get update -qq
    DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -qq --no-install-recommends \
        "${missing[@]}" >/dev/null
}

# What it takes to build the module and pni-host.
build_packages=(g++ cmake ninja-build rapidjson-dev libcli11-dev pkg-config
    libnl-3-dev libnl-route-3-dev libudev-dev)
# What the tests need besides.
test_packages=(clang libclang-rt-14-dev libgtest-dev binutils iproute2)
# What the static checks need besides those of the tests.
check_packages=(clang-tidy clang-format cppcheck)
# What the benchmarks need besides.
bench_packages=(libbenchmark-dev)
# What fuzzing needs besides: stacks of findings by name and line.
fuzz_packages=(llvm-14)
