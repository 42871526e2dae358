#!/usr/bin/env python3
"""Tables of a bench run: module/floor ratios, growth of the large documents,
peak heap per command and heap growth. Reads what scripts/bench collected in
one directory and prints Markdown; with --readme FILE --section NAME it also
replaces that section of FILE (between its begin and end markers)."""

import argparse
import csv
import json
import os
import re
import sys

RATIO_LIMIT = 1.5
# 500 users at most 11 times 50 users; 8 plans at most 8 * 1.1 times 1 plan.
GROWTH_PAIRS = [
    ("query_users/500", "query_users/50", 11.0),
    ("query_alarm_plans/8", "query_alarm_plans/1", 8.8),
]
# The poll is judged by the unchanged cycle only.
NO_TARGET = {"poll/changed"}


def load_times(path):
    """Median CPU time per benchmark, in microseconds."""
    if not os.path.exists(path):
        return {}
    with open(path) as f:
        data = json.load(f)
    scale = {"ns": 1e-3, "us": 1.0, "ms": 1e3, "s": 1e6}
    times = {}
    for b in data.get("benchmarks", []):
        if b.get("aggregate_name") != "median":
            continue
        name = re.sub(r"/repeats:\d+$", "", b["run_name"])
        times[name] = b["cpu_time"] * scale[b.get("time_unit", "ns")]
    return times


def load_instr(path):
    instr = {}
    if not os.path.exists(path):
        return instr
    with open(path) as f:
        for row in csv.reader(f):
            if len(row) == 3:
                instr[f"{row[0]}/{row[1]}"] = float(row[2])
    return instr


def load_heap(path):
    if not os.path.exists(path):
        return []
    with open(path) as f:
        return list(csv.DictReader(f))


def ratio(values, case):
    m, f = values.get(f"{case}/module"), values.get(f"{case}/floor")
    if m is None or not f:
        return None
    return m / f


def fmt(value, digits=2):
    return "–" if value is None else f"{value:.{digits}f}"


def verdict(*ratios):
    known = [r for r in ratios if r is not None]
    if not known:
        return "–"
    return "yes" if all(r <= RATIO_LIMIT for r in known) else "**no**"


def cases_in(times, instr):
    seen = []
    for key in list(instr) + list(times):
        case = key.rsplit("/", 1)[0]
        if case not in seen:
            seen.append(case)
    return seen


def ratio_table(times, instr):
    lines = [
        "| case | instr module | instr floor | ratio | CPU µs module | CPU µs floor | ratio | ≤ 1.5 |",
        "|---|---:|---:|---:|---:|---:|---:|:-:|",
    ]
    for case in cases_in(times, instr):
        ri, rt = ratio(instr, case), ratio(times, case)
        im, ifl = instr.get(f"{case}/module"), instr.get(f"{case}/floor")
        tm, tf = times.get(f"{case}/module"), times.get(f"{case}/floor")
        target = "n/a" if case in NO_TARGET else verdict(ri, rt)
        lines.append(
            f"| {case} | {fmt(im, 0)} | {fmt(ifl, 0)} | {fmt(ri)} | {fmt(tm, 1)} | "
            f"{fmt(tf, 1)} | {fmt(rt)} | {target} |")
    return lines


def growth_table(times, instr):
    lines = ["| larger / smaller | instr | CPU time | limit |", "|---|---:|---:|---:|"]
    for big, small, limit in GROWTH_PAIRS:
        gi = None
        gt = None
        if instr.get(f"{small}/module"):
            gi = instr.get(f"{big}/module", 0) / instr[f"{small}/module"]
        if times.get(f"{small}/module"):
            gt = times.get(f"{big}/module", 0) / times[f"{small}/module"]
        lines.append(f"| {big} / {small} | {fmt(gi)} | {fmt(gt)} | {limit:g} |")
    return lines


def heap_table(rows):
    lines = [
        "| case | peak heap | records | text | XML | budget | within |",
        "|---|---:|---:|---:|---:|---:|:-:|",
    ]
    for r in rows:
        within = "yes" if r["within"] == "yes" else "**no**"
        lines.append(f"| {r['case']} | {r['peak']} | {r['records']} | {r['text']} | "
                     f"{r['xml']} | {r['budget']} | {within} |")
    return lines


def report(directory, title):
    times = load_times(os.path.join(directory, "times.json"))
    instr = load_instr(os.path.join(directory, "instr.csv"))
    heap = load_heap(os.path.join(directory, "heap.csv"))
    out = [f"### {title}", ""]
    machine = os.path.join(directory, "machine.txt")
    if os.path.exists(machine):
        with open(machine) as f:
            out += [f"Machine: {f.read().strip()}", ""]
    out += ratio_table(times, instr) + [""]
    out += ["Cost of the largest documents against the smaller ones (module):", ""]
    out += growth_table(times, instr) + [""]
    if heap:
        out += ["Peak heap of one command, in bytes; budget = records + 2 × (text + 1) + XML "
                "(the XML library's pages, the document objects of the host's XML class "
                "and cJSON's trees):", ""]
        out += heap_table(heap) + [""]
    growth = os.path.join(directory, "growth.csv")
    if os.path.exists(growth):
        with open(growth) as f:
            row = f.read().strip().split(",")
        if len(row) == 3:
            out += [f"Heap growth over {row[1]} mixed requests: {row[2]} bytes.", ""]
    return "\n".join(out)


def replace_section(path, section, text):
    begin, end = f"<!-- {section}:begin -->", f"<!-- {section}:end -->"
    with open(path) as f:
        content = f.read()
    pattern = re.compile(re.escape(begin) + ".*?" + re.escape(end), re.S)
    if not pattern.search(content):
        content = content.rstrip("\n") + f"\n\n{begin}\n{end}\n"
    content = pattern.sub(lambda _: f"{begin}\n{text}\n{end}", content)
    with open(path, "w") as f:
        f.write(content)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("directory")
    parser.add_argument("--title", default="Results")
    parser.add_argument("--readme")
    parser.add_argument("--section")
    parser.add_argument("--text", help="a Markdown file to place instead of a bench report")
    args = parser.parse_args()
    if args.text:
        with open(args.text) as f:
            text = f.read().rstrip("\n")
    else:
        text = report(args.directory, args.title)
    print(text)
    if args.readme and args.section:
        replace_section(args.readme, args.section, text)
    return 0


if __name__ == "__main__":
    sys.exit(main())
