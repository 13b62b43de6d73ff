"""Makes the page of figures and the scripts of its charts from figures that are made up.

test_page.py <folder of the suite>
"""

import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, sys.argv.pop(1))

import aims
import charts
import measure
import page
from scenarios import (
    ASYNC, COPY, CRASH_FILE, HOST, LOG_PARTS, LOGGERS, NAMES, NO_LOG, OURS, QT6, SYNC, Scenario, all_of, of_us
)

FIGURES = ["lines/s", "mean", "p50", "p99", "p99.9", "processor", "peak", "kept", "stop", *HOST]


def summary(median, least, most):
    return {"median": median, "least": least, "most": most, "rounds": [least, median, most]}


def results_of(targets):
    logs = {}
    for part in LOG_PARTS:
        for scenario in all_of(part, targets):
            logs[scenario] = {name: summary(2000, 1000, 3000) for name in FIGURES}
    if ASYNC in targets:
        logs[Scenario(ASYNC, threads=4)]["lines/s"] = summary(190000, 170000, 1290000)
    logs[Scenario(OURS, "bursty", 4)]["processor"] = summary(2472, 2311, 2655)
    results = {
        "parts": list(LOG_PARTS),
        "quick": False,
        "rounds": {"logs": 6},
        "logs": logs,
        "machine": {"Processor": 'A "fast" one_2, 7 cores'},
        "left out": [NAMES[target] for target in NAMES if target not in targets],
    }
    results["aims"] = aims.all_of(results)
    return results


def tasks_of(**works):
    found = [{"name": name, "median": median, "least": median, "most": median} for name, median in works.items()]
    return [{"title": "A change", "unit": "us", "works": found, "aim": ""}]


def scripts(results):
    return {name: charts.script(name, results, Path("a folder") / "chart.svg") for name in charts.CHARTS}


