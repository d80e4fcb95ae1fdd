#!/usr/bin/env bash
# Runs the examples that kxinfo's help texts and its manual page show. In a private network, with
# the build's programs in PATH:
#
#   scripts/in-private-net tests/docs/examples.sh
set -euo pipefail
scratch=$(mktemp --directory)
cd "$scratch"

export KXGIGE_EXPECTED_CAMERAS=1
# '""' fits the only camera.
coproc cameras { exec kxinfo-simcam --camera S1234567@127.0.0.2; }
# shellcheck disable=SC2154 # coproc sets both
trap 'kill "$cameras_PID"; rm -rf "$scratch"' EXIT
# shellcheck disable=SC2154
read -r -t 30 _ <&"${cameras[0]}" || {
    echo "the virtual camera did not start" >&2
    exit 1
}
# What the examples take for granted.
seq 0 4095 >curve.csv

failures=0
count=0
# run WHERE COMMAND: the example has to end well.
run() {
    local output
    count=$((count + 1))
    if ! output=$(bash -c "$2" 2>&1 </dev/null); then
        printf "%s shows '%s', which fails:\n%s\n" "$1" "$2" "$output" >&2
        failures=$((failures + 1))
    fi
}

# run_all WHERE MINIMUM: the examples that come, one a line, of which there are so many at least.
run_all() {
    local before=$count example
    while IFS= read -r example; do
        run "$1" "$example"
    done
    if ((count - before < $2)); then
        echo "$1 shows $((count - before)) examples, expected are $2 or more" >&2
        failures=$((failures + 1))
    fi
}

mapfile -t commands < <(kxinfo --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
if ((${#commands[@]} < 9)); then
    echo "'kxinfo --help' lists ${#commands[@]} commands, expected are 9 or more" >&2
    exit 1
fi

# What an example does stands behind it, after two blanks.
run_all "kxinfo --help" 5 < <(kxinfo --help | sed -n '/^Examples:/,/^$/s/^  \(kxinfo .*\)/\1/p' |
    sed 's/   *.*//')
for command in "${commands[@]}"; do
    run_all "kxinfo $command --help" 1 < <(kxinfo "$command" --help |
        sed -n '/^Examples\{0,1\}:/,$s/^  *\(kxinfo .*\)/\1/p')
done
run_all "kxinfo.1" 5 < <(sed -n '/^\.EX/,/^\.EE/{/^\./!p}' "$KXINFO_BUILD/man/kxinfo.1" |
    sed 's/\\-/-/g')

((failures == 0)) || exit 1
echo "all $count examples end well"
