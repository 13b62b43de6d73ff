"""The instructions that the log takes, and the places they lie in, counted by callgrind: what no noise of a machine
disturbs.

As a program it is the guard against taking more, and fails then.
"""

import re
import sys
import tempfile
from collections import Counter
from pathlib import Path

import measure

LINES_OF_A_BATCH = 39
FEW, MANY = 20, 120  # batches: the start and the end of a log cancel out
LINE = "Logger::LogInformation(char const*, QString const&)"
DEBUG = "Logger::LogDebug(char const*, QString const&)"
HAND_OVER = "LoggerAgent::SendBufferToThread()"
WRITING = "LogDelivery::Until(unsigned long long)"

# What is counted, with which options, in which function, how often it is called for a batch, and the most it may take:
# a third above what it took when that was written. Compilers and C libraries differ.
COUNTS = [
    ("a line of 80 bytes in ASCII, its share of a batch's hand-over included", [], LINE, LINES_OF_A_BATCH, 1050),
    ("a line of 80 bytes in mixed scripts, likewise", ["--mixed"], LINE, LINES_OF_A_BATCH, 2350),
    ("a call that the level stops, without a test before it", [], DEBUG, LINES_OF_A_BATCH, 30),
    ("handing a batch over", [], HAND_OVER, 1, 1780),
    ("a batch on the logging thread that is written alone, without the system's calls", [], WRITING, 1, 1420),
]

# A program that logs only now and then has none of this code in the processor's caches, and waits for each cache line.
PLACES = "code that every line comes by, in places of 64 bytes"
MOST_PLACES = 66
PLACE = 64
NEARLY_EVERY = 0.9


def command(program, options, function, batches, file="/dev/null"):
    tool = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={file}", f"--toggle-collect={function}"]
    return [*tool, program, *options, str(batches)]


def places_command(program, file):
    tool, *rest = command(program, [], LINE, FEW, file)
    return [tool, "--dump-instr=yes", "--dump-line=no", "--compress-pos=no", "--compress-strings=no", *rest]


def _collected(program, options, function, batches):
    said = measure.run(command(program, options, function, batches)).stderr
    return int(re.search(r"Collected : (\d+)", said).group(1))


def _executed(profile):
    """{(object, address): how often}. After a line "calls=" comes what the call took, not what stands there."""
    found = Counter()
    binary = before = ""
    for line in profile.splitlines():
        if line.startswith("ob="):
            binary = line[3:]
        elif line.startswith("0x") and not before.startswith("calls="):
            address, times = line.split()
            found[binary, int(address, 16)] += int(times)
        before = line
    return found


def _places(program):
    with tempfile.TemporaryDirectory() as folder:
        profile = Path(folder) / "profile"
        measure.run(places_command(program, profile))
        executed = _executed(profile.read_text())
    least = NEARLY_EVERY * FEW * LINES_OF_A_BATCH
    return len({(binary, address // PLACE) for (binary, address), times in executed.items() if times >= least})


def count(program):
    """[{"what", "counted", "most"}]; each count is for one call of the function."""
    found = [{"what": PLACES, "counted": _places(program), "most": MOST_PLACES}]
    for what, options, function, calls, most in COUNTS:
        few, many = (_collected(program, options, function, batches) for batches in (FEW, MANY))
        counted = (many - few) / ((MANY - FEW) * calls)
        if counted == 0:
            raise measure.Failure(f"{function} is not called, or has become a part of another function")
        found.append({"what": what, "counted": counted, "most": most})
    return found


def main(program):
    counts = count(program)
    for each in counts:
        verdict = "ok      " if each["counted"] <= each["most"] else "TOO MANY"
        print(f"{verdict} {each['counted']:6.0f} of at most {each['most']:5}  {each['what']}")
    return int(any(each["counted"] > each["most"] for each in counts))


if __name__ == "__main__":
    try:
        sys.exit(main(sys.argv[1]))
    except measure.Failure as failure:
        sys.exit(f"instructions: {failure}")
