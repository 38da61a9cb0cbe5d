#!/usr/bin/env python3
"""Writes the seeds of the fuzzers: make_seeds.py FOLDER makes FOLDER/<fuzzer>/<name> for each.

Seeds come from the captures and configurations in samples/, and from the defects that code of this kind is known for.
They are written in the terms in which fuzz/input.h and the fuzzers read them. Run it again after a change of those
terms, then let the fuzzers' own finds be merged on top (fuzz/README.md).
"""
import re
import struct
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[1]
SAMPLES = ("epon-snooping", "gpon-control")
MOST_SAMPLE_FRAMES = 12


# --- Terms of fuzz/input.h

def word(value):
    return struct.pack("<H", value & 0xFFFF)


def number(value):
    """One byte, or 0xFF and four."""
    return bytes([value]) if 0 <= value < 0xE0 else b"\xff" + struct.pack("<I", value & 0xFFFFFFFF)


def numbers(*values):
    return b"".join(map(number, values))


# --- Captures

def frames_of(pcap):
    """The frames of a pcap file of this machine's byte order or the other."""
    data = pcap.read_bytes()
    order = "<" if data[:4] in (b"\xd4\xc3\xb2\xa1", b"\x4d\x3c\xb2\xa1") else ">"
    at = 24
    while at + 16 <= len(data):
        size = struct.unpack(order + "I", data[at + 8 : at + 12])[0]
        yield data[at + 16 : at + 16 + size]
        at += 16 + size


def ip_packet_of(frame):
    """The packet behind tags, and whether it is IPv6; None when it is neither that nor IPv4."""
    at = 12
    while frame[at : at + 2] == b"\x81\x00":
        at += 4
    kind = frame[at : at + 2]
    if kind not in (b"\x08\x00", b"\x86\xdd"):
        return None
    return frame[at + 2 :], kind == b"\x86\xdd"


def is_protocol(frame):
    found = ip_packet_of(frame)
    if found is None:
        return False
    packet, v6 = found
    return packet[6] == 0 if v6 else packet[9] == 2


def sample_frames():
    """Protocol frames of the samples with the port on which they came, no two alike but for their addresses."""
    for sample in SAMPLES:
        for side, port in (("user", 0), ("net", 29)):
            seen = set()
            for frame in frames_of(ROOT / "samples" / sample / f"{side}.pcap"):
                kind = (frame[12:18], len(frame))
                if is_protocol(frame) and kind not in seen:
                    seen.add(kind)
                    yield f"{sample}-{side}-{len(seen)}", port, frame


# --- Frames and operations of the library

OPERATIONS = re.findall(
    r"^\s+(?:(?:NUMBERS|NUMBERS_WAIVING)\((\w+)|(?:WITH|WITH_WAIVING|BY)\(\w+, (\w+)|\{\"(\w+)\")",
    (Path(__file__).parent / "operations.cpp").read_text().split("operations[kOperations] = {")[1],
    re.M,
)
OPERATIONS = ["".join(names) for names in OPERATIONS]
assert len(OPERATIONS) == 106, len(OPERATIONS)

STARTED, LOGGED, TRACED, TWO_PORTS, EPON = 0x08, 0x10, 0x20, 0x40, 0x01


def modes(igmp, mld):
    return bytes([igmp | mld << 2])


def raw_frame(port, frame, told=None):
    """Kind 0 of a frame: its bytes as they are."""
    shape = 0 if told is None else 0x10
    return number(port) + bytes([shape]) + word(len(frame)) + frame + (b"" if told is None else number(told))


def built_frame(port, layout, packet, tags=(), mld=False, pad=None):
    """Kinds 1 to 5: untagged, tagged, double-tagged, PPPoE, PPPoE in the tag."""
    shape = layout | (8 if mld else 0) | (0x20 if pad is not None else 0)
    tail = b"" if pad is None else number(pad)
    return number(port) + bytes([shape]) + numbers(*tags) + word(len(packet)) + packet + tail


