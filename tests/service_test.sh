#!/usr/bin/env bash
# package_test.sh runs this as root in a container with systemd and the installed package: the service
# runs with all its restrictions, on an image instead of a controller.
set -euxo pipefail
image=/var/lib/pni-host/three-modules.fru
within30Seconds() {
    local i
    for ((i = 0; i < 300; ++i)); do
        ! "$@" || return 0
        sleep 0.1
    done
    return 1
}
hasEvent() { journalctl -o cat -u pni-host | grep 'event: device changed' >/dev/null; }

[ "$(systemctl is-enabled pni-host)" = disabled ]
mkdir -m 700 /var/lib/pni-host
cp /root/three-modules.fru "$image"
touch -d 2000-01-01 "$image"
mkdir /etc/systemd/system/pni-host.service.d
printf '%s\n' '[Service]' Environment=QL_LOG_DEBUG_LEVEL=3 ExecStart= \
    "ExecStart=/usr/bin/pni-host run --fru $image" >/etc/systemd/system/pni-host.service.d/image.conf
systemctl daemon-reload

systemctl start pni-host
within30Seconds test "$image" -nt /root/three-modules.fru  # the first cycle has written
systemctl reload pni-host
pni-host event changed "$image"
within30Seconds hasEvent
within30Seconds systemctl is-active --quiet pni-host  # no more "reloading"
systemctl stop pni-host
[ "$(systemctl show pni-host -p Result --value)" = success ]
if journalctl -o cat -u pni-host | grep -i 'not \|cannot\|denied\|error'; then exit 1; fi
[ -s /var/log/qlagent/log.EM_PNI ]

rm -r /etc/systemd/system/pni-host.service.d  # there is no controller here
systemctl daemon-reload
if systemctl start pni-host; then exit 1; fi
journalctl -o cat -u pni-host | grep '/dev/ipmi0: no such device'
systemctl stop pni-host
