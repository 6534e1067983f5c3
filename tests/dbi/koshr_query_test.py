"""`koshr query` and `koshr catalog` end to end on a real database.

Usage: koshr_query_test.py PATH-TO-KOSHR

A SQLite file in a temporary folder (made with Python's sqlite3) by default;
the database KOSHR_TEST_CONNECT names (make test-postgres) when it is set,
the table then made through `koshr query` itself. The table is exported to
every save-as format and read back value for value by readers that are not
ours: Python's csv, sqlite3 (the SQL script), xmllint and ElementTree (XML),
dbfread (dBase, when installed).
"""
import csv
import datetime
import decimal
import io
import os
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

KOSHR = sys.argv[1]
FOLDER = tempfile.mkdtemp(prefix="koshr-query-test-")
SERVER = os.environ.get("KOSHR_TEST_CONNECT")
CONNECT = SERVER or f"Driver=SQLite3;Database={FOLDER}/shop.db"
failures = []

# id, name, price numeric(12,2), ratio double, stamp timestamp
ROWS = [
    (1, "Widget", "19.99", 1.5, datetime.datetime(2024, 3, 5, 10, 11, 12)),
    (2, None, "4.50", None, datetime.datetime(1999, 12, 31, 23, 59, 59)),
    (3, 'a "quoted", comma', "-0.35", -2.5e-05, None),
    (4, "two\nlines é€ \U0001D11E", None, 1234567.125, datetime.datetime(2024, 2, 29, 0, 0, 0)),
    (5, "tab\there", "1234567890.12", 0.1, datetime.datetime(2030, 1, 1, 8, 0, 0)),
]
NAMES = ["id", "name", "price", "ratio", "stamp"]


def koshr(*arguments, status=0):
    run = subprocess.run([KOSHR, *arguments], capture_output=True)
    if run.returncode != status:
        failures.append(f"{arguments}: exit {run.returncode}, expected {status}: {run.stderr!r}")
    return run


def check(condition, what):
    if not condition:
        failures.append(what)


def sql_literal(value):
    if value is None:
        return "NULL"
    if isinstance(value, str) and not value.replace(".", "").lstrip("-").isdigit():
        return "'" + value.replace("'", "''") + "'"
    if isinstance(value, datetime.datetime):
        return "'" + value.strftime("%Y-%m-%d %H:%M:%S") + "'"
    return str(value)


CREATE = ("CREATE TABLE goods (id integer PRIMARY KEY, name varchar(40), price numeric(12,2), "
          "ratio double precision, stamp timestamp)")
if SERVER:
    koshr("query", "--connect", CONNECT, "DROP TABLE IF EXISTS goods")
    koshr("query", "--connect", CONNECT, CREATE)
    for row in ROWS:
        koshr("query", "--connect", CONNECT,
              "INSERT INTO goods VALUES (" + ", ".join(map(sql_literal, row)) + ")")
else:
    with sqlite3.connect(f"{FOLDER}/shop.db") as db:
        db.execute(CREATE)
        db.executemany("INSERT INTO goods VALUES (?, ?, ?, ?, ?)",
                       [(r[0], r[1], r[2] and float(r[2]), r[3],
                         r[4] and r[4].strftime("%Y-%m-%d %H:%M:%S")) for r in ROWS])


def same_number(text, expected):
    if expected is None:
        return text in ("", None)
    return abs(float(text) - float(expected)) <= 1e-9 * max(1.0, abs(float(expected)))


def same_stamp(text, expected):
    """The text writers render a timestamp through "[SHORTDATE] [TIME]"."""
    if expected is None:
        return text in ("", None)
    return text in (f"{expected.month}/{expected.day}/{expected:%y %H:%M:%S}",
                    expected.strftime("%Y-%m-%d %H:%M:%S"))


def compare_rows(rows, what):
    check(len(rows) == len(ROWS), f"{what}: {len(rows)} rows")
    for got, want in zip(rows, ROWS):
        check(int(got[0]) == want[0], f"{what}: id {got[0]!r}")
        check((got[1] or None) == want[1], f"{what}: name {got[1]!r} != {want[1]!r}")
        check(same_number(got[2], want[2]), f"{what}: price {got[2]!r} != {want[2]!r}")
        check(same_number(got[3], want[3]), f"{what}: ratio {got[3]!r} != {want[3]!r}")
        check(same_stamp(got[4], want[4]), f"{what}: stamp {got[4]!r} != {want[4]!r}")


