"""The page about performance, in Markdown."""

import shlex
import textwrap
from statistics import median

import instructions
import start
from figures import ratios, shown, span
from scenarios import COPY, HOST, LOG_PARTS, NAMES, OURS, QT6, SYNC, Scenario, measured, of_us
from words import ABOUT, AIMS, CHARTS, COMMANDS, COMMANDS_NOTE, INTRODUCTION, LEFT_OUT, NOTES, PAID_FOR, TITLES

NS = {"mean": "mean", "p50": "p50", "p99": "p99", "p99.9": "p99.9"}


def _table(rows, others="---:"):
    head, *rest = rows
    rule = ["---"] + [others] * (len(head) - 1)
    return "".join(f"| {' | '.join(row)} |\n" for row in [head, rule, *rest]) + "\n"


def _filled(text, indent=""):
    return textwrap.fill(text, 120, subsequent_indent=indent, break_on_hyphens=False) + "\n"


def _prose(text):
    return _filled(" ".join(text.split())) + "\n"


def _qt6_head(logs, kind, what=""):
    return [f"{what}with Qt 6"] if Scenario(QT6, kind) in logs else []


def _with_qt6(logs, ours, target, figure, scale=1):
    """The cell of a column that has a figure only for us."""
    found = logs.get(ours.of(QT6))
    if not found:
        return []
    return [shown(found[figure]["median"] * scale) if target == OURS else ""]


def _flat_row(logs, ours, target):
    figures = logs[ours.of(target)]
    rates = figures["lines/s"]
    to_theirs = median(ratios(logs[ours]["lines/s"]["rounds"], rates["rounds"]))
    row = [NAMES[target], shown(rates["median"] / 1e6), span(rates["rounds"], 1e-6)]
    row.append("" if target == OURS else shown(to_theirs))
    row += _with_qt6(logs, ours, target, "lines/s", 1e-6)
    row += [shown(figures[name]["median"]) for name in [*NS, "processor"]]
    return row + [shown(max(0, figures[name]["median"]) / 1048576) for name in ("peak", "kept")]


def _flat(logs):
    head = ["", "million lines/s", "least to most", "ours is faster by", *_qt6_head(logs, "flat"), *NS]
    head += ["processor", "MiB at peak", "kept"]
    text = ""
    for ours in of_us("flat"):
        rows = [_flat_row(logs, ours, target) for target in measured(logs, "flat")]
        text += f"### {ours.title()}\n\n" + _table([head, *rows])
    return text


def _bursty(logs):
    text = ""
    for ours in of_us("bursty"):
        rows = [["", *NS, "p99.9 least to most", *_qt6_head(logs, "bursty", "p99.9 "), "processor"]]
        for target in measured(logs, "bursty"):
            figures = logs[ours.of(target)]
            row = [NAMES[target]] + [shown(figures[name]["median"]) for name in NS]
            row += [span(figures["p99.9"]["rounds"]), *_with_qt6(logs, ours, target, "p99.9")]
            rows.append(row + [shown(figures["processor"]["median"])])
        text += f"### {ours.title()}\n\n" + _table(rows)
    return text


def _stopped(logs):
    rows = [["", "ns", "least to most", *_qt6_head(logs, "stopped")]]
    ours = of_us("stopped")[0]
    for target in measured(logs, "stopped"):
        figure = logs[ours.of(target)]["mean"]
        name = "an empty loop" if target == COPY else NAMES[target]
        row = [name, f"{figure['median']:.2f}", span(figure["rounds"])]
        rows.append(row + _with_qt6(logs, ours, target, "mean"))
    return _table(rows)


def _host(logs):
    rows = [["", *(title for what in HOST for title in (what, "least to most")), "the stop"]]
    ours = of_us("host")[0]
    for target in measured(logs, "host"):
        row = [NAMES[target]]
        for what in HOST:
            figure = logs[ours.of(target)][what]
            row += [shown(figure["median"] / 1000), span(figure["rounds"], 1e-3)]
        rows.append(row + [shown(logs[ours.of(target)]["stop"]["median"] / 1000)])
    return _table(rows)


def _levels(logs):
    rows = [["", "million lines/s", *NS, "processor"]]
    for scenario, figures in logs.items():
        if scenario.level != "information":
            row = [f"{scenario.level}, {scenario.title()}", shown(figures["lines/s"]["median"] / 1e6)]
            rows.append(row + [shown(figures[name]["median"]) for name in [*NS, "processor"]])
    return _table(rows)


def _tasks(tasks, tasks_with_qt6=()):
    """The column of Qt 6 has what the same program, built with that, has measured."""
    text = ""
    with_qt6 = {
        (task["title"], work["name"]): shown(work["median"]) for task in tasks_with_qt6 for work in task["works"]
    }
    for task in tasks:
        rows = [[f"{task['title']} ({task['unit']})", "median", "least to most", "ours is faster by"]]
        rows[0] += ["median with Qt 6"] if with_qt6 else []
        ours = task["works"][0]
        for work in task["works"]:
            faster = "" if work is ours else shown(work["median"] / ours["median"])
            row = [work["name"], shown(work["median"]), f"{shown(work['least'])} to {shown(work['most'])}", faster]
            rows.append(row + ([with_qt6.get((task["title"], work["name"]), "")] if with_qt6 else []))
        text += _table(rows)
    return text


