#!/usr/bin/env python3
"""Compares what the store kept of a drive with what the driver model really did.

  compare_drive.py TRUTH.json FOLDER     FOLDER holds the store's record files (`performance`)

TRUTH.json comes from `sim_player SIM --truth`. Of the store's sessions the one that shares most laps
with it is taken, or the one of --date. Prints every lap with time, sectors and flags, then each
channel of each clean lap: median, 95th percentile and largest difference. Places are compared after
the best turn, shift and, where the sim's axes need it, mirroring. Exit code 1 where a 95th percentile
(a difference of a lap or sector, a share of wrong gears) passes its tolerance or a lap is missing.
"""
import argparse
import json
import math
import pathlib
import sys

import read_store

# option, default, what it is
TOLERANCES = [
    ("time", 0.005, "s, lap time"), ("sector", 0.05, "s, sector time"),
    ("elapsed", 0.05, "s, time since the line"), ("speed", 0.5, "m/s"), ("throttle", 0.05, "0..1"),
    ("brake", 0.05, "0..1"), ("steer", 0.05, "rad"), ("rpm", 150, "1/min"),
    ("gear", 0.02, "share of the lap in another gear"), ("latG", 0.1, "g"), ("longG", 0.1, "g"),
    ("place", 2.0, "m"),
]
GRAVITY = 9.80665


def quantile(values, share):
    values = sorted(values)
    return values[min(int(share * len(values)), len(values) - 1)] if values else math.nan


def sessions_below(folder):
    for path in sorted(folder.rglob("*.json")):
        try:
            records = json.loads(path.read_text())
        except ValueError:
            continue
        if isinstance(records, list):
            for record in records:
                if isinstance(record, dict) and "laps" in record:
                    yield path, record


def best_shift(stored, truth):
    """Index of the truth's lap for the first stored lap, and how many laps agree then."""
    best = (0, 0)
    for shift in range(-len(stored) + 1, len(truth)):
        count = sum(1 for i, lap in enumerate(stored) if 0 <= i + shift < len(truth)
                    and abs(lap["lapTime"] - truth[i + shift]["time"]) < 0.05)
        if count > best[1]:
            best = (shift, count)
    return best


def find_session(args, truth):
    best = None
    for path, record in sessions_below(args.folder):
        if args.date and record.get("date") != args.date:
            continue
        shift, count = best_shift(record["laps"], truth["laps"])
        if count and (best is None or count > best[0]):
            best = (count, shift, path, record)
    return best


def truth_at(lap, name, metre):
    values = lap[name]
    at = metre - lap["firstMetre"]
    low = int(math.floor(at))
    if low < 0 or low + 1 >= len(values):
        return None
    if name == "gear":
        return values[low]
    return values[low] + (values[low + 1] - values[low]) * (at - low)


def aligned(points, targets):
    """Distances after the best turn and shift of `points`, its mirrored form too, and the scale."""
    n = len(points)
    best = None
    for mirror in (1, -1):
        mx, my = sum(p[0] for p in points) / n, sum(p[1] * mirror for p in points) / n
        tx, ty = sum(t[0] for t in targets) / n, sum(t[1] for t in targets) / n
        a = b = size = 0.0
        for p, t in zip(points, targets):
            px, py, qx, qy = p[0] - mx, p[1] * mirror - my, t[0] - tx, t[1] - ty
            a += px * qx + py * qy
            b += px * qy - py * qx
            size += px * px + py * py
        turn = math.atan2(b, a)
        c, s = math.cos(turn), math.sin(turn)
        away = [math.hypot((p[0] - mx) * c - (p[1] * mirror - my) * s - (t[0] - tx),
                           (p[0] - mx) * s + (p[1] * mirror - my) * c - (t[1] - ty))
                for p, t in zip(points, targets)]
        result = (sum(d * d for d in away), away, mirror < 0, math.hypot(a, b) / size if size else 0)
        if best is None or result[0] < best[0]:
            best = result
    return best[1:]


