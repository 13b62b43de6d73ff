"""Who is measured, and in what."""

from dataclasses import dataclass, replace

OURS = "nerolt"
CRASH_FILE = "nerolt_crash_file"
ASYNC = "spdlog_async"
SYNC = "spdlog_sync"
COPY = "copy_write"
NO_LOG = "no_log"
# Ours again, built with Qt 6: a column beside its row.
QT6 = "nerolt_qt6"
# Who has a row.
NAMES = {
    OURS: "NeroltOrvaneBase",
    CRASH_FILE: "NeroltOrvaneBase, crash file",
    ASYNC: "spdlog asynchronous",
    SYNC: "spdlog synchronous",
    "glog": "glog",
    "log4cplus": "log4cplus asynchronous",
    "boost": "Boost.Log asynchronous",
    "qt": "Qt message handler",
    COPY: "copy and write only",
    NO_LOG: "no log",
}

LINES = 240000
# Of a single thread. At p99.9 it is the twentieth call from the top that counts.
BURSTS = 1000
LINES_OF_A_BURST = 20
HEAP_MIB = 1024
# What a host feels, with the words for it.
HOST = {
    "timer p99.9": "p99.9 of a timer's lateness",
    "timer worst": "a timer's worst lateness",
    "allocation p99.9": "p99.9 of an allocation",
    "allocation worst": "the worst allocation",
}
# Who takes longest for a line writes fewer, or the others would wait for it.
SHARES = {"glog": 4, "log4cplus": 3, "boost": 3, "qt": 8}


@dataclass(frozen=True)
class Scenario:
    """One program run, but for the number of lines."""

    target: str
    kind: str = "flat"
    threads: int = 1
    characters: int = 80
    mixed: bool = False
    level: str = "information"

    def lines(self, quick):
        """In all threads together."""
        if self.kind == "stopped":
            return self.threads
        if self.kind == "bursty":
            bursts = BURSTS if self.threads == 1 else BURSTS // 2 * self.threads
            return (bursts // 3 if quick else bursts) * LINES_OF_A_BURST
        size = max(1, self.characters // 130)
        return LINES // SHARES.get(self.target, 1) // size // (3 if quick else 1)

    def title(self):
        threads = "1 thread" if self.threads == 1 else f"{self.threads} threads"
        return f"{threads}, {self.characters} characters, {'mixed scripts' if self.mixed else 'ASCII'}"

    def arguments(self):
        texts = ["--kind", self.kind, "--threads", str(self.threads), "--characters", str(self.characters)]
        texts += ["--level", self.level]
        return texts + ["--mixed"] if self.mixed else texts

    def command(self, program, quick):
        """But for the folder."""
        texts = [program, *self.arguments(), "--lines", str(self.lines(quick))]
        return [*texts, "--heap", str(HEAP_MIB // (4 if quick else 1))] if self.kind == "host" else texts

    def of(self, target):
        return replace(self, target=target)


def _flat():
    for threads in (1, 2, 4, 8):
        yield Scenario(OURS, threads=threads)
    for threads in (1, 4):
        yield Scenario(OURS, threads=threads, characters=40)
        yield Scenario(OURS, threads=threads, characters=400)
        yield Scenario(OURS, threads=threads, mixed=True)


def _bursty():
    for threads in (1, 4):
        yield Scenario(OURS, "bursty", threads)
    yield Scenario(OURS, "bursty", mixed=True)


def _levels():
    for level in ("debug", "warning"):
        for threads in (1, 4):
            yield Scenario(OURS, threads=threads, level=level)


PARTS = {
    "flat": _flat,
    "bursty": _bursty,
    "stopped": lambda: [Scenario(OURS, "stopped")],
    "host": lambda: [Scenario(OURS, "host")],
    "levels": _levels,
}
LOG_PARTS = list(PARTS)
# Of the parts that do not take all loggers.
TARGETS = {"host": [OURS, NO_LOG, ASYNC], "levels": [OURS]}
LOGGERS = [*(target for target in NAMES if target != NO_LOG), QT6]


def of_us(part):
    """The scenarios of a part, with ours."""
    return list(PARTS[part]())


def all_of(part, targets):
    """The scenarios of a part, those that are to be compared side by side."""
    chosen = [target for target in TARGETS.get(part, LOGGERS) if target in targets]
    return [scenario.of(target) for scenario in of_us(part) for target in chosen]


def measured(logs, kind=None):
    """Who was, in scenarios of this kind or in any: a logger that is not installed is left out."""
    found = {scenario.target for scenario in logs if kind in (None, scenario.kind)}
    return [target for target in NAMES if target in found]
