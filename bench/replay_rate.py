#!/usr/bin/env python3
"""Replays many reports and leaves and prints the rate: replay_rate.py MCADAPT [FRAMES [GROUPS]].

Makes a capture of IGMPv2 reports and leaves, tagged, ten microseconds apart, and a unit with one translation rule;
runs `mcadapt replay --quiet` over it twice. Fails when the two outputs differ.
"""
import pathlib
import struct
import subprocess
import sys
import tempfile
import time

REPORT, LEAVE = 0x16, 0x17
ALL_ROUTERS = bytes([224, 0, 0, 2])
HOST = bytes.fromhex("020000000010")
UNIT = """uplink epon
std_omci_set_multicast_vlan_onu portNO=0 prouptagmode=2 in_up_vlan=100 out_up_vlan=200 prodntagmode=2 \
in_dn_vlan=200 out_dn_vlan=100 datedntagmode=2 in_data_vlan=200 out_data_vlan=100
"""


def with_checksum(packet, offset):
    total = sum(struct.unpack(f">{len(packet) // 2}H", packet))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return packet[:offset] + struct.pack(">H", ~total & 0xFFFF) + packet[offset + 2 :]


def frame(kind, group):
    target = ALL_ROUTERS if kind == LEAVE else group
    message = with_checksum(struct.pack(">BBH4s", kind, 0, 0, group), 2)
    header = struct.pack(">BBHHHBBH4s4s", 0x46, 0xC0, 32, 0, 0x4000, 1, 2, 0, bytes([10, 0, 0, 16]), target)
    header = with_checksum(header + bytes.fromhex("94040000"), 10)
    mac = bytes([0x01, 0x00, 0x5E, target[1] & 0x7F]) + target[2:]
    ethernet = mac + HOST + struct.pack(">HHH", 0x8100, 100, 0x0800)
    return (ethernet + header + message).ljust(60, b"\0")


def write_capture(path, frames, groups):
    pairs = []
    for number in range(groups):
        group = bytes([239, 1, number >> 8 & 0xFF, number & 0xFF])
        pairs.append((frame(REPORT, group), frame(LEAVE, group)))
    with path.open("wb") as capture:
        capture.write(struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1))
        for number in range(frames):
            content = pairs[number // 2 % groups][number % 2]
            seconds, micros = divmod(number * 10, 1_000_000)
            capture.write(struct.pack("<IIII", 1000 + seconds, micros, len(content), len(content)) + content)


def main():
    if len(sys.argv) < 2:
        sys.exit(__doc__.splitlines()[0])
    program = sys.argv[1]
    frames = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
    groups = int(sys.argv[3]) if len(sys.argv) > 3 else 200
    with tempfile.TemporaryDirectory() as folder:
        capture, unit = pathlib.Path(folder, "user.pcap"), pathlib.Path(folder, "unit.conf")
        write_capture(capture, frames, groups)
        unit.write_text(UNIT)
        outputs = []
        for _ in range(2):
            begin = time.monotonic()
            command = [program, "replay", "--quiet", "--port0", str(capture), "--unit", str(unit)]
            outputs.append(subprocess.run(command, check=True, capture_output=True).stdout)
            seconds = time.monotonic() - begin
            print(f"{frames} frames in {seconds:.2f} s: {frames / seconds / 1e6:.2f} million a second")
    if outputs[0] != outputs[1]:
        sys.exit("replay_rate: the two runs differ")
    print("both runs printed the same")


if __name__ == "__main__":
    main()
