"""What the library costs a program that does nothing yet: time to start, memory, room on the disk."""

import json
import os
import re
import tempfile
from pathlib import Path

import measure
from figures import summary

PROGRAMS = {"bare": "without the library", "nerolt": "with the library"}
LOADER = {
    "total": r"total startup time in dynamic loader: (\d+) cycles",
    "relocation": r"time needed for relocation: (\d+) cycles",
    "relocations": r"number of relocations: (\d+)",
    "relative": r"number of relative relocations: (\d+)",
}
SECTIONS = [".text", ".rodata", ".eh_frame", ".gcc_except_table", ".dynsym", ".dynstr", ".rela.dyn", ".rela.plt"]
WRITABLE = [".data.rel.ro", ".data", ".got", ".got.plt", ".bss"]


def _first_line(program):
    return json.loads(measure.run([program]).stdout)


def _loader(program):
    with tempfile.TemporaryDirectory() as folder:
        environment = dict(os.environ, LD_DEBUG="statistics")
        text = measure.run([program, "0", folder], env=environment).stderr
    return {name: int(re.search(pattern, text).group(1)) for name, pattern in LOADER.items()}


def starts(programs, rounds):
    """{"bare" or "nerolt": {figure: summary}}, the two in turn."""
    values = {name: {} for name in PROGRAMS}
    for _ in range(rounds):
        for name in PROGRAMS:
            program = programs / "start" / f"bench_start_{name}"
            for figure, value in {**_first_line(program), **_loader(program)}.items():
                values[name].setdefault(figure, []).append(value)
    return {name: {figure: summary(those) for figure, those in named.items()} for name, named in values.items()}


def size(library):
    """Bytes of the stripped library's file and of its sections."""
    with tempfile.TemporaryDirectory() as folder:
        stripped = Path(folder) / "stripped.so"
        measure.run(["strip", "--strip-unneeded", "-o", stripped, library])
        lines = measure.run(["size", "--format=sysv", stripped]).stdout.splitlines()
        fields = [line.split() for line in lines]
        sections = {field[0]: int(field[1]) for field in fields if len(field) == 3 and field[1].isdigit()}
        return {"built": Path(library).stat().st_size, "stripped": stripped.stat().st_size, "sections": sections}