SELECT = "SELECT id, name, price, ratio, stamp FROM goods ORDER BY id"
for fmt, extension in [("csv", "csv"), ("text", "txt"), ("sql", "sql"), ("xml", "xml"),
                       ("dbase3", "dbf"), ("sylk", "slk"), ("dif", "dif"), ("wk1", "wk1")]:
    out = f"{FOLDER}/goods.{extension}"
    koshr("query", "--connect", CONNECT, "-o", out, SELECT)
    data = open(out, "rb").read() if os.path.exists(out) else b""
    check(len(data) > 0, f"{fmt}: no file")
    if fmt in ("csv", "text"):
        reader = csv.reader(io.StringIO(data.decode("utf-8"), newline=""),
                            delimiter="," if fmt == "csv" else "\t")
        rows = list(reader)
        check(rows[0] == NAMES, f"{fmt}: header {rows[0]}")
        compare_rows(rows[1:], fmt)
    elif fmt == "sql":
        db = sqlite3.connect(":memory:")
        db.executescript(data.decode("utf-8"))
        rows = [[None if v is None else str(v) for v in r]
                for r in db.execute("SELECT * FROM goods ORDER BY id")]
        compare_rows(rows, fmt)
    elif fmt == "xml":
        lint = subprocess.run(["xmllint", "--noout", out], capture_output=True)
        check(lint.returncode == 0, f"xml: xmllint {lint.stderr!r}")
        root = ElementTree.fromstring(data)
        rows = [[(row.find(n).text or "") for n in NAMES] for row in root]
        compare_rows(rows, fmt)
    elif fmt == "dbase3":
        try:
            import dbfread
        except ImportError:
            print("dbase3: dbfread is not installed, only the file's presence checked")
            continue
        table = dbfread.DBF(out, encoding="utf-8", char_decode_errors="replace")
        rows = [[r[n.upper()] for n in NAMES] for r in table]
        check(len(rows) == len(ROWS), f"dbase3: {len(rows)} rows")
        # The format writes a missing double as 0 and a missing decimal as blanks.
        for got, want in zip(rows, ROWS):
            check(int(got[0]) == want[0], f"dbase3: id {got[0]!r}")
            for c in (2, 3):
                good = got[c] in (None, 0) if want[c] is None else same_number(got[c], want[c])
                check(good, f"dbase3: {NAMES[c]} {got[c]!r} != {want[c]!r}")
    elif fmt == "dif":
        lines = data.decode("utf-8").split("\r\n")
        check(lines[lines.index("TUPLES") + 1] == f"0,{len(ROWS)}", "dif: row count")

# Standard output: the same bytes as the file.
run = koshr("query", "--connect", CONNECT, "--as", "csv", SELECT)
check(run.stdout == open(f"{FOLDER}/goods.csv", "rb").read(), "csv on stdout differs")

# The table: aligned, NULL shown, the row count.
run = koshr("query", "--connect", CONNECT, "--param", "2", "SELECT id, name FROM goods WHERE id = ?")
lines = run.stdout.decode().splitlines()
check(lines == [" id | name", "----+------", "  2 | NULL", "(1 row)"], f"table: {lines}")

# Aligned on a terminal's columns: wide characters take two, combining marks none.
run = koshr("query", "--connect", CONNECT,
            "SELECT 'ab' AS t UNION ALL SELECT '\u6f22\u5b57' UNION ALL SELECT 'e\u0301' ORDER BY 1")
lines = run.stdout.decode().splitlines()
check(lines == [" t", "------", " ab", " e\u0301", " \u6f22\u5b57", "(3 rows)"], f"wide table: {lines}")

# Statements without a result, and errors.
run = koshr("query", "--connect", CONNECT, "UPDATE goods SET ratio = 2 WHERE id > ?", "--param", "3")
check(run.stdout == b"2 rows affected\n", f"update: {run.stdout!r}")
run = koshr("query", "--connect", CONNECT, "SELECT * FROM missing_table", status=1)
check(run.stderr.startswith(b"koshr: query: ") and b"missing_table" in run.stderr,
      f"error message: {run.stderr!r}")
for arguments in (["SELECT 1"], ["--connect", CONNECT], ["--connect", CONNECT, "--bogus", "SELECT 1"],
                  ["--connect", CONNECT, "--as", "bogus", "SELECT 1"],
                  ["--connect", CONNECT, "--param"]):
    koshr("query", *arguments, status=2)

# A failed export leaves the target as it was, and no staging folder.
with open(f"{FOLDER}/kept.csv", "w") as kept:
    kept.write("before")
