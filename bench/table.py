#!/usr/bin/env python3
"""Turns arbor_bench's JSON output into markdown tables (Arbor next to each peer, with the ratio
Arbor/peer) and, with --plot, a log-log plot of the cost per item against N for W1-W4."""

import argparse
import json
import os
import re
import subprocess
import sys

PEERS = ["Pugixml", "Libxml2", "Xerces"]
PEER_TITLES = {"Pugixml": "pugixml", "Libxml2": "libxml2", "Xerces": "Xerces-C++"}
NAME = re.compile(
    r"^BM_(W\d)_([A-Za-z]+)_(Arbor|Pugixml|Libxml2|Xerces|Memcpy)(?:_([A-Za-z]+))?/(\d+)(?:/iterations:\d+)?(?:/manual_time)?$")
UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
WORKLOADS = {
    "W1": "W1 build",
    "W2": "W2 insert-front",
    "W3": "W3 remove-front",
    "W4": "W4 serialize",
    "W5": "W5 text edits, ranges",
    "W6": "W6 child edits, ranges",
}


def load(path):
    with open(path) as f:
        data = json.load(f)
    results = {}
    errors = []
    # With repetitions only the median of each case is kept; a single run gives its one figure.
    repeated = any(b.get("aggregate_name") == "median" for b in data["benchmarks"])
    for b in data["benchmarks"]:
        if repeated:
            if b.get("aggregate_name") != "median":
                continue
        elif b.get("run_type", "iteration") != "iteration":
            continue
        m = NAME.match(b.get("run_name", b["name"]) if repeated else b["name"])
        if not m:
            continue
        if b.get("error_occurred"):
            errors.append("%s: %s" % (b["name"], b.get("error_message", "")))
            continue
        w, workload, lib, variant, size = m.groups()
        results[(w, workload, lib, variant or "", int(size))] = {
            "ns": b["real_time"] * UNIT_NS[b.get("time_unit", "ns")],
            "bytes_per_second": b.get("bytes_per_second"),
            "items_per_second": b.get("items_per_second"),
        }
    return data.get("context", {}), results, errors


def fmt_time(ns):
    if ns is None:
        return "-"
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if ns >= scale:
            return "%.3g %s" % (ns / scale, unit)
    return "%.3g ns" % ns


def fmt_ratio(a, b):
    if a is None or b is None or b == 0:
        return "-"
    return "%.2f" % (a / b)


def sizes_of(results, w, workload):
    return sorted({k[4] for k in results if k[0] == w and k[1] == workload})


def get(results, w, workload, lib, variant, size):
    r = results.get((w, workload, lib, variant, size))
    return r["ns"] if r else None


def peer_table(results):
    peers = [p for p in PEERS if any(k[2] == p for k in results)]
    head = ["Workload", "N", "Arbor"] + [PEER_TITLES[p] for p in peers] + \
        ["Arbor/" + PEER_TITLES[p] for p in peers]
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * 2 + "---:|" * (1 + 2 * len(peers))]
    rows = [
        ("W1", "Build", "Raw", "W1 build (raw)"),
        ("W2", "InsertFront", "Raw", "W2 insert-front (raw)"),
        ("W3", "RemoveFront", "Raw", "W3 remove-front (raw)"),
        ("W4", "Serialize", "", "W4 serialize"),
        ("W5", "TextEdit", "", "W5 text edits (ranges)"),
        ("W6", "ChildEdit", "", "W6 child edits (ranges)"),
        ("W7", "DestroyRoot", "Raw", "W7 destroy root (raw)"),
        ("W7", "DestroyRoot", "Document", "W7 destroy root (document)"),
        ("W7", "DestroyChain", "Raw", "W7 destroy chain (raw)"),
    ]
    for w, workload, variant, title in rows:
        for size in sizes_of(results, w, workload):
            arbor = get(results, w, workload, "Arbor", variant, size)
            if arbor is None:
                continue
            times = [get(results, w, workload, p, "", size) for p in peers]
            cells = [title, str(size), fmt_time(arbor)] + [fmt_time(t) for t in times] + \
                [fmt_ratio(arbor, t) for t in times]
            lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def document_table(results):
    lines = ["| Workload | N | Arbor raw | Arbor document | document/raw |", "|---|---|---:|---:|---:|"]
    for w, workload, title in (("W1", "Build", "W1 build"), ("W2", "InsertFront", "W2 insert-front")):
        for size in sizes_of(results, w, workload):
            raw = get(results, w, workload, "Arbor", "Raw", size)
            doc = get(results, w, workload, "Arbor", "Document", size)
            if raw is None or doc is None:
                continue
            lines.append("| %s | %d | %s | %s | %s |" % (title, size, fmt_time(raw), fmt_time(doc),
                                                        fmt_ratio(doc, raw)))
    return "\n".join(lines)


