#!/usr/bin/env python3
"""Writes synthetic MIB modules for stress and scaling runs.

    gen_mib.py KIND N OUTDIR

KIND is one of:
  objects   N OBJECT-TYPEs in tables of ten columns each
  chain     a parent chain N deep (each OBJECT IDENTIFIER under the previous),
            written deepest first
  traps     N TRAP-TYPEs under one enterprise, each with annotation lines
  notifs    N NOTIFICATION-TYPEs under one 0 arc
  imports   a module importing N labels from modules of its own, and
            registering one label under each
  big       a mix of all of the above until the file reaches N bytes

The main module is written to OUTDIR/GEN-KIND-MIB.mib (plus the modules it
imports from, GEN-BASE-<k>-MIB.mib, for "imports"); the script prints its file
name.  Beside it, OUTDIR/GEN-KIND-MIB.expect (JSON) says what a correct ".cfg"
holds:

  object_types    number of "<label> OBJECT-TYPE" lines
  trap_types      number of "<label> TRAP-TYPE" lines
  registrations   number of "<label> OBJECT IDENTIFIER ::= { parent n }" lines,
                  the imported ones included
  annotations     number of "--#" lines (the checker compares their texts)
"""
import json
import os
import sys

# One IMPORTS clause is read in at most 499 words, so long import lists are
# split into clauses of this many labels, each from a module of its own.
LABELS_PER_IMPORT_MODULE = 400

# Labels the trap-bearing modules import from a small module written beside
# them, and the registrations that brings into the ".cfg": mib-2, system and
# the two labels (mgmt, the parent of mib-2, is defined nowhere).
SYSTEM_MODULE = "GEN-SYSTEM-MIB"
SYSTEM_IMPORTS = f"IMPORTS sysDescr, sysName FROM {SYSTEM_MODULE};\n\n"
SYSTEM_REGISTRATIONS = 4
SYSTEM_TEXT = f"""{SYSTEM_MODULE} DEFINITIONS ::= BEGIN

mib-2 OBJECT IDENTIFIER ::= {{ mgmt 1 }}
system OBJECT IDENTIFIER ::= {{ mib-2 1 }}

sysDescr OBJECT-TYPE
    SYNTAX DisplayString (SIZE (0..255))
    ACCESS read-only
    STATUS mandatory
    DESCRIPTION "A textual description of the entity."
    ::= {{ system 1 }}

sysName OBJECT-TYPE
    SYNTAX DisplayString (SIZE (0..255))
    ACCESS read-write
    STATUS mandatory
    DESCRIPTION "The name of the node."
    ::= {{ system 5 }}

END
"""


class Module:
    """The text of one module, with what its ".cfg" is expected to hold."""

    def __init__(self):
        self.parts = []
        self.expect = {"object_types": 0, "trap_types": 0, "registrations": 0,
                       "annotations": 0}

    def add(self, text, **counts):
        self.parts.append(text)
        for key, n in counts.items():
            self.expect[key] += n

    def size(self):
        return sum(len(p) for p in self.parts)


def objects(n, m, prefix="t", root="gen"):
    tables = (n + 9) // 10
    made = 0
    for t in range(tables):
        tab, ent, seqtype = f"{prefix}{t}Table", f"{prefix}{t}Entry", f"{prefix.upper()}{t}Entry"
        cols = min(10, n - made)
        m.add(f"{tab} OBJECT-TYPE\n    SYNTAX SEQUENCE OF {seqtype}\n"
              "    ACCESS not-accessible\n    STATUS mandatory\n"
              f"    DESCRIPTION \"Table {t}.\"\n    ::= {{ {root} {t + 1} }}\n\n",
              object_types=1)
        m.add(f"{ent} OBJECT-TYPE\n    SYNTAX {seqtype}\n"
              "    ACCESS not-accessible\n    STATUS mandatory\n"
              f"    DESCRIPTION \"Row of table {t}.\"\n"
              f"    INDEX {{ {prefix}{t}c0 }}\n    ::= {{ {tab} 1 }}\n\n",
              object_types=1)
        seq = ",\n".join(f"        {prefix}{t}c{c} INTEGER" for c in range(cols))
        m.add(f"{seqtype} ::= SEQUENCE {{\n{seq}\n    }}\n\n")
        for c in range(cols):
            m.add(f"{prefix}{t}c{c} OBJECT-TYPE\n"
                  "    SYNTAX INTEGER { up(1), down('02'H), testing('11'B) }\n"
                  "    ACCESS read-write\n    STATUS mandatory\n"
                  f"    DESCRIPTION\n        \"Column {c} of table {t}:\n"
                  "        a text over two lines.\"\n"
                  f"    ::= {{ {ent} {c + 1} }}\n\n",
                  object_types=1)
        made += cols


