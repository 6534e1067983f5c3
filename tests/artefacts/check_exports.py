#!/usr/bin/env python3
"""Compares the names a built library exports with the checked-in lists.

Every family keeps the exact list of what it exports in
tests/data/exports/<family>.txt; the library must export their union and
nothing else. ELF libraries are read with `nm -D --defined-only`, PE DLLs with
`objdump -p` (their export table). Symbols the C++ runtime's templates leak
into an ELF library's dynamic table (names in namespace std, unique
symbols) are not exports of ours and are left out, and so are the typeinfo
name strings (_ZTS) that ELF exports beside every exported class's typeinfo
and a DLL does not.
"""
import argparse
import pathlib
import re
import subprocess
import sys

# Mangled names of the standard library's own entities: std::, and the
# typeinfo, vtables, guards and local statics of its templates.
STD_NAME = re.compile(r"^_Z(?:TV|TI|TS|GV|Z|L)*N?K?St")
# Symbol types nm prints for defined exports (text, data, bss, read-only, weak).
EXPORT_TYPES = set("TDBRVWi")


def elf_exports(library, nm):
    out = subprocess.run([nm, "-D", "--defined-only", library], check=True,
                         capture_output=True, text=True).stdout
    names = set()
    for line in out.splitlines():
        parts = line.split()
        if len(parts) < 3 or parts[1] not in EXPORT_TYPES:
            continue
        name = parts[2].split("@")[0]
        if not STD_NAME.match(name) and not name.startswith(("__gnu", "_ZTS")):
            names.add(name)
    return names


def pe_exports(library, objdump):
    out = subprocess.run([objdump, "-p", library], check=True,
                         capture_output=True, text=True).stdout
    names = set()
    in_table = False
    for line in out.splitlines():
        if "[Ordinal/Name Pointer] Table" in line:
            in_table = True
            continue
        if in_table:
            match = re.match(r"\s*\[\s*\d+\]\s+(\S+)", line)
            if not match:
                break
            names.add(match.group(1))
    return names


def expected_exports(folder):
    names = set()
    for listing in sorted(pathlib.Path(folder).glob("*.txt")):
        for line in listing.read_text().splitlines():
            if line.strip():
                names.add(line.strip())
    return names


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--format", choices=["elf", "pe"], required=True)
    parser.add_argument("--tool", required=True, help="nm for ELF, objdump for PE")
    parser.add_argument("library")
    parser.add_argument("lists", help="folder of <family>.txt lists")
    args = parser.parse_args()
    reader = elf_exports if args.format == "elf" else pe_exports
    actual = reader(args.library, args.tool)
    expected = expected_exports(args.lists)
    missing = sorted(expected - actual)
    extra = sorted(actual - expected)
    for name in missing:
        print(f"missing export: {name}")
    for name in extra:
        print(f"unlisted export: {name}")
    if missing or extra:
        return 1
    print(f"{len(actual)} exports match the lists")
    return 0


if __name__ == "__main__":
    sys.exit(main())