def rule(port=0, mode=2, user=100, network=200, up_tag=None, down_tag=None):
    up = network if up_tag is None else up_tag
    down = user if down_tag is None else down_tag
    return numbers(port, mode, user, up, mode, network, down, mode, network, user)


def in_frames(step):
    """A step of the frames fuzzer: frames, rules and what else there is."""
    return {"frame": b"\x0f", "rule": b"\x00", "mld_rule": b"\x02", "by_mode": b"\x03", "web": b"\x04",
            "override": b"\x05", "count": b"\x06", "ports": b"\x07", "mode": b"\x08", "refuse": b"\x09",
            "unit": b"\x0a", "meanwhile": b"\x0b", "any": b"\x0c", "send": b"\x0d", "send_mld": b"\x0e"}[step]


def operation(name):
    return bytes([OPERATIONS.index(name)])


def other(step):
    """A step of the operations fuzzer that is none of the operations."""
    steps = ["refuse", "unit", "gathered", "segment", "no_memory", "meanwhile", "mode", "ports", "frame"]
    return bytes([len(OPERATIONS) + steps.index(step)])


REPORT = bytes.fromhex("46c00020000000000102c0de0a010007e10102039404000016000807e1010203")
MLD_REPORT = bytes.fromhex(
    "6000000000200001fe800000000000000000000000000007ff1e0000000000000000000000000001"
    "3a0005020000010083000000000000ff1e0000000000000000000000000001"
)


def frames_seeds():
    rules = in_frames("rule") + rule() + in_frames("rule") + rule(user=101, network=201, up_tag=0xA0C9)
    for name, port, frame in list(sample_frames())[:MOST_SAMPLE_FRAMES]:
        for how, mode in (("snooping", modes(1, 2)), ("control", modes(3, 3))):
            yield f"{name}-{how}", bytes([STARTED]) + mode + rules + in_frames("frame") + raw_frame(port, frame)
    for layout, tags in ((1, ()), (2, (100,)), (3, (100, 101)), (4, ()), (5, ())):
        for mld in (False, True):
            packet = MLD_REPORT if mld else REPORT
            steps = b"".join(in_frames("frame") + built_frame(port, layout, packet, tags, mld) for port in (0, 29))
            name = f"layout-{layout}-{'mld' if mld else 'igmp'}"
            yield name, bytes([STARTED | LOGGED]) + modes(1, 2) + rules + steps
    # IP lengths against the frame's, and version and header length that lie
    for name, at, value in (("ip-length-long", 2, b"\xff\xff"), ("ip-length-zero", 2, b"\0\0"),
                            ("ip-length-swapped", 2, b"\x20\x00"), ("header-length-15", 0, b"\x4f"),
                            ("header-length-0", 0, b"\x40"), ("version-6", 0, b"\x66"), ("protocol-17", 9, b"\x11")):
        packet = REPORT[:at] + value + REPORT[at + len(value) :]
        yield name, bytes([STARTED]) + modes(1, 2) + rules + in_frames("frame") + built_frame(0, 2, packet, (100,))
    # Frames at their bounds, told longer or shorter than they are
    for size in (0, 11, 12, 13, 14, 15, 16, 17, 18, 21, 22, 1517, 1518, 1519, 1999, 2000, 2001, 2047, 2048):
        frame = (bytes.fromhex("01005e010203020000000a0181000064080045c0") + bytes(2048))[:2048]
        steps = b"".join(in_frames("frame") + raw_frame(port, frame[:64], size) for port in (0, 29))
        yield f"told-{size}", bytes([STARTED]) + modes(1, 2) + rules + steps
    # Lists at their exact bound, and all of one downstream VLAN; strips, untagging and overrides among them
    for count in (4, 5, 16, 17):
        many = b"".join(
            in_frames("rule") + rule(user=100 + i, network=200 if i % 2 else 210 + i, down_tag=0 if i % 3 == 0 else 100 + i)
            for i in range(count)
        )
        down = in_frames("frame") + built_frame(29, 2, REPORT, (200,)) + in_frames("frame") + built_frame(29, 1, REPORT)
        mld = in_frames("frame") + built_frame(29, 2, MLD_REPORT, (200,), True)
        yield f"rules-{count}", bytes([STARTED | TWO_PORTS]) + modes(1, 2) + many + down + mld
        yield f"rules-{count}-control", bytes([STARTED | EPON]) + modes(3, 3) + many + down + mld
    for i in range(8):
        for value in (0, 5, 11, 12, 13, 14):
            steps = in_frames("count") + bytes([i | value << 4]) + in_frames("frame") + built_frame(0, 2, REPORT, (100,))
            if i in (0, 5):
                yield f"count-{i}-{value}", bytes([STARTED]) + modes(1, 2) + rules + steps + steps[2:]
    override = in_frames("override") + numbers(0, 0, 5, 0) + in_frames("frame") + built_frame(29, 2, REPORT, (200,))
    yield "override-strips", bytes([STARTED]) + modes(1, 2) + rules + override
    packet = numbers(0, 0x8100, 200, 5) + word(len(REPORT)) + REPORT
    # The second match is looked for in the other port's rules, from the rule behind the first one on.
    rules_of_both = ((0, 200), (0, 300), (1, 300), (1, 200))
    two_matches = b"".join(in_frames("rule") + rule(port, user=100 + i, network=vlan) for i, (port, vlan) in enumerate(rules_of_both))
    yield "engine-packet", bytes([STARTED | TWO_PORTS]) + modes(1, 2) + two_matches + in_frames("send") + packet
    for size in (2024, 2025, 2030, 2031):
        for step, head in (("send", REPORT), ("send_mld", MLD_REPORT)):
            longest = numbers(0, 0x8100, 200, 5) + word(size) + head + bytes(size - len(head))
            if step == "send" or size == 2025:
                yield f"engine-packet-{step}-{size}", bytes([STARTED | TWO_PORTS]) + modes(1, 2) + two_matches + in_frames(step) + longest
    gone = operation("omci_clear_igmp_all_parmeter")
    meanwhile = in_frames("meanwhile") + bytes([0]) + gone + bytes([0])
    yield "rules-go-meanwhile", bytes([STARTED]) + modes(1, 2) + rules + meanwhile + in_frames("frame") + built_frame(0, 2, REPORT, (100,))


