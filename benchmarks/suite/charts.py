"""The charts, by gnuplot."""

import measure
from scenarios import NAMES, OURS, Scenario

HEAD = """set terminal svg size 860,400 dynamic font 'sans-serif,13' background rgb 'white'
set output '{path}'
set title '{title}'
set ylabel '{unit}'
set grid ytics lc rgb '#dddddd'
set border 3
set tics nomirror
"""
COLOURS = ["#0b5fa5", "#d1495b", "#edae49", "#66a182", "#8d6b94", "#7a7265", "#c08497", "#222222"]


def _median(logs, scenario, figure):
    return logs[scenario][figure]["median"]


def _blocks(rows):
    return "".join(f"$data{number} << EOD\n{chr(10).join(row)}\nEOD\n" for number, row in enumerate(rows))


def _throughput(logs):
    """A line for each target over the number of threads."""
    rows = []
    for target in NAMES:
        counts = (1, 2, 4, 8)
        rows.append([f"{n} {_median(logs, Scenario(target, threads=n), 'lines/s') / 1e6:.4f}" for n in counts])
    lines = []
    for number, (target, name) in enumerate(NAMES.items()):
        width = 3 if target == OURS else 1.5
        style = f"lw {width} pt {number + 4} lc rgb '{COLOURS[number]}'"
        lines.append(f"$data{number} with linespoints {style} title '{name}'")
    setting = "set logscale x 2\nset xrange [0.9:9]\nset yrange [0:*]\n"
    setting += "set xlabel 'threads that log'\nset key outside right\n"
    return setting + _blocks(rows) + "plot " + ", ".join(lines) + "\n"


def _bars(rows, titles, setting):
    """A group of bars for each target; a row is a name and its figures."""
    data = [[f'"{name}" ' + " ".join(f"{figure:.4f}" for figure in figures) for name, figures in rows]]
    lines = [
        f"$data0 using {number + 2}:xtic(1) lc rgb '{COLOURS[number]}' title '{title}'"
        for number, title in enumerate(titles)
    ]
    style = "set style data histogram\nset style histogram clustered gap 1\nset style fill solid\n"
    style += "set xtics rotate by -20\nset key outside right\n"
    return style + setting + _blocks(data) + "plot " + ", ".join(lines) + "\n"


def _burst(logs):
    names = ["p50", "p99", "p99.9"]
    rows = [
        (shown, [_median(logs, Scenario(target, "bursty"), name) / 1000 for name in names])
        for target, shown in NAMES.items()
    ]
    return _bars(rows, names, "set logscale y\n")


def _processor(logs):
    counts = (1, 4)
    rows = [
        (shown, [_median(logs, Scenario(target, threads=n), "processor") / 1000 for n in counts])
        for target, shown in NAMES.items()
    ]
    return _bars(rows, ["1 thread", "4 threads"], "set yrange [0:*]\n")


CHARTS = {
    "throughput": ("flat", "Until everything is in the file", "million lines per second", _throughput),
    "burst": ("bursty", "A call of a bursty caller, 1 thread", "microseconds", _burst),
    "processor": ("flat", "Processor time of a line", "microseconds", _processor),
}


def draw(results, folder):
    """Writes the charts whose figures are there; their names and titles."""
    drawn = {}
    for name, (part, title, unit, plot) in CHARTS.items():
        if part in results["parts"]:
            path = folder / f"performance-{name}.svg"
            script = HEAD.format(path=path, title=title, unit=unit) + plot(results["logs"])
            measure.run(["gnuplot"], input=script)
            drawn[path.name] = title
    return drawn
