#!/bin/sh
# The analysis of the sources without running them; fails with the first tool that finds something.
#
#   formatting     every source, by clang-format
#   clang-tidy     library, host, port check and fuzzers, by .clang-tidy, where each exception has its reason
#   cppcheck       the same, and the port in examples/
#   -fanalyzer     the library, by GCC
set -eu
cd "$(dirname "$0")/.."
build=build/release
jobs=$(nproc)

library="core packet vlan mgmt"
programs="host portcheck fuzz"

sources() {
    for folder in "$@"; do
        [ ! -d "$folder" ] || find "$folder" -name '*.cpp' | LC_ALL=C sort
    done
}

# Runs a command with one file after it, for each file of the input; prints what it says where it fails.
# shellcheck disable=SC2016  # expanded by the inner shell
for_each() {
    xargs -n 1 -P "$jobs" sh -c '
        for file; do :; done
        said=$("$@" 2>&1) || { printf "%s: %s\n%s\n" "$1" "$file" "$said"; exit 1; }' sh "$@"
}

echo "clang-format"
find . \( -name build -o -name .git \) -prune -o \( -name '*.h' -o -name '*.cpp' -o -name '*.c' \) -print |
    xargs clang-format --dry-run -Werror

echo "clang-tidy"
cmake --preset release -Wno-dev >/dev/null
# shellcheck disable=SC2086  # one word per folder
sources $library $programs | for_each clang-tidy -p "$build" --quiet --warnings-as-errors='*'

echo "cppcheck"
# Without MCADAPT_LIBRARY the fields shared between threads are plain ones, as cppcheck knows them in messages.
# invalidPrintfArgType_sint: the texts' conversions are part of the interface, and print unsigned numbers by %d.
# shellcheck disable=SC2086
cppcheck --enable=warning,performance,portability --std=c++17 -I. -Iinclude -Iportcheck/include -UMCADAPT_LIBRARY \
    --suppress=invalidPrintfArgType_sint --inline-suppr --quiet --error-exitcode=1 -j "$jobs" \
    $library $programs examples

echo "gcc -fanalyzer"
objects=$build/analyzer
mkdir -p "$objects"
# Two of its findings are always false here. It takes an empty asm statement that names a constant as its operand for
# a store to it (write-to-const: the barrier of core/shared.h), and, being made for C, does not see a class value
# return through the hidden pointer to it (use-of-uninitialized-value).
# shellcheck disable=SC2016,SC2086
sources $library | for_each sh -c 'g++ -std=c++17 -O0 -fno-exceptions -fno-rtti -DMCADAPT_LIBRARY -I. -Iinclude \
    -fanalyzer -Wno-analyzer-write-to-const -Wno-analyzer-use-of-uninitialized-value -Werror \
    -c "$2" -o "$1/$(echo "$2" | tr / -).o"' analyzer "$objects"
