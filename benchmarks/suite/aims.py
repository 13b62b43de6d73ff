"""What the library wants to reach, and whether it does."""

from statistics import median

from figures import ratios, shown
from scenarios import ASYNC, COPY, CRASH_FILE, HOST, NAMES, NO_LOG, OURS, SYNC, Scenario, measured, of_us

OF_BEST_BURSTY = 0.5
STOPPED_NS = 1
CRASH_FILE_NS = 30
# Beside whom, in which scenarios, and at least how many times as many lines per second.
SPEED = [
    (SYNC, of_us("flat"), 1.0),
    (ASYNC, [Scenario(OURS)], 1.3),
    (ASYNC, [Scenario(OURS, threads=4)], 8),
    (COPY, [Scenario(OURS, threads=threads) for threads in (1, 4)], 1.0),
]


def _aim(text, figure, met):
    return {"aim": text, "figure": figure, "met": met}


def _rounds(logs, scenario, figure):
    return logs[scenario][figure]["rounds"]


def _compared(logs, ours, target, figure):
    return median(ratios(_rounds(logs, ours, figure), _rounds(logs, ours.of(target), figure)))


def _speed(logs):
    for target, scenarios, share in SPEED:
        for ours in scenarios if target in measured(logs, "flat") else ():
            ratio = _compared(logs, ours, target, "lines/s")
            text = f"lines per second, {ours.title()}: at least {share} times {NAMES[target]}"
            yield _aim(text, f"{shown(ratio)} times", ratio >= share)


def _best_peer(logs, ours, figure):
    """Our share of what that one takes of all peers who takes least."""
    peers = [target for target in measured(logs, ours.kind) if target not in (OURS, CRASH_FILE, COPY)]
    shares = {peer: _compared(logs, ours, peer, figure) for peer in peers}
    peer = max(shares, key=shares.get)
    return shares[peer], f"{shown(shares[peer])} times {NAMES[peer]}"


def _processor(logs):
    for threads in (1, 4):
        ours = Scenario(OURS, threads=threads)
        share, text = _best_peer(logs, ours, "processor")
        yield _aim(f"processor time of a line, {ours.title()}: below every peer", text, share < 1)


def _bursty(logs):
    ours = Scenario(OURS, "bursty")
    share, text = _best_peer(logs, ours, "p99.9")
    aim = f"p99.9 of a bursty caller's call, {ours.title()}: at most half of any peer's"
    yield _aim(aim, text, share <= OF_BEST_BURSTY)


def _more(ours, theirs):
    """The median of the differences within the rounds."""
    return median(our - their for our, their in zip(ours, theirs))


def _at_most_more(text, more):
    return _aim(f"{text}: at most {CRASH_FILE_NS} ns more with a crash file", f"{shown(more)} ns", more <= CRASH_FILE_NS)


def _crash_file_flat(logs):
    for threads in (1, 4):
        ours = Scenario(OURS, threads=threads)
        with_file, without = ([1e9 / rate for rate in _rounds(logs, of, "lines/s")] for of in (ours.of(CRASH_FILE), ours))
        yield _at_most_more(f"time for a line, {ours.title()}", _more(with_file, without))


def _crash_file_bursty(logs):
    for threads in (1, 4):
        ours = Scenario(OURS, "bursty", threads)
        more = _more(_rounds(logs, ours.of(CRASH_FILE), "p50"), _rounds(logs, ours, "p50"))
        yield _at_most_more(f"p50 of a bursty caller's call, {ours.title()}", more)


def _stopped(logs):
    ours = Scenario(OURS, "stopped")
    figure = _more(_rounds(logs, ours, "mean"), _rounds(logs, ours.of(COPY), "mean"))
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


AIMS_OF_LOGS = {
    "flat": [_speed, _processor, _crash_file_flat],
    "bursty": [_bursty, _crash_file_bursty],
    "stopped": [_stopped],
    "host": [_host],
}


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
