#!/usr/bin/env python3
"""Splits a callgrind profile of one bench case into what the module's own
code executed and what it called: the C library, the host SDK's XML class,
the host's other services (kernel, log, status report, clock), cJSON and the
device application. Prints one CSV row:

    case,total,own,libc,xml,host,json,device,xml_calls,libc_top

Every figure is per run (the profile holds `reps` runs). `total` is the
inclusive cost of every call into the module from outside it; `own` the
instructions of the module's functions themselves; the others the inclusive
cost of the module's calls into each part. `xml_calls` counts the module's
calls of XML-class members; `libc_top` names the C-library functions that
cost the module most."""

import argparse
import re
import sys
from collections import defaultdict

# Allocation goes through the bench's counting hooks, which stand for malloc
# and free on a lock.
ALLOCATION = ("operator new", "operator delete", "bench::(anonymous namespace)::ModuleAlloc",
              "bench::(anonymous namespace)::FreeAny")
DEVICE = ("bench::DeviceGet", "bench::DeviceRecv")
LIBC_OBJECTS = re.compile(r"/(libc|libstdc\+\+|libm|libgcc_s|ld-linux[^/]*)[.-][^/]*$")
PARTS = ("own", "libc", "xml", "host", "json", "device")
TOP_LIBC = 3


# A function template's name starts with its return type.
MODULE_NAME = re.compile(r"^(?:[\w:<>,*& ]+ )?(?:norla::|oqDevSDK_DoorLock_)")


def is_module(name):
    return MODULE_NAME.match(name) is not None


def part_of(name, obj):
    """The part a function called by the module belongs to."""
    if name.startswith("CMarkupSTL::"):
        return "xml"
    if name.startswith(("oqdev_", "oqDevSDK_report", "oqsim::")) or "oqdev_host_sim" in obj:
        return "host"
    if name.startswith("cJSON") or "libcjson" in obj:
        return "json"
    if name.startswith(DEVICE):
        return "device"
    if name.startswith(ALLOCATION) or LIBC_OBJECTS.search(obj):
        return "libc"
    return None


def short(name):
    """A C-library function's name without scope, template or argument list,
    or version; the bench's allocation hooks by what they stand for."""
    if name.startswith(ALLOCATION[2]):
        return "malloc"
    if name.startswith(ALLOCATION[3]):
        return "free"
    name = re.sub(r"@.*$", "", name)
    name = re.sub(r"\(anonymous namespace\)", "", name)
    name = re.sub(r"\(.*$", "", name)
    while re.search(r"<[^<>]*>", name):
        name = re.sub(r"<[^<>]*>", "", name)
    return name.split("::")[-1] if not name.startswith("operator") else name


class Profile:
    def __init__(self, path):
        self.names = {}
        self.objects = {}
        self.object_of = {}  # function id -> object name
        self.self_cost = defaultdict(int)
        # (caller id, callee id) -> [calls, inclusive cost]
        self.calls = defaultdict(lambda: [0, 0])
        self._read(path)

    def _name(self, table, spec):
        m = re.match(r"\((\d+)\)(?:\s+(.*))?$", spec.strip())
        if not m:
            key = spec.strip()
            table.setdefault(key, key)
            return key
        key = m.group(1)
        if m.group(2) is not None:
            table[key] = m.group(2)
        return key

    def _read(self, path):
        ob = fn = cob = cfn = None
        pending_calls = None
        with open(path, errors="replace") as f:
            for line in f:
                line = line.rstrip("\n")
                if not line or line.startswith("#"):
                    continue
                key, sep, value = line.partition("=")
                if sep and key in ("ob", "cob", "fn", "cfn", "fl", "fi", "fe", "cfi", "cfl"):
                    if key == "ob":
                        ob = self._name(self.objects, value)
                    elif key == "cob":
                        cob = self._name(self.objects, value)
                    elif key == "fn":
                        fn = self._name(self.names, value)
                        self.object_of.setdefault(fn, ob)
                        cob = cfn = None
                    elif key == "cfn":
                        cfn = self._name(self.names, value)
                        if cob is not None:
                            self.object_of.setdefault(cfn, cob)
                    continue
                if line.startswith("calls="):
                    pending_calls = int(line[len("calls="):].split()[0])
                    continue
                if not (line[0].isdigit() or line[0] in "+-*"):
                    continue
                fields = line.split()
                cost = int(fields[1]) if len(fields) > 1 else 0
                if pending_calls is not None:
                    arc = self.calls[(fn, cfn)]
                    arc[0] += pending_calls
                    arc[1] += cost
                    pending_calls = None
                    cob = None
                else:
                    self.self_cost[fn] += cost

    def name(self, fid):
        return self.names.get(fid, fid)

    def obj(self, fid):
        return self.objects.get(self.object_of.get(fid), "")


def split(profile):
    parts = defaultdict(int)
    libc = defaultdict(int)
    xml_calls = 0
    total = 0
    unknown = defaultdict(int)
    for fid, cost in profile.self_cost.items():
        if is_module(profile.name(fid)):
            parts["own"] += cost
    for (caller, callee), (count, cost) in profile.calls.items():
        caller_in = is_module(profile.name(caller))
        callee_name = profile.name(callee)
        callee_in = is_module(callee_name)
        if callee_in and not caller_in:
            total += cost
        if not caller_in or callee_in:
            continue
        part = part_of(callee_name, profile.obj(callee))
        if part is None:
            unknown[callee_name] += cost
            continue
        parts[part] += cost
        if part == "libc":
            libc[short(callee_name)] += cost
        if part == "xml":
            xml_calls += count
    return total, parts, libc, xml_calls, unknown


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("profile")
    parser.add_argument("case")
    parser.add_argument("reps", type=int)
    args = parser.parse_args()
    total, parts, libc, xml_calls, unknown = split(Profile(args.profile))
    for name, cost in unknown.items():
        print(f"split: {args.case}: the module calls {name} ({cost} instructions), "
              "which belongs to no known part", file=sys.stderr)
    accounted = sum(parts.values()) + sum(unknown.values())
    if accounted != total:
        print(f"split: {args.case}: the parts add up to {accounted}, not {total}: "
              "something outside the module called back into it", file=sys.stderr)
        return 1
    top = sorted(libc.items(), key=lambda kv: -kv[1])[:TOP_LIBC]
    top_text = ";".join(f"{name}:{cost // args.reps}" for name, cost in top if cost > 0)
    row = [args.case, total // args.reps] + [parts[p] // args.reps for p in PARTS]
    row += [xml_calls // args.reps, top_text]
    print(",".join(str(v) for v in row))
    return 1 if unknown else 0


if __name__ == "__main__":
    sys.exit(main())
