#!/usr/bin/env bash
# package_test.sh runs this as root in a container with systemd and the installed package: the service
# runs with all its restrictions, on an image instead of a controller.
set -euxo pipefail
image=/var/lib/pni-host/three-modules.fru

[ "$(systemctl is-enabled pni-host)" = disabled ]
mkdir -m 700 /var/lib/pni-host
cp /root/three-modules.fru "$image"
touch -d 2000-01-01 "$image"
mkdir /etc/systemd/system/pni-host.service.d
printf '%s\n' '[Service]' Environment=QL_LOG_DEBUG_LEVEL=3 ExecStart= \
    "ExecStart=/usr/bin/pni-host run --fru $image" >/etc/systemd/system/pni-host.service.d/image.conf
systemctl daemon-reload

systemctl start pni-host
for ((i = 0; i < 100; ++i)); do  # until the first cycle has written
    [ "$image" -nt /root/three-modules.fru ] && break
    sleep 0.1
done
[ "$image" -nt /root/three-modules.fru ]
systemctl reload pni-host
pni-host event changed "$image"
[ "$(systemctl is-active pni-host)" = active ]
systemctl stop pni-host
[ "$(systemctl show pni-host -p Result --value)" = success ]
journalctl -o cat -u pni-host >/root/journal
grep 'event: device changed' /root/journal
if grep -i 'not \|cannot\|denied\|error' /root/journal; then exit 1; fi
[ -s /var/log/qlagent/log.EM_PNI ]

rm -r /etc/systemd/system/pni-host.service.d  # there is no controller here
systemctl daemon-reload
if systemctl start pni-host; then exit 1; fi
journalctl -o cat -u pni-host | grep '/dev/ipmi0: No such file'
systemctl stop pni-host
