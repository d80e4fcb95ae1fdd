#!/usr/bin/env bash
# Checks of what `cmake --install` puts into a prefix. The prefix is moved after the installation:
# nothing installed may depend on where that was.
#
#   installed.sh files         all files that it should have and no others
#   installed.sh no-paths      nothing in it names the sources, the build or the prefix
#   installed.sh demo          kxinfo shows virtual cameras, from the prefix alone
#   installed.sh find-package  the examples, built with CMake's find_package() elsewhere
#   installed.sh pkg-config    the examples, built with pkg-config elsewhere
#
# In the environment: SOURCES and BUILD, folders; LIBDIR, where in the prefix architecture's
# libraries go; CAMERA_LIBRARY, the path there of kxinfo's part that links the platform, if built.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)

fail() {
    echo "installed: $*" >&2
    exit 1
}

# Runs this script once more with the arguments, where two virtual cameras are served.
with_cameras() {
    # in-private-net puts bin of this folder in front of PATH.
    export prefix scratch KXINFO_BUILD=$prefix
    "$SOURCES/scripts/in-private-net" "$0" --with-cameras "$@"
}

serve_cameras() {
    export KXGIGE_DISCOVERY_MS=200
    coproc cameras { kxinfo-simcam --camera S1234@127.0.0.2 --camera S5678@127.0.0.3; }
    # shellcheck disable=SC2154 # coproc sets it
    read -r -t 30 <&"${cameras[0]}" || fail "the virtual cameras did not start"
}

# expect FILE COMMAND...: the command succeeds and writes what FILE holds.
expect() {
    local expected=$1
    shift
    "$@" >"$scratch/output" 2>&1 || fail "'$*' ends with status $?: $(cat "$scratch/output")"
    diff "$here/$expected" "$scratch/output" || fail "what '$*' writes (>) and $expected (<) differ"
}

if [ "${1:-}" = --with-cameras ]; then
    # In the environment: prefix, scratch.
    serve_cameras
    case $2 in
    kxinfo)
        [ "$(command -v kxinfo)" = "$prefix/bin/kxinfo" ] || fail "kxinfo is $(command -v kxinfo)"
        expect list.txt kxinfo list
        expect probe.txt kxinfo probe S12
        ;;
    examples)
        expect minimal_host.txt "$3/minimal_host" "$prefix/lib/kxinfo/libkxinfo-dalsa.so" S12
        expect camera_class.txt "$3/camera_class" S12
        ;;
    esac
    exit
fi

scratch=$(mktemp --directory)
trap 'rm -rf "$scratch"' EXIT
unset DESTDIR
PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin
cmake --install "$BUILD" --prefix "$scratch/first" >/dev/null
prefix=$scratch/prefix
mv "$scratch/first" "$prefix"

# The path that each file of a folder has below another one.
below() {
    (cd "$1" && find . -type f -printf "$2/%P\n")
}

expected_files() {
    cat <<END
bin/kxinfo
bin/kxinfo-simcam
lib/kxinfo/libkxinfo-dalsa.so
lib/kxinfo/platform/libGevApi.so.2
$LIBDIR/cmake/kxinfo-dalsa/kxinfo-dalsa-config-version.cmake
$LIBDIR/cmake/kxinfo-dalsa/kxinfo-dalsa-config.cmake
$LIBDIR/pkgconfig/kxinfo-dalsa.pc
share/doc/kxinfo-dalsa/CHANGELOG.md
share/doc/kxinfo-dalsa/README.md
share/doc/kxinfo-dalsa/examples/CMakeLists.txt
share/doc/kxinfo-dalsa/examples/Makefile
share/doc/kxinfo-dalsa/examples/camera_class.cpp
share/doc/kxinfo-dalsa/examples/minimal_host.c
END
    [ -z "$CAMERA_LIBRARY" ] || echo "$CAMERA_LIBRARY"
    below "$SOURCES/include/kxinfo-dalsa" include/kxinfo-dalsa
    below "$SOURCES/platform/include" include/kxinfo-dalsa/platform
    local file
    for file in "$SOURCES"/docs/*.md; do
        echo "share/doc/kxinfo-dalsa/${file##*/}"
    done
    for file in "$SOURCES"/docs/man/*.[17]; do
        echo "share/man/man${file##*.}/${file##*/}"
    done
    for file in "$SOURCES"/*/completion/*; do
        echo "share/bash-completion/completions/${file##*/}"
    done
}

case ${1:-} in
files)
    (cd "$prefix" && find . ! -type d -printf '%P\n') | LC_ALL=C sort >"$scratch/installed"
    expected_files | LC_ALL=C sort | diff - "$scratch/installed" ||
        fail "what is installed (>) and what should be (<) differ"
    ;;
no-paths)
    if named=$(grep --recursive --files-with-matches --fixed-strings \
        -e "$SOURCES" -e "$BUILD" -e "$scratch" "$prefix"); then
        fail "these name the sources, the build folder or the prefix: $named"
    fi
    while read -r file; do
        runpath=$(readelf -d "$file" | sed -n 's/.*(R.*PATH).*\[\(.*\)\]/\1/p')
        [ -z "$(tr : '\n' <<<"$runpath" | grep -v "^\$ORIGIN" || true)" ] ||
            fail "$file looks for libraries in $runpath"
    done < <(find "$prefix/bin" "$prefix/lib/kxinfo" -type f)
    ;;
demo)
    with_cameras kxinfo
    ;;
find-package)
    examples=$prefix/share/doc/kxinfo-dalsa/examples
    cmake -S "$examples" -B "$scratch/built" -DCMAKE_PREFIX_PATH="$prefix" >"$scratch/configured"
    cmake --build "$scratch/built" >/dev/null
    grep -qx -- "-- The plug-in is $prefix/lib/kxinfo/libkxinfo-dalsa.so" "$scratch/configured" ||
        fail "the variable kxinfo-dalsa_PLUGIN names another file: $(cat "$scratch/configured")"
    with_cameras examples "$scratch/built"
    ;;
pkg-config)
    export PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig
    cp -r "$prefix/share/doc/kxinfo-dalsa/examples" "$scratch/examples"
    make --silent -C "$scratch/examples"
    plugin=$(pkg-config --variable=plugin kxinfo-dalsa)
    [ "$plugin" -ef "$prefix/lib/kxinfo/libkxinfo-dalsa.so" ] ||
        fail "the variable plugin is $plugin"
    with_cameras examples "$scratch/examples"
    ;;
*)
    sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2
    exit 2
    ;;
esac