# --- Sequences of operations

ARGUMENTS = {
    "mc_igmp_init": numbers(100, 0), "igmp_adapt_set_sig_vlan": numbers(0, 300, 5, 0),
    "igmp_port_vlan_and_mode_set": numbers(0, 2, 100, 200), "igmp_service_remove_port_config": numbers(0, 2, 100, 200),
    "omci_set_igmp_default_vlan": numbers(200), "omci_set_multicast_mode": numbers(3),
    "omci_set_port_igmpgroup_limit": numbers(0, 10), "omci_clear_igmp_parmeter": numbers(0, 2),
    "omci_add_static_multi_acess_ctrl_table": number(0) + bytes([1, 5]) + number(200),
    "omci_del_static_multi_acess_ctrl_table": number(0) + bytes([2, 3]) + number(200),
    "mc_oam_set_multicast_control": numbers(1, 22) + bytes([1, 2]) + bytes(range(20)),
    "igmp_hal_sync_grp_infor": number(255), "mc_set_debug": numbers(0x25, 1), "mld_adapt_set_debug": numbers(0x25, 1),
    "send_pkt_igmp": numbers(0, 0x8100, 200, 5) + word(32) + REPORT,
    "send_pkt_mld": numbers(0, 0x8100, 200, 5) + word(len(MLD_REPORT)) + MLD_REPORT,
}


def call(name):
    return operation(name) + ARGUMENTS.get(name, b"" if "multicast_vlan" not in name else rule())


