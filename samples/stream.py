#!/usr/bin/env python3
"""Multicast UDP streams: a numbered datagram to each group in turn, RATE times a second.

    stream.py INTERFACE START SECONDS RATE GROUP ...
"""

import socket
import struct
import sys
import time

PORT = 5004


def open_ipv4(interface):
    link = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    here = struct.pack("=4s4sI", bytes(4), bytes(4), interface)  # struct ip_mreqn
    link.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_IF, here)
    link.setsockopt(socket.IPPROTO_IP, socket.IP_MULTICAST_TTL, 16)
    return link


def open_ipv6(interface):
    link = socket.socket(socket.AF_INET6, socket.SOCK_DGRAM)
    link.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_IF, interface)
    link.setsockopt(socket.IPPROTO_IPV6, socket.IPV6_MULTICAST_HOPS, 16)
    return link


def main():
    interface = socket.if_nametoindex(sys.argv[1])
    start, seconds, rate = (float(word) for word in sys.argv[2:5])
    groups = sys.argv[5:]
    ipv4, ipv6 = open_ipv4(interface), open_ipv6(interface)
    every = 1 / rate / len(groups)
    for number in range(int(seconds * rate) * len(groups)):
        group = groups[number % len(groups)]
        time.sleep(max(0.0, start + (number + 1) * every - time.time()))
        text = "%s #%d" % (group, number // len(groups) + 1)
        (ipv6 if ":" in group else ipv4).sendto(text.encode(), (group, PORT))


if __name__ == "__main__":
    main()
