"""What the library wants to reach, and whether it does."""

from statistics import median

from figures import ratios, shown
from scenarios import ASYNC, COPY, HOST, NAMES, NO_LOG, OURS, Scenario, measured

BURSTY_NS = 5000
STOPPED_NS = 1
OF_SPDLOG = {1: 1.3, 4: 8}
OF_COPY = {1: 0.6, 4: 0.6}


def _aim(text, figure, met):
    return {"aim": text, "figure": figure, "met": met}


def _threads(count):
    return "1 thread" if count == 1 else f"{count} threads"


def _rounds(logs, scenario, figure):
    return logs[scenario][figure]["rounds"]


def _compared(logs, ours, target, figure):
    return median(ratios(_rounds(logs, ours, figure), _rounds(logs, ours.of(target), figure)))


def _speed(logs):
    for target, shares in ((ASYNC, OF_SPDLOG), (COPY, OF_COPY)):
        for threads, share in shares.items() if target in measured(logs, "flat") else ():
            ratio = _compared(logs, Scenario(OURS, threads=threads), target, "lines/s")
            text = f"lines per second, {_threads(threads)}: at least {share} times {NAMES[target]}"
            yield _aim(text, f"{shown(ratio)} times", ratio >= share)


def _processor(logs):
    peers = [target for target in measured(logs, "flat") if target not in (OURS, COPY)]
    for threads in (1, 4):
        ours = Scenario(OURS, threads=threads)
        shares = {peer: _compared(logs, ours, peer, "processor") for peer in peers}
        peer = max(shares, key=shares.get)
        text = f"processor time of a line, {_threads(threads)}: below every peer"
        yield _aim(text, f"{shown(shares[peer])} times {NAMES[peer]}", shares[peer] < 1)


def _bursty(logs):
    figure = logs[Scenario(OURS, "bursty")]["p99.9"]["median"]
    yield _aim("p99.9 of a bursty caller's call: below 5 us", f"{shown(figure / 1000)} us", figure < BURSTY_NS)


def _stopped(logs):
    ours = Scenario(OURS, "stopped")
    more = [our - empty for our, empty in zip(_rounds(logs, ours, "mean"), _rounds(logs, ours.of(COPY), "mean"))]
    figure = median(more)
    text = "a call that the level stops: at most 1 ns more than an empty loop"
    yield _aim(text, f"{shown(figure)} ns", figure <= STOPPED_NS)


def _host(logs):
    ours = Scenario(OURS, "host")
    for name, what in HOST.items():
        figure, without = median(_rounds(logs, ours, name)), max(_rounds(logs, ours.of(NO_LOG), name))
        text = f"in a host, {what}: no longer than in the longest round without a log"
        yield _aim(text, f"{shown(figure / 1000)} us to {shown(without / 1000)} us", figure <= without)


def _of_task(task):
    best = f"{task['title']}: {task['aim']}"
    return _aim(best, task["figure"], task["met"])


AIMS_OF_LOGS = {"flat": [_speed, _processor], "bursty": [_bursty], "stopped": [_stopped], "host": [_host]}


def all_of(results):
    """The aims whose figures are there."""
    found = []
    logs = results.get("logs", {})
    for part, aims in AIMS_OF_LOGS.items():
        if part in results["parts"]:
            found += [aim for make in aims for aim in make(logs)]
    for part in ("settings", "trace"):
        found += [_of_task(task) for task in results.get(part, []) if task["aim"]]
    return found