def throughput_table(results):
    libs = ["Arbor"] + [p for p in PEERS if any(k[2] == p and k[0] == "W4" for k in results)]
    head = ["N"] + [("Arbor" if l == "Arbor" else PEER_TITLES[l]) + " MB/s" for l in libs] + \
        ["memcpy MB/s", "Arbor/memcpy time"]
    lines = ["| " + " | ".join(head) + " |", "|---|" + "---:|" * (len(head) - 1)]
    for size in sizes_of(results, "W4", "Serialize"):
        cells = [str(size)]
        for lib in libs + ["Memcpy"]:
            r = results.get(("W4", "Serialize", lib, "", size))
            bps = r and r["bytes_per_second"]
            cells.append("%.0f" % (bps / 1e6) if bps else "-")
        cells.append(fmt_ratio(get(results, "W4", "Serialize", "Arbor", "", size),
                               get(results, "W4", "Serialize", "Memcpy", "", size)))
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def sink_table(results):
    """W4 throughput by sink (memory, string stream) and element class, against pugixml's."""
    columns = [("BasicElement, memory", "Arbor", ""), ("BasicElement, ostream", "Arbor", "Ostream"),
               ("minimal, memory", "Arbor", "Minimal"), ("minimal, ostream", "Arbor", "MinimalOstream"),
               ("pugixml, memory", "Pugixml", ""), ("pugixml, ostream", "Pugixml", "Ostream")]
    ratios = [("Basic/pugixml memory", "", ""), ("Basic/pugixml ostream", "Ostream", "Ostream"),
              ("minimal/pugixml memory", "Minimal", ""),
              ("minimal/pugixml ostream", "MinimalOstream", "Ostream")]
    head = ["N"] + [c[0] for c in columns] + [r[0] for r in ratios]
    lines = ["| " + " | ".join(head) + " |", "|---|" + "---:|" * (len(head) - 1)]

    def mbps(lib, variant, size):
        r = results.get(("W4", "Serialize", lib, variant, size))
        return r and r["bytes_per_second"] and r["bytes_per_second"] / 1e6

    for size in sizes_of(results, "W4", "Serialize"):
        cells = [str(size)]
        for _, lib, variant in columns:
            v = mbps(lib, variant, size)
            cells.append("%.0f" % v if v else "-")
        for _, arbor, peer in ratios:
            a, b = mbps("Arbor", arbor, size), mbps("Pugixml", peer, size)
            cells.append("%.2f" % (a / b) if a and b else "-")
        lines.append("| " + " | ".join(cells) + " |")
    return "\n".join(lines)


def undo_table(results):
    lines = ["| Task | N | execute | undo | redo | undo/execute | redo/execute |",
             "|---|---|---:|---:|---:|---:|---:|"]
    for task, title in (("Build", "W1 build"), ("InsertFront", "W2 insert-front"),
                        ("TextEdit", "W5 text edits (N = ranges)")):
        for size in sizes_of(results, "W8", task):
            t = {p: get(results, "W8", task, "Arbor", p, size) for p in ("Execute", "Undo", "Redo")}
            lines.append("| %s | %d | %s | %s | %s | %s | %s |" % (
                title, size, fmt_time(t["Execute"]), fmt_time(t["Undo"]), fmt_time(t["Redo"]),
                fmt_ratio(t["Undo"], t["Execute"]), fmt_ratio(t["Redo"], t["Execute"])))
    return "\n".join(lines)


