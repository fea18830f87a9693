#!/usr/bin/python3
"""Changes the library in one place at a time and reports the changes that no test notices.

The mutants are the same in every run: the sites with the smallest hashes in each folder of src/. The script works on a
copy in build/mutants, so the checkout can be edited meanwhile; results are kept there, and an interrupted run resumes
where it stopped. Survivors that no test can notice are listed with the reason in scripts/mutants_equivalent.txt.
"""
import argparse
import collections
import filecmp
import hashlib
import json
import os
import re
import resource
import shutil
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
WORK = ROOT / "build/mutants"
TREE = WORK / "tree"
BUILD = WORK / "build"
RESULTS = WORK / "results.json"
EQUIVALENT = ROOT / "scripts/mutants_equivalent.txt"

# Room: mutants, programs beside its own and tests/properties that run it.
ROOMS = {
    "region": (12, "reliability"),
    "resize": (12, "image reliability"),
    "filter": (15, "reliability"),
    "enhance": (13, "reliability"),
    "image": (16, "reliability"),
    "gain": (11, "reliability"),
    "selection": (9, "reliability"),
    "score": (11, "engine reliability"),
    "chroma": (9, "engine reliability"),
    "reduce": (11, "engine reliability"),
    "engine": (8, "reliability"),
    "stream": (11, "reliability"),
    "tone": (7, "engine reliability"),
    "guided_upsampling": (14, "plain_lanes engine reliability"),
    "platform": (9, "reliability stream"),
    "base": (4, "guided_upsampling plain_lanes filter enhance chroma engine"),
}
MOST_SECONDS = 60  # of processor time, for one test program
MOST_BYTES = 8 << 30

# Kind: pattern of a site, what replaces it.
KINDS = [
    ("comparison", r" (<|>)(=?) (?!\s*class|\s*typename)", lambda m: f" {m[1]}{'' if m[2] else '='} "),
    ("equality", r" (==|!=) ", lambda m: " != " if m[1] == "==" else " == "),
    ("sign", r"(?<=[\w\])]) ([+-]) (?=[\w(])", lambda m: " - " if m[1] == "+" else " + "),
    ("factor", r"(?<=[\w\])]) ([*/]) (?=[\w(])", lambda m: " / " if m[1] == "*" else " * "),
    ("shift", r" (<<|>>) ", lambda m: " >> " if m[1] == "<<" else " << "),
    ("logic", r" (&&|\|\|) ", lambda m: " || " if m[1] == "&&" else " && "),
    ("extreme", r"\bstd::(min|max)\b", lambda m: "std::max" if m[1] == "min" else "std::min"),
    ("clamp", r"\bstd::clamp(?:<[\w:]+>)?\((\w[\w.\[\] +*-]*), [^()]*\)", lambda m: f"({m[1]})"),
    ("constant", r"(?<![\w.'#])(\d+)(?![\w.'])", lambda m: str(int(m[1]) + 1)),
    ("last", r" - 1\b", lambda m: ""),
    ("pitch", r"\b(\w+\.)?(pitch|stride)\b(?!\[)(?! =[^=])(?=[^;]*[*+)])", lambda m: f"{m[1] or ''}width"),
    ("release", r"^\s+[\w.>-]*([Ff]ree|[Rr]elease|[Uu]nlock|[Dd]estroy|reset)\w*\([^;]*\);$", lambda m: ";"),
    ("arguments", r"(?<=[\w>])\(([a-z]\w*), ([a-z]\w*)(?=[,)])", lambda m: f"({m[2]}, {m[1]}"),
]
NO_CODE = re.compile(r"^\s*(#|//|\*|/\*|static_assert|template|using|namespace|extern|\[\[)|operator|assert\(|\blanes_")


class Mutant:
    def __init__(self, path, number, line, kind, start, end, text):
        self.path, self.number, self.kind, self.line = path, number, kind, line
        self.changed = line[:start] + text + line[end:]
        self.room = path.split("/")[1]

    def name(self, repeats):
        """Holds as long as neither the line nor those that equal it change."""
        key = f"{self.path}|{self.line.strip()}|{self.changed.strip()}"
        repeats[key] += 1
        return hashlib.sha1(f"{key}|{repeats[key]}".encode()).hexdigest()[:10]


def sites(path):
    in_code = False  # past the namespace's opening: tables of includes and comments are none
    for number, line in enumerate((ROOT / path).read_text().splitlines()):
        in_code = in_code or line.startswith(("namespace", "extern", "using"))
        code = line.split("//")[0].rstrip()
        if not in_code or not code.strip() or NO_CODE.search(code) or '"' in code:
            continue
        for kind, pattern, replace in KINDS:
            found = list(re.finditer(pattern, code))
            for match in found[:1] if kind == "constant" else found:
                mutant = Mutant(path, number, line, kind, match.start(), match.end(), replace(match))
                if mutant.changed != line:
                    yield mutant


def mutants_of(room, count):
    """Of each kind in turn the site with the smallest hash, no two of a line."""
    files = sorted(str(p.relative_to(ROOT)) for p in (ROOT / "src" / room).rglob("*.?pp"))
    files = [f for f in files if "wasi" not in f and not re.search(r"lanes_(avx|neon)", f)]
    repeats = collections.Counter()
    of_kind = collections.defaultdict(list)
    for name, mutant in sorted(((m.name(repeats), m) for f in files for m in sites(f)), key=lambda item: item[0]):
        of_kind[mutant.kind].append((name, mutant))
    lines, chosen = set(), []
    while len(chosen) < count and any(of_kind.values()):
        for waiting in of_kind.values():
            while waiting and (waiting[0][1].path, waiting[0][1].number) in lines:
                waiting.pop(0)
            if waiting and len(chosen) < count:
                chosen.append(waiting.pop(0))
                lines.add((chosen[-1][1].path, chosen[-1][1].number))
    return sorted(chosen, key=lambda item: (item[1].path, item[1].number))


