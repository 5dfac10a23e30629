# 0 = the last version goes.
if [ "$1" = 0 ] && [ -d /run/systemd/system ]; then
    systemctl --quiet disable --now pni-host.service || :
fi
