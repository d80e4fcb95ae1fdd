#!/usr/bin/env bash
# The project built for the camera maker's framework, as far as that can be tried without it: against
# a tree of the same shape. Its headers are copies of ours, made as loose as others may be
# (loosen.py), its libraries stand-ins that have the framework's names and find no camera. It holds
# libraries for other architectures too, and one that only GenApi needs.
#
#   vendor.sh builds                  lays out the tree, configures and builds against it, whole
#   vendor.sh says-what-is-missing    configuring without the framework tells so
#   vendor.sh needs                   the libraries that plug-in and kxinfo need, and where they look
#   vendor.sh knows-no-open-platform  nothing that was compiled comes from platform/
#   vendor.sh runs                    plug-in and kxinfo load the framework, and find no camera
#   vendor.sh takes-errors            the camera's errors do no harm that are no std::exceptions
#   vendor.sh installs                all but a platform, its headers and virtual cameras
#   vendor.sh is-hardened             as the build for the open platform is
#   vendor.sh serves-examples         find_package() and pkg-config lead to the framework
#   vendor.sh makes-packages          Debian packages, without the open platform
#
# In the environment: SOURCES, a folder; WORK, a folder of the tests' own; CC and CXX; LIBDIR, where
# in a prefix the architecture's libraries go; SIMCAM, kxinfo-simcam of another build.
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

# library FILE EXPORTS ARGUMENT...: a library that has the symbols named, and its file's name as
# soname; sources, and what else the compiler has to know.
library() {
    printf '{ global: %s; local: *; };\n' "$2" >"$WORK/exports.map"
    "$CXX" -shared -fPIC -O0 -std=gnu++17 -I "$framework/include" \
        -I "$genicam/library/CPP/include" "${@:3}" -Wl,-soname,"$(basename "$1")" \
        -Wl,--version-script="$WORK/exports.map" -o "$1"
}

