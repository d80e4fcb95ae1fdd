#!/usr/bin/env bash
# The project built for the camera maker's framework, as far as that can be tried without it: against
# a tree of the same shape. Its headers are copies of ours, its libraries stand-ins that have the
# framework's names and find no camera.
#
#   vendor.sh builds                  lays out the tree, configures and builds against it, whole
#   vendor.sh says-what-is-missing    configuring without the framework tells so
#   vendor.sh needs                   the libraries that the plug-in needs, and where it looks
#   vendor.sh knows-no-open-platform  nothing that was compiled comes from platform/
#   vendor.sh runs                    plug-in and kxinfo load the framework, and find no camera
#   vendor.sh installs                neither a platform nor its headers are installed
#   vendor.sh serves-examples         find_package() and pkg-config lead to the framework
#   vendor.sh makes-packages          Debian packages, without the open platform
#
# In the environment: SOURCES, a folder; WORK, a folder of the tests' own; CC and CXX; LIBDIR, where
# in a prefix the architecture's libraries go.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
framework=$WORK/framework
genicam=$WORK/genicam
genicam_libraries=$genicam/bin/Linux64_x64
build=$WORK/build

fail() {
    echo "vendor: $*" >&2
    exit 1
}

# expect NAME EXPECTED ACTUAL
expect() {
    diff <(printf '%s\n' "$2") <(printf '%s\n' "$3") || fail "$1: is (>) and should be (<) differ"
}

# library FILE SOURCE EXPORTS: a library that has the symbols named, and its file's name as soname.
library() {
    printf '{ global: %s; local: *; };\n' "$3" >"$WORK/exports.map"
    "$CXX" -shared -fPIC -O0 -I "$framework/include" -I "$genicam/library/CPP/include" \
        -x "${4:-c++}" "$2" -Wl,-soname,"$(basename "$1")" \
        -Wl,--version-script="$WORK/exports.map" -o "$1"
}

lay_out() {
    mkdir -p "$framework"/{include,lib} "$genicam/library/CPP/include" "$genicam_libraries"
    cp "$SOURCES/platform/include/gevapi.h" "$framework/include/"
    cp -r "$SOURCES/platform/include/"{GenApi,Base} "$genicam/library/CPP/include/"
    library "$framework/lib/libGevApi.so.2" "$here/gevapi_stub.c" 'Gev*; _CloseSocketAPI' c
    ln -s libGevApi.so.2 "$framework/lib/libGevApi.so"
    library "$genicam_libraries/libGCBase_gcc421_v3_0.so" "$SOURCES/platform/genicam/gcbase.cpp" \
        '_Z*N*11GenICam_3_0*'
    library "$genicam_libraries/libGenApi_gcc421_v3_0.so" "$SOURCES/platform/genicam/gcbase.cpp" \
        '_Z*N*10GenApi_3_0*'
}

configure() {
    cmake -S "$SOURCES" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DKXINFO_PLATFORM=vendor "$@"
}

# The values of one kind of line of a library's dynamic section.
dynamic() {
    readelf -d "$1" | sed -n "s/.*($2).*\[\(.*\)\]/\1/p"
}

case ${1:-} in
builds)
    rm -rf "$WORK"
    mkdir -p "$WORK"
    lay_out
    configure -B "$build" -DGIGEV_DIR="$framework" -DGENICAM_DIR="$genicam" -DKXINFO_WERROR=ON
    cmake --build "$build" --parallel 2
    ;;
says-what-is-missing)
    # One line, as long as it comes: CMake breaks it.
    said() {
        configure -B "$WORK/failing" --fresh "$@" 2>&1 | tr -s ' \n' ' '
    }
    [[ $(said) == *"no GigE-V Framework in GIGEV_DIR=''"*"Set GIGEV_DIR to its folder."* ]] ||
        fail "it does not tell that GIGEV_DIR is missing: $(said)"
    [[ $(said -DGIGEV_DIR="$framework") == *"no GenICam 3.0 in GENICAM_DIR=''"* ]] ||
        fail "it does not tell that GENICAM_DIR is missing: $(said -DGIGEV_DIR="$framework")"
    ;;
needs)
    # Each library of the framework has something that the plug-in uses, so --as-needed keeps all:
    # the calls, the node map, and texts and exceptions.
    expect "needed libraries" "libGCBase_gcc421_v3_0.so
