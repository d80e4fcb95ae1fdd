#!/usr/bin/env bash
# What bash completes for kxinfo. Runs in a private network, with the build's programs in PATH:
#
#   scripts/in-private-net tests/completion/completion.sh
#
# What there is to complete is taken from kxinfo itself, by its help and by 'kxinfo get'.
set -euo pipefail
sources=$(cd "$(dirname "$0")/../.." && pwd)
scratch=$(mktemp --directory)
cd "$scratch"

export KXGIGE_EXPECTED_CAMERAS=2
coproc cameras {
    exec kxinfo-simcam --camera S1234567@127.0.0.2 --camera S7654321@127.0.0.3
}
# shellcheck disable=SC2154 # coproc sets both
trap 'kill "$cameras_PID"; rm -rf "$scratch"' EXIT
# shellcheck disable=SC2154
read -r -t 30 _ <&"${cameras[0]}" || {
    echo "the virtual cameras did not start" >&2
    exit 1
}

failures=0
fail() {
    printf '%s\n' "$@" >&2
    failures=$((failures + 1))
}

# completed LINE: what its last word is completed to, sorted.
completed() {
    local line=$1 rest
    # As readline does it: blanks part words, and the '=' of COMP_WORDBREAKS is one of its own.
    rest=$line
    [[ $COMP_WORDBREAKS != *=* ]] || rest=${line//=/ = }
    read -r -a COMP_WORDS <<<"$rest"
    [[ $line != *' ' ]] || COMP_WORDS+=("")
    COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
    COMP_LINE=$line
    COMP_POINT=${#line}
    COMPREPLY=()
    _kxinfo "${COMP_WORDS[0]}" "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}"
    ((${#COMPREPLY[@]} == 0)) || printf '%s\n' "${COMPREPLY[@]}" | LC_ALL=C sort
}

# expect LINE CANDIDATE...
expect() {
    local line=$1 actual expected=
    shift
    actual=$(completed "$line")
    (($# == 0)) || expected=$(printf '%s\n' "$@" | LC_ALL=C sort)
    [[ $actual == "$expected" ]] || fail "'$line' is completed to (<), expected is (>):" \
        "$(diff <(echo "$actual") <(echo "$expected"))"
}

# shellcheck source=/dev/null
. "$sources/camera/completion/kxinfo"
[[ $(complete -p kxinfo) == "complete -F _kxinfo kxinfo" ]] || fail "kxinfo is not completed"
COMP_WORDBREAKS=$' \t\n"\'><=;|&(:'

# options_of [COMMAND]: the options that its help tells.
options_of() {
    kxinfo "$@" --help | grep -oE '^  (-[a-z],)?--[a-z-]+' | grep -oE -- '--[a-z-]+'
}

# From the program: every command, and of every command every option and its fixed values.
mapfile -t commands < <(kxinfo --help | sed -n '/^Commands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
((${#commands[@]} >= 10)) || fail "'kxinfo --help' lists ${#commands[@]} commands"
expect "kxinfo " "${commands[@]}"
mapfile -t options < <(options_of)
expect "kxinfo -" "${options[@]}"
total=0
for command in "${commands[@]}"; do
    mapfile -t options < <(options_of "$command")
    ((total += ${#options[@]}))
    expect "kxinfo $command -" "${options[@]}"
    expect "kxinfo $command S1234567 --" "${options[@]}"
    while read -r option list; do
        IFS=, read -r -a values <<<"$list"
        expect "kxinfo $command $option " "${values[@]}"
        expect "kxinfo $command $option=" "${values[@]}"
    done < <(kxinfo "$command" --help |
        sed -nE 's/^  (--[a-z-]+) [A-Z]+:\{(.*)\}.*/\1 \2/p')
done

((total >= 25)) || fail "the help of all commands lists $total options"

# The cameras that answer, and what may stand in the camera's place when it is left out.
touch curve.csv camera.json
mkdir saved
for command in "${commands[@]}"; do
    [[ $command == list ]] || expect "kxinfo $command S7" S7654321
done
expect "kxinfo probe --log stdout S7" S7654321
expect "kxinfo list S7"
expect "kxinfo probe S1234567 S7"
answering=(S1234567 S7654321)
mapfile -t features < <(kxinfo get S1234567 | awk '/^Feature/ { table = 1; next } table { print $1 }')
((${#features[@]} >= 33)) || fail "'kxinfo get' shows ${#features[@]} features"
expect "kxinfo get " "${answering[@]}" "${features[@]}" BalanceRatio
expect "kxinfo set " "${answering[@]}" "${features[@]/%/=}"
expect "kxinfo lut " "${answering[@]}" show off user gamma load save
expect "kxinfo auto " "${answering[@]}" on off
expect "kxinfo gamma " "${answering[@]}"
expect "kxinfo probe " "${answering[@]}"
for command in save restore diff report; do
    expect "kxinfo $command " "${answering[@]}" camera.json curve.csv saved
done
expect "kxinfo diff S1234567 " "${answering[@]}" camera.json curve.csv saved
expect "kxinfo diff S1234567 camera.json "

# A camera may tell anything as its serial number: it is offered quoted, and never run.
cat >strange-kxinfo <<'END'
#!/bin/sh
[ "$1" = list ] && [ "$2" = --json ] || exec kxinfo "$@"
printf '      "serial": "%s",\n' '$(touch pwned)' '`touch pwned`' 'S 1*'
END
chmod +x strange-kxinfo
# shellcheck disable=SC2016 # for whoever expands it
expect "./strange-kxinfo gamma " '\$\(touch\ pwned\)' '\`touch\ pwned\`' 'S\ 1\*'
rm strange-kxinfo
[[ ! -e pwned ]] || fail "what a camera tells was run as a command"

# Features and values. What cannot be read without switching the camera is not offered.
expect "kxinfo get S1234567 " "${features[@]}" BalanceRatio
expect "kxinfo set S1234567 " "${features[@]/%/=}"
expect "kxinfo get S1234567 Gain off" OffsetX OffsetY
expect "kxinfo tree S1234567 off" OffsetX OffsetY
expect "kxinfo watch Width off" OffsetX OffsetY
expect "kxinfo watch S1234567 --interval "
expect "kxinfo get --json Gain off" OffsetX OffsetY
expect "kxinfo set S1234567 Gain=6 balanceratio[" "BalanceRatio[Red]=" "BalanceRatio[Blue]="
expect "kxinfo set Gain=6 reverse" ReverseX= ReverseY=
expect "kxinfo set ReverseX=" true false
expect "kxinfo set S1234567 ReverseX=" true false
expect "kxinfo set S1234567 Gain=6 lutMode=A" Active
KXINFO_CAMERA=S7 expect "kxinfo set Gain=6 lutMode=A" Active
expect "kxinfo set S1234567 ExposureAuto="
expect "kxinfo set S1234567 Gain="

# Actions, states, files and folders.
expect "kxinfo lut S1234567 " show off user gamma load save
expect "kxinfo lut S1234567 l" load
expect "kxinfo lut S1234567 load " camera.json curve.csv saved
expect "kxinfo lut S1234567 show "
expect "kxinfo lut save c" camera.json curve.csv
expect "kxinfo lut show "
expect "kxinfo lut S1234567 load curve.csv --channel r" red
expect "kxinfo auto S1234567 " on off
expect "kxinfo auto on "
expect "kxinfo auto S1234567 on --target "
expect "kxinfo save S1234567 c" curve.csv camera.json
expect "kxinfo save --all " saved
expect "kxinfo restore S1234567 cam" camera.json
expect "kxinfo restore S1234567 camera.json "
expect "kxinfo probe --plugin cu" curve.csv
expect "kxinfo gamma S1234567 "
expect "kxinfo frob "

# Where '=' does not part words, the whole word is replaced.
COMP_WORDBREAKS=$' \t\n"\'><;|&(:'
expect "kxinfo set S1234567 ReverseX=t" ReverseX=true
expect "kxinfo probe --log=s" --log=stdout --log=syslog

# zsh and fish, from where they are installed.
mkdir -p share/{bash-completion/completions,zsh/vendor-completions,fish/vendor_completions.d}
cp "$sources/camera/completion/kxinfo" share/bash-completion/completions/
cp "$sources/camera/completion/_kxinfo" share/zsh/vendor-completions/
cp "$sources/camera/completion/kxinfo.fish" share/fish/vendor_completions.d/

# in_zsh WORD...; in_fish LINE: what the last word is completed to.
in_zsh() {
    # shellcheck disable=SC2016 # for that shell
    zsh -f -c 'compadd() { shift $argv[(i)--]; (($#)) && print -rl -- "$@" }
        words=("$@") CURRENT=$#
        . share/zsh/vendor-completions/_kxinfo' - "$@" | LC_ALL=C sort
}
in_fish() {
    # shellcheck disable=SC2016 # for that shell
    HOME=$scratch fish --no-config --command 'source share/fish/vendor_completions.d/kxinfo.fish
        complete --do-complete $argv[1]' "$1" | LC_ALL=C sort
}
for line in "kxinfo re" "kxinfo get S1234567 exposuret" "kxinfo set S1234567 ReverseX=t" \
    "kxinfo get S" "kxinfo restore S1234567 cam" "kxinfo probe --log s" "kxinfo set S1234567 Rever"; do
    expected=$(completed "$line")
    read -r -a words <<<"$line"
    [[ $(in_zsh "${words[@]}") == "$expected" ]] ||
        fail "zsh completes '$line' to $(in_zsh "${words[@]}"), expected is $expected"
    [[ $(in_fish "$line") == "$expected" ]] ||
        fail "fish completes '$line' to $(in_fish "$line"), expected is $expected"
done

if ((failures)); then
    echo "$failures expectations failed" >&2
    exit 1
fi
echo "all is completed as expected"
