#!/bin/sh
# Installs the Debian packages that a task needs and that are missing: setup.sh build|arm|lint|coverage ...
set -eu

packages_for() {
    case $1 in
    build)
        echo "g++ cmake make python3 binutils libgtest-dev libgmock-dev libbenchmark-dev"
        echo "pkg-config libpcap-dev libcli11-dev libfmt-dev nlohmann-json3-dev"
        ;;
    arm) echo "g++-arm-linux-gnueabihf libc6-dev-armhf-cross qemu-user googletest" ;;
    lint) echo "clang-format clang-tidy" ;;
    coverage) echo "gcovr" ;;
    *)
        echo "setup: unknown task '$1'; known are build, arm, lint and coverage" >&2
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
