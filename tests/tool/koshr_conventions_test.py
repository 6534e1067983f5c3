"""koshr_conventions_test.py: the command-line conventions of every koshr
command, one invocation a row: usage errors exit 2 with one line naming the
problem and then the usage lines; failures exit 1 with "koshr: <what>: <why>",
the why being the system's reason where there is one; help exits 0 on stdout.
Also the generated man page and bash completion against the command list.

Usage: koshr_conventions_test.py PATH-TO-KOSHR
"""
import os
import re
import subprocess
import sys
import tempfile

KOSHR = sys.argv[1]
failures = []


def koshr(*args, stdin=b""):
    return subprocess.run([KOSHR, *args], input=stdin, capture_output=True)


with tempfile.TemporaryDirectory() as d:
    lib = os.path.join(d, "orders.kol")
    damaged = os.path.join(d, "damaged.kol")
    readonly = os.path.join(d, "readonly.kol")
    plain_file = os.path.join(d, "plain.txt")
    out = os.path.join(d, "out")
    koshr("lib", "new", lib)
    koshr("lib", "new", readonly)
    os.chmod(readonly, 0o444)
    with open(damaged, "wb") as f:
        f.write(b"\x00" * 5000)
    with open(plain_file, "w") as f:
        f.write("text")

    # (arguments, exit status, first stderr line; for status 0 the start of stdout)
    U = "usage: koshr"
    rows = [
        # the tool itself
        ([], 2, "koshr: missing command"),
        (["bogus"], 2, "koshr: unknown command bogus"),
        (["--bogus"], 2, "koshr: unknown option --bogus"),
        (["--version", "x"], 2, "koshr: --version takes no arguments"),
        (["--help"], 0, U + " <command>"),
        (["-h"], 0, U + " <command>"),
        (["help"], 0, U + " <command>"),
        (["help", "bogus"], 2, "koshr: help: unknown command bogus"),
        (["help", "lib", "bogus"], 2, "koshr: help: unknown subcommand 'bogus' of lib"),
        (["help", "fmt", "x"], 2, "koshr: help: unexpected argument x"),
        (["help", "--man", "lib"], 2, "koshr: help: unexpected argument lib"),
        (["help", "lib", "new"], 0, U + " lib"),
        (["--help", "lib"], 0, U + " lib"),
        # lib
        (["lib"], 2, "koshr: lib: missing subcommand"),
        (["lib", "new"], 2, "koshr: lib new: expects LIB"),
        (["lib", "ls", "--bogus"], 2, "koshr: lib ls: unknown option --bogus"),
        (["lib", "ls", lib, "--text"], 2, "koshr: lib ls: unknown option --text"),
        (["lib", "bogus", "--help"], 2, "koshr: lib: unknown subcommand 'bogus'"),
        (["lib", "ls", lib, "extra"], 2, "koshr: lib ls: unexpected argument extra"),
        (["lib", "cat", lib], 2, "koshr: lib cat: expects LIB ENTRY"),
        (["lib", "export", lib], 2, "koshr: lib export: needs -o DIR"),
        (["lib", "put", lib, "e", "--comment"], 2, "koshr: lib put: --comment needs a value"),
        (["lib", "new", "--help"], 0, U + " lib"),
        (["lib", "new", lib], 1, f"koshr: lib new {lib}: File exists"),
        (["lib", "new", os.path.join(d, "none", "x.kol")], 1,
         f"koshr: lib new {d}/none/x.kol: No such file or directory"),
        (["lib", "ls", os.path.join(d, "missing.kol")], 1,
         f"koshr: lib ls {d}/missing.kol: No such file or directory"),
        (["lib", "ls", damaged], 1,
         f"koshr: lib ls {damaged}: not a library file, or a damaged one (see 'koshr lib check')"),
        (["lib", "ls", d], 1, f"koshr: lib ls {d}: Is a directory"),
        (["lib", "optimize", os.path.join(d, "missing.kol")], 1,
         f"koshr: lib optimize {d}/missing.kol: No such file or directory"),
        (["lib", "optimize", damaged], 1,
         f"koshr: lib optimize {damaged}: not a library file, or a damaged one (see 'koshr lib check')"),
        (["lib", "cat", lib, "nothing"], 1, "koshr: lib cat nothing: no such entry"),
        (["lib", "put", lib, "e", os.path.join(d, "missing.txt")], 1,
         f"koshr: lib put {d}/missing.txt: No such file or directory"),
        (["lib", "export", lib, "nothing", "-o", out], 1, "koshr: lib export nothing: no such entry"),
        (["lib", "export", lib, "-o", plain_file], 1, f"koshr: lib export {plain_file}: Not a directory"),
        # fmt
        (["fmt", "0", "1", "--culture"], 2, "koshr: fmt: --culture needs a value"),
        (["fmt", "0"], 2, "koshr: fmt: expects FORMAT VALUE..."),
        (["fmt", "--check"], 2, "koshr: fmt: expects FORMAT"),
        (["fmt"], 2, "koshr: fmt: expects FORMAT VALUE..."),
        (["fmt", "--type", "bogus", "0", "1"], 2, 'koshr: fmt: unknown type "bogus"'),
        (["fmt", "--check", "0", "1"], 2, "koshr: fmt: unexpected argument 1"),
        (["fmt", "--check=yes", "0"], 2, "koshr: fmt: --check takes no value"),
        (["fmt", "0", "--", "-5"], 0, "-5\n"),
        (["fmt", "0.00", "-1.5", "--type=decimal"], 0, "-1.50\n"),
        (["fmt", "0", "--", "--help"], 1, 'koshr: reading "--help": not a number'),
        # dbparm, sql, driver
        (["dbparm", "--bogus"], 2, "koshr: dbparm: unknown option --bogus"),
        (["dbparm"], 2, "koshr: dbparm: expects TEXT"),
        (["dbparm", "a=1", "b=2"], 2, "koshr: dbparm: unexpected argument b=2"),
        (["dbparm", "--replace", "K", "'v'"], 2, "koshr: dbparm: expects --replace KEYWORD VALUE TEXT"),
        (["sql"], 2, "koshr: sql: missing subcommand"),
        (["sql", "find", "x"], 2, "koshr: sql find: expects KEYWORD TEXT"),
        (["sql", "tail", "a", "b"], 2, "koshr: sql tail: unexpected argument b"),
        (["driver"], 2, "koshr: driver: expects DBMS"),
        (["driver", "a", "b", "c"], 2, "koshr: driver: unexpected argument c"),
        # saveas, demo
        (["saveas"], 2, "koshr: saveas: expects IN.csv OUT"),
        (["saveas", "a", "b", "c"], 2, "koshr: saveas: unexpected argument c"),
        (["saveas", "--clipboard"], 2, "koshr: saveas: expects IN.csv"),
        (["saveas", "a.csv", "b.csv", "--as"], 2, "koshr: saveas: --as needs a value"),
        (["saveas", os.path.join(d, "missing.csv"), os.path.join(d, "o.csv")], 1,
         f"koshr: saveas: {d}/missing.csv: No such file or directory"),
        (["demo", "x"], 2, "koshr: demo: unexpected argument x"),
        # query, catalog
        (["query"], 2, "koshr: query: expects SQL"),
        (["query", "SELECT 1"], 2, "koshr: query: --connect is missing"),
        (["query", "--connect", "x", "a", "b"], 2, "koshr: query: unexpected argument b"),
        (["query", "--connect", "x", "--as", "bogus", "SELECT 1"], 2,
         "koshr: query: unknown format 'bogus'"),
        (["query", "--connect", "x", "-o", "o.bogus", "SELECT 1"], 2,
         "koshr: query: no format for the extension of o.bogus (give --as)"),
        (["catalog"], 2, "koshr: catalog: missing subcommand"),
        (["catalog", "show"], 2, "koshr: catalog show: --connect is missing"),
        (["catalog", "init", "--connect", "x", "y"], 2, "koshr: catalog init: unexpected argument y"),
    ]
    if os.geteuid() != 0:  # the superuser writes read-only files
        rows.append((["lib", "put", readonly, "e", plain_file], 1,
                     f"koshr: lib put {readonly}: Permission denied"))

    for args, status, first in rows:
        done = koshr(*args)
        where = done.stdout if status == 0 else done.stderr
        text = where.decode(errors="replace")
        lines = done.stderr.decode(errors="replace").splitlines()
        problems = []
        if done.returncode != status:
            problems.append(f"exit {done.returncode}, wanted {status}")
        if status == 0 and not text.startswith(first):
            problems.append(f"stdout starts {text[:60]!r}, wanted {first!r}")
        if status != 0 and (not lines or lines[0] != first):
            problems.append(f"first stderr line {lines[:1]!r}, wanted {first!r}")
        if status == 2 and (len(lines) < 2 or not lines[1].startswith(U)):
            problems.append(f"no usage line after the problem: {lines!r}")
        if status == 1 and len(lines) > 1:
            problems.append(f"more than one line for a failure: {lines!r}")
        if problems:
            failures.append(f"koshr {' '.join(args)}: " + "; ".join(problems))
    if os.path.exists(out):
        failures.append("a failed export left its output folder behind")

