#!/usr/bin/env python3
"""Compiles every module of the MIB corpus and checks the results.

    corpus_check.py BINARY CORPUS_DIR EXPECTED_STATUS_FILE

Each file is compiled in a scratch copy of the corpus folder, so that its
imports resolve beside it.  For each file:
  - the exit status must be the one listed in EXPECTED_STATUS_FILE (0 when the
    file is not listed), its output must hold the text listed after the
    status, if any, and nothing may be written to standard error;
  - on success, the ".cfg" file must hold one TRAP-TYPE per TRAP-TYPE and
    NOTIFICATION-TYPE definition of the input, and each trap must carry the
    "--#" annotation lines that follow its DESCRIPTION in the input, in order;
  - no work file (".int", ".imports", ".dbg") may be left behind.
Prints one line per failing file and a closing "N passed, N failed" line.
When CORPUS_DIR does not exist the check is skipped: it says so and exits 77.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

def strip_line(line, in_quote):
    """Returns the code part of one input line (comments and quoted text
    blanked out) and whether a quoted text is still open at its end."""
    out = bytearray()
    i, n = 0, len(line)
    in_comment = False
    while i < n:
        c = line[i:i + 1]
        if in_quote:
            if c == b'"':
                in_quote = False
            out += b" "
            i += 1
        elif in_comment:
            if line[i:i + 2] == b"--":
                in_comment = False
                i += 2
            else:
                i += 1
            out += b" "
        elif line[i:i + 2] == b"--":
            in_comment = True
            i += 2
            out += b"  "
        elif c == b'"':
            in_quote = True
            out += b" "
            i += 1
        else:
            out += c
            i += 1
    return bytes(out), in_quote


def input_traps(data):
    """Maps each trap label of the input to the annotation texts (after the
    two dashes) written between its DESCRIPTION and its "::="."""
    traps = {}
    order = []
    words = []          # (word, line index) of the code, in order
    lines = data.split(b"\n")
    code_lines = []
    in_quote = False
    for idx, line in enumerate(lines):
        code, in_quote = strip_line(line, in_quote)
        code_lines.append(code)
        for w in code.split():
            words.append((w, idx))
    i = 0
    while i < len(words):
        w, idx = words[i]
        if w in (b"TRAP-TYPE", b"NOTIFICATION-TYPE") and i > 0:
            nxt = words[i + 1][0] if i + 1 < len(words) else b""
            label = words[i - 1][0]
            # A definition, not a macro definition or a word of IMPORTS.
            if nxt in (b"ENTERPRISE", b"OBJECTS", b"STATUS") and \
                    re.match(rb"^[A-Za-z][A-Za-z0-9_-]*$", label):
                # Find DESCRIPTION and "::=" of this definition.
                j = i + 1
                desc_line = None
                while j < len(words) and words[j][0] != b"::=" and not words[j][0].startswith(b"::="):
                    if words[j][0] == b"DESCRIPTION" and desc_line is None:
                        desc_line = words[j][1]
                    j += 1
                end_line = words[j][1] if j < len(words) else len(lines) - 1
                notes = []
                if desc_line is not None:
                    in_q = False
                    for k in range(desc_line, end_line + 1):
                        line = lines[k]
                        # Only lines outside the quoted description count.
                        stripped = line.lstrip()
                        if not in_q and stripped.startswith(b"--#"):
                            notes.append(stripped[2:].rstrip(b"\r"))
                        _, in_q = strip_line(line, in_q)
                traps[label] = notes
                order.append(label)
        i += 1
    return order, traps


def cfg_traps(data):
    traps = {}
    cur = None
    for line in data.split(b"\n"):
        m = re.match(rb"^(\S+) TRAP-TYPE$", line)
        if m:
            cur = m.group(1)
            traps.setdefault(cur, [])
            continue
        if cur is not None:
            if line.startswith(b"\t--"):
                traps[cur].append(line[3:])
            elif line.startswith(b"\t::="):
                cur = None
    return traps


def main():
    binary, corpus, expected_file = sys.argv[1:4]
    if not os.path.isdir(corpus):
        print(f"skipped: the MIB corpus {corpus} is not there")
        return 77
    expected = {}   # file name -> (exit status, text its output must hold)
    with open(expected_file) as f:
        for line in f:
            words = line.split("#", 1)[0].split(None, 2)
            if len(words) >= 2:
                expected[words[0]] = (int(words[1]), words[2].strip() if len(words) > 2 else "")
    scratch = tempfile.mkdtemp()
    passed = failed = 0
    try:
        for name in sorted(os.listdir(corpus)):
            if name.endswith(".mib"):
                shutil.copy(os.path.join(corpus, name), scratch)
        for name in sorted(os.listdir(scratch)):
            if not name.endswith(".mib"):
                continue
            problems = []
            proc = subprocess.run([binary, name], cwd=scratch, capture_output=True, timeout=120)
            want, want_text = expected.get(name, (0, ""))
            if proc.returncode != want:
                problems.append(f"exit status {proc.returncode}, expected {want}")
            if want_text and want_text.encode() not in proc.stdout:
                problems.append(f"output lacks {want_text!r}")
            if proc.stderr:
                problems.append("standard error not empty")
            base = name.split(".")[0]
            cfg = os.path.join(scratch, base + ".cfg")
            if proc.returncode == 0:
                with open(os.path.join(scratch, name), "rb") as f:
                    order, want_traps = input_traps(f.read())
                with open(cfg, "rb") as f:
                    got = cfg_traps(f.read())
                if len(got) != len(want_traps):
                    problems.append(f"{len(got)} traps in the .cfg, {len(want_traps)} in the input")
                for label in order:
                    if label.decode() not in [k.decode() for k in got]:
                        problems.append(f"trap {label.decode()} missing")
                    elif got[label] != want_traps[label]:
                        problems.append(f"trap {label.decode()}: annotations differ")
            left = [n for n in os.listdir(scratch)
                    if n.endswith((".int", ".imports", ".dbg"))]
            if left:
                problems.append("work files left: " + " ".join(sorted(left)))
            for n in os.listdir(scratch):
                if n.startswith(base + ".cfg"):
                    os.remove(os.path.join(scratch, n))
            if problems:
                failed += 1
                print(f"FAIL {name}: " + "; ".join(problems[:5]))
            else:
                passed += 1
    finally:
        shutil.rmtree(scratch)
    print(f"{passed} passed, {failed} failed")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