def operations_seeds():
    start = bytes([STARTED]) + modes(1, 2)
    logged = bytes([STARTED | LOGGED | TRACED]) + modes(1, 2)
    for first in range(0, len(OPERATIONS), 6):
        some = b"".join(call(name) + (b"" if name in ARGUMENTS else numbers(0, 1, 2)) for name in OPERATIONS[first : first + 6])
        yield f"operations-{first}", logged + some
    install, remove = operation("std_omci_set_multicast_vlan_onu"), operation("std_omci_delete_multicast_vlan_onu")
    for count in (15, 16, 17):
        fill = b"".join(install + rule(user=100 + i, network=100 + i) for i in range(count))
        drain = b"".join(remove + rule(user=100 + i, network=100 + i) for i in reversed(range(count)))
        yield f"fill-{count}", start + fill + drain
    web = operation("std_omci_web_set_vlan")
    yield "web-fills-the-list", start + b"".join(web + rule(network=100 + i) for i in range(20))
    statics = b"".join(
        operation("omci_add_static_multi_acess_ctrl_table") + number(0) + bytes([i, i]) + number(200) for i in range(33)
    )
    clear = operation("omci_clear_all_static_multi_acess_ctrl_table") + number(0)
    yield "statics-33", start + statics + install + rule() + remove + rule() + clear
    yield "statics-to-255", start + operation("omci_add_static_multi_acess_ctrl_table") + number(0) + bytes([250, 255]) + number(200) + clear
    record = struct.pack("<HIIIIIHB", 200, 1, 0xEF010101, 2, 3, 4, 5, 0)
    for claimed, there in ((1, 1), (512, 512), (513, 1), (0xFFFFFFFF, 2)):
        bytes_ = struct.pack("<I", claimed) + record * there
        gathered = other("gathered") + number(len(bytes_)) + word(len(bytes_)) + bytes_
        queries = b"".join(operation(name) for name in ("omci_get_multicast_ip_port", "std_omci_get_multicast_ip_port",
                                                        "mc_oam_get_multicast_control", "GetIgmpStatusPara"))
        yield f"gathered-{claimed}-{there}", start + gathered + queries
    for port in (0, 1, 2, 3, 0xFFFFFFFF):
        count = operation("std_omci_get_port_igmp_count") + number(port)
        limit = operation("omci_get_port_igmpgroup_limit") + number(port)
        yield f"status-of-port-{port}", start + other("segment") + b"\x01" + word(32) + bytes(range(32)) + count + limit
    yield "no-memory", start + other("no_memory") + operation("omci_clear_igmp_all_parmeter") + operation("omci_get_multicast_ip_port")
    control = operation("mc_oam_set_multicast_control")
    for entries, there in ((0, 0), (255, 255), (255, 1)):
        yield f"oam-{entries}-{there}", start + control + numbers(1, 2) + bytes([1, entries]) + bytes(range(10)) * there
    meanwhile = other("meanwhile") + bytes([1]) + remove + bytes([len(rule())]) + rule()
    yield "removed-while-installed", start + meanwhile + install + rule() + install + rule(user=101, network=201)
    frame = other("frame") + built_frame(0, 2, REPORT, (100,))
    yield "stale-rules", start + install + rule() + frame + remove + rule() + frame + operation("omci_clear_igmp_all_parmeter") + frame
    sort = operation("mldsortPortVlanCfg") + number(0) + (b"\x01" + rule()) * 32
    yield "any-table-for-mld", start + sort + other("frame") + built_frame(0, 2, MLD_REPORT, (100,), True)


# --- Packets of the engine

BUILT, OWN, REPAIRED, DAMAGED, PADDED = 0, 1, 2, 4, 8
ORDER, TIME, REFUSE, INSIDE, PACKET = b"\x00", b"\x04", b"\x07", b"\x08", b"\x0f"
SMALL, DEFAULT = b"\x00", b"\x01"
FAST_LEAVE = 0x10
SNOOPING, PROXY, CONTROL = bytes([1 | 2 << 2]), bytes([2 | 1 << 2]), bytes([3 | 3 << 2])


def engine_packet(packet, mld=False, port=0, vlan=0):
    return PACKET + bytes([1 if mld else 0, port, vlan]) + packet


def own(packet, repaired=False):
    return bytes([OWN | (REPAIRED if repaired else 0)]) + word(len(packet)) + packet


def report(*records, times=1, announced=None, host=7, shape=BUILT):
    counts = b"\x00" if announced is None else b"\x01" + number(announced)
    return bytes([shape | host << 4, 5, len(records), times - 1]) + counts + b"".join(records)


