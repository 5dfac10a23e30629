#!/usr/bin/env bash
# package_test.sh FOLDER: installs the Debian packages in FOLDER in a new system below a temporary
# folder, tries what they have, and removes them. Needs root, debootstrap and a Debian mirror.
# EM_PNI_TEST_ROOT names a root folder made by an earlier debootstrap, which is copied.
set -euo pipefail
packages=$(realpath "$1")
top=$(cd "$(dirname "$0")/.." && pwd)
image=three-modules.fru
work=$(mktemp -d)
root=$work/root
cleanUp() {
    ! mountpoint -q "$root/proc" || umount "$root/proc"
    rm -rf --one-file-system "$work"
}
trap cleanUp EXIT
fail() {
    echo "$1" >&2
    exit 1
}
inside() {
    chroot "$root" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
        DEBIAN_FRONTEND=noninteractive "$@"
}
# Files that apt and dpkg keep about all packages, and caches, do not count.
files() {
    (cd "$root" && find . -xdev \( -path ./proc -o -path ./var/lib/dpkg -o -path ./var/lib/apt \
        -o -path ./var/cache -o -path ./var/log \) -prune -o -print
     cd "$root" && find ./var/log -mindepth 1 -not -path './var/log/apt*' -not -name dpkg.log) | sort
}

echo "== new system"
if [ -n "${EM_PNI_TEST_ROOT:-}" ]; then
    cp -a "$EM_PNI_TEST_ROOT" "$root"
else
    debootstrap --variant=minbase --include=systemd "$(. /etc/os-release && echo "$VERSION_CODENAME")" \
        "$root" >"$work/debootstrap.log" || fail "$(tail "$work/debootstrap.log")"
fi
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"  # starts no service
chmod +x "$root/usr/sbin/policy-rc.d"
mount -t proc proc "$root/proc"
cp "$packages"/pni-host_*.deb "$packages"/em-pni-dev_*.deb "$top/tests/data/$image" "$root/root"
inside apt-get update -qq
before=$(files)

echo "== install"
inside sh -c 'apt-get install -y -qq --no-install-recommends /root/*.deb' >"$work/install.log" 2>&1 ||
    fail "$(tail "$work/install.log")"
inside pni-host query "/root/$image" | grep '"NumberOfModules": *3,' >/dev/null ||
    fail "pni-host query shows no inventory"
! inside systemctl is-enabled --quiet pni-host || fail "the service is enabled"

echo "== unit"
verified=$(systemd-analyze verify --man=no --root="$root" pni-host.service 2>&1) || fail "$verified"
[ -z "$verified" ] || fail "$verified"
score=$(systemd-analyze security --offline=yes --threshold=25 --no-pager --root="$root" pni-host.service) ||
    fail "$score"
tail -n 1 <<<"$score"

echo "== service"
umount "$root/proc"
booted=$work/booted
cp -a "$root" "$booted"
mount -t proc proc "$root/proc"
cp "$top/tests/service_test.sh" "$booted/root"
printf '%s\n' '[Unit]' SuccessAction=exit FailureAction=exit '[Service]' Type=oneshot \
    ExecStart=/root/service_test.sh StandardError=file:/root/log >"$booted/etc/systemd/system/run.service"
timeout 120 systemd-nspawn --quiet --register=no --keep-unit -D "$booted" --boot -- --unit=run.service \
    </dev/null >"$work/console" 2>&1 || fail "$(tail -n 40 "$booted/root/log")"

echo "== manual and completion"
for page in man5/em_pni.ini.5 man7/em_pni-record.7 man8/pni-host.8; do
    gunzip "$root/usr/share/man/$page.gz" -c >"$work/${page##*/}"
    warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l "$work/${page##*/}" \
        2>&1 >"$work/text")
    [ -z "$warnings" ] || fail "$page: $warnings"
    grep -x NAME "$work/text" >/dev/null || fail "$page has no text"
done
cp "$work/pni-host.8" "$top/tests/manual_test.sh" "$root/root"
mkdir "$root/root/data"
cp "$top/tests/data/$image" "$root/root/data"
inside /root/manual_test.sh /usr/bin/pni-host /root/pni-host.8 /usr/share/bash-completion/completions/pni-host

echo "== example"
cp -r "$root/usr/share/doc/em-pni-dev/examples/minimal_host" "$work/example"
PKG_CONFIG_PATH=$(dirname "$(find "$root/usr/lib" -name em_pni.pc)")
export PKG_CONFIG_PATH
# shellcheck disable=SC2046  # the flags are several words
g++ -std=c++20 -Wno-deprecated-declarations "$work/example/minimal_host.cpp" -o "$work/host" \
    -I "$root/usr/include" $(pkg-config --cflags --libs em_pni)
[[ $("$work/host" "$(pkg-config --variable=moduledir em_pni)/em_pni.so" "$root/root/$image" 2>/dev/null) == \
    '{"NumberOfModules":3,'* ]] || fail "the example has no inventory"

echo "== remove"
mkdir -p "$root/var/lib/pni-host" "$root/var/log/qlagent"  # as the service leaves them
touch "$root/var/lib/pni-host/ipmi0-fru0.lock" "$root/var/log/qlagent/log.EM_PNI"
rm -r "$root/root/data" "$root/root/manual_test.sh" "$root/root/pni-host.8"
inside apt-get purge -y -qq --autoremove pni-host em-pni-dev >"$work/purge.log" 2>&1 ||
    fail "$(tail "$work/purge.log")"
diff <(echo "$before") <(files) || fail "these files stay"
echo "all passed"
