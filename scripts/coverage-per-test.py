#!/usr/bin/env python3
"""Which test cases cover nothing the rest of their executable doesn't.

Runs every case of the named test executables of the build-cov tree (see
scripts/coverage.sh) alone, from clean counters, records the lines of src each
covers (gcov's JSON), and lists per case its length in the test file, its
covered lines and the lines only it covers. A case whose lines all stay
covered is a candidate for a cut, unless it pins a value no other case does;
the last line is a greedy set of cases that could all go, longest first.
    scripts/coverage-per-test.py store message
The records stay in build-cov/per-test/NAME.json; --report reads them again.
"""
import collections, glob, json, os, re, subprocess, sys, time

root = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
build = os.path.join(root, "build-cov")
records = os.path.join(build, "per-test")
env = dict(os.environ, CORVA_SOURCE_DIR=root, QT_QPA_PLATFORM="offscreen")


def clear():
    for f in glob.glob(os.path.join(build, "**", "*.gcda"), recursive=True):
        os.remove(f)


def covered():
    files = glob.glob(os.path.join(build, "src", "**", "*.gcda"), recursive=True)
    lines = set()
    for i in range(0, len(files), 40):
        out = subprocess.run(["gcov", "--json-format", "--stdout"] + files[i:i + 40],
                             capture_output=True, text=True, cwd=build).stdout
        for doc in filter(None, (l.strip() for l in out.splitlines())):
            for f in json.loads(doc)["files"]:
                name = os.path.normpath(os.path.join(build, f["file"]))
                if name.startswith(os.path.join(root, "src") + "/"):
                    rel = os.path.relpath(name, root)
                    lines.update(f"{rel}:{l['line_number']}" for l in f["lines"] if l["count"])
    return lines


def run(name):
    exe = os.path.join(build, "tests", name, "test_" + name)
    listing = subprocess.run([exe, "--gtest_list_tests"], capture_output=True, text=True,
                             env=env, cwd=os.path.dirname(exe)).stdout
    suite, result = "", {}
    for line in filter(str.strip, listing.splitlines()):
        if not line.startswith(" "):
            suite = line.split("#")[0].strip()
            continue
        case = suite + line.split("#")[0].strip()
        clear()
        start = time.time()
        subprocess.run([exe, "--gtest_filter=" + case], env=env, cwd=os.path.dirname(exe),
                       capture_output=True, timeout=600)
        result[case] = {"lines": sorted(covered()), "seconds": round(time.time() - start, 2)}
        print(f"{case}: {len(result[case]['lines'])} lines", file=sys.stderr)
    os.makedirs(records, exist_ok=True)
    with open(os.path.join(records, name + ".json"), "w") as f:
        json.dump(result, f)


def lengths(name):
    # Non-blank lines from each TEST line to the next one.
    found = {}
    for path in glob.glob(os.path.join(root, "tests", name, "*.cpp")):
        text = open(path, errors="replace").read().split("\n")
        starts = [(i, m.group(2), m.group(3)) for i, l in enumerate(text)
                  for m in [re.match(r"TEST(_F|_P)?\((\w+),\s*(\w+)\)", l)] if m]
        for k, (i, suite, test) in enumerate(starts):
            end = starts[k + 1][0] if k + 1 < len(starts) else len(text)
            found[(suite, test)] = sum(1 for l in text[i:end] if l.strip())
    return lambda case: found.get((case.split(".")[0].split("/")[-1],
                                   case.split(".", 1)[1].split("/")[0]), 0)


def report(name):
    cases = json.load(open(os.path.join(records, name + ".json")))
    length = lengths(name)
    count = collections.Counter(l for c in cases.values() for l in c["lines"])
    print(f"== {name}: {len(cases)} cases, {len(count)} lines of src covered")
    for case, c in sorted(cases.items(), key=lambda kv: length(kv[0])):
        only = sum(1 for l in c["lines"] if count[l] == 1)
        print(f"  {case:72} {length(case):4} test lines {len(c['lines']):5} covered "
              f"{c['seconds']:6.2f}s  {'all covered elsewhere' if not only else only}")
    alive = {case: c["lines"] for case, c in cases.items()}
    dropped = []
    while True:
        spare = [c for c, ls in alive.items() if all(count[l] > 1 for l in ls)]
        if not spare:
            break
        case = max(spare, key=length)
        count.subtract(alive.pop(case))
        dropped.append(case)
    print(f"  could all go ({sum(map(length, dropped))} test lines): {', '.join(dropped)}")


if __name__ == "__main__":
    names = [a for a in sys.argv[1:] if not a.startswith("--")]
    for name in names:
        if "--report" not in sys.argv:
            run(name)
        report(name)
