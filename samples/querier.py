#!/usr/bin/env python3
"""A multicast router's queries, IGMPv3 and MLDv2, with a maximum response time of one second.

    querier.py INTERFACE START SECONDS:igmp[:GROUP[@SOURCE]] SECONDS:mld[:GROUP[@SOURCE]] ...

Without a group a general query, else a group-specific one, or one of a group and a source.
"""

import socket
import struct
import sys
import time

ROBUSTNESS = 2
QUERY_INTERVAL = 125  # seconds, as the queries tell it
ROUTER_ALERT_IPV4 = b"\x94\x04\x00\x00"
# Hop-by-hop options header: no next header yet, length 0, router alert for MLD, two bytes of padding.
ROUTER_ALERT_IPV6 = b"\x00\x00\x05\x02\x00\x00\x01\x00"


def checksum(data):
    total = sum(struct.unpack("!%dH" % (len(data) // 2), data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


def query_tail(family, group, source):
    """From the group address to the end, the same in both families (RFC 9776 section 4.1, RFC 9777 section 5.1)."""
    address = socket.inet_pton(family, group) if group else bytes(4 if family == socket.AF_INET else 16)
    sources = socket.inet_pton(family, source) if source else b""
    return address + struct.pack("!BBH", ROBUSTNESS, QUERY_INTERVAL, 1 if source else 0) + sources


def send_igmp(link, group, source):
    tail = query_tail(socket.AF_INET, group, source)
    code = 10  # tenths of a second
    message = struct.pack("!BBH", 0x11, code, checksum(struct.pack("!BBH", 0x11, code, 0) + tail)) + tail
    link.sendto(message, (group or "224.0.0.1", 0))


def send_mld(link, interface, group, source):
    code = 1000  # milliseconds
    message = struct.pack("!BBHHH", 130, 0, 0, code, 0) + query_tail(socket.AF_INET6, group, source)
    link.sendto(message, (group or "ff02::1", 0, 0, interface))  # the kernel writes the checksum


def open_igmp(interface):
    link = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_IGMP)
    here = struct.pack("=4s4sI", bytes(4), bytes(4), interface)  # struct ip_mreqn
    link.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, here)
    link.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, 1)
    link.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_LOOP, 0)
    link.setsockopt(socket.IPPROTO_IP, socket.IP_TOS, 0xC0)
    link.setsockopt(socket.IPPROTO_IP, socket.IP_OPTIONS, ROUTER_ALERT_IPV4)
    return link


def link_local_address(name):
    """Where MLD messages come from (RFC 9777 section 5.1.14)."""
    with open("/proc/net/if_inet6") as addresses:
        for line in addresses:
            words = line.split()
            if words[5] == name and words[0].startswith("fe80"):
                return socket.inet_ntop(socket.AF_INET6, bytes.fromhex(words[0]))
    raise SystemExit("querier.py: %s has no link-local address" % name)


def open_mld(interface, source):
    link = socket.socket(socket.AF_INET6, socket.SOCK_RAW, socket.IPPROTO_ICMPV6)
    link.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_IF, interface)
    link.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_HOPS, 1)
    link.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_LOOP, 0)
    link.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_HOPOPTS, ROUTER_ALERT_IPV6)
    link.bind((source, 0, 0, interface))
    return link


def main():
    interface = socket.if_nametoindex(sys.argv[1])
    start = float(sys.argv[2])
    igmp, mld = open_igmp(interface), open_mld(interface, link_local_address(sys.argv[1]))
    for argument in sorted(sys.argv[3:], key=lambda argument: float(argument.partition(":")[0])):
        seconds, family, channel = (argument + ":").split(":", 2)
        group, _, source = channel.rstrip(":").partition("@")
        time.sleep(max(0.0, start + float(seconds) - time.time()))
        if family == "igmp":
            send_igmp(igmp, group, source)
        else:
            send_mld(mld, interface, group, source)


if __name__ == "__main__":
    main()
