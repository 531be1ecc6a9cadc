#!/usr/bin/env python3
"""Writes generated seed inputs for the fuzz targets.

    make_seeds.py COMPILE_DIR IMPORTS_DIR [MIB_FILE...]

COMPILE_DIR receives single modules that run into the compiler's fixed limits
(quoted texts of 4,096 characters, annotation lines of 1,024, comments of
1,024, labels of 255, IMPORTS and EXPORTS of 500 words, OID values of 16
components), each just below, at and past the limit; the fuzzer would take
long to grow inputs that large by itself.  IMPORTS_DIR receives inputs of the
import target: a main module and the modules FUZZ-A-MIB and FUZZ-B-MIB it
imports from, separated by the line "#--8<--" (see fuzz_imports.cpp); each
MIB_FILE given becomes such an input as well, in the place of FUZZ-A-MIB,
with a main module that imports labels it defines.
"""
import os
import re
import sys

SEPARATOR = "\n#--8<--\n"


def words(text, count, width=60):
    """`count` words of `text` numbered from 1, separated by commas and
    wrapped into lines."""
    out, line = [], ""
    for i in range(1, count + 1):
        word = f"{text}{i}" + ("," if i < count else "")
        if line and len(line) + len(word) > width:
            out.append(line)
            line = ""
        line += (" " if line else "") + word
    out.append(line)
    return "\n".join(out)


