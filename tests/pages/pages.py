"""Makes programs of the C++ blocks of a page, and tries what the page says of them.

    pages.py write <page> <folder>
        writes each block to a source file in the folder, and prints the name and the sources of each program

    pages.py run <page> <folder of the programs> <scratch folder>
        runs the commands of each console block, and compares what they print with what the page shows

A program is one C++ block, or several in a row, with the console blocks that follow. Their commands find it as ./app in
a fresh home. A program without a main function takes that of the start page. The page shows /home/ada for the home, and
times of its own.
"""

import re
import shutil
import subprocess
import sys
from pathlib import Path

TOOLS = Path(__file__).parent / "tools"
TIME = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}")
HOME = "/home/ada"
MAIN = "start_1_1.cpp"


def blocks(page):
    """Yields (language, number of the first line, text) of each block."""
    opened = None
    for number, line in enumerate(page.read_text(encoding="utf-8").splitlines(), 1):
        if not line.startswith("```"):
            if opened:
                opened[2].append(line)
        elif opened:
            yield opened[0], opened[1], "\n".join(opened[2])
            opened = None
        else:
            opened = line[3:], number + 1, []
    if opened:
        sys.exit(f"{page}:{opened[1] - 1}: this block does not end")


def programs(page):
    """Yields (name, [(number of the first line, code)], [text of a console block]) of each program."""
    found = []
    for language, line, text in blocks(page):
        if language == "cpp":
            if not found or found[-1][2]:
                found.append((f"{page.stem}_{len(found) + 1}", [], []))
            found[-1][1].append((line, text))
        elif language == "console":
            if not found:
                sys.exit(f"{page}:{line}: no program comes before these commands")
            found[-1][2].append(text)
    if not found:
        sys.exit(f"{page} holds no C++")
    return found


def write(page, folder):
    folder.mkdir(parents=True, exist_ok=True)
    for name, parts, _ in programs(page):
        sources = [f"{name}_{part}.cpp" for part in range(1, len(parts) + 1)]
        for source, (line, code) in zip(sources, parts):
            # The compiler names the line of the page.
            text = f'#line {line} "{page}"\n{code}\n'
            file = folder / source
            if not file.exists() or file.read_text(encoding="utf-8") != text:
                file.write_text(text, encoding="utf-8")
        if not any("int main(" in code for _, code in parts):
            sources.insert(0, MAIN)
        print(name, *sources)


def alike(text, home):
    return TIME.sub("<time>", text.replace("\r\n", "\n").replace(str(home), HOME)).rstrip("\n")


def session(console, home):
    """What a terminal shows when the commands of a console block are typed there."""
    environment = {"HOME": str(home), "TMPDIR": str(home), "PATH": f"{TOOLS}:/usr/bin:/bin", "LC_ALL": "C.UTF-8"}
    shown = []
    for line in console.splitlines():
        if line.startswith("$ "):
            done = subprocess.run(
                ["sh", "-c", line[2:]], cwd=home, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT
            )
            shown += [line, done.stdout.decode()]
            if done.returncode:
                shown.append(f"exit code {done.returncode}")
    return "\n".join(part.rstrip("\n") for part in shown if part)


def run(page, folder, scratch):
    wrong = []
    for name, parts, consoles in programs(page):
        home = scratch / name
        shutil.rmtree(home, ignore_errors=True)
        home.mkdir(parents=True)
        shutil.copy(folder / name, home / "app")
        shutil.copy(TOOLS / "qtdiag", home)
        if not consoles:
            wrong.append(f"{page}:{parts[-1][0]}: the page does not show what this program does")
        for console in consoles:
            shown = alike(session(console, home), home)
            if shown != alike(console, home):
                wrong.append(f"{page}:{parts[-1][0]}: the page shows\n{console}\n\nand this happens:\n{shown}")
    return "\n\n".join(wrong) or None


def main(command, *arguments):
    paths = [Path(argument).resolve() for argument in arguments]
    return {"write": write, "run": run}[command](*paths)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
