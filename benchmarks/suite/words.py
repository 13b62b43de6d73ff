"""What the page says besides figures."""

from scenarios import ASYNC, COPY, CRASH_FILE, NO_LOG, OURS, QT6, SYNC

INTRODUCTION = """# Performance

The library beside its peers. `scripts/bench` measured this and wrote the page; it is not edited by hand.

Loggers write the same lines, "date and time|10|Information|Disk::Scan|message", with messages that exist already. Each
scenario runs in a process of its own, once in every round of its part, ours and its peers in turn, so that a
disturbance hits all alike. Before a figure counts, the program reads the files back: every line is there once, and in
the order of its thread. Figures are medians of the rounds, and so are percentiles; "ours is faster by" is the median of
the ratios within the rounds.

"""

# For each row of the tables that there is, and for the column: whom it is about, and what.
ABOUT = [
    ((OURS,), """Ours opens and closes its file for every batch, or for what waits together, up to 64 KiB. It looks at
        the file's age and size each time, and rotates it at 100 MiB."""),
    ((CRASH_FILE,), """Ours with a crash file: each line is also copied to memory that outlives the process. Its 4 MiB
        hold what waits for the disk; callers wait while they are full."""),
    ((ASYNC,), "spdlog asynchronous: one thread writes, a queue of 8192, callers wait while it is full."),
    ((SYNC,), "spdlog synchronous: callers write, one at a time, through the C library's file buffer."),
    (("glog",), "glog: callers write as with spdlog synchronous. It puts a head of its own before the message."),
    (("log4cplus",), "log4cplus asynchronous: one thread writes, a queue of 8192, callers wait while it is full."),
    (("boost",), """Boost.Log asynchronous: one thread formats and writes, and its queue has no bounds. Its times have
        microseconds."""),
    (("qt",), """Qt message handler: formats with QDateTime and writes to a QTextStream under a mutex. Its file is the
        only one that does not rotate at 100 MiB."""),
    ((COPY,), """Copy and write only: no logger. It copies lines that are ready-made, and writes them in batches of
        5000 bytes with one open and close each; it formats nothing and reads no clock. The callers do all of it, one at
        a time: a single thread without a lock, several under a mutex. So it is no limit: where there are several cores,
        a logger whose own thread writes can be faster."""),
    ((NO_LOG,), "No log: the same program, and nobody writes a line."),
    ((QT6,), """With Qt 6: medians of the same programs, built with that in `build/bench-qt6`. Those of the log take
        their turns with the others, those of the settings follow them. All other figures are with Qt 5."""),
]

LEFT_OUT = "Left out, because CMake did not find them: {names}."

CHARTS = """A point or bar is the median of the rounds; the thin line through it goes from the least to the most of
them."""

PAID_FOR = """Two of the log's costs are deliberate. The file is opened and closed for what is written at once, and its
creation time read, so that it may be moved, removed and read at any time and its age counts from whatever it was set
to. And a thread of the log's own writes the lines, so that callers never wait for the disk. {sync} does neither: its
callers write, to a file that stays open. With 1 thread it takes {share} times our processor time for a line. Copying
lines and writing them in batches, each to a file that is opened and closed for it, takes {copy} times what {sync}
takes."""

TITLES = {
    "flat": "Without a pause",
    "bursty": "A bursty caller",
    "stopped": "A call that the level stops",
    "host": "What the host feels",
    "levels": "Our other levels",
    "instructions": "Instructions",
    "settings": "Settings",
    "trace": "Stack traces",
    "start": "The start of a program",
    "size": "On the disk",
}

AIMS = """Those of the log hold for the medians of the ratios within the rounds. Those of the settings and of stack
traces compare the least times. What is missed is shown as missed."""

COMMANDS_NOTE = """All by `scripts/bench`. Paths begin in `build/bench/benchmarks`; LOGGER is one of {loggers}. Some
take fewer lines than ours. BATCHES is 20 and 120: what is counted for 100 batches of 39 lines is the difference. `ctest
--preset release` counts instructions alone, and compares them with their limits."""

NOTES = {
    "flat": """Each thread logs as fast as it can. Lines per second are counted until everything is in the file, which
        means handed to the system by `write`, not that the disk has it. A call's times (ns) are those that its caller
        waits; about one call in 13 is timed for the percentiles, the clock included. Processor time (ns for each line)
        is what the process took, all threads together. Memory is what the process had more than before there was a log:
        at its peak, and when the log had been stopped. A queue without bounds grows with the number of lines; slower
        loggers were given fewer lines.""",
    "bursty": """Each thread logs 20 lines and rests for 2 ms, again and again. Times of single calls and processor time
        of a line in ns, the clock included. The first 20 bursts are not timed: what a process does once would stand for
        what it does always.""",
    "stopped": "A debug message behind a test of the level, as call sites have it; one thread.",
    "host": """A program with a heap of 1 GiB in small blocks, every second one freed. Its main thread has an event loop
        with a timer of 1 ms. Its second thread allocates and frees small blocks, and so does the timer's handler. A
        third thread logs: an eighth of the lines at 1 MB/s, the others in four bursts without a pause, with a rest of
        250 ms before and after each. Then it stops the log. A timer is late by what passes beyond 1 ms since it last
        fired. All times in us. In all rows is what the scheduler does to the program. So ours is within the noise of no
        log when the median of its rounds is not above the most of the rounds without a log.""",
    "levels": """Information takes no lock of the logger's; debug and trace try it, warnings wait for it. Measured as
        without a pause.""",
    "instructions": """Counted by callgrind in the optimised build; what the system's calls take within the kernel is
        not in it. Places count for a caller who logs now and then: each that the processor's caches have lost meanwhile
        has to be waited for. They are those with an instruction that runs at least nine times for ten lines. The test
        `instructions` of the preset `release` fails above the limits, which are a third above what was counted when
        they were set.""",
    "settings": "One INI file of 50,000 keys in 500 sections.",
    "trace": """The same trace again and again, from one place: what was looked up for a frame is kept. The first trace
        from a place takes longer.""",
    "start": """The same small program with the library and without; without it, it writes a line by itself. The time
        goes on until the first line is in the file. The loader's figures are those of `LD_DEBUG=statistics`. Idle is
        0.3 s after the first line, while the logging thread waits.""",
    "size": "The library for programs to run with: stripped, without its headers.",
}

# What is not of the log: the part, what its figures are, the command behind them.
COMMANDS = [
    ("settings", "Settings", "settings/bench_settings"),
    ("trace", "Stack traces", "trace/bench_trace"),
    ("start", "The start: first line in the file, idle memory", "start/bench_start_nerolt"),
    ("start", "The start: the dynamic loader", "LD_DEBUG=statistics start/bench_start_nerolt 0 FOLDER"),
    ("size", "On the disk", "strip --strip-unneeded -o COPY LIBRARY; size --format=sysv COPY"),
]
