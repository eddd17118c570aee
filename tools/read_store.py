#!/usr/bin/env python3
"""Reads the driven sessions and the lap traces, from the layout of the files alone.

  read_store.py FOLDER            the sessions in every record file below FOLDER (`performance`)
  read_store.py FILE.vttr         head and laps of one trace file
  read_store.py FILE.vttr --json  all of it, channels included
  read_store.py FILE.vttr --csv N lap N (from 1), one row for each bin with data

Shares no code with the program: what it reads is what the layout says, and not what a bug agreed on.
"""
import argparse
import json
import pathlib
import struct
import sys

HEADER = {1: 20, 2: 36, 3: 36, 4: 40, 5: 44, 6: 60}
MASK = {1: 0x01FF, 2: 0x07FF, 3: 0x0FFF, 4: 0x0FFF, 5: 0x0FFF, 6: 0x7FFF}
# name, struct code, divisor (0 = as it is)
CHANNELS = [
    ("speed", "H", 100), ("throttle", "B", 255), ("brake", "B", 255), ("steer", "h", 1000),
    ("latG", "h", 1000), ("longG", "h", 1000), ("elapsed", "I", 1000), ("gear", "b", 0),
    ("rpm", "H", 0), ("x", "i", 100), ("y", "i", 100), ("lateral", "h", 100),
    ("yawRate", "h", 1000), ("latVelocity", "h", 100), ("absActive", "B", 0),
]


class Broken(Exception):
    pass


def need(condition, what):
    if not condition:
        raise Broken(what)


def xpress_chunk(data, size):
    """[MS-XCA] 2.2.4: one chunk, at most 64 KiB."""
    need(len(data) >= 256 + 4, "chunk without its table")
    lengths = []
    for byte in data[:256]:
        lengths += [byte & 15, byte >> 4]
    table, code = {}, 0
    for bits in range(1, 16):
        code <<= 1
        for symbol in range(512):
            if lengths[symbol] == bits:
                table[bits, code] = symbol
                code += 1
    need(code == 1 << 15, "the code is not complete")
    pos = 256
    out = bytearray()

    def word():
        nonlocal pos
        need(pos + 2 <= len(data), "chunk ends early")
        pos += 2
        return data[pos - 2] | data[pos - 1] << 8

    window = word() << 16
    window |= word()
    spare = 16

    def drop(bits):
        nonlocal window, spare
        window = window << bits & 0xFFFFFFFF
        spare -= bits
        if spare < 0:
            window |= word() << -spare
            spare += 16

    while len(out) < size:
        for bits in range(1, 16):
            symbol = table.get((bits, window >> 32 - bits))
            if symbol is not None:
                break
        drop(bits)
        if symbol < 256:
            out.append(symbol)
            continue
        length, log2 = symbol - 256 & 15, symbol - 256 >> 4
        if length == 15:
            need(pos < len(data), "chunk ends early")
            length = data[pos]
            pos += 1
            if length == 255:
                length = word()
                if length == 0:
                    length = word()
                    length |= word() << 16
                need(length >= 15, "match too short for its form")
            else:
                length += 15
        length += 3
        distance = (1 << log2) + (window >> 32 - log2 if log2 else 0)
        drop(log2)
        need(distance <= len(out) and len(out) + length <= size, "match out of the chunk")
        for _ in range(length):
            out.append(out[-distance])
    return bytes(out)


def unpack(data, size):
    """The frame round the chunks; the payload and the bytes that it took."""
    out, pos = bytearray(), 0
    while len(out) < size:
        need(pos + 4 <= len(data), "frame ends early")
        head, = struct.unpack_from("<I", data, pos)
        pos += 4
        length, part = head & 0x7FFFFFFF, min(65536, size - len(out))
        need(pos + length <= len(data), "frame ends early")
        chunk = data[pos:pos + length]
        pos += length
        if head >> 31:
            need(length == part, "raw chunk of a wrong size")
            out += chunk
        else:
            out += xpress_chunk(chunk, part)
    return bytes(out), pos


def read_events(block, bins):
    if len(block) < 36:
        return None
    version, _, count, kl, kr, oe, ox, furl, _ = struct.unpack_from("<HHI6H", block)
    if version != 1 or count != bins or len(block) != 36 + 4 * (kl + kr + furl) + 8 * (oe + ox):
        return None
    marks = struct.unpack_from("<4i", block, 20)
    events = dict(zip(("approachEnter", "approachExit", "conesEnter", "conesExit"), marks))
    pos = 36
    for name, items, off in (("kerbL", kl, 0), ("kerbR", kr, 0), ("offEnter", oe, 1),
                             ("offExit", ox, 1), ("furl", furl, 0)):
        form = "<HHHh" if off else "<HH"
        events[name] = [list(struct.unpack_from(form, block, pos + i * struct.calcsize(form)))
                        for i in range(items)]
        pos += items * struct.calcsize(form)
        if any(item[0] >= bins for item in events[name]):
            return None
    return events


