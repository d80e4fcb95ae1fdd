#!/usr/bin/env bash
# Holds the manual page of kxinfo to what kxinfo's help tells: the same commands and options, no
# more and no fewer. And groff has nothing to say about any manual page.
#
#   man_page.sh KXINFO PAGES   the program, the folder of the pages
set -euo pipefail
kxinfo=$1
pages=$2
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

section=$(sed -n '/^\.SH COMMANDS/,/^\.SH F/p' <<<"$page")
same "commands" "$commands" "$(sed -n 's/^\.SS //p' <<<"$section")"
same "options" "$(grep -v -e '--help' -e '--version' <<<"$options")" \
    "$(sed -n '/^\.TP/{n;p}' <<<"$section" | grep -oE -- '--[a-z-]+')"

for file in "$pages"/*.[1-8]; do
    warnings=$(groff -t -man -Tutf8 -ww -z "$file" 2>&1)
    [ -z "$warnings" ] || {
        printf '%s\n' "$warnings" >&2
        status=1
    }
done
exit $status
