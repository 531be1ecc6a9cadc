#!/usr/bin/env python3
"""Checks the ".cfg" file compiled from a generated MIB against what the
generator expected of it.

    check_cfg.py MIBFILE CFGFILE EXPECTFILE

Checks the header and the closing END; the numbers of OBJECT-TYPE, TRAP-TYPE
and OBJECT IDENTIFIER registration lines; that every "--#" annotation line of
the MIB appears, in order and verbatim, in the ".cfg"; that no label is
registered twice; and that every definition whose parent is defined in the
".cfg" comes after that parent.  Prints one line per problem and exits 1 if
there was any.
"""
import json
import re
import sys

DEFINITION = re.compile(r"^(\S+) (OBJECT-TYPE|TRAP-TYPE|OBJECT IDENTIFIER ::= \{ (\S+) (-?\d+) \})$")
OBJECT_PARENT = re.compile(r"^\t::= \{ (\S+) -?\d+ \}$")


def annotations_of_mib(text):
    """The "--#" lines of the MIB as the ".cfg" writes them: from the "--"
    on, leading white space dropped."""
    return [line.strip() for line in text.splitlines() if line.lstrip().startswith("--#")]


def check(mib_text, cfg_text, expect, module):
    problems = []
    lines = cfg_text.split("\n")

    if not cfg_text.startswith(f"#-MIBFILE: {module}.mib\n\n{module} DEFINITIONS ::= BEGIN\n\n"):
        problems.append("header differs: " + repr(cfg_text[:120]))
    if not cfg_text.endswith("\nEND\n\n"):
        problems.append("does not end with END: " + repr(cfg_text[-40:]))

    counts = {"object_types": 0, "trap_types": 0, "registrations": 0}
    position = {}       # label -> index of its first definition
    parents = []        # (index, label, parent) of every definition with a parent
    registered = set()
    pending_object = None
    index = 0
    for line in lines:
        m = DEFINITION.match(line)
        if m:
            label, kind, parent = m.group(1), m.group(2), m.group(3)
            index += 1
            if kind == "OBJECT-TYPE":
                counts["object_types"] += 1
                pending_object = (index, label)
            elif kind == "TRAP-TYPE":
                counts["trap_types"] += 1
            else:
                counts["registrations"] += 1
                if label in registered:
                    problems.append(f"{label} is registered twice")
                registered.add(label)
                parents.append((index, label, parent))
            position.setdefault(label, index)
            continue
        m = OBJECT_PARENT.match(line)
        if m and pending_object:
            parents.append((pending_object[0], pending_object[1], m.group(1)))
            pending_object = None

    for key, n in counts.items():
        if n != expect[key]:
            problems.append(f"{n} {key}, expected {expect[key]}")

    misplaced = [(label, parent) for index, label, parent in parents
                 if parent in position and position[parent] > index]
    if misplaced:
        problems.append(f"{len(misplaced)} definitions ahead of their parent, first: "
                        f"{misplaced[0][0]} under {misplaced[0][1]}")

    wanted = annotations_of_mib(mib_text)
    found = [line[1:] for line in lines if line.startswith("\t--#")]
    if len(wanted) != expect["annotations"]:
        problems.append(f"the MIB holds {len(wanted)} annotation lines, expected {expect['annotations']}")
    if found != wanted:
        first = next((i for i, (a, b) in enumerate(zip(wanted, found)) if a != b),
                     min(len(wanted), len(found)))
        problems.append(f"annotation lines differ: {len(found)} written, {len(wanted)} in the MIB, "
                        f"first difference at {first}: "
                        f"{wanted[first] if first < len(wanted) else None!r} / "
                        f"{found[first] if first < len(found) else None!r}")
    return problems


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    mib_path, cfg_path, expect_path = sys.argv[1:]
    with open(mib_path, encoding="latin-1") as f:
        mib_text = f.read()
    with open(cfg_path, encoding="latin-1") as f:
        cfg_text = f.read()
    with open(expect_path) as f:
        expect = json.load(f)
    module = mib_path.rsplit("/", 1)[-1].split(".")[0]
    problems = check(mib_text, cfg_text, expect, module)
    for p in problems:
        print(f"{cfg_path}: {p}")
    sys.exit(1 if problems else 0)


if __name__ == "__main__":
    main()