def copy_tree():
    """Updates the copy; unchanged files keep their time."""
    parts = "CMakeLists.txt cmake include src tests fuzz plugins examples scripts/draw_mark.py scripts/mark_planes.py"
    wanted = subprocess.run(["git", "ls-files", "-co", "--exclude-standard", *parts.split()], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split()
    wanted = [f for f in wanted if (ROOT / f).is_file()]
    for old in [f for f in TREE.rglob("*") if f.is_file() and str(f.relative_to(TREE)) not in set(wanted)]:
        old.unlink()
    for f in wanted:
        target = TREE / f
        if not target.is_file() or not filecmp.cmp(ROOT / f, target, shallow=False):
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(ROOT / f, target)


def configure():
    command = ["cmake", "-S", TREE, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
               "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DTLUX_AVX2=OFF", "-DTLUX_GSTREAMER=OFF", "-DTLUX_FREI0R=OFF"]
    if shutil.which("ccache"):
        command += ["-DCMAKE_CXX_COMPILER_LAUNCHER=ccache"]
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)


def programs_of(room):
    own = [] if room == "base" else [room]
    programs = own + ROOMS[room][1].split() + ["properties"]
    folders = {"plain_lanes": "guided_upsampling"}
    return [f"tests/{folders.get(p, p)}/tlux_{p}_tests" for p in programs]


def limit():
    resource.setrlimit(resource.RLIMIT_CPU, (MOST_SECONDS, MOST_SECONDS))
    resource.setrlimit(resource.RLIMIT_AS, (MOST_BYTES, MOST_BYTES))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def outcome(room, jobs):
    """'killed' and the first test that failed, 'survived', or 'not built'."""
    for program in programs_of(room):
        built = subprocess.run(["ninja", "-C", BUILD, f"-j{jobs}", program], capture_output=True, text=True)
        if built.returncode != 0:
            return "not built", ""
        run = subprocess.run([BUILD / program, "--gtest_fail_fast", "--gtest_brief=1"], capture_output=True, text=True,
                             errors="replace", preexec_fn=limit, timeout=20 * MOST_SECONDS)
        if run.returncode != 0:
            failed = re.findall(r"\[  FAILED  \] (\w+\.\w+)", run.stdout)
            return "killed", failed[0] if failed else f"{program}: signal or exit code {run.returncode}"
    return "survived", ""


def equivalents():
    lines = EQUIVALENT.read_text().splitlines() if EQUIVALENT.exists() else []
    return {line.split()[0]: line for line in lines if line and not line.startswith("#")}


def show(name, mutant, state, by=""):
    print(f"{state:10} {name} {mutant.path}:{mutant.number + 1} {mutant.kind} {by}")
    if state in ("mutant", "survived"):
        print(f"    - {mutant.line.strip()}\n    + {mutant.changed.strip()}")
    sys.stdout.flush()


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--room", action="append", choices=ROOMS, help="only this folder of src; may be repeated")
    parser.add_argument("--jobs", type=int, default=os.cpu_count(), help="parallel build jobs (default: %(default)s)")
    parser.add_argument("--list", action="store_true", help="print the mutants and do nothing")
    parser.add_argument("--again", action="store_true", help="try the survivors of earlier runs again")
    parser.add_argument("--afresh", action="store_true", help="forget earlier results")
    options = parser.parse_args()
    rooms = options.room or list(ROOMS)
    chosen = [item for room in rooms for item in mutants_of(room, ROOMS[room][0])]
    if options.list:
        for name, mutant in chosen:
            show(name, mutant, "mutant")
        return 0
    results = json.loads(RESULTS.read_text()) if RESULTS.exists() and not options.afresh else {}
    copy_tree()
    configure()
    known = equivalents()
    counts = collections.defaultdict(collections.Counter)
    passed = set()
    for name, mutant in chosen:
        for program in programs_of(mutant.room):
            if program not in passed:  # unchanged
                for command in (["ninja", "-C", BUILD, f"-j{options.jobs}", program], [BUILD / program]):
                    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
                passed.add(program)
        before = results.get(name, [""])[0]
        if name in known:
            state, by = "equivalent", ""
        elif before and not (options.again and before == "survived"):
            state, by = results[name]
        else:
            target = TREE / mutant.path
            original = target.read_text()
            lines = original.split("\n")
            lines[mutant.number] = mutant.changed
            target.write_text("\n".join(lines))
            start = time.monotonic()
            try:
                state, by = outcome(mutant.room, options.jobs)
            finally:
                target.write_text(original)
            by = f"{by} ({time.monotonic() - start:.0f} s)".strip()
            results[name] = [state, by]
            RESULTS.write_text(json.dumps(results, indent=1))
        show(name, mutant, state, by)
        counts[mutant.room][state] += 1
    columns = ["killed", "survived", "equivalent", "not built"]
    print(f"{'room':18}" + "".join(f"{c:>12}" for c in columns))
    for room in rooms:
        print(f"{room:18}" + "".join(f"{counts[room][c]:12}" for c in columns))
    total = sum(counts.values(), collections.Counter())
    print(f"{'all':18}" + "".join(f"{total[c]:12}" for c in columns))
    return 1 if total["survived"] else 0


if __name__ == "__main__":
    sys.exit(main())