class TestPage(unittest.TestCase):
    def test_charts(self):
        made = scripts(results_of(list(NAMES)))
        self.assertRegex(made["throughput"], r"\n[34]\.\d+ 0\.19000 0\.17000 1\.29000\n")
        self.assertIn(f'\n"{NAMES[OURS]}" 2.00000 1.00000 3.00000 2.47200 2.31100 2.65500\n', made["processor-bursty"])
        self.assertIn("using 5:6:7:xtic(1)", made["processor-bursty"])
        for name, script in made.items():
            self.assertIn("with yerrorlines" if name == "throughput" else "set style histogram errorbars", script)
            title = next(line for line in script.splitlines() if line.startswith("set title"))
            self.assertIn("more is better" if name == "throughput" else "less is better", title)
            self.assertIn('\\nA \\"fast\\" one_2, 7 cores; median, least and most of 6 rounds"', title)

    def test_all_is_shown(self):
        results = results_of(list(NAMES))
        text = page.make(results, {"performance-burst.svg": "Bursts"})
        for name in NAMES.values():
            self.assertIn(f"\n| {name} |", text)
        for script in scripts(results).values():
            for target, name in NAMES.items():
                self.assertEqual(target in LOGGERS, f'"{name}"' in script)
        self.assertNotIn("Left out", text)
        self.assertIn("Two of the log's costs", text)
        self.assertIn("![Bursts](performance-burst.svg)", text)

    def test_what_is_not_installed_is_left_out(self):
        targets = [OURS, CRASH_FILE, "qt", COPY, NO_LOG]
        results = results_of(targets)
        text = page.make(results, {})
        self.assertIn("Left out, because CMake did not find them: spdlog asynchronous, ", text)
        for target, name in NAMES.items():
            for script in scripts(results).values():
                self.assertEqual(target in targets and target in LOGGERS, f'"{name}"' in script)
            self.assertEqual(target in targets, f"\n| {name} |" in text)
            self.assertEqual(target in targets, f"`{target}`" in text)
        self.assertNotIn("- spdlog", text)
        self.assertNotIn("Two of the log's costs", text)
        self.assertFalse([aim for aim in results["aims"] if NAMES[ASYNC] in aim["aim"] or NAMES[SYNC] in aim["figure"]])

    def test_ours_with_qt_6_has_a_column(self):
        results = results_of([*NAMES, QT6])
        without = results_of(list(NAMES))
        self.assertEqual(scripts(results), scripts(without))
        self.assertEqual(aims.all_of(results), aims.all_of(without))
        self.assertNotIn("Qt 6", page.make({**without, "settings": tasks_of(IniFile=25)}, {}))
        results["logs"][Scenario(QT6)]["lines/s"] = summary(4560000, 4550000, 4570000)
        results["logs"][Scenario(QT6, "bursty")]["p99.9"] = summary(4321, 4320, 4322)
        results["logs"][Scenario(QT6, "stopped")]["mean"] = summary(7.65, 7.64, 7.66)
        results["parts"].append("settings")
        results["settings"] = tasks_of(IniFile=25, QSettings=50, KConfig=75)
        results["settings with Qt 6"] = tasks_of(QSettings=60, IniFile=30)
        text = page.make(results, {})
        self.assertRegex(text, r"\n- With Qt 6: .* `build/bench-qt6`")
        for part in (
            "| ours is faster by | with Qt 6 | mean |",
            f"| {NAMES[OURS]} | 0.00 | 0.00 to 0.00 |  | 4.56 | 2000 |",
            f"| {NAMES[SYNC]} | 0.00 | 0.00 to 0.00 | 1.00 |  | 2000 |",
            "| p99.9 least to most | p99.9 with Qt 6 | processor |",
            "| 1000 to 3000 | 4321 | 2000 |",
            "|  | ns | least to most | with Qt 6 |",
            "| 7.65 |",
            "| A change (us) | median | least to most | ours is faster by | median with Qt 6 |",
            "| IniFile | 25.0 | 25.0 to 25.0 |  | 30.0 |",
            "| QSettings | 50.0 | 50.0 to 50.0 | 2.00 | 60.0 |",
            "| KConfig | 75.0 | 75.0 to 75.0 | 3.00 |  |",
        ):
            self.assertIn(part, text)

    def test_programs_take_turns(self):
        with tempfile.TemporaryDirectory() as folder:
            programs = {name: Path(folder) / name for name in (OURS, QT6, "glog")}
            for number, program in enumerate(programs.values()):
                program.write_text(f"#!/bin/sh\necho '{{\"mean\": {number}}}'\n", encoding="utf-8")
                program.chmod(0o700)
            turns = []
            note = lambda part, done, scenario: turns.append(scenario.target)
            found = measure.logs(programs, ["stopped", "host"], 2, folder, True, note)
        self.assertEqual(found[Scenario(QT6, "stopped")]["mean"]["rounds"], [1, 1])
        self.assertNotIn(Scenario(QT6, "host"), found)
        self.assertEqual(sorted(turns[:3]), sorted(programs))

    def test_what_the_host_feels_is_compared_with_no_log(self):
        results = results_of(list(NAMES))
        ours = Scenario(OURS, "host")
        results["logs"][ours]["timer worst"] = summary(2345678, 1234567, 3456789)
        results["logs"][ours.of(NO_LOG)]["timer worst"] = summary(2111111, 2000000, 2345677)
        text = page.make(results, {})
        row = "| 2.00 | 1.00 to 3.00 | 2346 | 1235 to 3457 | 2.00 | 1.00 to 3.00 | 2.00 | 1.00 to 3.00 | 2.00 |"
        self.assertIn(f"\n| {NAMES[OURS]} {row}\n", text)
        self.assertIn("--lines 240000 --heap 1024`", text)
        met = {aim["aim"]: aim["met"] for aim in aims.all_of(results) if aim["aim"].startswith("in a host, ")}
        self.assertEqual(list(met.values()), [True, False, True, True])

    def test_aims_compare_with_the_best_peer_in_every_scenario(self):
        results = results_of(list(NAMES))
        logs = results["logs"]
        for threads in (1, 4):
            logs[Scenario(OURS, threads=threads)]["processor"] = summary(1999, 999, 2999)
            logs[Scenario(ASYNC, threads=threads)]["lines/s"] = summary(2000 / 8, 1000 / 8, 3000 / 8)
        logs[Scenario(OURS, "bursty")]["p99.9"] = summary(1000, 500, 1500)

        def missed_with(scenario, figure, *values):
            before = logs[scenario][figure]
            logs[scenario][figure] = summary(*values)
            missed = [aim["aim"] for aim in aims.all_of(results) if not aim["met"]]
            logs[scenario][figure] = before
            return missed

        self.assertEqual(missed_with(Scenario(OURS), "mean", 2000, 1000, 3000), [])
        for target, scenarios in ((SYNC, of_us("flat")), (COPY, [Scenario(OURS), Scenario(OURS, threads=4)])):
            for ours in scenarios:
                aim = f"lines per second, {ours.title()}: at least 1.0 times {NAMES[target]}"
                self.assertEqual(missed_with(ours.of(target), "lines/s", 2001, 1000, 3001), [aim])
        for threads in (1, 4):
            self.assertEqual(len(missed_with(Scenario(SYNC, threads=threads), "processor", 1999, 999, 2999)), 1)
            for more, count in ((30.5, 1), (29.5, 0)):
                rates = (1e9 / (1e9 / rate + more) for rate in (2000, 1000, 3000))
                self.assertEqual(len(missed_with(Scenario(CRASH_FILE, threads=threads), "lines/s", *rates)), count)
            for more, count in ((31, 1), (30, 0)):
                times = (2000 + more, 1000 + more, 3000 + more)
                self.assertEqual(len(missed_with(Scenario(CRASH_FILE, "bursty", threads), "p50", *times)), count)
        self.assertEqual(len(missed_with(Scenario("glog", "bursty"), "p99.9", 1999, 999, 2999)), 1)


if __name__ == "__main__":
    unittest.main()
