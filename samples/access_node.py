#!/usr/bin/env python3
"""Joins Ethernet interfaces and writes the 802.1Q tags that an access node or a home gateway would.

    access_node.py g1=u0.100 u1.100=n1.200 n0.200=r1

Each argument joins two ends: what enters at one leaves at the other. IF.VID is the frames of one VLAN on an interface,
a plain IF its untagged frames. It does in user space what VLAN interfaces and bridges do where a kernel has them.
"""

import select
import socket
import struct
import sys

ETH_P_ALL = 3
SOL_PACKET = 263
PACKET_AUXDATA = 8
TP_STATUS_VLAN_VALID = 0x10
SHORTEST_FRAME = 60  # without the frame check sequence, as a transmitter pads it


def open_interface(name):
    link = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(ETH_P_ALL))
    link.bind((name, 0))
    link.setsockopt(SOL_PACKET, PACKET_AUXDATA, 1)
    return link


def receive(link):
    """The next frame without its tag, and its VLAN; 0: untagged. None for a frame that this side sent."""
    frame, notes, _, sender = link.recvmsg(65536, 256)
    if sender[2] == socket.PACKET_OUTGOING:
        return None, 0
    for level, kind, data in notes:
        if level == SOL_PACKET and kind == PACKET_AUXDATA:
            status, _, _, _, _, control, _ = struct.unpack_from("=IIIHHHH", data)
            if status & TP_STATUS_VLAN_VALID:
                return frame, control & 0xFFF
    return frame, 0


def send(link, frame, vlan):
    if vlan:
        frame = frame[:12] + struct.pack("!HH", 0x8100, vlan) + frame[12:]
    link.send(frame.ljust(SHORTEST_FRAME, b"\0"))


def parse_end(word):
    name, _, vlan = word.partition(".")
    return name, int(vlan or 0)


def main():
    joined = {}
    for argument in sys.argv[1:]:
        one, other = (parse_end(word) for word in argument.split("="))
        joined[one], joined[other] = other, one
    links = {name: open_interface(name) for name, _ in joined}
    names = {link: name for name, link in links.items()}
    while True:
        for link in select.select(list(names), [], [])[0]:
            frame, vlan = receive(link)
            end = joined.get((names[link], vlan))
            if frame is not None and end is not None:
                send(links[end[0]], frame, end[1])


if __name__ == "__main__":
    main()
