#!/usr/bin/env python3
"""Which test cases reach src lines that no other case of their executable
reaches: each case of build-cov/tests/NAME/test_NAME runs alone from clean
counters (build the tree with scripts/coverage.sh first), its covered src lines
are kept in build-cov/pertest/NAME.json, and the cases are listed by how many
lines only they reach. A case at 0 is a candidate for folding or dropping,
unless it pins a value no other case pins.
  scripts/coverage_pertest.py NAME [GTEST_FILTER]
"""
import glob, json, os, subprocess, sys
from collections import Counter

root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
build = os.path.join(root, "build-cov")
name = sys.argv[1]
folder = f"{build}/tests/{name}"
exe = f"{folder}/test_{name}"
env = dict(os.environ, CORVA_SOURCE_DIR=root, QT_QPA_PLATFORM="offscreen")


def cases():
    listing = subprocess.run([exe, "--gtest_list_tests", "--gtest_filter=" + (sys.argv[2:] or ["*"])[0]],
                             capture_output=True, text=True, env=env, cwd=folder).stdout
    suite, out = "", []
    for line in filter(str.strip, listing.splitlines()):
        if line.startswith(" "):
            out.append(suite + line.split()[0])
        else:
            suite = line.split()[0]
    return out


def covered():
    # gcov's JSON, system headers left out (-r), one document per line.
    files = glob.glob(f"{build}/**/*.gcda", recursive=True)
    lines = set()
    for i in range(0, len(files), 60):
        out = subprocess.run(["gcov", "-j", "-t", "-r", "-s", root] + files[i:i + 60],
                             capture_output=True, text=True, cwd=build).stdout
        for doc in filter(lambda d: d.startswith("{"), out.splitlines()):
            data = json.loads(doc)
            for f in data["files"]:
                path = os.path.normpath(os.path.join(data["current_working_directory"], f["file"]))
                if path.startswith(root + "/src/"):
                    rel = path[len(root) + 1:]
                    lines.update((rel, l["line_number"]) for l in f["lines"] if l["count"] > 0)
    return lines


reached = {}
for case in cases():
    for f in glob.glob(f"{build}/**/*.gcda", recursive=True):
        os.remove(f)
    run = subprocess.run([exe, "--gtest_filter=" + case], capture_output=True, env=env, cwd=folder)
    reached[case] = covered()
    print(f"{case}: status {run.returncode}, {len(reached[case])} lines", file=sys.stderr)
os.makedirs(f"{build}/pertest", exist_ok=True)
json.dump({c: sorted(map(list, s)) for c, s in reached.items()}, open(f"{build}/pertest/{name}.json", "w"))

count = Counter(x for s in reached.values() for x in s)
print(f"{len(reached)} cases reach {len(count)} src lines together")
for case, lines in sorted(reached.items(), key=lambda kv: sum(count[x] == 1 for x in kv[1])):
    only = Counter(f for f, n in lines if count[(f, n)] == 1)
    print(f"{sum(only.values()):5d} only here  {len(lines):6d} reached  {case}  " +
          ", ".join(f"{f}:{n}" for f, n in only.most_common(3)))
