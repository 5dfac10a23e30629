#!/usr/bin/env bash
# manual_test.sh PROGRAM MANUAL COMPLETION: the manual page and the bash completion of pni-host have
# the commands and options of --help, and no others.
set -euo pipefail
program=$1 manual=$2
# shellcheck source=/dev/null
source "$3"
data=$(dirname "$(realpath "$0")")/data

# The words that the completion offers for the last argument.
offered() {
    COMP_WORDS=("$program" "$@")
    COMP_CWORD=$#
    _pni_host
    echo "${COMPREPLY[*]}"
}
failed=0
same() {
    diff --label "$1" --label "--help" -u <(sort -u <<<"$2") <(sort -u <<<"$3") || failed=1
}

help=$("$program" --help)
commands=$(sed '1,/^commands:$/Id; /^$/,$d' <<<"$help" | awk '{ print $1 }')
[ "$(wc -w <<<"$commands")" -ge 5 ] || { echo "the help has no commands" >&2; exit 1; }
same completion "$(offered '' | tr ' ' '\n')" "$commands"
same manual "$(sed -n 's/^\.SS pni\\-host //p' "$manual")" "$commands"

for command in '' $commands; do
    options=$("$program" ${command:+"$command"} --help | grep -oE '^  -[^ ]+' |
        tr -d ' ' | tr , '\n')
    same "completion of $command" "$(offered ${command:+"$command"} - | tr ' ' '\n')" "$options"
    [ -z "$command" ] || options=$(grep -vxE -- '-h|--help' <<<"$options" || true)
    same "manual of $command" "$(tr -d '\\' <"$manual" | awk -v command="$command" '
        /^[.]SH/ { part = $0 == ".SH OPTIONS" ? "" : "none" }
        /^[.]SS/ { part = $2 == "pni-host" ? $3 : "none" }
        tagged && part == command {
            gsub(/f[BRI]|,/, "")
            for (i = 1; i <= NF; ++i) if ($i ~ /^-/) print $i
        }
        { tagged = $0 == ".TP" }')" "$options"
done

same "words of --color" "$(offered --color '')" "auto always never"
same "words of event" "$(offered event '')" "added changed removed address shutdown"
same "words of --format-version" "$(offered create --format-version '')" "11 12"
same "words of --technology" "$(offered query --technology '')" "CNA FC IB Eth NIC SAS"
same "words of --technology=E" "$(offered query --technology = E)" "Eth"
same "file names" "$(offered run --fru "$data/three-modules.")" "$data/three-modules.fru"
same "file names after a word" "$(offered event added "$data/three-modules.")" "$data/three-modules.fru"
exit "$failed"
