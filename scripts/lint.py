"""Runs clang-tidy over the lists of compilations of the native and the 64-bit Windows build; called
by scripts/lint.

A room is read as one unit, so that the headers, which cost nearly all of the time, are read once.
With --deep each file is read by itself.
"""

import argparse
import concurrent.futures
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
WINDOWS = "x86_64-w64-mingw32"
NOT_LINTED = ("tests", "fuzz", "bench", "examples")
# clang-tidy does nothing without a check.
ONLY_COMPILE = "-*,misc-static-assert"
# Path-sensitive checks look at a unit's own functions only, and a room's unit includes its sources.
NOT_IN_UNITS = "-clang-analyzer-*,-bugprone-suspicious-include"


def system_includes(compiler):
    """The folders where a compiler of another system looks for headers, but for those of its own
    intrinsics: clang has others."""
    told = subprocess.run([compiler, "-E", "-x", "c++", "-v", os.devnull], check=True, text=True,
                          capture_output=True).stderr
    folders = re.search(r"search starts here:\n(.*)End of search", told, re.DOTALL).group(1).split()
    return [folder for folder in folders if not re.search(r"/lib/gcc/[^.]*/include(-fixed)?$", folder)]


def compilations(build, extra, rooms):
    """Of a build's files in the rooms: path and compiler's arguments, without what g++ alone knows
    and without the precompiled headers: a file must include what it uses."""
    with open(os.path.join(ROOT, build, "compile_commands.json"), encoding="utf-8") as stream:
        commands = json.load(stream)
    for command in commands:
        path = os.path.relpath(command["file"], ROOT)
        room = path.split("/")[0]
        foreign = path.startswith(("..", "build")) or not path.endswith(".cpp")
        if foreign or room in NOT_LINTED or rooms and room not in rooms:
            continue
        words = iter(shlex.split(command["command"])[1:])
        kept = []
        for word in words:
            if word in ("-o", "-include"):
                next(words)
            elif word == "-isystem":
                kept += [word, next(words)]
            elif re.match(r"-[ID]|-std=", word):
                kept.append(word)
        yield path, (*extra, *kept)


def units(rooms):
    """The files that are compiled alike and stand in one room: [(arguments, files)]."""
    windows = [f"--target={WINDOWS}"]
    windows += [f"-isystem{folder}" for folder in system_includes(f"{WINDOWS}-g++-posix")]
    seen, found = set(), {}
    # What both systems compile is looked at as this machine sees it.
    for build, extra in (("build", ()), ("build-mingw64", windows)):
        of_build = {}
        for path, arguments in compilations(build, extra, rooms):
            if path not in seen:
                # A source that several targets compile is one.
                of_build.setdefault(path, arguments)
        seen.update(of_build)
        for path, arguments in of_build.items():
            found.setdefault((path.split("/")[0], arguments), []).append(path)
    return [(arguments, sorted(files)) for (_, arguments), files in found.items()]


def tidy(path, arguments, checks=""):
    done = subprocess.run(
        ["clang-tidy", "--quiet", "--warnings-as-errors=*", f"--checks={checks}",
         f"--config-file={ROOT}/.clang-tidy", path, "--", *arguments],
        check=False, text=True, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return done.returncode == 0, done.stdout


def tidy_files(arguments, files, checks=""):
    results = [tidy(path, arguments, checks) for path in files]
    return all(clean for clean, _ in results), "".join(text for _, text in results)


def tidy_together(arguments, files, checks):
    with tempfile.NamedTemporaryFile("w", suffix=".cpp") as unit:
        unit.write("".join(f'#include "{ROOT}/{path}"\n' for path in files))
        unit.flush()
        return tidy(unit.name, arguments, checks)


def tidy_unit(arguments, files):
    """Reads a room's sources as one, but for those whose own names clash with earlier ones': these
    make another unit, and so on."""
    clean, texts = True, []
    while files:
        later = []
        while len(files) > 1:
            _, text = tidy_together(arguments, files, ONLY_COMPILE)
            clashing = {path for path in files
                        if re.search(rf"^{re.escape(os.path.join(ROOT, path))}:.*error:", text,
                                     re.MULTILINE)}
            if not clashing:
                break
            # One that does not compile by itself is told in its own unit.
            clashing = clashing if len(clashing) < len(files) else set(files[1:])
            later += sorted(clashing)
            files = [path for path in files if path not in clashing]
        passed, text = tidy_together(arguments, files, NOT_IN_UNITS)
        clean = clean and passed
        texts.append(text)
        files = later
    return clean, "".join(texts)


def main():
    parser = argparse.ArgumentParser(prog="scripts/lint")
    parser.add_argument("--deep", action="store_true")
    parser.add_argument("rooms", nargs="*")
    wanted = parser.parse_args()
    found = units(wanted.rooms)
    if not found:
        sys.exit("there is nothing to lint")
    jobs = [(tidy_unit, arguments, files) for arguments, files in found]
    if wanted.deep:
        jobs = [(tidy_files, arguments, [path]) for arguments, files in found for path in files]
    # The longest first.
    jobs.sort(key=lambda job: -len(job[2]))
    clean = True
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for job in [pool.submit(*job) for job in jobs]:
            passed, text = job.result()
            clean = clean and passed
            print(text, end="", flush=True)
    if not clean:
        sys.exit("clang-tidy has found something")
    print(f"lint: {sum(len(files) for _, files in found)} sources are clean")


if __name__ == "__main__":
    main()