libGenApi_gcc421_v3_0.so
libGevApi.so.2
libc.so.6
libgcc_s.so.1
libm.so.6
libstdc++.so.6" "$(dynamic "$build/lib/libkxinfo-dalsa.so" NEEDED | LC_ALL=C sort)"
    expect "folders" "$framework/lib:$genicam_libraries" \
        "$(dynamic "$build/lib/libkxinfo-dalsa.so" RUNPATH)"
    ;;
knows-no-open-platform)
    ninja -C "$build" -t deps >"$WORK/deps"
    grep -q "$framework/include/gevapi.h" "$WORK/deps" || fail "nothing depends on gevapi.h"
    for list in "$WORK/deps" "$build/compile_commands.json" "$build/build.ninja"; do
        if grep -e "$SOURCES/platform/" -e aravis -e glib-2 "$list"; then
            fail "$(basename "$list") names the open platform"
        fi
    done
    [ -z "$(find "$build/lib" "$build/bin" -name '*GevApi*' -o -name '*simcam*')" ] ||
        fail "a platform or virtual cameras are built"
    ;;
runs)
    [[ $("$build/lib/libkxinfo-dalsa.so") == "Version: "* ]] || fail "the plug-in does not run"
    status=0
    said=$(KXINFO_BUILD=$build "$SOURCES/scripts/in-private-net" kxinfo list 2>/dev/null) || status=$?
    expect "kxinfo list" "1: no any Dalsa devices found" "$status: $said"
    ;;
installs)
    rm -rf "$WORK/prefix"
    DESTDIR='' cmake --install "$build" --prefix "$WORK/prefix" >/dev/null
    found=$(cd "$WORK/prefix" && find . -ipath '*platform*/*' -o -iname '*gevapi*' -o -name '*simcam*' \
        -o -name 'GenApi*' -o -name 'Base')
    [ -z "$found" ] || fail "these belong to the open platform: $found"
    for file in bin/kxinfo lib/kxinfo/libkxinfo-dalsa.so include/kxinfo-dalsa/kx_proc.h; do
        [ -e "$WORK/prefix/$file" ] || fail "$file is not installed"
    done
    expect "folders" "$framework/lib:$genicam_libraries" \
        "$(dynamic "$WORK/prefix/lib/kxinfo/libkxinfo-dalsa.so" RUNPATH)"
    ;;
serves-examples)
    rm -rf "$WORK"/{prefix-examples,examples,found}
    DESTDIR='' cmake --install "$build" --prefix "$WORK/prefix-examples" >/dev/null
    cp -r "$WORK/prefix-examples/share/doc/kxinfo-dalsa/examples" "$WORK/examples"
    cmake -S "$WORK/examples" -B "$WORK/found" -DCMAKE_PREFIX_PATH="$WORK/prefix-examples" >/dev/null
    cmake --build "$WORK/found" >/dev/null
    PKG_CONFIG_PATH=$WORK/prefix-examples/$LIBDIR/pkgconfig make --silent -C "$WORK/examples"
    for folder in found examples; do
        status=0
        said=$("$SOURCES/scripts/in-private-net" "$WORK/$folder/camera_class" S12 2>&1) || status=$?
        expect "$folder/camera_class" \
            '1: camera_class: no camera has a serial number that begins with "S12"' "$status: $said"
    done
    ;;
makes-packages)
    (cd "$build" && cpack >"$WORK/cpack.log" 2>&1) || fail "$(cat "$WORK/cpack.log")"
    expect "packages" "kxinfo-dalsa
kxinfo-dalsa-dev" "$(for file in "$build"/packages/*.deb; do
        dpkg-deb --field "$file" Package
    done | LC_ALL=C sort)"
    for file in "$build"/packages/*.deb; do
        if dpkg-deb --field "$file" Depends | grep -E 'platform|aravis|glib'; then
            fail "$(basename "$file") depends on the open platform"
        fi
        if dpkg-deb --contents "$file" | grep -E 'platform/|GevApi'; then
            fail "$(basename "$file") holds a platform"
        fi
    done
    ;;
*)
    sed -n '2,/^set/s/^# \{0,1\}//p' "$0" >&2
    exit 2
    ;;
esac