def compare_channels(stored, truth_lap, length, bins):
    """Name to list of differences, one for each bin with data, and a remark on the places."""
    have = [i for i in range(bins) if stored["have"][i]]
    metres = {i: (i + 0.5) / bins * length for i in have}
    out = {}
    for name in ("elapsed", "speed", "throttle", "brake", "steer", "rpm", "gear"):
        pairs = [(stored[name][i], truth_at(truth_lap, name, metres[i])) for i in have]
        out[name] = [abs(a - b) for a, b in pairs if b is not None]
    out["gear"] = [1.0 if d else 0.0 for d in out["gear"]]
    for name, source in (("latG", "latAccel"), ("longG", "longAccel")):
        pairs = [(stored[name][i], truth_at(truth_lap, source, metres[i])) for i in have]
        pairs = [(a, b / GRAVITY) for a, b in pairs if b is not None]
        sign = 1 if sum(a * b for a, b in pairs) >= 0 else -1  # sims differ in what is positive
        out[name] = [abs(a - sign * b) for a, b in pairs]
    remark = ""
    places = [(i, truth_at(truth_lap, "x", metres[i]), truth_at(truth_lap, "y", metres[i]))
              for i in have]
    places = [p for p in places if p[1] is not None]
    if "x" in stored and len(places) > 10 and any(stored["x"][i] for i, _, _ in places):
        away, mirrored, scale = aligned([(stored["x"][i], stored["y"][i]) for i, _, _ in places],
                                        [(x, y) for _, x, y in places])
        out["place"] = away
        remark = "scale %.5f%s" % (scale, ", mirrored" if mirrored else "")
    return out, remark


def compare_laps(args, record, truth, shift):
    """Prints the table; the pairs to compare further and the number of faults."""
    faults, pairs = 0, []
    print("lap      time      truth    diff  sectors' diffs            stored / truth flags")
    seen = set()
    for i, lap in enumerate(record["laps"]):
        at = i + shift
        if not 0 <= at < len(truth["laps"]):
            print("%3d  %8.3f  no such lap was driven" % (i + 1, lap["lapTime"]))
            faults += 1
            continue
        real = truth["laps"][at]
        seen.add(at)
        flags = [(bool(lap.get("invalid")), not real["valid"]), (bool(lap.get("inLap")), real["inLap"]),
                 (bool(lap.get("outLap")), real["outLap"])]
        sectors = lap.get("sectorSecAll", lap.get("sectorSec", []))[:3]
        diffs = [a - b if a > 0 else math.nan for a, b in zip(sectors, real["sectors"])]
        words = lambda k: " ".join(n for n, f in zip(("invalid", "in", "out"), flags) if f[k]) or "-"
        # A lap that did not begin at the line has no time that all clocks agree on.
        timed = real["firstMetre"] == 0
        bad = timed and (abs(lap["lapTime"] - real["time"]) > args.time
                         or any(abs(d) > args.sector for d in diffs))
        bad = bad or any(a != b for a, b in flags)
        faults += bad
        print("%3d  %8.3f  %9.3f  %6.3f  %-24s  %s / %s%s" % (
            i + 1, lap["lapTime"], real["time"], lap["lapTime"] - real["time"],
            " ".join("%7.3f" % d for d in diffs), words(0), words(1), "  <--" if bad else ""))
        if real["valid"] and not real["inLap"] and not real["outLap"]:
            pairs.append((i, real))
    for at, real in enumerate(truth["laps"]):
        if at not in seen:
            print("  -            %9.3f  not stored  <--" % real["time"])
            faults += 1
    return pairs, faults


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("truth", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--date", help="of the stored session")
    for name, default, what in TOLERANCES:
        parser.add_argument("--" + name, type=float, default=default, help="%s (%g)" % (what, default))
    args = parser.parse_args()
    truth = json.loads(args.truth.read_text())
    found = find_session(args, truth)
    if found is None:
        print("no stored session shares a lap with this drive", file=sys.stderr)
        return 1
    count, shift, path, record = found
    print("%s, session of %s: %d of %d laps agree" % (path.name, record["date"], count,
                                                      len(truth["laps"])))
    pairs, faults = compare_laps(args, record, truth, shift)
    sidecar = path.parent / "traces" / record.get("traceFile", "")
    if not record.get("traceFile") or not sidecar.is_file():
        print("no trace file")
        return 1
    trace = read_store.read_trace(sidecar.read_bytes())
    compared = 0
    for index, real in pairs:
        if index >= len(trace["laps"]):
            continue
        differences, remark = compare_channels(trace["laps"][index], real, truth["length"],
                                               trace["binCount"])
        print("lap %d, %d bins%s" % (index + 1, trace["binCount"], ", " + remark if remark else ""))
        for name, values in differences.items():
            figure = sum(values) / max(len(values), 1) if name == "gear" else quantile(values, 0.95)
            bad = not figure <= getattr(args, name)  # also where there is none
            faults += bad
            compared += 1
            print("  %-9s median %9.4f   p95 %9.4f   max %9.4f%s" % (
                name, quantile(values, 0.5), figure, max(values, default=math.nan),
                "  <--" if bad else ""))
    if not compared:
        print("no clean lap to compare")
    return 1 if faults or not compared else 0


if __name__ == "__main__":
    sys.exit(main())