def _instructions(counts):
    rows = [["", "counted", "limit"]]
    return _table(rows + [[each["what"], f"{each['counted']:.0f}", str(each["most"])] for each in counts])


def _start(starts):
    lines = {
        "from the start of the process to the first line in the file (ms)": ("ms", 1),
        "in the dynamic loader (thousand cycles)": ("total", 1e-3),
        "of these for relocations (thousand cycles)": ("relocation", 1e-3),
        "relocations by name": ("relocations", 1),
        "relative relocations": ("relative", 1),
        "memory of the idle process, Pss (MiB)": ("pss", 1 / 1024),
    }
    rows = [["", *start.PROGRAMS.values(), "more", "least to most, with the library"]]
    for text, (name, scale) in lines.items():
        bare, ours = (starts[program][name] for program in start.PROGRAMS)
        more = [our - their for our, their in zip(ours["rounds"], bare["rounds"])]
        row = [text] + [shown(value * scale) for value in (bare["median"], ours["median"], median(more))]
        rows.append(row + [span(ours["rounds"], scale)])
    return _table(rows)


def _size(size):
    rows = [["", "KiB"], ["the file, stripped", shown(size["stripped"] / 1024)]]
    sections = size["sections"]
    for name in start.SECTIONS:
        rows.append([f"`{name}`", shown(sections.get(name, 0) / 1024)])
    writable = sum(sections.get(name, 0) for name in start.WRITABLE)
    names = ", ".join(f"`{name}`" for name in start.WRITABLE)
    rows.append([f"what may be written to ({names})", shown(writable / 1024)])
    return _table(rows)


def _aims(aims):
    rows = [["", "figure", "met"]]
    return _table(rows + [[aim["aim"], aim["figure"], "yes" if aim["met"] else "**missed**"] for aim in aims])


def _log_commands(quick):
    for part in LOG_PARTS:
        for scenario in of_us(part):
            what = scenario.title() if scenario.level == "information" else f"{scenario.level}, {scenario.title()}"
            yield part, f"{TITLES[part]}: {what}", " ".join(scenario.command("log/bench_log_LOGGER", quick))


def _instruction_commands():
    command = instructions.places_command("instructions/count_instructions", "FILE")
    yield "instructions", f"Instructions: {instructions.PLACES}", shlex.join(command)
    for what, options, function, *_ in instructions.COUNTS:
        command = instructions.command("instructions/count_instructions", options, function, "BATCHES")
        yield "instructions", f"Instructions: {what}", shlex.join(command)


def _commands(results):
    rows = [["figures", "command"]]
    commands = [*_log_commands(results["quick"]), *_instruction_commands(), *COMMANDS]
    rows += [[what, f"`{command}`"] for part, what, command in commands if part in results["parts"]]
    loggers = ", ".join(f"`{target}`" for target in measured(results["logs"]) or NAMES)
    return _prose(COMMANDS_NOTE.format(loggers=loggers)) + _table(rows, "---")


SECTIONS = {
    "flat": lambda results: _flat(results["logs"]),
    "bursty": lambda results: _bursty(results["logs"]),
    "stopped": lambda results: _stopped(results["logs"]),
    "host": lambda results: _host(results["logs"]),
    "levels": lambda results: _levels(results["logs"]),
    "instructions": lambda results: _instructions(results["instructions"]),
    "settings": lambda results: _tasks(results["settings"], results.get("settings with Qt 6", ())),
    "trace": lambda results: _tasks(results["trace"]),
    "start": lambda results: _start(results["start"]),
    "size": lambda results: _size(results["size"]),
}


def _paid_for(logs):
    ours = Scenario(OURS)
    rounds = {target: logs[ours.of(target)]["processor"]["rounds"] for target in (OURS, SYNC, COPY)}
    return PAID_FOR.format(
        sync=NAMES[SYNC],
        share=shown(median(ratios(rounds[SYNC], rounds[OURS]))),
        copy=shown(median(ratios(rounds[COPY], rounds[SYNC]))),
    )


def _introduction(results):
    targets = measured(results["logs"])
    if any(scenario.target == QT6 for scenario in results["logs"]) or "settings with Qt 6" in results:
        targets.append(QT6)
    about = [_filled(f"- {text}", "  ") for text in _about(targets)]
    left_out = _prose(LEFT_OUT.format(names=", ".join(results["left out"]))) if results["left out"] else ""
    return INTRODUCTION + "".join(about) + "\n" + left_out


def _about(targets):
    return (" ".join(text.split()) for of, text in ABOUT if not targets or set(of) & set(targets))


def make(results, charts):
    """`charts` are names of files beside the page, and their titles."""
    text = _introduction(results)
    if "flat" in results["parts"] and SYNC in measured(results["logs"]):
        text += _prose(_paid_for(results["logs"]))
    text += "## Measured on\n\n" + _table([["", ""]] + [[name, fact] for name, fact in results["machine"].items()])
    text += "## Aims\n\n" + _prose(AIMS) + _aims(results["aims"])
    if charts:
        text += _prose(CHARTS) + "".join(f"![{title}]({name})\n\n" for name, title in charts.items())
    for part in results["parts"]:
        text += f"## {TITLES[part]}\n\n{_prose(NOTES[part])}{SECTIONS[part](results)}"
    return text + "## Which command made which figure\n\n" + _commands(results)[:-1]
