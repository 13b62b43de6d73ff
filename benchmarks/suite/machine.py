"""What the figures were measured on and with."""

import os
import platform
import re
from pathlib import Path

import measure


def _value(path, pattern):
    try:
        found = re.search(pattern, Path(path).read_text(encoding="utf-8"), re.MULTILINE)
    except OSError:
        found = None
    return found.group(1) if found else "unknown"


def _memory():
    kib = _value("/proc/meminfo", r"^MemTotal:\s*(\d+)")
    return f"{int(kib) / 1048576:.1f} GiB" if kib.isdigit() else kib


def load():
    return f"{os.getloadavg()[0]:.2f}"


def facts(builds, folder):
    build = builds[0]
    model = _value("/proc/cpuinfo", r"^model name\s*: (.*)")
    system = _value("/etc/os-release", r'^PRETTY_NAME="(.*)"')
    return {
        "Processor": f"{model}, {os.cpu_count()} cores",
        "Memory": _memory(),
        "System": f"{system}, kernel {platform.release()}",
        "File system of the logs": measure.run(["df", "--output=fstype", folder]).stdout.split()[-1],
        "Compiler": f"{build['compiler']}, {build['kind']} {build['flags']}".strip(),
        "Libraries": ", ".join(each["versions"] for each in builds),
    }