def record(kind, sources=0, group=0, first=1):
    if sources > 7:
        return bytes([kind | 0x80]) + number(sources) + bytes([group, first])
    return bytes([kind | sources << 4, group, first])


def lying_record(kind, group=0, auxiliary=0, announced=None):
    told = b"\x00" if announced is None else b"\x01" + number(announced)
    return bytes([kind | 0x08, auxiliary]) + told + bytes([group, 1])


def query(version=3, code=100, group=7, robustness=2, interval=125, sources=0, announced=None, first=1, host=7):
    told = b"\x00" if announced is None else b"\x01" + number(announced)
    tail = bytes([robustness, interval, sources]) + told + bytes([first]) if version == 3 else b""
    return bytes([BUILT | host << 4, 1 if version == 3 else 0, code, group]) + tail


def join(version=2, group=0):
    return bytes([BUILT | 7 << 4, 2 if version == 1 else 3, group])


def leave(group=0):
    return bytes([BUILT | 7 << 4, 4, group])


def wait(milliseconds_step, times=1, stepwise=True):
    """0, 1 ms, 100 ms, 1 s, 10 s, 1 min or 1 h, so many times."""
    return TIME + bytes([milliseconds_step | (times - 1) << 4, 1 if stepwise else 0])


def until_next_timer():
    return TIME + b"\x08"


TO_IN, TO_EX, ALLOW, BLOCK, IS_IN, IS_EX = 3, 4, 5, 6, 1, 2
VLAN_GOES = ORDER + b"\x02" + bytes([0, 1])
MLD_VLAN_GOES = ORDER + b"\x02" + bytes([0, 3])
DROP_ALL = ORDER + b"\x04" + bytes([0, 0, 6])


