"""The `koshr dbparm`, `koshr sql` and `koshr driver` commands, end to end.

Usage: koshr_dbi_test.py PATH-TO-KOSHR
"""
import subprocess
import sys

KOSHR = sys.argv[1]
SUFFIX = ".dll" if KOSHR.endswith(".exe") else ".so"

CASES = [
    (["dbparm", "DisableBind=1, Name='it''s', Drop=Yes, Last"], 0,
     "DisableBind\t-\t1\nName\tit's\t0\nLast\t-\t0\n"),
    (["dbparm", "   "], 0, ""),
    (["dbparm", "--replace", "B", "'3'", "A='1',B='2'"], 0, "A='1',B='3'\n"),
    (["dbparm", "--replace", "C", "'3'", ""], 0, "C='3'\n"),
    (["sql", "tail", "select a from t group by a having count(*) > 1 order by a"], 0,
     "group by a having count(*) > 1 order by a\n"),
    (["sql", "tail", "select a from t"], 1, ""),
    (["sql", "find", "where", "select 'where' from t /* where */ where x"], 0, "34\n"),
    (["sql", "find", "where", "select a from t"], 1, ""),
    (["sql", "find", "where", "where x = 1"], 0, "0\n"),
    (["sql", "classify", "SELECT count (*) from t"], 0, "aggregate\n"),
    (["sql", "classify", "select distinct a from t"], 0, "aggregate\n"),
    (["sql", "classify", "select count(a) from t"], 0, "plain\n"),
    (["driver", "ODBC"], 0, "koODB" + SUFFIX + "\n"),
    (["driver", "INF", "Driver='ISQLT15A'"], 0, "koI15" + SUFFIX + "\n"),
    (["driver", "MSOLEDBSQL"], 0, "komsoledbsql" + SUFFIX + "\n"),
    (["sql"], 2, ""),
    (["driver"], 2, ""),
]

failures = 0
for arguments, status, expected in CASES:
    run = subprocess.run([KOSHR] + arguments, capture_output=True, text=True)
    if run.returncode != status or run.stdout != expected:
        failures += 1
        print(f"FAIL {arguments}: status {run.returncode}, output {run.stdout!r}, expected {status} {expected!r}")
for command in ("dbparm", "sql", "driver"):
    run = subprocess.run([KOSHR, command, "--help"], capture_output=True, text=True)
    if run.returncode != 0 or not run.stdout.startswith("usage: koshr " + command):
        failures += 1
        print(f"FAIL {command} --help")
print(f"{len(CASES) + 3 - failures} passed, {failures} failed")
sys.exit(1 if failures else 0)
