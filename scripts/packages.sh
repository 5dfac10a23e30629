# Sourced by the other scripts. ensure_packages PACKAGE... installs the Debian packages that are
# missing. It fails when it cannot install them.

ensure_packages() {
    local missing=() package
    for package in "$@"; do
        # One line for each architecture that has the package.
        dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null |
            grep -x installed >/dev/null || missing+=("$package")
    done
    [ "${#missing[@]}" -gt 0 ] || return 0

    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        if ! command -v sudo >/dev/null; then
            echo "run as root: apt-get install ${missing[*]}" >&2
            return 1
        fi
        as_root=(sudo)
    fi
    echo "installing: ${missing[*]}" >&2
    "${as_root[@]}" apt-get update -qq
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

# For the build of the module and pni-host.
build_packages=(g++ cmake ninja-build rapidjson-dev libcli11-dev pkg-config
    libnl-3-dev libudev-dev libsystemd-dev libblkid-dev libmount-dev)
# For the tests, in addition.
test_packages=(clang libclang-rt-14-dev libgtest-dev binutils iproute2)
# For the static checks, in addition to those of the tests.
check_packages=(clang-tidy clang-format cppcheck)
# For the benchmarks, in addition.
bench_packages=(libbenchmark-dev)
# For fuzzing, in addition. llvm-symbolizer names the functions and lines in a stack trace.
fuzz_packages=(llvm-14)
# For the Debian packages and the manual pages, in addition to those of the build.
package_packages=(build-essential cpio debhelper fakeroot lintian lowdown systemd)
# For their test, in addition.
package_test_packages=(debootstrap man-db systemd-container)
# For RPM packages, in addition.
rpm_packages=(rpm)
# For the test in an emulated server, in addition to those of the build.
server_packages=(qemu-system-x86 busybox-static cpio kmod e2fsprogs fdisk ipmitool
    libsystemd-shared strace python3)
