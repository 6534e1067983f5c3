#!/usr/bin/env python3
"""Checks that the folders' include graph is the one CMakeLists.txt declares.

Each `koshr_subsystem(<folder> <lower ko_ libraries>...)` line declares what
the folder may use. A folder uses another when one of its files includes an
internal header of it ("storage/...") or its public header (<koshr/...>).
The check fails when a folder uses one it does not declare, and when it
declares one that nothing it uses reaches: a declared folder is linked into
the folder's test program, so a stale one hides a missing dependency.
"""
import pathlib
import re
import sys

# Which folder implements each public header.
PUBLIC = {
    "types.h": "platform", "host.h": "platform",
    "storage.h": "storage", "strings.h": "storage",
    "lists.h": "containers", "hashtable.h": "containers", "datablob.h": "containers",
    "library.h": "library", "dbi.h": "dbi", "format.h": "format", "saveas.h": "saveas",
}
INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([a-z_]+)/|<koshr/([a-z_]+\.h)>)', re.M)
SUBSYSTEM = re.compile(r"^koshr_subsystem\((\w+)((?:\s+ko_\w+)*)\)", re.M)


def main(root):
    root = pathlib.Path(root)
    declared = {m[1]: {d[3:] for d in m[2].split()}
                for m in SUBSYSTEM.finditer((root / "CMakeLists.txt").read_text())}
    used = {}
    for folder in declared:
        found = set()
        for path in (root / folder).rglob("*"):
            if path.suffix in (".cpp", ".h"):
                for internal, public in INCLUDE.findall(path.read_text(errors="replace")):
                    found.add(internal or PUBLIC.get(public, ""))
        used[folder] = found & set(declared) - {folder}

    def reached(folder):
        seen, todo = set(), list(used[folder])
        while todo:
            other = todo.pop()
            if other not in seen:
                seen.add(other)
                todo.extend(used[other])
        return seen

    problems = []
    for folder in declared:
        for other in sorted(used[folder] - declared[folder]):
            problems.append(f"{folder} uses {other}, which CMakeLists.txt does not declare")
        for other in sorted(declared[folder] - reached(folder)):
            problems.append(f"{folder} declares {other}, which nothing it uses reaches")
    for line in problems:
        print(line)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent))