def read_trace(data):
    need(20 <= len(data) <= 268435456, "size")
    magic, version, flags, payload_size, bins, mask, laps, _ = struct.unpack_from("<4sHHIHHHH", data)
    need(magic == b"VTTR" and version in HEADER and len(data) >= HEADER[version], "not a trace file")
    need(1 <= bins <= 26000 and mask == MASK[version] and 1 <= laps <= 200, "bins, mask or laps")
    out = {"version": version, "binCount": bins, "compressed": flags & 1, "hasLateral": flags >> 1 & 1,
           "originLat": 0.0, "originLon": 0.0, "lateralCalVersion": 0, "dynamicsMask": 0,
           "latVelocitySource": 0}
    event_bytes = 0
    if version >= 2:
        out["originLat"], out["originLon"] = struct.unpack_from("<dd", data, 20)
    if version >= 4:
        out["lateralCalVersion"], = struct.unpack_from("<I", data, 36)
    if version >= 5:
        event_bytes, = struct.unpack_from("<I", data, 40)
    if version >= 6:
        out["dynamicsMask"], out["latVelocitySource"] = struct.unpack_from("<HB", data, 44)
        out["airTempAvg"], out["trackTempAvg"], out["wetnessMax"] = struct.unpack_from("<fff", data, 48)
    channels = [channel for bit, channel in enumerate(CHANNELS) if mask >> bit & 1]
    lap_bytes = sum(struct.calcsize(code) for _, code, _ in channels) * bins + (bins + 7) // 8
    need(payload_size == laps * lap_bytes, "payload size")
    entry = 20 if version >= 6 else 12
    start = HEADER[version] + laps * entry
    if flags & 1:
        payload, used = unpack(data[start:], payload_size)
    else:
        payload, used = data[start:start + payload_size], payload_size
    need(len(payload) == payload_size, "payload ends early")
    events = data[start + used:]
    out["events"] = read_events(events, bins) if len(events) == event_bytes else None
    out["laps"] = []
    for index in range(laps):
        offset, time, lap_flags = struct.unpack_from("<IfH", data, HEADER[version] + index * entry)
        need(offset + lap_bytes <= payload_size, "lap outside the payload")
        lap = {"lapTime": time, "flags": lap_flags}
        if version >= 6:
            lap["brakeBias"], lap["fuelStart"] = struct.unpack_from(
                "<ff", data, HEADER[version] + index * entry + 12)
        pos = offset
        for name, code, divisor in channels:
            values = struct.unpack_from("<%d%s" % (bins, code), payload, pos)
            lap[name] = [value / divisor for value in values] if divisor else list(values)
            pos += bins * struct.calcsize(code)
        lap["have"] = [payload[pos + i // 8] >> i % 8 & 1 for i in range(bins)]
        out["laps"].append(lap)
    return out


def show_records(folder):
    for path in sorted(folder.rglob("*.json")):
        sessions = json.loads(path.read_text())
        print(path.relative_to(folder))
        for session in sessions:
            laps = session.get("laps", [])
            trace = session.get("traceFile", "")
            there = "" if not trace or (path.parent / "traces" / trace).exists() else " (MISSING)"
            print("  %s  %-10s %3d laps  best %8.3f  %s%s" % (
                session.get("date"), session.get("sessionType"), len(laps),
                session.get("summary", {}).get("bestLapTime", 0), trace, there))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("path", type=pathlib.Path)
    parser.add_argument("--json", action="store_true")
    parser.add_argument("--csv", type=int)
    args = parser.parse_args()
    if args.path.is_dir():
        show_records(args.path)
        return 0
    try:
        trace = read_trace(args.path.read_bytes())
    except Broken as reason:
        print("%s: %s" % (args.path, reason), file=sys.stderr)
        return 1
    if args.json:
        json.dump(trace, sys.stdout)
        return 0
    laps = trace.pop("laps")
    if args.csv:
        lap = laps[args.csv - 1]
        names = [name for name, _, _ in CHANNELS if name in lap]
        print(",".join(["bin"] + names))
        for i in range(trace["binCount"]):
            if lap["have"][i]:
                print(",".join([str(i)] + [str(lap[name][i]) for name in names]))
        return 0
    print(json.dumps(trace))
    for index, lap in enumerate(laps):
        print("lap %d: %.3f s, flags %d, %d of %d bins" % (
            index + 1, lap["lapTime"], lap["flags"], sum(lap["have"]), trace["binCount"]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