def engine_seeds():
    for name, port, frame in list(sample_frames())[:MOST_SAMPLE_FRAMES]:
        packet, v6 = ip_packet_of(frame)
        side = 3 if port == 29 else 0
        for how, mode in (("snooping", SNOOPING), ("proxy", PROXY)):
            yield f"{name}-{how}", DEFAULT + mode + engine_packet(own(packet), v6, side) + wait(3) + engine_packet(own(packet, True), v6, side)
    both = ((False, "igmp"), (True, "mld"))
    for mld, family in both:
        def give(packet, port=0, vlan=0, mld=mld):
            return engine_packet(packet, mld, port, vlan)

        gone = MLD_VLAN_GOES if mld else VLAN_GOES
        yield f"{family}-join-leave", SMALL + SNOOPING + give(join()) + give(leave()) + wait(3, 3)
        yield f"{family}-thousands-of-sources", DEFAULT + SNOOPING + give(report(record(ALLOW, 366))) + give(report(record(BLOCK, 366)))
        yield f"{family}-many-small-sources", SMALL + SNOOPING + give(report(record(TO_EX, 7))) + give(report(record(ALLOW, 20, first=9)))
        yield f"{family}-one-source-often", SMALL + SNOOPING + give(report(record(TO_EX, 100, first=200)))
        yield f"{family}-repeated-records", SMALL + SNOOPING + give(report(record(TO_EX), record(TO_IN), record(ALLOW, 2), times=8))
        for told in (2, 0xFF, 0xFFFF):
            yield f"{family}-records-told-{told}", SMALL + SNOOPING + give(report(record(IS_EX), announced=told))
            yield f"{family}-sources-told-{told}", SMALL + SNOOPING + give(report(lying_record(ALLOW, announced=told)))
            yield f"{family}-query-sources-told-{told}", SMALL + SNOOPING + give(query(group=0, announced=told), 3)
        yield f"{family}-auxiliary", SMALL + SNOOPING + give(report(lying_record(IS_EX, auxiliary=2))) + give(report(lying_record(IS_EX, auxiliary=255)))
        full = b"".join(give(join(group=20 + i)) for i in range(8))
        yield f"{family}-groups-at-the-bound", SMALL + SNOOPING + full + give(leave(20)) + give(join(group=40))
        yield f"{family}-response-code-0", SMALL + SNOOPING + give(query(2, code=0), 3) + give(query(code=0, group=0), 3) + wait(3)
        yield f"{family}-response-code-255", DEFAULT + PROXY + give(query(code=255, interval=255, robustness=7), 3) + wait(5)
        yield f"{family}-vlan-goes-while-timers-run", SMALL + PROXY + give(join()) + give(leave()) + gone + wait(4, 2) + give(join())
        yield f"{family}-all-dropped-while-asked", SMALL + PROXY + give(report(record(ALLOW, 3))) + give(report(record(BLOCK, 2))) + DROP_ALL + wait(4)
        yield f"{family}-two-groups-one-address", SMALL + SNOOPING + give(join(group=0)) + give(join(group=2)) + give(leave(0)) + wait(3, 4)
        yield f"{family}-entry-refused", SMALL + SNOOPING + REFUSE + b"\x01" + give(join()) + REFUSE + b"\x00" + give(join())
        inside = INSIDE + bytes([len(DROP_ALL)]) + DROP_ALL
        yield f"{family}-all-dropped-inside-a-callback", SMALL + PROXY + inside + give(join()) + inside + give(leave()) + wait(4)
        nested = give(join(group=1))
        yield f"{family}-joined-inside-a-callback", SMALL + PROXY + INSIDE + bytes([len(nested)]) + nested + give(join()) + wait(4)
        yield f"{family}-older-querier", DEFAULT + PROXY + give(join()) + give(query(2, code=10), 3) + give(report(record(ALLOW, 3, group=1))) + wait(5)
        leaves = bytes([PROXY[0] | FAST_LEAVE])
        yield f"{family}-older-querier-after-leave", DEFAULT + leaves + give(join()) + give(join(group=1)) + give(leave()) + give(query(2, code=10), 3) + wait(5)
        yield f"{family}-general-query-to-proxy", DEFAULT + PROXY + give(report(record(ALLOW, 3))) + give(query(code=10), 3) + until_next_timer() + wait(4, 2)
        yield f"{family}-mode-changes", SMALL + PROXY + give(join()) + ORDER + bytes([0, 1, 0]) + ORDER + bytes([0, 2, 1]) + wait(4) + ORDER + bytes([0, 3, 1])
        for cut in (1, 8, 100):
            yield f"{family}-frame-cut-by-{cut}", SMALL + SNOOPING + give(bytes([BUILT | PADDED | 7 << 4, 3, 0, 127 + cut]))
        fast = bytes([SNOOPING[0] | FAST_LEAVE])
        yield f"{family}-fast-leave", SMALL + fast + give(join()) + give(leave()) + give(report(record(ALLOW, 2), record(BLOCK, 2))) + wait(5)
        yield f"{family}-control", SMALL + CONTROL + give(join()) + ORDER + bytes([4, 0, 0, 3, 1, 5])
        yield f"{family}-far-future", SMALL + PROXY + give(join()) + wait(6, 16, False)
    yield "igmp-ssm-map", SMALL + SNOOPING + ORDER + bytes([3, 0, 6]) + numbers(0xEF010101, 0xFFFFFFFF, 5, 4, 1) + engine_packet(join()) + engine_packet(leave())
    yield "igmp-static-and-leave", SMALL + SNOOPING + ORDER + bytes([4, 0, 0, 0]) + number(1) + engine_packet(join()) + engine_packet(leave()) + wait(4)
    yield "igmp-ranges", SMALL + SNOOPING + ORDER + bytes([6, 0, 0, 0]) + numbers(0, 9, 100) + ORDER + bytes([6, 0, 0, 3]) + numbers(1, 0) + engine_packet(join()) + engine_packet(join(group=9))
    white_list = ORDER + bytes([6, 0, 0, 7]) + numbers(1, 0) + bytes.fromhex("ef020000ef02ffff")
    yield "igmp-authorised-no-longer", SMALL + SNOOPING + engine_packet(join()) + white_list + engine_packet(join()) + wait(5)
    yield "igmp-timers", SMALL + PROXY + ORDER + bytes([1, 0]) + numbers(255, 31744, 3174, 3174, 255, 0) + engine_packet(join()) + engine_packet(leave()) + wait(6, 8)
    yield "gather", SMALL + SNOOPING + engine_packet(join()) + ORDER + bytes([7, 7]) + number(29) + b"\x01"


