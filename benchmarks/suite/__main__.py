"""Measures everything, and writes the figures: results.json, performance.md and charts.

A complete run also writes the page and the charts of the documentation.
"""

import argparse
import json
import shutil
import sys
import tempfile
import time
from pathlib import Path

import aims
import charts
import instructions
import machine
import measure
import page
import scenarios
import start

PARTS = [*scenarios.LOG_PARTS, "instructions", "settings", "trace", "start", "size"]
ROUNDS = {"logs": (6, 2), "settings": (9, 2), "trace": (25, 9), "start": (11, 5)}


def read_arguments():
    parser = argparse.ArgumentParser(prog="bench", description="Measures the library beside its peers.")
    parser.add_argument("--build", type=Path, default=Path("build/bench"), help="the build folder (%(default)s)")
    parser.add_argument("--build-qt6", type=Path, default=Path("build/bench-qt6"),
                        help="that of ours with Qt 6, left out when there is none (%(default)s)")
    parser.add_argument("--docs", type=Path, default=Path("docs"), help="where the page goes (%(default)s)")
    parser.add_argument("--quick", action="store_true", help="two minutes in place of ten; leaves the page as it is")
    parser.add_argument("--only", nargs="+", choices=PARTS, metavar="PART",
                        help=f"measure only these; leaves the page as it is. Of {', '.join(PARTS)}")
    parser.add_argument("--rounds", type=int, help="rounds of the log's scenarios (6, quick 2)")
    parser.add_argument("--folder", default=tempfile.gettempdir(), help="where the logs lie meanwhile (%(default)s)")
    arguments = parser.parse_args()
    if arguments.rounds is not None and arguments.rounds < 1:
        parser.error("--rounds takes a number from 1 on")
    return arguments


def show_progress(part, done, scenario):
    if sys.stderr.isatty():
        what = " ".join([scenario.target, *scenario.arguments()])
        print(f"\r\033[K{part} {done:4.0%}  {what}", end="", file=sys.stderr, flush=True)


def read_build(folder):
    """What CMake has written about it; None when it has not."""
    file = folder / "benchmarks" / "build.json"
    return json.loads(file.read_text(encoding="utf-8")) if file.exists() else None


def loggers(arguments, build, qt6):
    """{target: its program}"""
    folder = Path("benchmarks") / "log"
    built = [name for name in scenarios.NAMES if name in build["loggers"]]
    found = {name: arguments.build / folder / f"bench_log_{name}" for name in built}
    if qt6:
        found[scenarios.QT6] = arguments.build_qt6 / folder / f"bench_log_{scenarios.OURS}"
    return found


def measure_all(arguments, build, qt6, parts):
    programs = arguments.build / "benchmarks"
    rounds = {name: counts[arguments.quick] for name, counts in ROUNDS.items()}
    rounds["logs"] = arguments.rounds or rounds["logs"]
    results = {"parts": parts, "quick": arguments.quick, "rounds": rounds}
    log_parts = [part for part in scenarios.LOG_PARTS if part in parts]
    results["logs"] = measure.logs(
        loggers(arguments, build, qt6), log_parts, rounds["logs"], arguments.folder, arguments.quick, show_progress
    )
    if "instructions" in parts:
        results["instructions"] = instructions.count(programs / "instructions" / "count_instructions")
    for part in ("settings", "trace"):
        if part in parts:
            results[part] = measure.tasks(programs / part / f"bench_{part}", rounds[part])
    if "settings" in parts and qt6:
        program = arguments.build_qt6 / "benchmarks" / "settings" / "bench_settings"
        results["settings with Qt 6"] = measure.tasks(program, rounds["settings"])
    if "start" in parts:
        results["start"] = start.starts(programs, rounds["start"])
    if "size" in parts:
        results["size"] = start.size(build["library"])
    return results


def add_facts(results, arguments, builds, before, seconds):
    facts = machine.facts(builds, arguments.folder)
    facts["Load before and after"] = f"{before}, {machine.load()}"
    facts["Rounds"] = f"{results['rounds']['logs']} of the log, {results['rounds']['settings']} of the settings"
    facts["Lines"] = f"{scenarios.LINES // (3 if arguments.quick else 1)} without a pause"
    facts["Measured in"] = f"{seconds:.0f} s, {time.strftime('%Y-%m-%d')}" + (", quick" if arguments.quick else "")
    results["machine"] = facts
    results["left out"] = builds[0]["left_out"]
    results["aims"] = aims.all_of(results)


def as_json(results):
    logs = [{**vars(scenario), "figures": figures} for scenario, figures in results["logs"].items()]
    return json.dumps({**results, "logs": logs}, indent=1) + "\n"


def write_all(results, target):
    drawn = charts.draw(results, target)
    (target / "results.json").write_text(as_json(results), encoding="utf-8")
    text = page.make(results, drawn)
    (target / "performance.md").write_text(text, encoding="utf-8")
    return [target / "performance.md", *(target / name for name in drawn)]


def print_aims(results):
    for aim in results["aims"]:
        print(f"{'met   ' if aim['met'] else 'MISSED'}  {aim['figure']:>28}  {aim['aim']}")


def main():
    arguments = read_arguments()
    parts = [part for part in PARTS if not arguments.only or part in arguments.only]
    target = arguments.build / "results"
    target.mkdir(parents=True, exist_ok=True)
    build, qt6 = read_build(arguments.build), read_build(arguments.build_qt6)
    if not build:
        raise measure.Failure(f"{arguments.build}: there are no benchmarks")
    before, begin = machine.load(), time.monotonic()
    results = measure_all(arguments, build, qt6, parts)
    add_facts(results, arguments, [build, qt6] if qt6 else [build], before, time.monotonic() - begin)
    written = write_all(results, target)
    print_aims(results)
    if parts == PARTS and not arguments.quick:
        for path in written:
            shutil.copy(path, arguments.docs)
    print(f"\n{target}/results.json, performance.md and the charts are written.")


if __name__ == "__main__":
    try:
        main()
    except measure.Failure as failure:
        sys.exit(f"\nbench: {failure}")
