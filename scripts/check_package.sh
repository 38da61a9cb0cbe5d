#!/bin/sh
# Makes the packages, for this machine and for 32-bit ARM, unpacks them into folders of their own and uses what is in
# them, and nothing else of the project: the example port with pkg-config and with CMake, the program with a capture.
set -eu
cd "$(dirname "$0")/.."
root=$PWD
sample=$root/samples/epon-snooping
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    echo "check_package: $*" >&2
    exit 1
}

# unpack BUILD STAGE: makes the packages of a build and unpacks them.
unpack() {
    rm -rf "$1/packages"
    cpack --config "$1/CPackConfig.cmake" >"$work/cpack.log" 2>&1 || {
        cat "$work/cpack.log" >&2
        fail "cpack failed in $1"
    }
    for package in "$1"/packages/*.deb; do
        dpkg-deb -f "$package" Package Architecture Depends | tr '\n' ' '
        echo
        dpkg-deb -x "$package" "$2"
    done
}

# expect_fields BUILD PACKAGE ARCHITECTURE DEPENDS: what dpkg reads; DEPENDS is a pattern.
expect_fields() {
    package=$(ls "$1"/packages/"$2"_*_"$3".deb) || fail "no package $2 for $3"
    # shellcheck disable=SC2254  # a pattern
    case $(dpkg-deb -f "$package" Depends) in
    $4) ;;
    *) fail "$package depends on other packages than '$4'" ;;
    esac
}

# same_output COMMAND...: the example must print what is committed.
same_output() {
    "$@" "$sample/user.pcap" "$sample/net.pcap" >"$work/raw" || fail "$* failed"
    tr -d '\r' <"$work/raw" >"$work/output" # some of the library's lines end with one
    diff -u "$root/examples/minimal-port/expected.txt" "$work/output" || fail "$* printed something else"
}

# make_example STAGE FOLDER WORDS...: builds the example as it is in the package, by pkg-config alone.
make_example() {
    stage=$1
    folder=$2
    shift 2
    cp -r "$stage/usr/share/doc/mcadapt/examples/minimal-port" "$folder"
    libraries=$(dirname "$(find "$stage" -name mcadapt.pc)")/..
    PKG_CONFIG_LIBDIR=$libraries/pkgconfig PKG_CONFIG_SYSROOT_DIR=$stage make -s -C "$folder" \
        minimal-port minimal-port-static port-check "$@"
}

build=$root/build/release
cmake --preset release -Wno-dev -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON >/dev/null
cmake --build --preset release --target mcadapt mcadapt_static mcadapt_portcheck mcadapt_program >/dev/null
unpack "$build" "$work/native"
native=$(dpkg --print-architecture)
major=$(sed -n 's/^ *VERSION \([0-9]*\)\..*/\1/p' CMakeLists.txt)
expect_fields "$build" "libmcadapt$major" "$native" 'libc6 (>= [0-9.]*)'
expect_fields "$build" libmcadapt-dev "$native" "libmcadapt$major (= *), libc6-dev"
expect_fields "$build" mcadapt "$native" '*libpcap*'

make_example "$work/native" "$work/example"
readelf -d "$work/example/minimal-port" | grep -q "NEEDED.*libmcadapt\.so\.$major\]" ||
    fail "pkg-config's words do not link the shared library"
same_output env LD_LIBRARY_PATH="$libraries" "$work/example/minimal-port"
same_output "$work/example/minimal-port-static"

"$work/example/port-check" >"$work/output" || {
    grep '^FAULT' "$work/output" >&2
    fail "the port check finds faults in the example"
}
tail -n 1 "$work/output"

cmake -S "$work/example" -B "$work/consumer" -DCMAKE_PREFIX_PATH="$work/native/usr" >/dev/null
cmake --build "$work/consumer" >/dev/null
same_output "$work/consumer/with-mcadapt"
same_output "$work/consumer/with-mcadapt_static"

program=$work/native/usr/bin/mcadapt
"$program" --version
"$program" replay --quiet --port0 "$sample/user.pcap" --uplink "$sample/net.pcap" --unit "$sample/unit.conf" |
    grep '^Groups: 7 joins, 7 leaves' || fail "the packaged program replays otherwise"

# The unit's packages, and the example on its processor.
cross=$root/build/package-armhf
tools=arm-linux-gnueabihf
cmake -S . -B "$cross" --toolchain "$root/cmake/$tools.cmake" -Wno-dev -DCMAKE_BUILD_TYPE=Release -DMCADAPT_TESTS=OFF \
    -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON >/dev/null
cmake --build "$cross" -j "$(nproc)" --target mcadapt mcadapt_static mcadapt_portcheck >/dev/null
unpack "$cross" "$work/armhf"
expect_fields "$cross" "libmcadapt$major" armhf 'libc6 (>= [0-9.]*)'
expect_fields "$cross" libmcadapt-dev armhf "libmcadapt$major (= *), libc6-dev"
make_example "$work/armhf" "$work/example-armhf" CC="$tools-gcc"
same_output qemu-arm -L "/usr/$tools" -E LD_LIBRARY_PATH="$libraries" "$work/example-armhf/minimal-port"
same_output qemu-arm "$work/example-armhf/minimal-port-static"

# Both can be installed at once: files of the same name are the same.
diff -r "$work/native/usr/include" "$work/armhf/usr/include" || fail "headers depend on the processor"
diff -r "$work/native/usr/share/doc" "$work/armhf/usr/share/doc" || fail "documents depend on the processor"
