#!/bin/sh
# Installs the Debian packages that a task needs and that are missing: setup.sh build|arm|arm-soft|arm64|mips|cross|lint|valgrind|coverage|fuzz|mutation|package ...
set -eu

packages_for() {
    case $1 in
    build)
        echo "g++ cmake make python3 binutils libgtest-dev libgmock-dev libbenchmark-dev"
        echo "pkg-config libpcap-dev libcli11-dev libfmt-dev nlohmann-json3-dev"
        ;;
    arm) echo "g++-arm-linux-gnueabihf libc6-dev-armhf-cross qemu-user googletest" ;;
    arm-soft) echo "g++-arm-linux-gnueabi libc6-dev-armel-cross qemu-user googletest" ;;
    arm64) echo "g++-aarch64-linux-gnu libc6-dev-arm64-cross qemu-user googletest" ;;
    mips) echo "g++-mips-linux-gnu libc6-dev-mips-cross qemu-user googletest" ;;
    cross) packages_for arm && packages_for arm-soft && packages_for arm64 && packages_for mips ;;
    lint) echo "clang-format clang-tidy cppcheck" ;;
    valgrind) echo "valgrind libc6-dbg" ;;
    coverage) echo "gcovr" ;;
    fuzz) echo "clang libclang-rt-14-dev llvm" ;;
    mutation) echo "ninja-build" ;;
    package) echo "dpkg-dev file g++-arm-linux-gnueabihf libc6-dev-armhf-cross qemu-user" ;;
    *)
        echo "setup: unknown task '$1'; known are build, arm, arm-soft, arm64, mips, cross, lint, valgrind, coverage, fuzz, mutation and package" >&2
        return 1
        ;;
    esac
}

is_installed() {
    dpkg-query -W -f '${Status}' "$1" 2>/dev/null | grep -q '^install ok installed$'
}

missing=
for task in "$@"; do
    packages=$(packages_for "$task")
    for package in $packages; do
        is_installed "$package" || missing="$missing $package"
    done
done
[ -n "$missing" ] || exit 0

as_root=
if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || {
        echo "setup: not root, and no sudo; install these packages first:$missing" >&2
        exit 1
    }
    as_root=sudo
fi
echo "setup: installing$missing"
export DEBIAN_FRONTEND=noninteractive
$as_root apt-get update -qq
# shellcheck disable=SC2086  # one word per package
$as_root apt-get install -y -qq --no-install-recommends $missing >/dev/null
