#!/usr/bin/python3
"""Turns Google Benchmark's JSON output into the README's BENCHMARKS section.

    bench/report.py RESULTS.json... [--readme README.md] [--chart bench/ratios.png]

Each comparison sets a benchmark of the library beside one of a peer on the
same work. The ratio is the peer's time over the library's, so above 1x the
library is faster. Runs repeated with --benchmark_repetitions are read from
their median. The section replaces whatever stands between the two marker
comments of the README; the chart of the ratios is written beside it.
"""

import argparse
import json
import math
import os
import platform
import re
import subprocess
import sys

DOCUMENTS = ["canada", "citm_catalog", "twitter"]

# (title, library benchmark, peer benchmark, peer, target ratio or None).
# "{n}" stands for the document's index.
DOCUMENT_COMPARISONS = [
    ("TypeA write vs JSON dump", "BM_SerializeTypeA/{n}", "BM_PeerJsonDump/{n}",
     "nlohmann-json", 1.0),
    ("TypeA write vs RapidJSON write", "BM_SerializeTypeA/{n}", "BM_PeerRapidJsonWrite/{n}",
     "RapidJSON", None),
    ("TypeA write vs GVariant print", "BM_SerializeTypeA/{n}", "BM_PeerGVariantPrint/{n}",
     "GVariant", None),
    ("TypeA read vs JSON parse", "BM_DeserializeTypeA/{n}", "BM_PeerJsonParse/{n}",
     "nlohmann-json", 1.5),
    ("TypeA read vs RapidJSON parse", "BM_DeserializeTypeA/{n}", "BM_PeerRapidJsonParse/{n}",
     "RapidJSON", None),
    ("TypeA read vs GVariant parse", "BM_DeserializeTypeA/{n}", "BM_PeerGVariantParse/{n}",
     "GVariant", None),
    ("Notation parse vs GVariant parse", "BM_CreateFromNotation/{n}", "BM_PeerGVariantParse/{n}",
     "GVariant", None),
    ("Clone vs copy", "BM_Clone/{n}", "BM_PeerJsonCopy/{n}", "nlohmann-json", 1.0),
    ("IsEqual vs ==", "BM_IsEqual/{n}", "BM_PeerJsonEqual/{n}", "nlohmann-json", 1.0),
    ("posctl convert vs jq -c . (whole process)", "BM_ProcessPosctlConvert/{n}/real_time",
     "BM_PeerJqCompact/{n}/real_time", "jq", None),
]

SINGLE_COMPARISONS = [
    ("Validate 100 tweets vs valijson, valid", "BM_ValidateTweets/0", "BM_PeerValijsonTweets/0",
     "valijson", 2.0),
    ("Validate 100 tweets vs valijson, 4 faults each", "BM_ValidateTweets/1",
     "BM_PeerValijsonTweets/1", "valijson", 2.0),
    ("Dict Get vs std::map find, 4096 keys", "BM_DictGet/4096", "BM_PeerStdMapFind/4096",
     "std::map", 1.0),
    ("Dict Get vs std::map find, 8 keys", "BM_DictGet/8", "BM_PeerStdMapFind/8", "std::map", None),
]

# (title, benchmark, what is compared, target, at most (True) or at least).
ABSOLUTE_TARGETS = [
    ("Number create and release", "BM_NewNumberAndRelease", "time", 40.0, True),
    ("CreateFromText of examples/settings.pos", "BM_CreateFromText", "MB/s", 150.0, False),
]

RUNTIME_OPERATIONS = [
    ("Atom interning, new text", "BM_RuntimeAtomNew"),
    ("Atom interning, existing text", "BM_RuntimeAtomExisting"),
    ("Container create, AddRef, Release", "BM_RuntimeContainerNewRelease"),
    ("AddRef and Release of one shared container", "BM_RuntimeAddRefRelease"),
    ("Memory Alloc and Free", "BM_RuntimeAllocFree"),
    ("GetMethod (a method-table miss)", "BM_RuntimeGetMethod"),
    ("Method-table hit in the library", "BM_MethodTableHit"),
    ("Number create and release through the entry points", "BM_NumberLifeOnThreads"),
]

SCALING = ["Build", "Write", "Read", "Clone", "Validate"]
SCALING_SIZES = [1000, 10000, 100000, 1000000]

BEGIN = "<!-- BENCHMARKS:BEGIN (bench/run writes this section) -->"
END = "<!-- BENCHMARKS:END -->"

UNIT_NS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