# foreign FOLDER CLASS MACHINE: copies of GenICam's libraries, for another architecture by their
# headers' class and machine, in octal.
foreign() {
    local file
    mkdir -p "$1"
    for file in "$genicam_libraries"/*.so; do
        cp "$file" "$1/"
        printf %b "$2" | dd of="$1/$(basename "$file")" bs=1 seek=4 conv=notrunc status=none
        printf %b "$3" | dd of="$1/$(basename "$file")" bs=1 seek=18 conv=notrunc status=none
    done
}

lay_out() {
    mkdir -p "$framework"/{include,lib} "$genicam/library/CPP/include" "$genicam_libraries"
    cp "$SOURCES/platform/include/gevapi.h" "$framework/include/"
    cp -r "$SOURCES/platform/include/"{GenApi,Base} "$genicam/library/CPP/include/"
    "$here/loosen.py" "$framework/include" "$genicam/library/CPP/include"
    library "$framework/lib/libGevApi.so.2" 'Gev*; _CloseSocketAPI' -x c "$here/gevapi_stub.c"
    ln -s libGevApi.so.2 "$framework/lib/libGevApi.so"
    library "$genicam_libraries/libGCBase_gcc421_v3_0.so" '_Z*N*11GenICam_3_0*' \
        "$SOURCES/platform/genicam/gcbase.cpp"
    echo 'extern "C" int logged() { return 0; }' >"$WORK/log.cpp"
    library "$genicam_libraries/libLog_gcc421_v3_0.so" logged "$WORK/log.cpp"
    echo 'extern "C" int logged(); int uses_log = logged();' >"$WORK/uses_log.cpp"
    # shellcheck disable=SC2016 # for the loader
    library "$genicam_libraries/libGenApi_gcc421_v3_0.so" '_Z*N*10GenApi_3_0*' \
        "$SOURCES/platform/genicam/gcbase.cpp" "$WORK/uses_log.cpp" \
        -L "$genicam_libraries" -l:libLog_gcc421_v3_0.so -Wl,-rpath,'$ORIGIN'
    # Their folders come before and after the one that fits, by the alphabet.
    foreign "$genicam/bin/Linux32_i86" '\0001' '\0003'
    foreign "$genicam/bin/Linux64_RISCV" '\0002' '\0363'
    foreign "$genicam/bin/Linux64_z" '\0002' '\0026'
    # Without its companion a library is of no use.
    mkdir "$genicam/bin/Linux64_half"
    cp "$genicam_libraries/libGenApi_gcc421_v3_0.so" "$genicam/bin/Linux64_half/"
}

configure() {
    cmake -S "$SOURCES" -G Ninja -DKXINFO_PLATFORM=vendor "$@"
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

    rm -rf "$WORK"/foreign-*
    mkdir -p "$WORK/foreign-genicam/bin" "$WORK/foreign-framework/lib"
    cp -r "$genicam/library" "$WORK/foreign-genicam/"
    cp -r "$genicam"/bin/Linux64_{RISCV,z} "$WORK/foreign-genicam/bin/"
    cp -r "$framework/include" "$WORK/foreign-framework/"
    cp "$genicam/bin/Linux64_RISCV/libLog_gcc421_v3_0.so" \
        "$WORK/foreign-framework/lib/libGevApi.so.2"
    told=$(said -DGIGEV_DIR="$WORK/foreign-framework" -DGENICAM_DIR="$genicam") || true
    [[ $told == *"foreign-framework' is for another architecture than $(uname -m)"* ]] ||
        fail "it does not tell that the framework is for another architecture: $told"
    told=$(said -DGIGEV_DIR="$framework" -DGENICAM_DIR="$WORK/foreign-genicam") || true
    [[ $told == *"foreign-genicam' is for other architectures than $(uname -m)"*"/Linux64_RISCV/libGenApi_gcc421_v3_0.so"* ]] ||
        fail "it does not tell that GenICam is for other architectures: $told"
    ;;
needs)
    # Each library of the framework has something that is used of it, so --as-needed keeps all: the
    # calls, the node map, and texts and exceptions.
    framework_and_system="libGCBase_gcc421_v3_0.so
libGenApi_gcc421_v3_0.so
libGevApi.so.2
libc.so.6
libgcc_s.so.1
libm.so.6
libstdc++.so.6"
    needed() {
        dynamic "$build/lib/$1" NEEDED | LC_ALL=C sort
    }
    expect "libraries that the plug-in needs" "$framework_and_system" \
        "$(needed libkxinfo-dalsa.so)"
    # kxinfo unpacks descriptions and looks whether they are well formed, by itself. Where the C
    # library's thread-local variables are found is the architecture's business.
    expect "libraries that kxinfo needs" \
        "$(printf '%s\n' "$framework_and_system" libexpat.so.1 libz.so.1 | LC_ALL=C sort)" \
        "$(needed ../bin/kxinfo | grep -v '^ld-')"
    if needed kxinfo-host | grep -vE '^lib(c|gcc_s|m|stdc\+\+)\.so\.'; then
        fail "kxinfo-host needs this, and has to start without"
    fi
    expect "folders of the plug-in" "$framework/lib:$genicam_libraries" \
        "$(dynamic "$build/lib/libkxinfo-dalsa.so" RUNPATH)"
    expect "folders of kxinfo" "$framework/lib:$genicam_libraries" \
        "$(dynamic "$build/bin/kxinfo" RUNPATH)"
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
    # kxinfo_says ARGUMENT...: its exit status and what it writes, to both streams.
    kxinfo_says() {
        local status=0 said
        said=$(KXINFO_BUILD=$build "$SOURCES/scripts/in-private-net" kxinfo "$@" 2>&1) || status=$?
        echo "$status: $said"
    }
    no_camera="kxinfo: no Dalsa camera answered. Check that the camera has power, is on this \
computer's network, and that no firewall keeps its answer away; then try again."
    expect "kxinfo probe" "1: no any Dalsa devices found
$no_camera" "$(kxinfo_says probe)"
    for command in list "probe S12" "get S12" "set S12 Gain=6" "gamma S12" "lut S12 show" "auto S12 off" \
        "save S12 $WORK/camera.json"; do
        # shellcheck disable=SC2086 # several words
        expect "kxinfo $command" "1: $no_camera" "$(kxinfo_says $command)"
    done
    for command in list probe get set gamma lut auto save restore diff; do
        [[ $(kxinfo_says $command --help) == "0: "*"Usage: kxinfo $command "* ]] ||
            fail "kxinfo $command --help: $(kxinfo_says $command --help)"
    done
    ;;
takes-errors)
    if grep -r 'public std::exception' "$genicam/library"; then
        fail "the tree's errors are std::exceptions"
    fi
    mkdir -p "$WORK/scripted"
    library "$WORK/scripted/libGevApi.so.2" 'Gev*; _CloseSocketAPI' -I "$SOURCES/tests/platform" \
        "$SOURCES"/tests/platform/{trace,camera,framework}.cpp "$here/scripted_camera.cpp" \
        -L "$genicam_libraries" -l:libGenApi_gcc421_v3_0.so -l:libGCBase_gcc421_v3_0.so
    # on_camera ARGUMENT...: the same as kxinfo_says, with the scripted camera. kxinfo looks for it
    # by itself: a virtual one answers in its place.
    on_camera() {
        local status=0 said
        # shellcheck disable=SC2016 # for the inner shell
        said=$(KXINFO_BUILD=$build KXGIGE_DISCOVERY_MS=300 "$SOURCES/scripts/in-private-net" bash -c '
            coproc camera { exec "$0" --camera S1234@127.0.0.2; }
            read -r <&"${camera[0]}"
            LD_LIBRARY_PATH=$1 kxinfo "${@:2}"
            status=$?
            kill "$camera_PID"
            exit "$status"' "$SIMCAM" "$WORK/scripted" "$@" 2>&1) || status=$?
        echo "$status: $said"
    }
    expect "a float without increment" "0: kxinfo: switched for a moment, and put back: GainSelector.
Camera S1234 (C1936)

Feature                Value  Minimum  Maximum  Step  Unit  Access  Kind
Gain                  6.0206        0  18.0618     -    dB      RW  float
AcquisitionFrameRate      30        1       60     -   1/s      RW  float" \
        "$(on_camera get S1234 Gain AcquisitionFrameRate --switch)"
    # Width is put back after Height, which cannot be.
    expect "putting back" "3: kxinfo: ReverseX=maybe is not possible; expected is true or false.
kxinfo: this could not be put back: Height to 1216 px (the sensor is asleep)." \
        "$(on_camera set S1234 Width=640 Height=400 ReverseX=maybe)"
    probed=$(on_camera probe S1234)
    [[ $probed == "0: "* && $probed == *"published 4 of 15 settings; missing: KxScParamFps, "* &&
        $probed == *"ended the probe: Runtime Exception Node has no increment. : AcquisitionFrameRate."* ]] ||
        fail "a probe does not end at the frame rate: $probed"
    ;;
installs)
    rm -rf "$WORK/prefix"
    DESTDIR='' cmake --install "$build" --prefix "$WORK/prefix" >/dev/null
    expect "what is installed" "$(grep -vE '^kxinfo-(simcam|platform-gige)/|/kxinfo-dalsa/platform/' \
        "$SOURCES/tests/install/files.txt" | cut -d/ -f2- | sed "s|LIBDIR|$LIBDIR|" | LC_ALL=C sort)" \
        "$(cd "$WORK/prefix" && find . ! -type d -printf '%P\n' | LC_ALL=C sort)"
    expect "folders of the plug-in" "$framework/lib:$genicam_libraries" \
        "$(dynamic "$WORK/prefix/lib/kxinfo/libkxinfo-dalsa.so" RUNPATH)"
    expect "folders of kxinfo" "$framework/lib:$genicam_libraries" \
        "$(dynamic "$WORK/prefix/bin/kxinfo" RUNPATH)"
    ;;
is-hardened)
    rm -rf "$WORK/prefix-hardened"
    DESTDIR='' cmake --install "$build" --prefix "$WORK/prefix-hardened" >/dev/null
    "$SOURCES/tests/install/hardened.sh" "$WORK/prefix-hardened"
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
