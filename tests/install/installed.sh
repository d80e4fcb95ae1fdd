#!/usr/bin/env bash
# Checks of what `cmake --install` puts into a prefix. The prefix is moved after the installation:
# nothing installed may depend on where that was.
#
#   installed.sh files         each component has the files of files.txt and no others
#   installed.sh links         what the documents there link to is there as well
#   installed.sh hardened      no file can be misused as easily as compilers let it by themselves
#   installed.sh no-paths      nothing in it names the sources, the build or the prefix
#   installed.sh demo          kxinfo shows virtual cameras and sets them, from the prefix alone
#   installed.sh find-package  the examples, built with CMake's find_package() elsewhere
#   installed.sh pkg-config    the examples, built with pkg-config elsewhere
#
# In the environment: SOURCES and BUILD, folders; LIBDIR, where in the prefix the architecture's
# libraries go.
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
    export KXGIGE_EXPECTED_CAMERAS=2
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
        (cd "$scratch" && expect demo.txt "$here/demo.sh")
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

case ${1:-} in
files)
    while read -r component; do
        cmake --install "$BUILD" --prefix "$scratch/components/$component" --component "$component"
    done < <(cut -d/ -f1 "$here/files.txt" | sort -u) >"$scratch/log"
    # files_in FOLDER
    files_in() {
        (cd "$1" && find . ! -type d -printf '%P\n') | LC_ALL=C sort
    }
    sed "s|LIBDIR|$LIBDIR|" "$here/files.txt" | LC_ALL=C sort >"$scratch/expected"
    diff "$scratch/expected" <(files_in "$scratch/components") ||
        fail "what the components install (>) and files.txt (<) differ"
    diff <(cut -d/ -f2- "$scratch/expected" | LC_ALL=C sort) <(files_in "$prefix") ||
        fail "what is installed (>) and what the components of files.txt hold (<) differ"
    ;;
links)
    python3 "$SOURCES/tests/docs/run_docs" --links-only "$prefix"/share/doc/kxinfo-dalsa/*.md
    ;;
hardened)
    "$here/hardened.sh" "$prefix"
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
