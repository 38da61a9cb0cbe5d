#!/bin/sh
# Runs each test executable of a build once under valgrind: memcheck.sh [BUILD]
#
# A finding fails it, and is shown: memory read before it is initialised, outside of its block or after its release, and
# blocks that nothing points to. Not run are the tests of the program `mcadapt`, each of which needs a process of its
# own: the program itself is, over the captures in samples/. Nor are the broken ports of the port check, which do on
# purpose what valgrind would report; the good one, the unit on a PC, is.
set -eu
cd "$(dirname "$0")/.."
build=${1:-build/release}
logs=$build/memcheck
rm -rf "$logs"
mkdir -p "$logs"

# Long random sequences are as good when shorter: valgrind looks at each access, wherever it is.
export MCADAPT_ENDURANCE_STEPS=2000 MCADAPT_PROPERTY_STEPS=500 GLIBC_TUNABLES=glibc.malloc.tcache_count=0

# A child of a test that is expected to die says nothing of its own; fair scheduling lets each thread come along.
memcheck="valgrind --quiet --error-exitcode=99 --leak-check=full --errors-for-leak-kinds=definite \
    --show-leak-kinds=definite --child-silent-after-fork=yes --fair-sched=try --suppressions=tests/valgrind.supp"

for unit in epon-snooping gpon-control; do
    echo "mcadapt replay $unit"
    sample=samples/$unit
    $memcheck "$build/bin/mcadapt" replay --port0 "$sample/user.pcap" --uplink "$sample/net.pcap" \
        --unit "$sample/unit.conf" >"$logs/$unit.txt" 2>&1 || {
        cat "$logs/$unit.txt"
        exit 1
    }
done

# The longest first.
find "$build/tests" -name '*_tests' -type f -perm -100 ! -name host_program_tests \
    ! -name portcheck_tests -printf '%s %p\n' | sort -rn |
    cut -d ' ' -f 2 |
    xargs -n 1 -P "$(nproc)" sh -c '
        name=$(basename "$1")
        echo "$name"
        '"$memcheck"' "$1" --gtest_brief=1 >"$0/$name.txt" 2>&1 || { cat "$0/$name.txt"; exit 1; }' "$logs"
