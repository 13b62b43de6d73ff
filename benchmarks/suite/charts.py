"""The charts, by gnuplot: medians, and the spread of the rounds."""

import json

import measure
from scenarios import NAMES, OURS, Scenario, measured

HEAD = """set terminal svg size 860,420 dynamic font 'sans-serif,13' background rgb 'white' noenhanced
set output {path}
set title {title}
set ylabel {unit}
set grid ytics lc rgb '#dddddd'
set border 3
set tics nomirror
set key outside right
"""
COLOURS = ["#0b5fa5", "#6fb1e0", "#d1495b", "#edae49", "#66a182", "#8d6b94", "#7a7265", "#c08497", "#222222"]
# Beside each other, or the spread of one would hide that of another.
STEP = 1.025


def _quoted(text):
    """For gnuplot, which takes these escapes."""
    return json.dumps(str(text), ensure_ascii=False)


def _spread(logs, scenario, figure, scale):
    values = logs[scenario][figure]
    return " ".join(f"{values[name] * scale:.5f}" for name in ("median", "least", "most"))


def _blocks(rows):
    return "".join(f"$data{number} << EOD\n{chr(10).join(row)}\nEOD\n" for number, row in enumerate(rows))


def _throughput(logs):
    """A line for each target over the number of threads."""
    rows, lines = [], []
    targets = measured(logs, "flat")
    for number, target in enumerate(targets):
        aside = STEP ** (number - (len(targets) - 1) / 2)
        counts = (1, 2, 4, 8)
        rows.append([
            f"{n * aside:.4f} {_spread(logs, Scenario(target, threads=n), 'lines/s', 1e-6)}" for n in counts
        ])
        colour = COLOURS[list(NAMES).index(target)]
        style = f"lw {3 if target == OURS else 1.5} pt {number + 4} lc rgb '{colour}'"
        lines.append(f"$data{number} with yerrorlines {style} title {_quoted(NAMES[target])}")
    setting = "set logscale x 2\nset xtics (1, 2, 4, 8)\nset xrange [0.85:9.5]\nset yrange [0:*]\n"
    setting += "set xlabel 'threads that log'\n"
    return setting + _blocks(rows) + "plot " + ", ".join(lines) + "\n"


def _bars(logs, bars, setting):
    """A group of bars for each target; a bar is a title and the figure of a scenario of ours."""
    rows = []
    for target in measured(logs, bars[0][1].kind):
        spreads = (_spread(logs, ours.of(target), figure, 1e-3) for _, ours, figure in bars)
        rows.append(f"{_quoted(NAMES[target])} {' '.join(spreads)}")
    lines = []
    for number, (title, _, _) in enumerate(bars):
        columns = ":".join(str(3 * number + column) for column in (2, 3, 4))
        lines.append(f"$data0 using {columns}:xtic(1) lc rgb '{COLOURS[number]}' title {_quoted(title)}")
    style = "set style data histogram\nset style histogram errorbars gap 1 lw 1.5\nset style fill solid border -1\n"
    return style + "set xtics rotate by -20\n" + setting + _blocks([rows]) + "plot " + ", ".join(lines) + "\n"


def _burst(logs):
    return _bars(logs, [(name, Scenario(OURS, "bursty"), name) for name in ("p50", "p99", "p99.9")], "set logscale y\n")


def _processor(kind):
    bars = [(title, Scenario(OURS, kind, threads), "processor") for title, threads in (("1 thread", 1), ("4 threads", 4))]
    return lambda logs: _bars(logs, bars, "set yrange [0:*]\n")


MORE, LESS = "more is better", "less is better"
CHARTS = {
    "throughput": ("flat", "Until everything is in the file", MORE, "million lines per second", _throughput),
    "burst": ("bursty", "A call of a bursty caller, 1 thread", LESS, "microseconds", _burst),
    "processor": ("flat", "Processor time of a line without a pause", LESS, "microseconds", _processor("flat")),
    "processor-bursty": (
        "bursty", "Processor time of a line of a bursty caller", LESS, "microseconds", _processor("bursty")
    ),
}


def script(name, results, path):
    """What gnuplot is told."""
    _, title, direction, unit, plot = CHARTS[name]
    rounds = f"median, least and most of {results['rounds']['logs']} rounds"
    titles = f"{title}: {direction}\n{results['machine']['Processor']}; {rounds}"
    head = HEAD.format(path=_quoted(path), title=_quoted(titles), unit=_quoted(unit))
    return head + plot(results["logs"])


def draw(results, folder):
    """Writes the charts whose figures are there; their names and titles."""
    drawn = {}
    for name, (part, title, *_) in CHARTS.items():
        if part in results["parts"]:
            path = folder / f"performance-{name}.svg"
            measure.run(["gnuplot"], input=script(name, results, path))
            drawn[path.name] = title
    return drawn