# Every command answers --help and `help COMMAND` alike, and appears in the man
# page and the completion.
listing = koshr("--help").stdout.decode()
names = re.findall(r"^  ([a-z]+) ", listing.split("commands:\n", 1)[1], re.M)
if not {"lib", "fmt", "help", "demo"} <= set(names):
    failures.append(f"commands listed: {names!r}")
man = koshr("help", "--man").stdout.decode()
completion = koshr("help", "--bash-completion").stdout.decode()
for name in names:
    direct, helped = koshr(name, "--help"), koshr("help", name)
    if direct.returncode != 0 or not direct.stdout.startswith(f"usage: koshr {name}".encode()):
        failures.append(f"koshr {name} --help: {direct.returncode} {direct.stdout[:40]!r}")
    if helped.stdout != direct.stdout:
        failures.append(f"koshr help {name} differs from koshr {name} --help")
    if f'.SS "koshr {name}"' not in man:
        failures.append(f"the man page lacks {name}")
if not man.startswith(".TH KOSHR 1"):
    failures.append("the man page has no title line")

# The completion script, run in bash: (words typed, what the last one completes to)
completions = [
    (["koshr", "li"], "lib"),
    (["koshr", "lib", "ex"], "export"),
    (["koshr", "lib", "put", "--t"], "--text"),
    (["koshr", "saveas", "--enc"], "--encoding"),
    (["koshr", "--comment", "x", "lib", "ch"], "check"),
    (["koshr", "help", "sa"], "saveas"),
]
for words, wanted in completions:
    script = (completion + "\nCOMP_WORDS=(" + " ".join(f"'{w}'" for w in words) + ")\n"
              f"COMP_CWORD={len(words) - 1}\n_koshr\necho \"${{COMPREPLY[*]}}\"\n")
    done = subprocess.run(["bash", "-c", script], capture_output=True, text=True)
    if done.stdout.split() != [wanted]:
        failures.append(f"completing {words!r}: {done.stdout.strip()!r} {done.stderr.strip()!r}")

for failure in failures:
    print("FAIL", failure)
print(f"{len(rows) + len(names) + len(completions)} checks, {len(failures)} failed")
sys.exit(1 if failures else 0)
