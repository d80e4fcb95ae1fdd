#!/bin/sh
# Checks of the shipped library as a file.
#
#   library_file.sh runs LIBRARY VERSION        run as a program it prints its version
#   library_file.sh needs LIBRARY               the libraries it needs, and that it binds lazily
#   library_file.sh asks-host LIBRARY           the functions it expects of its host
#   library_file.sh exports LIBRARY LIST        what it exports is what LIST says
set -eu

check=$1
library=$2

fail() {
    echo "$library: $*" >&2
    exit 1
}

# The version line and nothing else, by whatever way it came.
expect_version() {
    printf '%s' "$1" | grep -qxE "Version: $version-[0-9a-f]{40}" || fail "$2 shows '$1'"
    [ "$(printf '%s' "$1" | wc -l)" -eq 0 ] || fail "$2 shows more than one line"
}

case $check in
runs)
    version=$(printf '%s' "$3" | sed 's/\./\\./g')
    file=$(mktemp)
    trap 'rm -f "$file"' EXIT

    "$library" >"$file" || fail "ends with status $?, expected 0"
    expect_version "$(cat "$file")" "a file"
    [ "$(tail -c 1 "$file" | od -An -tx1 | tr -d ' ')" = 0a ] || fail "the line has no end"

    expect_version "$("$library" | cat)" "a pipe"
    "$library" arguments make no difference >"$file" || fail "ends with status $? given arguments"
    expect_version "$(cat "$file")" "a run with arguments"
    ;;
needs)
    needed=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | LC_ALL=C sort)
    for name in $needed; do
        case $name in
        libGevApi.so.2 | libstdc++.so.6 | libm.so.6 | libgcc_s.so.1 | libc.so.6) ;;
        ld-linux*) ;;
        *) fail "needs $name, which no host need have" ;;
        esac
    done
    echo "$needed" | grep -qx 'libGevApi.so.2' || fail "does not need libGevApi.so.2"
    # The host's functions are missing when the file is run as a program.
    if readelf -d "$library" | grep -E 'BIND_NOW|\(FLAGS.*NOW'; then
        fail "binds its functions when it is loaded"
    fi
    ;;
asks-host)
    undefined=$(nm -D --undefined-only "$library" | awk '$2 ~ /^KxSc__/ { print $2 }' | LC_ALL=C sort)
    expected="KxSc__InitStaticKeys
KxSc__ProcExport
KxSc__SetParamVal"
    [ "$undefined" = "$expected" ] || fail "asks its host for: $undefined"
    ;;
exports)
    list=$3
    exported=$(mktemp)
    trap 'rm -f "$exported"' EXIT
    nm -D --defined-only -C "$library" | cut -d' ' -f3- | LC_ALL=C sort >"$exported"
    grep -v '^#' "$list" | LC_ALL=C sort | diff - "$exported" ||
        fail "exports (>) and $list (<) differ"
    ;;
*)
    echo "library_file.sh: no check '$check'; there are runs, needs, asks-host and exports" >&2
    exit 2
    ;;
esac
