#!/usr/bin/env python3
"""Links every module of a MIB tree into one flat folder as MODULE.mib.

    flat-folder.py TREE FLAT

Module headers ("NAME DEFINITIONS ::= BEGIN", comments and quoted texts
skipped) are found in every file under TREE.  Where several files define a
module, the one with the fewest folder levels below TREE wins, then the path
in byte order.  A lone compile of MODULE.mib in FLAT then sees what a
trapsmith-batch compile of the tree sees, which the tests and the benchmark
compare against.
"""
import os
import re
import sys

WORDS = re.compile(rb'"[^"]*"|--.*?(?:--|$)|[^\s"]+', re.M | re.S)


def main():
    root, flat = sys.argv[1], sys.argv[2]
    best = {}
    for folder, dirs, files in os.walk(root, followlinks=False):
        dirs.sort()
        depth = 0 if folder == root else os.path.relpath(folder, root).count(os.sep) + 1
        for name in sorted(files):
            path = os.path.join(folder, name)
            try:
                with open(path, 'rb') as f:
                    data = f.read()
            except OSError:
                continue
            if b'\0' in data[:65536]:
                continue
            words = [w for w in WORDS.findall(data) if not w.startswith((b'--', b'"'))]
            for i, word in enumerate(words):
                if word == b'DEFINITIONS' and i > 0 and words[i + 1:i + 3] == [b'::=', b'BEGIN']:
                    module = words[i - 1].decode('latin-1')
                    key = (depth, path.encode())
                    if module not in best or key < best[module]:
                        best[module] = key
    os.makedirs(flat, exist_ok=True)
    for module, (_, path) in sorted(best.items()):
        if '/' not in module and module not in ('.', '..'):
            os.symlink(os.path.abspath(path.decode()), os.path.join(flat, module + '.mib'))
    print(len(best), 'modules linked')


if __name__ == '__main__':
    main()
