"""Kills processes that log, and prints a table: how many lines each log lost, and what a call costs.

python3 -B benchmarks/suite/kills.py [--build <folder>] [--rounds <number>]
"""

import argparse
import json
import random
import re
import subprocess
import sys
import tempfile
import time
from collections import Counter
from pathlib import Path

import measure

CRASH_FILE = "nerolt_crash_file"
LOGS = {
    "this library with a crash file": (CRASH_FILE, []),
    "this library without": ("nerolt", []),
    "spdlog synchronous": ("spdlog_sync", []),
    "spdlog synchronous, flushing every line": ("spdlog_sync", ["--flush"]),
    "spdlog asynchronous": ("spdlog_async", []),
    "spdlog asynchronous, flushing every line": ("spdlog_async", ["--flush"]),
    "glog with its signal handler": ("glog", []),
}
# Lines before the end, fewest and most.
STEADY = (100, 400, ["--pause", "1000"])
BURST = (20000, 60000, [])
BY_ITSELF = ["crash", "abort", "terminate"]
BY_OTHERS = ["kill"]
LINES_UNTIL_KILLED = 400000
LINES_OF_COST = 200000
WHOLE = re.compile(rb"thread 00 line (\d{7}): .{56}$")
PIECE = re.compile(rb"thread 0|the cache was")


def returned(folder):
    return int.from_bytes((folder / "returned").read_bytes(), sys.byteorder)


def run(program, folder, options, death, lines):
    """Until it is dead; with "kill", when so many calls have returned."""
    (folder / "returned").write_bytes(bytes(4))
    logged = LINES_UNTIL_KILLED if death == "kill" else lines
    command = [program, *options, "--kind", "killed", "--death", death, "--lines", str(logged), "--folder", folder]
    with subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL) as process:
        while death == "kill" and returned(folder) < lines and process.poll() is None:
            time.sleep(0.00005)
        if death == "kill":
            process.kill()
        process.wait(measure.TIMEOUT)
    if returned(folder) < lines:
        raise measure.Failure(f"{program} died too early: {returned(folder)} of {lines} lines")
    return returned(folder)


def judge(folder, lines):
    """How many of them are not there once, and whether there is a piece of a line."""
    found = Counter()
    is_torn = False
    for path in folder.glob("bench*"):
        *whole, rest = path.read_bytes().split(b"\n")
        is_torn |= rest != b""
        for line in whole:
            match = WHOLE.search(line)
            if match:
                found[int(match.group(1))] += 1
            else:
                is_torn |= PIECE.search(line) is not None
    return sum(found[number] != 1 for number in range(lines)), is_torn


def lost(program, options, load, deaths, rounds):
    """'0', '2 to 43', and whether there were pieces of lines."""
    fewest, most, pause = load
    counts, torn = [], ""
    for number in range(rounds):
        with tempfile.TemporaryDirectory() as name:
            folder = Path(name)
            death = deaths[number % len(deaths)]
            lines = run(program, folder, [*options, *pause], death, random.randrange(fewest, most))
            if program.name.endswith(CRASH_FILE):
                measure.run([program, "--kind", "killed", "--death", "recover", "--folder", folder])
            count, is_torn = judge(folder, lines)
        counts.append(count)
        torn = ", torn" if is_torn else torn
    return (f"{min(counts)} to {max(counts)}" if max(counts) > min(counts) else str(counts[0])) + torn


def cost(program, options):
    with tempfile.TemporaryDirectory() as folder:
        command = [program, *options, "--lines", LINES_OF_COST, "--folder", folder]
        return json.loads(measure.run(command).stdout)["mean"]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--build", type=Path, default=Path("build/bench"))
    parser.add_argument("--rounds", type=int, default=8)
    arguments = parser.parse_args()
    programs = {name: arguments.build / "benchmarks" / "log" / f"bench_log_{log}" for name, (log, _) in LOGS.items()}
    logs = {name: (programs[name], options) for name, (_, options) in LOGS.items() if programs[name].exists()}
    costs = [{name: cost(*log) for name, log in logs.items()} for _ in range(arguments.rounds)]
    print("| log | steady load: crash, abort, terminate | steady load: SIGKILL | burst: crash, abort, terminate "
          "| burst: SIGKILL | a call, ns |\n|---|---|---|---|---|---|")
    for name, log in logs.items():
        kinds = [(load, deaths) for load in (STEADY, BURST) for deaths in (BY_ITSELF, BY_OTHERS)]
        cells = [lost(*log, *kind, arguments.rounds) for kind in kinds]
        print(f"| {name} | {' | '.join(cells)} | {min(each[name] for each in costs):.0f} |", flush=True)


if __name__ == "__main__":
    try:
        main()
    except measure.Failure as failure:
        sys.exit(f"kills: {failure}")