# --- Files of the replay program

def capture(how, files, entries=b"\x00"):
    """`how`: 1 trap, 2 flood, 4 two files, 8 both sides in one, and the filter above that."""
    first = struct.pack("<I", len(files[0])) if len(files) > 1 else b""
    return bytes([how | (4 if len(files) > 1 else 0)]) + entries + first + b"".join(files)


def pcap(frames, order="<", magic=0xA1B2C3D4, link=1, seconds=1000, told=None):
    data = struct.pack(order + "IHHiIII", magic, 2, 4, 0, 0, 65535, link)
    for i, frame in enumerate(frames):
        data += struct.pack(order + "IIII", (seconds + i) & 0xFFFFFFFF, i, len(frame), told or len(frame)) + frame
    return data


def pcapng(frames, order="<", resolution=None):
    def block(kind, body):
        body += bytes(-len(body) % 4)
        size = struct.pack(order + "I", len(body) + 12)
        return struct.pack(order + "I", kind) + size + body + size

    options = b"" if resolution is None else struct.pack(order + "HHB3xHH", 9, 1, resolution, 0, 0)
    data = block(0x0A0D0D0A, struct.pack(order + "IHHq", 0x1A2B3C4D, 1, 0, -1))
    data += block(1, struct.pack(order + "HHI", 1, 0, 0) + options)
    for i, frame in enumerate(frames):
        data += block(6, struct.pack(order + "IIIII", 0, 0, 1000 + i, len(frame), len(frame)) + frame)
    return data


def capture_seeds():
    some = {}
    for sample in SAMPLES:
        for side in ("user", "net"):
            every = list(frames_of(ROOT / "samples" / sample / f"{side}.pcap"))
            kinds = {(frame[:3], frame[12:18], len(frame)): frame for frame in every}
            some[sample, side] = list(kinds.values())[:8]
    for sample in SAMPLES:
        user, net = some[sample, "user"], some[sample, "net"]
        yield f"{sample}-user", capture(1, [pcap(user)])
        yield f"{sample}-two-files", capture(3, [pcap(user), pcap(net, seconds=1001)])
        yield f"{sample}-other-order", capture(1, [pcap(user, ">")])
        yield f"{sample}-nanoseconds", capture(1, [pcap(user, magic=0xA1B23C4D)])
        yield f"{sample}-both-sides", capture(1 | 8 | 0x40, [pcap(user + net)])
        yield f"{sample}-pcapng", capture(1, [pcapng(user)])
    frames = some["epon-snooping", "user"]
    yield "pcapng-other-order", capture(1, [pcapng(frames, ">", 9)])
    yield "pcapng-resolution", capture(1, [pcapng(frames, "<", 0x8A)])
    yield "after-2038", capture(1, [pcap(frames, seconds=0x80000000)])
    yield "last-second", capture(1, [pcap(frames, seconds=0xFFFFFFFE)])
    yield "cut-by-the-capture", capture(1, [pcap([frame[:40] for frame in frames], told=400)])
    yield "ends-in-a-frame", capture(1, [pcap(frames)[:-7]])
    yield "ends-in-the-header", capture(1, [pcap([])[:20]])
    yield "no-frames", capture(1, [pcap([])])
    yield "other-link", capture(1, [pcap(frames, link=101)])
    yield "empty", capture(1, [b""])
    macs = bytes.fromhex("12345678")
    tags = bytes.fromhex("8100006488a800c8810000018100000208004500")
    short = [b"", b"\1", bytes(11), bytes(12), bytes(13), bytes.fromhex("01005e010101") + bytes(6) + tags, macs]
    short += [bytes.fromhex("333300010101") + bytes(6) + bytes.fromhex("86dd6000000000") + b"\0" * 8]
    short += [bytes.fromhex("01005e010101") + bytes(6) + bytes.fromhex("886411000001000000214600ffff")]
    yield "short-frames", capture(3, [pcap(short)])
    extensions = bytes.fromhex("333300000016") + bytes(6) + bytes.fromhex("86dd600000000020") + b"\1" + bytes(32)
    for chain in (b"\0\0" + bytes(6), b"\x2b\xff" + bytes(6), b"\x2c\0\0\1" + bytes(4), b"\x3c\0" * 40):
        yield f"extension-{chain[:2].hex()}", capture(1, [pcap([extensions[:20] + chain[:1] + extensions[21:] + chain + b"\x3a" + bytes(40)])])
    entry = b"\x01" + bytes.fromhex("01005e010101") + b"\x01" + word(200)
    yield "with-an-entry", capture(1, [pcap(some["epon-snooping", "net"])], entry)


