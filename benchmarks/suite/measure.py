"""Runs the programs and collects what they say."""

import json
import subprocess
import tempfile
from pathlib import Path

import scenarios
from figures import summary

TIMEOUT = 600


class Failure(Exception):
    """A program failed, or did not end."""


def run(command, **options):
    """What the command printed. `options` go to subprocess.run."""
    texts = [str(text) for text in command]
    try:
        done = subprocess.run(texts, capture_output=True, text=True, timeout=TIMEOUT, check=False, **options)
    except subprocess.TimeoutExpired as error:
        raise Failure(f"{' '.join(texts)}: does not end") from error
    if done.returncode != 0:
        raise Failure(f"{' '.join(texts)}: {done.stderr.strip() or done.returncode}")
    return done


def _run_scenario(program, scenario, folder, quick):
    with tempfile.TemporaryDirectory(prefix="bench-", dir=folder) as empty:
        return json.loads(run([*scenario.command(program, quick), "--folder", empty]).stdout)


def _in_turn(chosen, number):
    """Another one first in every round."""
    start = number * 3 % len(chosen)
    return chosen[start:] + chosen[:start]


def logs(programs, parts, rounds, folder, quick, progress):
    """{scenario: {figure: summary}}. `programs` are those of the loggers, by name. Each round runs every scenario
    of a part once, one process after another.

    The parts come one by one: what a log without a pause leaves to the disk to do would slow down single calls.
    """
    found = {}
    for part in parts:
        chosen = scenarios.all_of(part, programs)
        values = {scenario: {} for scenario in chosen}
        for number in range(rounds):
            for done, scenario in enumerate(_in_turn(chosen, number)):
                progress(part, (number * len(chosen) + done) / (rounds * len(chosen)), scenario)
                for name, value in _run_scenario(programs[scenario.target], scenario, folder, quick).items():
                    values[scenario].setdefault(name, []).append(value)
        for scenario, named in values.items():
            found[scenario] = {name: summary(those) for name, those in named.items()}
    return found


def tasks(program, rounds):
    """The tasks of a program that compares by itself."""
    with tempfile.TemporaryDirectory() as folder:
        target = Path(folder) / "tasks.json"
        run([program, "--rounds", rounds, "--json", target])
        return json.loads(target.read_text(encoding="utf-8"))
