#!/usr/bin/env python3
"""Times every family next to its peers and prints the ratios; below 1 the family is faster.

usage: scripts/bench.py [REGEX]

REGEX selects families by name; the default is those at 1920 × 1080. The program is built first. Each figure is the
minimum of several repetitions, interleaved at random so that other work on the machine affects family and peer alike.
Each call appends a line to build/bench-history.jsonl: date, commit, machine, figures.
"""

import datetime
import json
import os
import platform
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PROGRAM = ROOT / "build/bench/bench/tlux_bench"
HISTORY = ROOT / "build/bench-history.jsonl"
FULL_HD = r"/1920/1080|^((?!/\d{3,}/\d{3,}).)*$"  # also families that have no size in their name
PEERS = ("memcpy", "opencv", "libyuv", "libyuv_nv21")
NOT_ARGUMENTS = ("process_time", "real_time")
MILLISECONDS = {"ns": 1e-6, "us": 1e-3, "ms": 1.0, "s": 1e3}


def family_and_peer(name):
    parts = [part for part in name.split("/") if part not in NOT_ARGUMENTS and not part.startswith("repeats:")]
    peer = next((part for part in parts if part in PEERS), None)
    return "/".join(part for part in parts if part != peer), peer


def pairs(pattern):
    names = subprocess.run([PROGRAM, "--benchmark_list_tests"], check=True, text=True, capture_output=True).stdout
    members = {}
    for name in names.splitlines():
        family, peer = family_and_peer(name)
        members.setdefault(family, {})[peer] = name
    return {family: names for family, names in members.items()
            if None in names and len(names) > 1 and re.search(pattern, family)}


def measure(names):
    """Minimum processor and real time of each, in milliseconds."""
    out = PROGRAM.parent / "figures.json"
    subprocess.run([PROGRAM, f"--benchmark_filter=^({'|'.join(names)})$", "--benchmark_repetitions=7",
                    "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.03",
                    f"--benchmark_out={out}", "--benchmark_out_format=json"],
                   check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    figures = {}
    for run in json.loads(out.read_text())["benchmarks"]:
        if run["run_type"] != "iteration":
            continue
        unit = MILLISECONDS[run["time_unit"]]
        times = (run["cpu_time"] * unit, run["real_time"] * unit)
        before = figures.get(run["run_name"], times)
        figures[run["run_name"]] = tuple(map(min, times, before))
    return figures


def machine():
    model = re.search(r"^model name\s*:\s*(.*)$", Path("/proc/cpuinfo").read_text(), re.MULTILINE)
    return f"{model[1] if model else platform.machine()}, {os.cpu_count()} cores"


def main():
    pattern = sys.argv[1] if len(sys.argv) > 1 else FULL_HD
    for command in (["cmake", "--preset", "bench"], ["cmake", "--build", "--preset", "bench"]):
        subprocess.run(command, cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    chosen = pairs(pattern)
    figures = measure([name for names in chosen.values() for name in names.values()])

    print("| Benchmark | ms | Peer | ms | Processor time | Real time |\n|---|---:|---|---:|---:|---:|")
    for family, names in chosen.items():
        cpu, real = figures[names[None]]
        for peer, name in names.items():
            if peer is not None:
                peer_cpu, peer_real = figures[name]
                print(f"| {family} | {cpu:.2f} | {peer} | {peer_cpu:.2f} | {cpu / peer_cpu:.2f} | {real / peer_real:.2f} |")

    commit = subprocess.run(["git", "describe", "--always", "--dirty"], cwd=ROOT, text=True, capture_output=True).stdout
    with HISTORY.open("a") as history:
        history.write(json.dumps({"date": datetime.datetime.now(datetime.timezone.utc).isoformat(timespec="seconds"),
                                  "commit": commit.strip(), "machine": machine(), "milliseconds": figures}) + "\n")


if __name__ == "__main__":
    main()
