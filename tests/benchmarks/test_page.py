"""Makes the page of figures and the scripts of its charts from figures that are made up.

test_page.py <folder of the suite>
"""

import sys
import unittest
from pathlib import Path

sys.path.insert(0, sys.argv.pop(1))

import aims
import charts
import page
from scenarios import ASYNC, COPY, CRASH_FILE, HOST, LOG_PARTS, LOGGERS, NAMES, NO_LOG, OURS, SYNC, Scenario, all_of, of_us

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


def scripts(results):
    return {name: charts.script(name, results, Path("a folder") / "chart.svg") for name in charts.CHARTS}


class TestPage(unittest.TestCase):
    def test_charts_show_the_spread(self):
        made = scripts(results_of(list(NAMES)))
        self.assertRegex(made["throughput"], r"\n[34]\.\d+ 0\.19000 0\.17000 1\.29000\n")
        self.assertIn("with yerrorlines", made["throughput"])
        self.assertIn(f'\n"{NAMES[OURS]}" 2.00000 1.00000 3.00000 2.47200 2.31100 2.65500\n', made["processor-bursty"])
        for name in ("burst", "processor", "processor-bursty"):
            self.assertIn("set style histogram errorbars", made[name])
        self.assertIn("using 2:3:4:xtic(1)", made["processor"])
        self.assertIn("using 5:6:7:xtic(1)", made["processor"])

    def test_charts_tell_the_cores_and_the_direction(self):
        for name, script in scripts(results_of(list(NAMES))).items():
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

    def test_what_the_host_feels_is_compared_with_no_log(self):
        results = results_of(list(NAMES))
        ours = Scenario(OURS, "host")
        results["logs"][ours]["timer worst"] = summary(2345678, 1234567, 3456789)
        results["logs"][ours]["allocation worst"] = summary(3000, 2000, 9000)
        results["logs"][ours.of(NO_LOG)]["timer worst"] = summary(2111111, 2000000, 2345677)
        results["logs"][ours]["stop"] = summary(4567, 4567, 4567)
        text = page.make(results, {})
        section = text[text.index("## What the host feels") : text.index("## Our other levels")]
        self.assertIn(f"\n| {NAMES[OURS]} | 2.00 | 1.00 to 3.00 | 2346 | 1235 to 3457 | 2.00 |", section)
        self.assertIn("| 3.00 | 2.00 to 9.00 | 4.57 |\n", section)
        self.assertEqual(section.count("\n| "), 1 + 1 + len([OURS, NO_LOG, ASYNC]))
        self.assertIn("`log/bench_log_LOGGER --kind host", text)
        self.assertIn("--lines 240000 --heap 1024`", text)
        met = {aim["aim"]: aim["met"] for aim in aims.all_of(results) if aim["aim"].startswith("in a host, ")}
        self.assertEqual(list(met.values()), [True, False, True, True])
        self.assertIn("worst lateness", list(met)[1])

    def missed(self, results):
        return [aim["aim"] for aim in aims.all_of(results) if not aim["met"]]

    def test_aims_compare_with_the_best_peer_in_every_scenario(self):
        results = results_of(list(NAMES))
        logs = results["logs"]
        for threads in (1, 4):
            logs[Scenario(OURS, threads=threads)]["processor"] = summary(1999, 999, 2999)
            logs[Scenario(ASYNC, threads=threads)]["lines/s"] = summary(2000 / 8, 1000 / 8, 3000 / 8)
        logs[Scenario(OURS, "bursty")]["p99.9"] = summary(1000, 500, 1500)
        self.assertEqual(self.missed(results), [])
        aim = "lines per second, {}: at least 1.0 times {}"
        for ours in of_us("flat"):
            theirs = logs[ours.of(SYNC)]
            theirs["lines/s"] = summary(2001, 1000, 3001)
            self.assertEqual(self.missed(results), [aim.format(ours.title(), NAMES[SYNC])])
            theirs["lines/s"] = summary(2000, 1000, 3000)
        for ours in (Scenario(OURS), Scenario(OURS, threads=4)):
            theirs = logs[ours.of(COPY)]
            theirs["lines/s"] = summary(2001, 1000, 3001)
            self.assertEqual(self.missed(results), [aim.format(ours.title(), NAMES[COPY])])
            theirs["lines/s"] = summary(2000, 1000, 3000)
            theirs = logs[ours.of(SYNC)]
            theirs["processor"] = summary(1999, 999, 2999)
            self.assertEqual(len(self.missed(results)), 1)
            theirs["processor"] = summary(2000, 1000, 3000)
        for threads in (1, 4):
            flat = logs[Scenario(CRASH_FILE, threads=threads)]
            bursty = logs[Scenario(CRASH_FILE, "bursty", threads)]
            for more, missed in ((30.5, 1), (29.5, 0)):
                flat["lines/s"] = summary(*(1e9 / (1e9 / rate + more) for rate in (2000, 1000, 3000)))
                self.assertEqual(len(self.missed(results)), missed)
            for more, missed in ((31, 1), (30, 0)):
                bursty["p50"] = summary(2000 + more, 1000 + more, 3000 + more)
                self.assertEqual(len(self.missed(results)), missed)
        logs[Scenario("glog", "bursty")]["p99.9"] = summary(1999, 999, 2999)
        self.assertEqual(len(self.missed(results)), 1)


if __name__ == "__main__":
    unittest.main()
