#!/bin/bash
# Makes the captures of real hosts again: ./make.sh [epon-snooping|gpon-control] ...
# Needs root, network namespaces, veth, a bridge, and the packages below. README.md tells what happens in them.
#
#  subscriber-a a0---a1 \                    (user line)           (network line)
#                        home---g0 g1 -- u0 ---------- u1 -- n1 ---------- n0 -- r1---r0 router
#  subscriber-b b0---b1 /                               |     |
#  subscriber-c c0---c1 ----------------------- u0   user.pcap net.pcap   n0 -- r3---r2 router
#
# The hosts and the router are kernels of their own. "--" are access_node.py, which writes the tags; the captures hold
# what arrives at the unit's place, between u1 and n1, from either side.
set -euo pipefail
cd "$(dirname "$0")"

readonly SPACES=(mcs-a mcs-b mcs-c mcs-line mcs-router)
readonly RATE=2 # datagrams a second of each channel
STARTED=()

missing() {
    for tool in "ip iproute2" "tcpdump tcpdump" "ethtool ethtool" "python3 python3"; do
        command -v "${tool% *}" >/dev/null || echo "${tool#* }"
    done
}

clean_up() {
    if ((${#STARTED[@]})); then
        kill "${STARTED[@]}" 2>/dev/null || true
        wait "${STARTED[@]}" 2>/dev/null || true
    fi
    STARTED=()
    for space in "${SPACES[@]}"; do
        ip netns del "$space" 2>/dev/null || true
    done
}

# in_space SPACE COMMAND...; start SPACE COMMAND... leaves it running.
in_space() { ip netns exec "$@"; }
start() {
    ip netns exec "$@" &
    STARTED+=($!)
}

# Pair of interfaces: SPACE NAME MAC, PEER'S SPACE, NAME
link() {
    ip link add "$2" netns "$1" address "$3" type veth peer name "$5" netns "$4"
    in_space "$4" ip link set "$5" up
}

make_spaces() {
    for space in "${SPACES[@]}"; do
        ip netns add "$space"
    done
    # The line carries other people's frames and has no address of its own.
    in_space mcs-line sysctl -qw net.ipv6.conf.all.disable_ipv6=1 net.ipv6.conf.default.disable_ipv6=1
    link mcs-a a0 02:00:00:00:0a:01 mcs-line a1
    link mcs-b b0 02:00:00:00:0b:01 mcs-line b1
    link mcs-c c0 02:00:00:00:0c:01 mcs-line c1
    link mcs-router r0 02:00:00:00:fe:01 mcs-line r1
    link mcs-router r2 02:00:00:00:fe:02 mcs-line r3
    for pair in "g0 g1" "u0 u1" "n0 n1"; do
        in_space mcs-line ip link add "${pair% *}" up type veth peer name "${pair#* }"
        in_space mcs-line ip link set "${pair#* }" up
    done
    in_space mcs-line ip link add home up type bridge mcast_snooping 0
    for port in a1 b1 g0; do
        in_space mcs-line ip link set "$port" master home
    done
    make_host mcs-a a0 2 1
    make_host mcs-b b0 3 2
    make_host mcs-c c0 3 2
    in_space mcs-router sysctl -qw net.ipv6.conf.{r0,r2}.router_solicitations=0
    for interface in r0 r2; do
        # The datagrams' checksums would be left to hardware that is not there.
        in_space mcs-router ethtool -K "$interface" tx off >/dev/null
    done
}

# SPACE INTERFACE IGMP-VERSION MLD-VERSION. Older hosts repeat their first report within a second, as later ones do.
make_host() {
    in_space "$1" sysctl -qw "net.ipv4.conf.$2.force_igmp_version=$3" "net.ipv6.conf.$2.force_mld_version=$4" \
        "net.ipv4.conf.$2.igmpv2_unsolicited_report_interval=1000" \
        "net.ipv6.conf.$2.mldv1_unsolicited_report_interval=1000" "net.ipv6.conf.$2.router_solicitations=0"
}

# SPACE INTERFACE ADDRESS...
set_up() {
    local space=$1 interface=$2
    for address in "${@:3}"; do
        in_space "$space" ip address add "$address" dev "$interface"
    done
    in_space "$space" ip link set "$interface" up
}

capture() { start mcs-line tcpdump -Z root -i "$2" -Q in -U --immediate-mode -w "$1" 2>/dev/null; }

begin_captures() {
    sleep 3 # addresses are tested for duplicates, and the first reports repeated
    capture "$1/user.pcap" u1
    capture "$1/net.pcap" n1
    sleep 1
    BEGIN=$(date +%s)
    BEGIN=$((BEGIN + 2))
}

# Until SECONDS of the scenario.
wait_until() {
    local now at=$((BEGIN + $1))
    now=$(date +%s.%N)
    sleep "$(awk -v now="$now" -v at="$at" 'BEGIN { print (at > now ? at - now : 0) }')"
}

epon_snooping() {
    make_spaces
    start mcs-line python3 access_node.py g1=u0.100 c1=u0.101 u1.100=n1.200 u1.101=n1.201 n0.200=r1 n0.201=r3
    set_up mcs-router r0 10.200.0.1/24 2001:db8:200::1/64
    set_up mcs-router r2 10.201.0.1/24
    set_up mcs-a a0 10.200.0.11/24
    set_up mcs-b b0 10.200.0.12/24
    begin_captures epon-snooping
    start mcs-router python3 querier.py r0 "$BEGIN" 0:igmp 0.1:mld 9.05:igmp:239.1.1.1 10.05:igmp:239.1.1.1 \
        11:igmp 11.1:mld 12.55:igmp:239.1.1.1 13.55:igmp:239.1.1.1 14.55:mld:ff1e::1:101 15.55:mld:ff1e::1:101 \
        15.05:mld:ff3e::8000:103@2001:db8:200::1 16.05:igmp:232.1.1.3@10.200.0.1 \
        16.1:mld:ff3e::8000:103@2001:db8:200::1 17.05:igmp:232.1.1.3@10.200.0.1 \
        20.05:igmp:239.1.1.2 20.55:mld:ff1e::1:102 21.05:igmp:239.1.1.2 21.55:mld:ff1e::1:102
    start mcs-router python3 querier.py r2 "$BEGIN" 0.2:igmp 11.2:igmp 17.55:igmp:239.1.1.1 18.55:igmp:239.1.1.1
    start mcs-router python3 stream.py r0 "$BEGIN" 22 "$RATE" 239.1.1.1 239.1.1.2 239.1.1.9 232.1.1.3 ff1e::1:101 \
        ff1e::1:102 ff1e::1:109 ff3e::8000:103
    start mcs-router python3 stream.py r2 "$BEGIN" 22 "$RATE" 239.1.1.1
    start mcs-a python3 subscriber.py a0 "$BEGIN" 2:join:239.1.1.1 3:join:ff1e::1:101 9:leave:239.1.1.1 \
        14.5:leave:ff1e::1:101
    start mcs-b python3 subscriber.py b0 "$BEGIN" 4:join:239.1.1.2 4.5:join:ff1e::1:102 5:join:232.1.1.3@10.200.0.1 \
        5.5:join:224.0.0.251 6:join:239.1.1.1 6.5:join:ff3e::8000:103@2001:db8:200::1 12.5:leave:239.1.1.1 \
        15:leave:ff3e::8000:103@2001:db8:200::1 16:leave:232.1.1.3@10.200.0.1 20:leave:239.1.1.2 20.5:leave:ff1e::1:102
    wait_until 7
    set_up mcs-c c0 10.201.0.13/24 # switched on while the others watch
    start mcs-c python3 subscriber.py c0 "$BEGIN" 8.5:join:239.1.1.1 17.5:leave:239.1.1.1
    wait_until 23
}

gpon_control() {
    make_spaces
    start mcs-line python3 access_node.py g1=u0 u1=n1.400 n0.400=r1
    set_up mcs-router r0 10.200.0.1/24 2001:db8:200::1/64
    set_up mcs-a a0 10.200.0.11/24
    set_up mcs-b b0 10.200.0.12/24
    begin_captures gpon-control
    start mcs-router python3 querier.py r0 "$BEGIN" 0:igmp 0.1:mld 9:igmp 9.1:mld 12.05:igmp:239.1.1.1 \
        13.05:igmp:239.1.1.1 13.55:mld:ff1e::1:101 14.55:mld:ff1e::1:101 15.05:igmp:239.1.1.2 16.05:igmp:239.1.1.2
    start mcs-router python3 stream.py r0 "$BEGIN" 19 "$RATE" 239.1.1.1 239.1.1.2 239.1.1.3 ff1e::1:101 ff1e::1:105
    start mcs-a python3 subscriber.py a0 "$BEGIN" 2:join:239.1.1.1 3:join:ff1e::1:101 12:leave:239.1.1.1 \
        13.5:leave:ff1e::1:101
    start mcs-b python3 subscriber.py b0 "$BEGIN" 4:join:239.1.1.2 6:join:239.1.1.3 15:leave:239.1.1.2
    wait_until 20
}

main() {
    local packages
    packages=$(missing)
    if [[ -n $packages ]]; then
        echo "make.sh: missing packages: ${packages//$'\n'/ }" >&2
        exit 1
    fi
    if ((EUID != 0)); then
        echo "make.sh: must be root, to make network namespaces" >&2
        exit 1
    fi
    trap clean_up EXIT
    (($#)) || set -- epon-snooping gpon-control
    for sample in "$@"; do
        clean_up
        "${sample//-/_}"
    done
}

main "$@"