def chain(n, m, prefix="c", root="gen"):
    """c0 under root, c1 under c0, ...: written deepest first, so that the
    writer must pull the whole chain of ancestors ahead of the first one."""
    for i in reversed(range(n)):
        parent = f"{prefix}{i - 1}" if i else root
        m.add(f"{prefix}{i} OBJECT IDENTIFIER ::= {{ {parent} {i % 7 + 1} }}\n", registrations=1)
    m.add("\n")


def traps(n, m, prefix="trap", enterprise="gen"):
    for i in range(n):
        m.add(f"{prefix}{i} TRAP-TYPE\n    ENTERPRISE {enterprise}\n"
              "    VARIABLES { sysDescr, sysName }\n"
              f"    DESCRIPTION \"Trap {i} was raised.\"\n"
              f"    --#TYPE \"Trap {i}\"\n"
              f"    --#SUMMARY \"Trap {i} on %s: %s\"\n"
              "    --#ARGUMENTS { 0, 1 }\n    --#SEVERITY MAJOR\n"
              f"    ::= {i + 1}\n\n",
              trap_types=1, annotations=4)


def notifs(n, m, prefix="notif", root="gen"):
    arc = f"{prefix}Traps"
    m.add(f"{arc} OBJECT IDENTIFIER ::= {{ {root} 0 }}\n\n", registrations=1)
    for i in range(n):
        m.add(f"{prefix}{i} NOTIFICATION-TYPE\n    OBJECTS {{ sysDescr }}\n"
              "    STATUS current\n"
              f"    DESCRIPTION \"Notification {i}.\"\n"
              "    --#SEVERITY MINOR\n"
              f"    ::= {{ {arc} {i + 1} }}\n\n",
              trap_types=1, annotations=1)


def imports(n, m, outdir):
    """Imports b0 .. b(n-1) from modules of LABELS_PER_IMPORT_MODULE labels
    each and registers m<i> under b<i>; every base module has a root label of
    its own under enterprises."""
    clauses = []
    for k, start in enumerate(range(0, n, LABELS_PER_IMPORT_MODULE)):
        labels = range(start, min(n, start + LABELS_PER_IMPORT_MODULE))
        name = f"GEN-BASE-{k}-MIB"
        clauses.append("IMPORTS " + ", ".join(f"b{i}" for i in labels) + f"\n    FROM {name};\n\n")
        base = [f"{name} DEFINITIONS ::= BEGIN\n\n",
                f"base{k} OBJECT IDENTIFIER ::= {{ enterprises {90000 + k} }}\n"]
        base += [f"b{i} OBJECT IDENTIFIER ::= {{ base{k} {i + 1} }}\n" for i in labels]
        base.append("\nEND\n")
        write(os.path.join(outdir, name + ".mib"), "".join(base))
        m.expect["registrations"] += 1 + len(labels)  # base<k> and its labels
    for i in range(n):
        m.add(f"m{i} OBJECT IDENTIFIER ::= {{ b{i} 1 }}\n", registrations=1)
    return "".join(clauses)


def big(size, m):
    """Rounds of every other kind, each under a root of its own, until the
    module text reaches `size` bytes."""
    round_no = 0
    while m.size() < size:
        root = f"r{round_no}"
        m.add(f"{root} OBJECT IDENTIFIER ::= {{ gen {round_no + 1} }}\n\n", registrations=1)
        objects(200, m, prefix=f"{root}t", root=root)
        chain(50, m, prefix=f"{root}c", root=root)
        traps(50, m, prefix=f"{root}trap", enterprise=root)
        notifs(50, m, prefix=f"{root}n", root=root)
        round_no += 1


def write(path, text):
    with open(path, "w") as f:
        f.write(text)
    print(path)


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    kind, n, outdir = sys.argv[1], int(sys.argv[2]), sys.argv[3]
    os.makedirs(outdir, exist_ok=True)
    name = f"GEN-{kind.upper()}-MIB"
    m = Module()
    m.add("", registrations=1)  # gen, written by every module
    clauses = ""
    if kind in ("traps", "notifs", "big"):
        clauses = SYSTEM_IMPORTS
        m.expect["registrations"] += SYSTEM_REGISTRATIONS
        write(os.path.join(outdir, SYSTEM_MODULE + ".mib"), SYSTEM_TEXT)
    if kind == "objects":
        objects(n, m)
    elif kind == "chain":
        chain(n, m)
    elif kind == "traps":
        traps(n, m)
    elif kind == "notifs":
        notifs(n, m)
    elif kind == "imports":
        clauses = imports(n, m, outdir)
    elif kind == "big":
        big(n, m)
    else:
        sys.exit(f"unknown kind {kind}")
    header = f"{name} DEFINITIONS ::= BEGIN\n\n{clauses}" \
             "gen OBJECT IDENTIFIER ::= { enterprises 99999 }\n\n"
    write(os.path.join(outdir, name + ".mib"), header + "".join(m.parts) + "END\n")
    with open(os.path.join(outdir, name + ".expect"), "w") as f:
        json.dump(m.expect, f, indent=1)


if __name__ == "__main__":
    main()
