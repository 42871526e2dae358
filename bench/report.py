#!/usr/bin/env python3
"""Tables of a bench run: where each case's instructions go (the module's
own code, the C library, the host SDK, cJSON, the device), its calls of the
XML class against the fewest its documents need, module against floor where
a floor is kept, growth of the large documents, peak heap per command and
heap growth. Reads what scripts/bench collected in one directory and prints
Markdown; with --readme FILE --section NAME it also replaces that section of
FILE (between its begin and end markers)."""

import argparse
import csv
import json
import os
import re
import sys

# These cases must take fewer instructions than their floor.
BELOW_FLOOR = {"query_users/500", "user_info_report/500"}
# 500 users at most 11 times 50 users; 8 plans at most 8 * 1.1 times 1 plan.
GROWTH_PAIRS = [
    ("query_users/500", "query_users/50", 11.0),
    ("query_alarm_plans/8", "query_alarm_plans/1", 8.8),
]
SPLIT_FIELDS = ["case", "total", "own", "libc", "xml", "host", "json", "device", "xml_calls",
                "libc_top"]


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


def load_split(path):
    if not os.path.exists(path):
        return {}
    with open(path) as f:
        return {row["case"]: row for row in csv.DictReader(f, fieldnames=SPLIT_FIELDS)}


def load_floors(path):
    floors = {}
    if os.path.exists(path):
        with open(path) as f:
            for row in csv.reader(f):
                if len(row) == 3:
                    floors[row[0]] = float(row[2])
    return floors


def load_least(path):
    if not os.path.exists(path):
        return {}
    with open(path) as f:
        return {row["case"]: int(row["least"]) for row in csv.DictReader(f)}


def load_heap(path):
    if not os.path.exists(path):
        return []
    with open(path) as f:
        return list(csv.DictReader(f))


def fmt(value, digits=2):
    return "–" if value is None else f"{value:.{digits}f}"


def num(value):
    return "–" if value is None else f"{int(value):,}".replace(",", " ")


def cases_in(*sources):
    seen = []
    for source in sources:
        for key in source:
            case = key.rsplit("/", 1)[0] if key.endswith(("/module", "/floor")) else key
            if case not in seen:
                seen.append(case)
    return seen


def split_table(split, least, times):
    lines = [
        "| case | module total | own code | C library | XML class | host services | cJSON "
        "| device | XML calls | least | CPU µs |",
        "|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|",
    ]
    for case, row in split.items():
        cells = [num(row[k]) for k in ("total", "own", "libc", "xml", "host", "json", "device")]
        lines.append(f"| {case} | " + " | ".join(cells) + f" | {num(row['xml_calls'])} | "
                     f"{num(least.get(case))} | {fmt(times.get(f'{case}/module'), 1)} |")
    return lines


def libc_table(split):
    lines = ["| case | C-library calls that cost most (instructions per run) |", "|---|---|"]
    for case, row in split.items():
        calls = ", ".join(f"`{name}` {num(cost)}" for name, cost in
                          (item.rsplit(":", 1) for item in row["libc_top"].split(";")))
        lines.append(f"| {case} | {calls or '–'} |")
    return lines


def times_table(times):
    lines = ["| case | CPU µs |", "|---|---:|"]
    for case in cases_in(times):
        lines.append(f"| {case} | {fmt(times.get(f'{case}/module'), 1)} |")
    return lines


def ratio(a, b):
    return a / b if a is not None and b else None


def floor_table(split, floors, times):
    lines = [
        "| case | instr module | instr floor | ratio | CPU µs module | CPU µs floor | ratio "
        "| target |",
        "|---|---:|---:|---:|---:|---:|---:|:-:|",
    ]
    for case in cases_in({k: 0 for k in times if k.endswith("/floor")}, floors):
        im = float(split[case]["total"]) if case in split else None
        ifl = floors.get(case)
        tm, tf = times.get(f"{case}/module"), times.get(f"{case}/floor")
        ri, rt = ratio(im, ifl), ratio(tm, tf)
        target = "–"
        if case in BELOW_FLOOR and ri is not None:
            target = "below: yes" if ri < 1 else "below: **no**"
        lines.append(f"| {case} | {num(im)} | {num(ifl)} | {fmt(ri)} | {fmt(tm, 1)} | "
                     f"{fmt(tf, 1)} | {fmt(rt)} | {target} |")
    return lines


def growth_table(split, times):
    lines = ["| larger / smaller | instr | CPU time | limit |", "|---|---:|---:|---:|"]
    for big, small, limit in GROWTH_PAIRS:
        gi = None
        if big in split and small in split:
            gi = ratio(float(split[big]["total"]), float(split[small]["total"]))
        gt = ratio(times.get(f"{big}/module"), times.get(f"{small}/module"))
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
    split = load_split(os.path.join(directory, "split.csv"))
    floors = load_floors(os.path.join(directory, "floor.csv"))
    least = load_least(os.path.join(directory, "xml_least.csv"))
    heap = load_heap(os.path.join(directory, "heap.csv"))
    out = [f"### {title}", ""]
    machine = os.path.join(directory, "machine.txt")
    if os.path.exists(machine):
        with open(machine) as f:
            out += [f"Machine: {f.read().strip()}", ""]
    if split:
        out += ["Instructions per run of each case, by where they are spent; XML calls are "
                "the module's calls of the XML class, least the fewest its documents need:", ""]
        out += split_table(split, least, times) + [""]
        out += libc_table(split) + [""]
    else:
        out += ["Median CPU time of each case:", ""]
        out += times_table(times) + [""]
    out += ["Module against floor:", ""]
    out += floor_table(split, floors, times) + [""]
    out += ["Cost of the largest documents against the smaller ones (module):", ""]
    out += growth_table(split, times) + [""]
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