def plot(results, path):
    """Cost per item (ns) against N, log-log, one panel per workload W1-W4."""
    outdir = os.path.dirname(os.path.abspath(path))
    datadir = os.path.join(outdir, "plot-data")
    os.makedirs(datadir, exist_ok=True)
    panels = [("W1", "Build", "W1 build: append N children"),
              ("W2", "InsertFront", "W2 insert-front: N elements"),
              ("W3", "RemoveFront", "W3 remove-front: N children"),
              ("W4", "Serialize", "W4 serialize: N elements")]
    # One colour per series across all panels.
    series = [("Arbor", "Raw", "Arbor (raw)", "#9400d3"),
              ("Arbor", "Document", "Arbor (document)", "#c77dff"),
              ("Arbor", "", "Arbor", "#9400d3"), ("Pugixml", "", "pugixml", "#009e73"),
              ("Libxml2", "", "libxml2", "#e69f00"), ("Xerces", "", "Xerces-C++", "#0072b2"),
              ("Memcpy", "", "memcpy", "#555555")]
    script = ["set terminal pngcairo size 1400,1000 font ',10'",
              "set output '%s'" % os.path.abspath(path),
              "set multiplot layout 2,2 title 'Cost per item against N (log-log; lower is better)'",
              "set logscale xy", "set xlabel 'N'", "set ylabel 'ns per item'", "set grid",
              "set key top left", "set format x '10^{%L}'"]
    for w, workload, title in panels:
        plots = []
        for lib, variant, label, colour in series:
            points = [(size, results[(w, workload, lib, variant, size)]["ns"] / size)
                      for size in sizes_of(results, w, workload)
                      if (w, workload, lib, variant, size) in results]
            if not points:
                continue
            dat = os.path.join(datadir, "%s_%s_%s%s.dat" % (w, workload, lib, variant))
            with open(dat, "w") as f:
                for size, cost in points:
                    f.write("%d %g\n" % (size, cost))
            plots.append("'%s' using 1:2 with linespoints lw 2 lc rgb '%s' title '%s'"
                         % (dat, colour, label))
        script.append("set title '%s'" % title)
        script.append("plot " + ", ".join(plots) if plots else "clear")
    script.append("unset multiplot")
    subprocess.run(["gnuplot"], input="\n".join(script) + "\n", text=True, check=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("json", help="arbor_bench --benchmark_out file")
    parser.add_argument("--plot", help="write the W1-W4 cost plot to this PNG file")
    parser.add_argument("--memory", help="append this memory table (arbor_bench_memory output)")
    args = parser.parse_args()

    context, results, errors = load(args.json)
    out = []
    out.append("Times are per iteration of each case (W1-W4, W7: the whole workload at size N; "
               "W5: 1,000 inserts; W6: 20 edits). Ratios below 1 mean Arbor is faster.\n")
    out.append("### Arbor next to the peers\n")
    out.append(peer_table(results) + "\n")
    out.append("### W4 serialize throughput\n")
    out.append(throughput_table(results) + "\n")
    out.append("### W4 by sink and element class (MB/s; the ratios are Arbor's throughput over "
               "pugixml's, above 1: Arbor faster)\n")
    out.append(sink_table(results) + "\n")
    out.append("### The price of a document (events and undo recording)\n")
    out.append(document_table(results) + "\n")
    out.append("### W8 undo and redo (Arbor only)\n")
    out.append(undo_table(results) + "\n")
    if args.memory:
        with open(args.memory) as f:
            out.append("### Memory\n")
            out.append(f.read().strip() + "\n")
    if errors:
        out.append("### Cases that reported an error\n")
        out.extend("- " + e for e in errors)
        out.append("")
    print("\n".join(out))
    if args.plot:
        plot(results, args.plot)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
