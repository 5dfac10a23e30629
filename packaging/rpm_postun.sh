# 0 = the last version is gone, else this was an upgrade.
if [ -d /run/systemd/system ]; then
    systemctl daemon-reload || :
    [ "$1" = 0 ] || systemctl try-restart pni-host.service || :
fi