koshr("query", "--connect", CONNECT, "-o", f"{FOLDER}/kept.csv", "SELECT * FROM missing_table",
      status=1)
if not SERVER:
    # A timestamp column holding a word (SQLite keeps what it is given).
    with sqlite3.connect(f"{FOLDER}/shop.db") as db:
        db.execute("INSERT INTO goods VALUES (6, 'odd', NULL, 1, 'not a time')")
    run = koshr("query", "--connect", CONNECT, "-o", f"{FOLDER}/kept.csv", SELECT, status=1)
    check(b"row 6, column stamp: 'not a time'" in run.stderr, f"bad value: {run.stderr!r}")
    with sqlite3.connect(f"{FOLDER}/shop.db") as db:
        db.execute("DELETE FROM goods WHERE id = 6")
check(open(f"{FOLDER}/kept.csv").read() == "before", "the target was touched")
check(not [n for n in os.listdir(FOLDER) if n.startswith(".koshr-")], "a staging folder was left")

# A statement that fails after thousands of rows have streamed (the rows are
# fetched here while a child process writes the ones before them): exit 1,
# the database's message, no file, no staging folder. SQLite's driver steps
# through the result only with StepAPI=1; without it the failure comes at
# execute. The same statement cut short before the failing row succeeds.
if SERVER:
    koshr("query", "--connect", CONNECT, "DROP TABLE IF EXISTS stream")
    koshr("query", "--connect", CONNECT,
          "CREATE TABLE stream AS SELECT generate_series(1, 6000) AS n")
    failing, fails_with, streaming = "1 / (n - {row})", b"division by zero", CONNECT
else:
    with sqlite3.connect(f"{FOLDER}/shop.db") as db:
        db.execute("CREATE TABLE stream (n integer)")
        db.execute("WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n < 6000)"
                   " INSERT INTO stream SELECT n FROM c")
    failing, fails_with = "abs(-9223372036854775808)", b"integer overflow"
    streaming = CONNECT + ";StepAPI=1"
for row, extension in ((1, "csv"), (5000, "csv"), (5000, "slk"), (5999, "xml")):
    # No ORDER BY: a sort would evaluate every row before the first is sent.
    select = (f"SELECT n, 'row ' || n, CASE WHEN n = {row} THEN {failing.format(row=row)} END"
              " FROM stream")
    out = f"{FOLDER}/stream.{extension}"
    run = koshr("query", "--connect", streaming, "-o", out, select, status=1)
    check(run.stderr.startswith(b"koshr: query: ") and fails_with in run.stderr,
          f"failing at row {row}: {run.stderr!r}")
    check(not os.path.exists(out), f"failing at row {row}: {extension} file left")
    check(not [n for n in os.listdir(FOLDER) if n.startswith(".koshr-")],
          f"failing at row {row}: a staging folder was left")
    run = koshr("query", "--connect", streaming, "--as", "csv", select + f" LIMIT {row - 1}")
    check(run.stdout.count(b"\n") == row, f"the rows before row {row}: {run.stdout[-80:]!r}")

# SIGTERM or SIGINT while the rows stream: the process ends by the signal and
# leaves nothing, neither a file nor the process that writes it.
if not SERVER and os.name == "posix":
    with sqlite3.connect(f"{FOLDER}/shop.db") as db:
        db.execute("CREATE TABLE many (n integer)")
        db.execute("WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n < 3000000)"
                   " INSERT INTO many SELECT n FROM c")
    for stop in (signal.SIGTERM, signal.SIGINT):
        child = subprocess.Popen([KOSHR, "query", "--connect", CONNECT, "-o", f"{FOLDER}/kept.csv",
                                  "SELECT n, n * 0.5 FROM many"], stderr=subprocess.PIPE)
        while child.poll() is None and not [n for n in os.listdir(FOLDER)
                                            if n.startswith(".koshr-")]:
            pass
        children = f"/proc/{child.pid}/task/{child.pid}/children"
        writers = open(children).read().split() if os.path.exists(children) else []
        child.send_signal(stop)
        child.wait()
        if child.returncode == -stop:
            check(not [n for n in os.listdir(FOLDER) if n.startswith(".koshr-")],
                  f"{stop.name} left a staging folder")
            for pid in writers:
                check(not os.path.exists(f"/proc/{pid}"), f"{stop.name} left process {pid}")
        check(open(f"{FOLDER}/kept.csv").read() == "before", f"{stop.name} touched the target")

