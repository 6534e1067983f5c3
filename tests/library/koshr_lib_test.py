"""koshr_lib_test.py: `koshr lib` end to end: every subcommand, its output and
its exit status, on a scratch directory."""
import filecmp
import os
import resource
import subprocess
import sys
import tempfile

KOSHR = sys.argv[1]
MEMORY_PEAK = "--no-memory-peak" not in sys.argv[2:]
failures = []


def run(*args, stdin=b"", code=0):
    done = subprocess.run([KOSHR, "lib", *args], input=stdin, capture_output=True)
    if done.returncode != code:
        failures.append(f"koshr lib {' '.join(args)}: exit {done.returncode}, wanted {code}: {done.stderr!r}")
    return done


def expect(what, got, wanted):
    if got != wanted:
        failures.append(f"{what}: got {got!r}, wanted {wanted!r}")


with tempfile.TemporaryDirectory() as d:
    lib = os.path.join(d, "t.kol")
    run("new", lib, "--comment", "tool test")
    run("new", lib, code=1)
    run("put", lib, "report.txt", "--text", "--comment", "main", stdin="héllo\r\nwörld\r\n".encode())
    binary = bytes(range(256)) * 9
    blob = os.path.join(d, "blob.bin")
    with open(blob, "wb") as f:
        f.write(binary)
    run("put", lib, "pic.bmp", blob)
    expect("cat --text", run("cat", lib, "REPORT.txt", "--text").stdout, "héllo\r\nwörld\r\n".encode())
    expect("cat raw", run("cat", lib, "report.txt").stdout, "héllo\r\nwörld\r\n".encode("utf-16-le"))
    expect("cat binary", run("cat", lib, "pic.bmp").stdout, binary)
    lines = run("ls", lib).stdout.decode().splitlines()
    expect("ls names", [l.split("\t")[0] for l in lines], ["pic.bmp", "report.txt"])
    expect("ls sizes", [l.split("\t")[1] for l in lines], [str(len(binary)), "28"])
    expect("ls comment", lines[1].split("\t")[3], "main")
    expect("ls time", lines[1].split("\t")[2][-1], "Z")
    info = run("info", lib).stdout.decode()
    for wanted in ("type: 1 (source)", "format version: 0600", "comment: tool test", "blocks used:"):
        if wanted not in info:
            failures.append(f"info lacks {wanted!r}: {info!r}")

    out = os.path.join(d, "out")
    run("export", lib, "-o", out)
    with open(os.path.join(out, "report.txt"), encoding="utf-8", newline="") as f:
        expect("exported text", f.read(), "$KOExportHeader$report.txt\r\n$KOExportComments$main\r\nhéllo\r\nwörld\r\n")
    with open(os.path.join(out, "pic.bmp"), encoding="utf-8", newline="") as f:
        if "Start of Korvane Binary Data Section" not in f.read():
            failures.append("binary entry not exported as a hex section")

    copy = os.path.join(d, "copy.kol")
    run("new", copy)
    run("import", copy, os.path.join(out, "report.txt"), os.path.join(out, "pic.bmp"))
    expect("imported text", run("cat", copy, "report.txt", "--text").stdout, "héllo\r\nwörld\r\n".encode())
    back = run("cat", copy, "pic.bmp").stdout
    expect("imported binary", back[: len(binary)], binary)
    expect("imported padding", len(back) % 1996, 0)

    # An empty entry name is an invalid name, for writing and for reading.
    for sub in (("put", lib, "", blob), ("cat", lib, ""), ("rm", lib, "")):
        if b"invalid name" not in run(*sub, code=1).stderr:
            failures.append(f"koshr lib {sub[0]} with an empty name: no invalid-name message")

    # Optimize keeps every entry and leaves nothing for check to report.
    for i in range(40):
        run("put", lib, f"n{i:03}.dat", stdin=bytes([i]) * (i * 50))
    run("rm", lib, "n007.dat")
    run("optimize", lib)
    expect("optimized check", run("check", lib).stdout, b"")
    expect("optimized binary", run("cat", lib, "pic.bmp").stdout, binary)
    expect("optimized text", run("cat", lib, "report.txt", "--text").stdout, "héllo\r\nwörld\r\n".encode())
    expect("optimized entry", run("cat", lib, "n039.dat").stdout, bytes([39]) * 1950)
    expect("optimized listing", len(run("ls", lib).stdout.decode().splitlines()), 41)
    run("optimize", os.path.join(d, "missing.kol"), code=1)
    for i in range(40):
        run("rm", lib, f"n{i:03}.dat", code=1 if i == 7 else 0)

    # Entries move a chunk at a time: put, cat and export of a 40 MB entry stay
    # far below its size in memory (the largest child so far is the measure;
    # this script keeps its own memory small too, since a child starts as its
    # copy).
    large, back = os.path.join(d, "large.bin"), os.path.join(d, "large.back")
    with open(large, "wb") as f:
        for i in range(40):
            f.write(bytes([i]) * 1000 + os.urandom((1 << 20) - 1000))
    run("put", lib, "large.bin", large, "--comment", "forty megabytes")
    with open(back, "wb") as f:
        subprocess.run([KOSHR, "lib", "cat", lib, "large.bin"], stdout=f, check=True)
    run("export", lib, "large.bin", "-o", os.path.join(d, "large_out"))
    peak_kb = resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss
    if MEMORY_PEAK and peak_kb > 24 * 1024:
        failures.append(f"put, cat and export of 40 MB took {peak_kb} KB at their peak")
    expect("streamed cat", filecmp.cmp(large, back, shallow=False), True)
    with open(os.path.join(d, "large_out", "large.bin"), encoding="utf-8", newline="") as f:
        data_lines = sum(1 for line in f if line.startswith("2"))
    expect("streamed export lines", data_lines, -(-(40 << 20) // 1996))
    run("rm", lib, "large.bin")

    # What the format cannot hold is refused before anything is written: an
    # entry of 4 GiB or more (its length has 32 bits), and one that would take
    # the library's blocks past 4 GiB (their offsets have 32 bits). Sparse
    # files: nothing is read before the refusal.
    with open(lib, "rb") as f:
        unchanged = f.read()
    for size, reason in ((1 << 32, "too large"), ((1 << 32) - 1000, "does not fit"),
                         ((1 << 32) - 100, "too large")):
        sparse = os.path.join(d, "sparse.bin")
        with open(sparse, "wb") as f:
            f.truncate(size)
        args = ("put", lib, "huge.bin", sparse) + (("--comment", "x" * 60) if size == (1 << 32) - 100 else ())
        if reason.encode() not in run(*args, code=1).stderr:
            failures.append(f"put of {size} bytes: not refused as {reason!r}")
        os.remove(sparse)
    with open(lib, "rb") as f:
        expect("library after refusals", f.read() == unchanged, True)

    run("rm", lib, "pic.bmp")
    run("rm", lib, "pic.bmp", code=1)
    run("cat", lib, "pic.bmp", code=1)
    for checked in (lib, copy):
        expect("check " + checked, run("check", checked).stdout, b"")

    # A damaged library: a data link pointing into the header.
    with open(lib, "r+b") as f:
        f.seek(1536 + 32 + 12)
        f.write((512).to_bytes(4, "little"))
    report = run("check", lib, code=1).stdout.decode().splitlines()
    if not report:
        failures.append("check reported nothing on a damaged library")
    run("ls", os.path.join(d, "missing.kol"), code=1)
    run("frobnicate", lib, code=2)
    expect("help", run("--help").returncode, 0)

for f in failures:
    print(f)
sys.exit(1 if failures else 0)