class Result:
    def __init__(self, entry):
        self.error = entry.get("error_message") if entry.get("error_occurred") else None
        scale = UNIT_NS[entry.get("time_unit", "ns")]
        # Wall time where the benchmark asked for it (whole processes), CPU
        # time otherwise: the machine is shared, and other processes' load
        # shows in the wall time only.
        use_real = entry["run_name"].endswith("/real_time")
        self.ns = (entry["real_time"] if use_real else entry["cpu_time"]) * scale
        self.bytes_per_second = entry.get("bytes_per_second")
        self.items_per_second = entry.get("items_per_second")
        self.label = entry.get("label", "")


def load(paths):
    results, context = {}, None
    for path in paths:
        with open(path) as f:
            data = json.load(f)
        context = context or data.get("context", {})
        for entry in data["benchmarks"]:
            name = entry.get("run_name", entry["name"])
            entry["run_name"] = name
            kind = entry.get("run_type", "iteration")
            if kind == "aggregate":
                if entry.get("aggregate_name") != "median":
                    continue
            elif name in results:
                continue  # a repetition, when the aggregates were not asked for
            if entry.get("big_o") is not None or entry.get("rms") is not None:
                continue
            results[name] = Result(entry)
    return results, context


def show_time(ns):
    for unit, scale in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if ns >= scale:
            return "%.3g %s" % (ns / scale, unit)
    return "%.3g ns" % ns


def ratio_cell(results, library, peer):
    lib, other = results.get(library), results.get(peer)
    if lib is None or other is None:
        return None, "not run"
    for name, r in ((library, lib), (peer, other)):
        if r.error:
            # The first clause says enough in a table cell.
            return None, "n/a: %s" % r.error.split(" (")[0].replace("|", "/")
    ratio = other.ns / lib.ns
    return ratio, "%s vs %s (**%.2fx**)" % (show_time(lib.ns), show_time(other.ns), ratio)


def target_text(target, ratios):
    if target is None:
        return "—"
    if not ratios or any(r is None for r in ratios):
        return "at least %gx" % target
    met = all(r >= target for r in ratios)
    return "at least %gx: %s" % (target, "met" if met else "not met")


def machine_text(context):
    model = platform.processor() or "unknown processor"
    try:
        with open("/proc/cpuinfo") as f:
            for line in f:
                if line.startswith("model name"):
                    model = line.split(":", 1)[1].strip()
                    break
    except OSError:
        pass
    os_name = platform.platform()
    try:
        with open("/etc/os-release") as f:
            found = re.search(r'^PRETTY_NAME="?([^"\n]*)', f.read(), re.M)
            if found:
                os_name = found.group(1)
    except OSError:
        pass
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True).stdout
    compiler = compiler.splitlines()[0] if compiler else "unknown compiler"
    cpus = context.get("num_cpus", os.cpu_count())
    mhz = context.get("mhz_per_cpu")
    load = context.get("load_avg", [])
    return "%s, %s cores%s, %s, %s; load average %s when the run started" % (
        model, cpus, " at %d MHz" % mhz if mhz else "", os_name, compiler,
        ", ".join("%.1f" % x for x in load) if load else "unknown")


def document_table(results):
    lines = ["| Same document | " + " | ".join(DOCUMENTS) + " | target |",
             "|---|" + "---|" * len(DOCUMENTS) + "---|"]
    bars = []
    for title, library, peer, peer_name, target in DOCUMENT_COMPARISONS:
        cells, ratios = [], []
        for n, document in enumerate(DOCUMENTS):
            ratio, text = ratio_cell(results, library.format(n=n), peer.format(n=n))
            cells.append(text)
            ratios.append(ratio)
            if ratio is not None:
                bars.append(("%s, %s" % (title, document), ratio, peer_name, target))
        lines.append("| %s | %s | %s |" % (title, " | ".join(cells), target_text(target, ratios)))
    return lines, bars


def single_table(results):
    lines = ["| Same work | library vs peer | target |", "|---|---|---|"]
    bars = []
    for title, library, peer, peer_name, target in SINGLE_COMPARISONS:
        ratio, text = ratio_cell(results, library, peer)
        lines.append("| %s | %s | %s |" % (title, text, target_text(target, [ratio])))
        if ratio is not None:
            bars.append((title, ratio, peer_name, target))
    return lines, bars


def absolute_table(results):
    lines = ["| Measure | result | target |", "|---|---|---|"]
    for title, name, what, target, at_most in ABSOLUTE_TARGETS:
        r = results.get(name)
        if r is None or r.error:
            lines.append("| %s | %s | — |" % (title, r.error if r else "not run"))
            continue
        if what == "time":
            value, shown = r.ns, show_time(r.ns)
            goal = "under %s" % show_time(target)
        else:
            value = (r.bytes_per_second or 0) / 1e6
            shown, goal = "%.1f MB/s" % value, "%g MB/s" % target
        met = value < target if at_most else value >= target
        lines.append("| %s | %s | %s: %s |" % (title, shown, goal, "met" if met else "not met"))
    return lines