def config_seeds():
    for sample in SAMPLES:
        yield sample, (ROOT / "samples" / sample / "unit.conf").read_bytes()
    lines = {
        "settings": "mac 02:19:c6:01:02:03\nuplink epon\nonu-id 0x7\nuntagged-vlan 4095\nports 1 2 28\n",
        "wrong-settings": "mac 02:19:c6:01:02\nuplink dsl\nonu-id 256\nuntagged-vlan 4096\nports 0 29 1 1\nports\nmac\n",
        "times": "at 0 mldPrint\nat 1e9 mldPrint\nat 1e10 mldPrint\nat -1 mldPrint\nat nan mldPrint\nat 0x1p3 mldPrint\nat .5 debugPrint\nat\nat 1\n",
        "numbers": "flood_trap 4294967295\nflood_trap 4294967296\nflood_trap 0x\nflood_trap 0xFFFFFFFF\nflood_trap -1\nomci_set_multicast_mode -2147483648\nflood_trap 9223372036854775807\nflood_trap -9223372036854775808\n",
        "names": "flood_trap mode=1\nflood_trap =1\nflood_trap mode=\nflood_trap mode=1 mode=2\nflood_trap other=1\nflood_trap 1 2\nomci_set_port_igmpgroup_limit limit=1 port=0\nomci_set_port_igmpgroup_limit limit=1 0\n",
        "entries": "mc_oam_set_multicast_control action=1 entries=1/400/33:33:00:01:01:05,2/1/01:00:5e:01:01:01\nmc_oam_set_multicast_control 1 1/2\nmc_oam_set_multicast_control 1 /,\nmc_oam_set_multicast_control 1 1/65536/33:33:00:01:01:05\n",
        "many-entries": "mc_oam_set_multicast_control 1 " + ",".join(["1/1/01:00:5e:01:01:01"] * 256) + "\n",
        "channels": "omci_set_port_to_control_multicast_list_table 0 0 100 1 65537\nomci_set_port_to_control_multicast_list_table 0 0 100 1 65536\nomci_set_port_to_control_multicast_list_table 0 0 100 0 4294967295\n",
        "groups": "std_omci_add_port_auth_igmp_group_vlan_config 0 239.1.1.1 239.1.1.9 0 100\nomci_set_multi_white_list_entry 239.1.1.1 4009754625\nomci_set_multi_white_list_entry 239.1.1 1.2.3.4.5\n",
        "odd-lines": "\n\n#\n # x\r\nmldPrint # y\n\tmldPrint\t\nmldPrint#\n" + "x" * 300 + "\n\0\nmldPrint",
    }
    for name, text in lines.items():
        yield name, text.encode()


SEEDS = {"frames": frames_seeds, "operations": operations_seeds, "engine": engine_seeds, "capture": capture_seeds,
         "config": config_seeds}


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: make_seeds.py FOLDER")
    for fuzzer, seeds in SEEDS.items():
        folder = Path(sys.argv[1]) / fuzzer
        folder.mkdir(parents=True, exist_ok=True)
        count = size = 0
        for name, data in seeds():
            (folder / name).write_bytes(data)
            count, size = count + 1, size + len(data)
        print(f"{fuzzer}: {count} seeds, {size} bytes")


if __name__ == "__main__":
    main()
