#!/usr/bin/env python3
"""A host that joins and leaves channels; its kernel sends the reports.

    subscriber.py INTERFACE START SECONDS:join:GROUP[@SOURCE] SECONDS:leave:GROUP[@SOURCE] ...

START is a time since the epoch, from which SECONDS count.
"""

import socket
import struct
import sys
import time

MCAST_JOIN_GROUP = 42
MCAST_LEAVE_GROUP = 45
MCAST_JOIN_SOURCE_GROUP = 46
MCAST_LEAVE_SOURCE_GROUP = 47
OPTIONS = {
    ("join", False): MCAST_JOIN_GROUP,
    ("leave", False): MCAST_LEAVE_GROUP,
    ("join", True): MCAST_JOIN_SOURCE_GROUP,
    ("leave", True): MCAST_LEAVE_SOURCE_GROUP,
}


def socket_address(address):
    """A `struct sockaddr_storage`."""
    if ":" in address:
        packed = struct.pack("=HHI", socket.AF_INET6, 0, 0) + socket.inet_pton(socket.AF_INET6, address)
    else:
        packed = struct.pack("=HH", socket.AF_INET, 0) + socket.inet_aton(address)
    return packed.ljust(128, b"\0")


def main():
    interface = socket.if_nametoindex(sys.argv[1])
    start = float(sys.argv[2])
    sockets = {
        False: socket.socket(socket.AF_INET, socket.SOCK_DGRAM),
        True: socket.socket(socket.AF_INET6, socket.SOCK_DGRAM),
    }
    for argument in sorted(sys.argv[3:], key=lambda argument: float(argument.partition(":")[0])):
        seconds, action, channel = argument.split(":", 2)
        group, _, source = channel.partition("@")
        request = struct.pack("=II", interface, 0) + socket_address(group)  # struct group_req
        if source:
            request += socket_address(source)  # struct group_source_req
        time.sleep(max(0.0, start + float(seconds) - time.time()))
        version6 = ":" in group
        level = socket.IPPROTO_IPV6 if version6 else socket.IPPROTO_IP
        sockets[version6].setsockopt(level, OPTIONS[action, bool(source)], request)
    # The memberships that are left end with the sockets: stay until the captures are done.
    time.sleep(3600)


if __name__ == "__main__":
    main()