# A target that cannot be written: the writer's message names it, exit 1.
run = koshr("query", "--connect", CONNECT, "-o", f"{FOLDER}/no/such/folder/out.csv", SELECT,
            status=1)
check(run.stderr.startswith(f"koshr: query: {FOLDER}/no/such/folder/out.csv: ".encode()),
      f"unwritable target: {run.stderr!r}")

# An export streams: its peak memory does not grow with the result. The same
# export with the user's Streaming='No' (which wins over the tool's) holds the
# whole result in the ODBC driver, showing that the bound tells the two apart.
PLENTY = 300000
if SERVER:
    koshr("query", "--connect", CONNECT, "DROP TABLE IF EXISTS plenty")
    koshr("query", "--connect", CONNECT,
          "CREATE TABLE plenty AS SELECT n, 'item number ' || n AS name, n * 0.25 AS price "
          f"FROM generate_series(1, {PLENTY}) AS n")
else:
    with sqlite3.connect(f"{FOLDER}/shop.db") as db:
        db.execute("CREATE TABLE plenty (n integer, name varchar(40), price numeric(12,2))")
        db.execute("WITH RECURSIVE c(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM c WHERE n < ?) "
                   "INSERT INTO plenty SELECT n, 'item number ' || n, n * 0.25 FROM c", (PLENTY,))
MEASURE = ("import resource, subprocess, sys\n"
           "run = subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL)\n"
           "print(run.returncode, resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)\n")


def peak_kb(*arguments):
    """The peak resident memory of one `koshr query` export, in KB."""
    environment = dict(os.environ)
    # A sanitizer's quarantine of freed blocks would look like a growing result.
    environment["ASAN_OPTIONS"] = environment.get("ASAN_OPTIONS", "") + ":quarantine_size_mb=1"
    run = subprocess.run([sys.executable, "-c", MEASURE, KOSHR, "query", "--connect", CONNECT,
                          "--as", "csv", *arguments], capture_output=True, text=True, env=environment)
    status, kb = map(int, run.stdout.split())
    check(status == 0, f"export {arguments}: exit {status}")
    return kb


small = peak_kb("SELECT * FROM plenty WHERE n <= 10")
streamed = peak_kb("SELECT * FROM plenty")
held = peak_kb("--dbparm", "Streaming='No'", "SELECT * FROM plenty")
check(streamed - small < 8192, f"export of {PLENTY} rows: {streamed} KB, {small} KB for 10 rows")
check(held - small > 16384, f"a held result: {held} KB, {small} KB for 10 rows (no contrast)")

# The catalog: created, filled, read back; --formats renders through it.
koshr("catalog", "init", "--connect", CONNECT)
for statement in ("DELETE FROM kocatfmt", "DELETE FROM kocatvld", "DELETE FROM kocatedt",
                  "DELETE FROM kocatcol",
                  "INSERT INTO kocatfmt VALUES ('money', '#,##0.00', 0, 0)",
                  "INSERT INTO kocatvld VALUES ('positive', 'price > 0', 0, 0, 'must be positive')",
                  "INSERT INTO kocatedt VALUES ('yesno', '', 86, 0, 1, 0, '')",
                  "INSERT INTO kocatedt VALUES ('yesno', 'Yes', 86, 0, 2, 0, '')",
                  "INSERT INTO kocatcol (koc_ownr, koc_tnam, koc_cnam, koc_mask) "
                  "VALUES ('', 'goods', 'price', 'money')",
                  "INSERT INTO kocatcol (koc_ownr, koc_tnam, koc_cnam, koc_mask) "
                  "VALUES ('', 'goods', 'stamp', 'yyyy/mm/dd')"):
    koshr("query", "--connect", CONNECT, statement)
run = koshr("catalog", "show", "--connect", CONNECT)
shown = run.stdout.decode()
for piece in (" money | #,##0.00 |", " positive | price > 0 |    0 | must be positive",
              " yesno |   2 |   86 | Yes  |"):
    check(piece in shown, f"catalog show lacks {piece!r}:\n{shown}")
run = koshr("query", "--connect", CONNECT, "--formats", "SELECT id, price, stamp FROM goods WHERE id = 5")
check("1,234,567,890.12" in run.stdout.decode() and "2030/01/01" in run.stdout.decode(),
      f"--formats: {run.stdout!r}")

shutil.rmtree(FOLDER, ignore_errors=True)
for failure in failures:
    print("FAIL", failure)
print(f"{len(failures)} failures ({'the server' if SERVER else 'SQLite'})")
sys.exit(1 if failures else 0)
