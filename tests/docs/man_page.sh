#!/usr/bin/env bash
# Holds the manual page of kxinfo to what kxinfo's help tells: the same commands and options, no
# more and no fewer. And groff has nothing to say about any manual page.
#
#   man_page.sh KXINFO      the program
set -euo pipefail
pages=$(cd "$(dirname "$0")/../../docs/man" && pwd)
kxinfo=$1
status=0

# same WHAT: compares what the help tells with what the page has, one a line.
same() {
    diff --label "help" --label "kxinfo.1" -u <(sort -u <<<"$2") <(sort -u <<<"$3") || {
        echo "The $1 of kxinfo's help and of kxinfo.1 differ." >&2
        status=1
    }
}

page=$(sed 's/\\-/-/g; s/\\ / /g' "$pages/kxinfo.1")
commands=$("$kxinfo" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
options=$(for command in "" $commands; do
    "$kxinfo" ${command:+"$command"} --help | grep -oE '^  (-[a-z],)?--[a-z-]+' |
        grep -oE -- '--[a-z-]+'
done)
if (($(wc -l <<<"$commands") < 10 || $(wc -l <<<"$options") < 25)); then
    echo "'kxinfo --help' lists too few commands or options: $commands $options" >&2
    exit 1
fi

section() { sed -n "/^\.SH $1/,/^\.SH/p" <<<"$page"; }
same "commands" "$commands" "$(section COMMANDS | sed -n '/^\.TP/{n;s/^\.B //p}')"
# Each stands under OPTIONS, and in the synopsis.
same "options" "$options" "$(section OPTIONS | sed -n '/^\.TP/{n;p}' | grep -oE -- '--[a-z-]+')"
same "options, and those of the synopsis," "$options" \
    "$(section SYNOPSIS | grep -oE -- '--[a-z-]+')"
same "commands, and those of the synopsis," "$commands" \
    "$(section SYNOPSIS | sed -n '/^\.SY kxinfo/{n;s/^\.B \([a-z]*\)$/\1/p}')"

for file in "$pages"/*.[1-8]; do
    warnings=$(groff -t -man -Tutf8 -ww -z "$file" 2>&1)
    [ -z "$warnings" ] || {
        printf '%s\n' "$warnings" >&2
        status=1
    }
done
exit $status