def runtime_table(results):
    lines = ["| Operation | one thread | two threads, each |", "|---|---|---|"]
    for title, name in RUNTIME_OPERATIONS:
        cells = []
        for threads in (1, 2):
            r = results.get("%s/threads:%d" % (name, threads))
            cells.append("not run" if r is None else (r.error or show_time(r.ns)))
        lines.append("| %s | %s |" % (title, " | ".join(cells)))
    return lines


def scaling_table(results):
    lines = ["| Per member | " + " | ".join("n = 10^%d" % round(math.log10(n)) for n in SCALING_SIZES)
             + " |", "|---|" + "---|" * len(SCALING_SIZES)]
    for shape in ("Array", "Dict"):
        for operation in SCALING:
            cells = []
            for n in SCALING_SIZES:
                r = results.get("BM_Scale%s%s/%d" % (shape, operation, n))
                cells.append("not run" if r is None else (r.error or show_time(r.ns / n)))
            lines.append("| %s %s | %s |" % (shape, operation.lower(), " | ".join(cells)))
    return lines


def draw_chart(bars, path):
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt

    colours = {"nlohmann-json": "#4c72b0", "RapidJSON": "#dd8452", "GVariant": "#55a868",
               "valijson": "#c44e52", "std::map": "#8172b3", "jq": "#937860"}
    height = 0.32 * len(bars) + 1.2
    fig, ax = plt.subplots(figsize=(9, height))
    labels = [b[0] for b in bars][::-1]
    values = [b[1] for b in bars][::-1]
    ax.barh(range(len(bars)), values, color=[colours.get(b[2], "grey") for b in bars][::-1])
    for i, bar in enumerate(bars[::-1]):
        if bar[3] is not None:
            ax.plot([bar[3]], [i], marker="d", color="crimson", markersize=6)
    ax.set_yticks(range(len(bars)))
    ax.set_yticklabels(labels, fontsize=7)
    ax.set_xscale("log")
    ax.axvline(1.0, color="black", linewidth=0.8)
    ax.set_xlabel("peer time / library time (above 1: the library is faster; red: the target)")
    handles = [plt.Rectangle((0, 0), 1, 1, color=c) for c in colours.values()]
    ax.legend(handles, list(colours), fontsize=7, loc="lower right")
    ax.set_title("libMOXUtils against its peers, same work, one run")
    fig.tight_layout()
    fig.savefig(path, dpi=110)


def section(results, context, chart, readme_dir):
    document_lines, bars = document_table(results)
    single_lines, single_bars = single_table(results)
    bars += single_bars
    chart_path = os.path.relpath(chart, readme_dir)
    text = [BEGIN, "",
            "Measured by `bench/run` on %s." % machine_text(context),
            "Each ratio is the peer's time over the library's time for the same work, "
            "measured in one run of one process (CPU time, median of the repetitions; "
            "whole processes in wall time), so above 1x the library is faster.", "",
            "![Ratios of the peers' times to the library's](%s)" % chart_path, ""]
    text += document_lines + [""] + single_lines + [""] + absolute_table(results) + [""]
    text += ["The runtime's own operations, through the procedures a component fetches:", ""]
    text += runtime_table(results) + [""]
    text += ["Growth with size: the time per member, which stays flat for O(n) and grows "
             "with log n for the dictionaries' O(n log n):", ""]
    text += scaling_table(results) + ["", END]
    return "\n".join(text), bars


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("results", nargs="+", help="JSON files of --benchmark_out")
    parser.add_argument("--readme", default="README.md")
    parser.add_argument("--chart", default="bench/ratios.png")
    args = parser.parse_args()
    results, context = load(args.results)
    readme_dir = os.path.dirname(os.path.abspath(args.readme))
    text, bars = section(results, context or {}, os.path.abspath(args.chart), readme_dir)
    with open(args.readme) as f:
        readme = f.read()
    if BEGIN not in readme or END not in readme:
        sys.exit("%s has no BENCHMARKS markers" % args.readme)
    start, stop = readme.index(BEGIN), readme.index(END) + len(END)
    with open(args.readme, "w") as f:
        f.write(readme[:start] + text + readme[stop:])
    draw_chart(bars, args.chart)
    print("wrote the BENCHMARKS section of %s and %s" % (args.readme, args.chart))


if __name__ == "__main__":
    main()