def quoted(length, fill="lorem ipsum dolor sit amet "):
    """A quoted text of exactly `length` characters between the quotes, in
    lines of at most 70 characters."""
    body = (fill * (length // len(fill) + 1))[:length]
    lines = [body[i:i + 70] for i in range(0, len(body), 70)]
    return '"' + "\n".join(lines)[:length] + '"'


def module(name, body, imports=""):
    head = f"{name} DEFINITIONS ::= BEGIN\n\n"
    if imports:
        head += f"IMPORTS\n{imports};\n\n"
    return head + body + "\nEND\n"


def object_type(label, parent, subid, descr, extra=""):
    return (f"{label} OBJECT-TYPE\n    SYNTAX      Integer32\n    MAX-ACCESS  read-only\n"
            f"    STATUS      current\n    DESCRIPTION {descr}\n{extra}"
            f"    ::= {{ {parent} {subid} }}\n\n")


SMI_IMPORTS = ("    MODULE-IDENTITY, OBJECT-TYPE, NOTIFICATION-TYPE, Integer32,\n"
               "    enterprises FROM SNMPv2-SMI\n    DisplayString FROM SNMPv2-TC")


def long_texts(open_end=True):
    body = ("bigMIB MODULE-IDENTITY\n    LAST-UPDATED \"202601150000Z\"\n"
            f"    ORGANIZATION {quoted(4097)}\n    CONTACT-INFO {quoted(4500)}\n"
            f"    DESCRIPTION {quoted(5000)}\n"
            f"    REVISION \"202601150000Z\"\n    DESCRIPTION {quoted(4096)}\n"
            "    ::= { enterprises 4242 }\n\n")
    for n, length in enumerate((4095, 4096, 4097, 5000), 1):
        body += object_type(f"bigText{n}", "bigMIB", n, quoted(length))
    body += object_type("bigRef", "bigMIB", 5, quoted(10), f"    REFERENCE {quoted(5000, 'see ')}\n")
    body += ("BigHint ::= TEXTUAL-CONVENTION\n"
             f"    DISPLAY-HINT {quoted(4200, '255a')}\n    STATUS current\n"
             f"    DESCRIPTION {quoted(4500)}\n    SYNTAX OCTET STRING (SIZE (0..255))\n\n")
    body += ("bigUnits OBJECT-TYPE\n    SYNTAX      BigHint\n"
             f"    UNITS       {quoted(4300, 'seconds ')}\n    MAX-ACCESS  read-only\n"
             f"    STATUS      current\n    DESCRIPTION {quoted(100)}\n"
             f"    DEFVAL      {{ {quoted(4100, 'x')} }}\n    ::= {{ bigMIB 9 }}\n\n")
    # A text left open runs to the end of the input.
    if open_end:
        body += ("bigOpen OBJECT-TYPE\n    SYNTAX Integer32\n    MAX-ACCESS read-only\n"
                 f"    STATUS current\n    DESCRIPTION \"{'never closed ' * 400}\n")
    return module("BIG-TEXT-MIB", body, SMI_IMPORTS)


def long_annotations():
    body = ("annoRoot OBJECT IDENTIFIER ::= { enterprises 5001 }\n\n"
            "annoLong TRAP-TYPE\n    ENTERPRISE  annoRoot\n    VARIABLES   { annoRoot }\n"
            "    DESCRIPTION \"Annotation lines at and past their limit.\"\n")
    for key, length in (("TYPE", 1023), ("SUMMARY", 1024), ("ARGUMENTS", 1025),
                        ("HELP", 1200), ("STATE", 3000)):
        text = ("x" * length)[:length - len(f"--#{key} ")]
        body += f"    --#{key} {text}\n"
    body += f"    -- {'c' * 1100}\n    --#SEVERITY MINOR\n    ::= 1\n\n"
    body += ("annoNotif NOTIFICATION-TYPE\n    OBJECTS     { annoRoot }\n    STATUS current\n"
             f"    DESCRIPTION {quoted(4097)}\n    --#SUMMARY \"{'s' * 1500}\"\n"
             f"    --#{'#' * 1030}\n    ::= {{ annoRoot 2 }}\n\n")
    # Comments at and past their limit, and a comment that ends the input.
    for length in (1023, 1024, 1025, 2000):
        body += "-- " + "k" * (length - 3) + "\n"
    text = module("BIG-ANNO-MIB", body, "    enterprises FROM RFC1155-SMI\n    TRAP-TYPE FROM RFC-1215")
    return text + "-- " + "z" * 1500


def long_labels():
    body = ""
    for length in (254, 255, 256, 257, 300, 1100):
        label = "l" + "a" * (length - 1)
        body += f"{label} OBJECT IDENTIFIER ::= {{ enterprises {length} }}\n"
        body += f"child{length} OBJECT IDENTIFIER ::= {{ {label} 1 }}\n"
    long_type = "T" + "y" * 299
    body += object_type("o" + "b" * 400, "child300", 1, '"long label"')
    body += f"sized OBJECT-TYPE\n    SYNTAX {long_type}\n    ACCESS read-only\n" \
            f"    STATUS mandatory\n    DESCRIPTION \"x\"\n    INDEX {{ {'i' * 600} }}\n" \
            f"    ::= {{ child255 {'9' * 300} }}\n\n"
    # Enumeration labels past the limit end the parse: last.
    body += f"{long_type} ::= INTEGER {{ {'e' * 255}(1), {'f' * 256}(2) }}\n"
    name = "M" + "O" * 1100
    return module(name, body, "    enterprises FROM RFC1155-SMI")


def long_imports():
    """Clauses just below, at and past the limit of 500 words (a FROM and
    its module name count as one)."""
    parts = []
    for count in (497, 498, 499, 600):
        imports = words("imp", count) + "\n    FROM SNMPv2-SMI"
        parts.append(module(f"IMP{count}-MIB", "imp1 OBJECT IDENTIFIER ::= { enterprises 1 }\n",
                            imports))
    # EXPORTS of 499 words, then IMPORTS of 150 modules that are not there.
    exports = f"EXPORTS\n{words('exp', 499)};\n\n"
    froms = "\n".join(f"    x{i}a, x{i}b FROM MOD{i}-MIB" for i in range(1, 151))
    parts.append(module("EXP-MIB", exports + "root OBJECT IDENTIFIER ::= { enterprises 2 }\n",
                        froms))
    return parts


def oid(label, parent, count, named):
    """A registration of `count` components after `parent`, the one before
    last named."""
    components = [f"n{i}({i})" if named or i == count - 1 else str(i) for i in range(1, count + 1)]
    return f"{label} OBJECT IDENTIFIER ::= {{ {parent} {' '.join(components)} }}\n"


def long_oids():
    """Values of up to 16 components; those past the limit, and numbers past
    32 bits, end the parse and have seeds of their own."""
    body = "deep OBJECT IDENTIFIER ::= { enterprises 4242 }\n"
    for count in (2, 14, 15):
        body += oid(f"oid{count}", "iso", count, False) + oid(f"named{count}", "deep", count, True)
    seeds = [module("DEEP-OID-MIB", body, "    enterprises FROM RFC1155-SMI")]
    tails = [oid(f"over{count}", "iso", count, False) + oid(f"nover{count}", "deep", count, True)
             for count in (16, 19, 64)]
    tails.append(f"bigSub OBJECT IDENTIFIER ::= {{ deep {'4' * 40} }}\n"
                 f"negSub OBJECT IDENTIFIER ::= {{ deep -{'1' * 20} }}\n")
    for n, tail in enumerate(tails, 1):
        seeds.append(module(f"OVER{n}-MIB", body + tail, "    enterprises FROM RFC1155-SMI"))
    return seeds


def dashes():
    """Lines of dashes; an odd number leaves a "-" that ends the parse, so
    those come last."""
    body = "dashRoot OBJECT IDENTIFIER ::= { enterprises 77 }\n"
    for length in (2, 4, 1022, 1024, 1026, 4000):
        body += "-" * length + "\n"
        body += f"dash{length} OBJECT IDENTIFIER ::= {{ dashRoot {length} }} " + "-" * length + "\n"
    body += "--" + "-#" * 600 + "\n"
    body += object_type("dashText", "dashRoot", 1, quoted(4200, "-- "))
    for length in (3, 1023, 1025, 3001):
        body += f"dash{length} OBJECT IDENTIFIER ::= {{ dashRoot {length} }} " + "-" * length + "\n"
    return module("DASH-MIB", body, "    enterprises FROM RFC1155-SMI")


def many_definitions():
    """A module of about 60 KB: many records of every kind, for the record
    storage and the writers."""
    body = ("manyMIB MODULE-IDENTITY\n    LAST-UPDATED \"202601150000Z\"\n"
            "    ORGANIZATION \"o\"\n    CONTACT-INFO \"c\"\n    DESCRIPTION \"d\"\n"
            "    ::= { enterprises 9999 }\n\n")
    for i in range(1, 81):
        body += f"ManyType{i} ::= TEXTUAL-CONVENTION\n    STATUS current\n    DESCRIPTION \"t\"\n" \
                f"    SYNTAX INTEGER {{ a{i}(1), b{i}(2), c{i}({i}) }}\n\n"
        body += f"many{i} OBJECT IDENTIFIER ::= {{ manyMIB {i} }}\n"
        body += object_type(f"manyObj{i}", f"many{i}", 1, quoted(200))
        body += (f"manyTrap{i} NOTIFICATION-TYPE\n    OBJECTS {{ manyObj{i} }}\n"
                 f"    STATUS current\n    DESCRIPTION \"n\"\n    --#SEVERITY MINOR\n"
                 f"    ::= {{ many{i} 2 }}\n\n")
    return module("MANY-MIB", body, SMI_IMPORTS)


def import_seeds():
    """Main module, FUZZ-A-MIB and FUZZ-B-MIB in one input."""
    seeds = {}
    # Registrations and ancestor chains across the files; B's chain starts
    # at a fixed label.
    seeds["chains"] = [
        module("FUZZ-MAIN", "mainRoot OBJECT IDENTIFIER ::= { aLeaf 1 }\n"
               "mainOther OBJECT IDENTIFIER ::= { bLeaf 7 }\n",
               "    aLeaf, aMid FROM FUZZ-A-MIB\n    bLeaf, bTable FROM FUZZ-B-MIB"),
        module("FUZZ-A-MIB", "aRoot OBJECT IDENTIFIER ::= { enterprises 3001 }\n"
               "aMid OBJECT IDENTIFIER ::= { aRoot 1 }\n"
               "aLeaf OBJECT IDENTIFIER ::= { aMid 2 }\n"
               "aLeaf OBJECT IDENTIFIER ::= { aRoot 9 }\n",
               "    enterprises FROM RFC1155-SMI"),
        module("FUZZ-B-MIB", "bRoot OBJECT IDENTIFIER ::= { transmission 88 }\n"
               "bSec OBJECT IDENTIFIER ::= { snmpModules 4 }\n"
               + object_type("bTable", "bRoot", 1, '"t"')
               + "bLeaf OBJECT IDENTIFIER ::= { bSec 3 }\n",
               SMI_IMPORTS),
    ]
    # User types and TEXTUAL-CONVENTIONs that clash between the modules.
    seeds["types"] = [
        module("FUZZ-MAIN", "MainLevel ::= INTEGER { low(1), high(2) }\n"
               "utLevel OBJECT-TYPE\n    SYNTAX AType\n    ACCESS read-only\n"
               "    STATUS mandatory\n    DESCRIPTION \"l\"\n    ::= { aRoot 1 }\n",
               "    aRoot, AType FROM FUZZ-A-MIB\n    bRoot, BType FROM FUZZ-B-MIB"),
        module("FUZZ-A-MIB", "AType ::= INTEGER { off(0), on(1) }\n"
               "AName ::= DisplayString (SIZE (0..32))\n"
               "ACount ::= TEXTUAL-CONVENTION\n    DISPLAY-HINT \"d\"\n    STATUS current\n"
               "    DESCRIPTION \"c\"\n    SYNTAX Counter64\n"
               "aRoot OBJECT IDENTIFIER ::= { enterprises 1401 }\n"),
        module("FUZZ-B-MIB", "AType ::= Gauge32 (0..100)\nBType ::= BITS { red(0), green(1) }\n"
               "AName ::= OCTET STRING (SIZE (0..8))\n"
               "bRoot OBJECT IDENTIFIER ::= { enterprises 1402 }\n"),
    ]
    # Parents that name each other, within a file and across the files.
    seeds["cycle"] = [
        module("FUZZ-MAIN", "mainRoot OBJECT IDENTIFIER ::= { cycleOk 1 }\n",
               "    cycleA, cycleOk FROM FUZZ-A-MIB\n    crossB FROM FUZZ-B-MIB"),
        module("FUZZ-A-MIB", "cycleA OBJECT IDENTIFIER ::= { cycleB 1 }\n"
               "cycleB OBJECT IDENTIFIER ::= { cycleA 2 }\n"
               "crossA OBJECT IDENTIFIER ::= { crossB 1 }\n"
               "cycleOk OBJECT IDENTIFIER ::= { enterprises 1801 }\n"),
        module("FUZZ-B-MIB", "crossB OBJECT IDENTIFIER ::= { crossA 3 }\n"
               "crossA OBJECT IDENTIFIER ::= { crossB 4 }\n"
               "self OBJECT IDENTIFIER ::= { self 5 }\n"),
    ]
    # Two modules in one file, a label defined twice, an import of the main
    # module itself and of a part that is not there.
    seeds["two-modules"] = [
        module("FUZZ-MAIN", "mainRoot OBJECT IDENTIFIER ::= { secondUnit 1 }\n",
               "    firstUnit, secondUnit FROM FUZZ-A-MIB\n    mainRoot FROM FUZZ-MIB\n"
               "    gone FROM FUZZ-B-MIB"),
        module("FUZZ-A-MIB", "firstRoot OBJECT IDENTIFIER ::= { enterprises 1701 }\n"
               "firstUnit OBJECT IDENTIFIER ::= { firstRoot 1 }\n")
        + "\n" + module("FUZZ-A-EXTRA", "secondRoot OBJECT IDENTIFIER ::= { enterprises 1702 }\n"
                        "secondUnit OBJECT IDENTIFIER ::= { secondRoot 1 }\n"
                        "firstUnit OBJECT IDENTIFIER ::= { secondRoot 2 }\n"),
    ]
    # Traps whose enterprise and variables come from the imported modules,
    # and an imported module that does not parse.
    seeds["traps"] = [
        module("FUZZ-MAIN", "mainTrap TRAP-TYPE\n    ENTERPRISE aRoot\n"
               "    VARIABLES { aObj, bObj }\n    DESCRIPTION \"t\"\n    --#TYPE \"x\"\n"
               "    --#SEVERITY MAJOR\n    ::= 3\n\n"
               "mainNotif NOTIFICATION-TYPE\n    OBJECTS { aObj }\n    STATUS current\n"
               "    DESCRIPTION \"n\"\n    ::= { aEvents 4 }\n",
               "    TRAP-TYPE FROM RFC-1215\n    NOTIFICATION-TYPE FROM SNMPv2-SMI\n"
               "    aRoot, aEvents, aObj FROM FUZZ-A-MIB\n    bObj FROM FUZZ-B-MIB"),
        module("FUZZ-A-MIB", "aRoot OBJECT IDENTIFIER ::= { enterprises 2001 }\n"
               "aEvents OBJECT IDENTIFIER ::= { aRoot 0 }\n"
               + object_type("aObj", "aRoot", 1, '"a"'), SMI_IMPORTS),
        "FUZZ-B-MIB DEFINITIONS ::= BEGIN\nbObj OBJECT-TYPE ::= { \n",
    ]
    # Large: 450 imported labels, each with a chain of two ancestors, and an
    # imported module with a long text.
    a_body = "bigRoot OBJECT IDENTIFIER ::= { enterprises 6001 }\n"
    for i in range(1, 451):
        a_body += (f"big{i}p OBJECT IDENTIFIER ::= {{ bigRoot {i} }}\n"
                   f"big{i} OBJECT IDENTIFIER ::= {{ big{i}p 1 }}\n")
    seeds["large"] = [
        module("FUZZ-MAIN", "mainRoot OBJECT IDENTIFIER ::= { big1 1 }\n",
               words("big", 450) + "\n    FROM FUZZ-A-MIB\n    bigText FROM FUZZ-B-MIB"),
        module("FUZZ-A-MIB", a_body),
        module("FUZZ-B-MIB", "bigRoot OBJECT IDENTIFIER ::= { enterprises 6002 }\n"
               + object_type("bigText", "bigRoot", 1, quoted(5000)), SMI_IMPORTS),
    ]
    return {name: SEPARATOR.join(parts) for name, parts in seeds.items()}


def real_module_seed(path):
    """A main module that imports up to 40 of the labels the MIB file at
    `path` registers, with that file as FUZZ-A-MIB; None when it registers
    none."""
    with open(path, "rb") as f:
        text = f.read()
    labels = []
    for m in re.finditer(rb"^\s*([a-z][A-Za-z0-9-]*)\s+(OBJECT IDENTIFIER|OBJECT-TYPE|"
                         rb"MODULE-IDENTITY|OBJECT-IDENTITY|NOTIFICATION-TYPE)\b", text, re.M):
        label = m.group(1).decode("ascii")
        if label not in labels:
            labels.append(label)
    if not labels:
        return None
    picked = labels[::max(1, len(labels) // 40)][:40]
    main = module("FUZZ-MAIN", f"mainRoot OBJECT IDENTIFIER ::= {{ {picked[0]} 1 }}\n",
                  ",\n".join("    " + label for label in picked)
                  + "\n    FROM FUZZ-A-MIB")
    return main.encode("ascii") + SEPARATOR.encode("ascii") + text


def write(folder, name, text):
    with open(os.path.join(folder, name), "w", encoding="ascii") as f:
        f.write(text)


def main():
    if len(sys.argv) < 3:
        sys.exit("usage: make_seeds.py COMPILE_DIR IMPORTS_DIR [MIB_FILE...]")
    compile_dir, imports_dir = sys.argv[1:3]
    os.makedirs(compile_dir, exist_ok=True)
    os.makedirs(imports_dir, exist_ok=True)
    singles = {
        "gen-long-texts": long_texts(),
        "gen-long-annotations": long_annotations(),
        "gen-long-labels": long_labels(),
        "gen-dashes": dashes(),
        "gen-many-definitions": many_definitions(),
    }
    for n, text in enumerate(long_imports(), 1):
        singles[f"gen-long-imports-{n}"] = text
    for n, text in enumerate(long_oids(), 1):
        singles[f"gen-long-oids-{n}"] = text
    for name, text in singles.items():
        write(compile_dir, name, text)
    for name, text in import_seeds().items():
        write(imports_dir, f"gen-imports-{name}", text)
    # A few of the single modules that parse to the end, importing a label
    # of a module beside them.
    beside = {"gen-long-texts": long_texts(open_end=False)}
    for name in ("gen-long-annotations", "gen-long-oids-1"):
        beside[name] = singles[name]
    for name, text in beside.items():
        text = text.replace("enterprises FROM", "aRoot FROM FUZZ-A-MIB\n    enterprises FROM", 1)
        write(imports_dir, name, text + SEPARATOR + module(
            "FUZZ-A-MIB", "aRoot OBJECT IDENTIFIER ::= { enterprises 1 }\n"))
    for path in sys.argv[3:]:
        seed = real_module_seed(path)
        if seed is not None:
            name = os.path.basename(path)
            with open(os.path.join(imports_dir, f"real-{name}"), "wb") as f:
                f.write(seed)


if __name__ == "__main__":
    main()
