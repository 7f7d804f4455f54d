"""Makes the page of the benchmarks' results (scripts/bench): results' folder, page to write."""

import json
import os
import re
import sys

# Benchmark, counter, what it says, the limit and whether that is the least ("<=", ">=", or none).
FIGURES = [
    ("SilentWait", "core_percent", "% of a core while a command waits 5 s for a silent terminal",
     "<=", 1),
    ("ReplyTaken", "median_ms", "ms from a terminal's reply to the command's return, half of them",
     "<=", 2),
    ("ReplyTaken", "worst_ms", "ms from a terminal's reply to the command's return, the worst of 30",
     "", 0),
    ("CommandBeyondItsPauses", "beyond_percent",
     "% that a command takes beyond its prescribed pauses", "<=", 1),
    ("PassBesideIdleConnections", "times_alone",
     "times what a pass of the message pump costs without them, beside 400 idle connections", "<=",
     1.5),
    ("DownloadOverLoopback", "of_loop_speed",
     "speed of a download over loopback, as a share of the speed of a loop that writes one byte and "
     "pumps once", ">=", 0.8),
    ("CheckOfRecords", "times_plain_write",
     "time of the check of a 100 MB record file, as a multiple of writing as many bytes as it "
     "writes to the same folder in large blocks", "<=", 1.5),
    ("CheckOfRecords", "peak_grew_MB", "MB by which the process grows while it checks that file",
     "<=", 16),
]
MONITORING = [
    ("on", "terminals that were heard", "", 0),
    ("switch_s", "s until all were switched on", "", 0),
    ("per_second", "events in a second, at random times", "", 0),
    ("events", "events in all, also while others were being switched on", "", 0),
    ("lost", "events lost", "<=", 0),
    ("doubled", "events that came twice", "<=", 0),
    ("median_ms", "ms from a terminal's sending to the host's event, half of them", "", 0),
    ("p99_ms", "ms from a terminal's sending to the host's event, 99 of 100", "<=", 20),
    ("core_percent", "% of a core that the whole process takes meanwhile", "<=", 15),
    ("KiB_per_terminal", "KiB by which the process grew, for each terminal", "<=", 16),
]
for args, name, longest in (("1/terminals:1000", "1,000 terminals on one control: ", None),
                            ("10/terminals:3000", "3,000 terminals on ten controls, each on a "
                             "thread of its own: ", 120)):
    for counter, meaning, relation, limit in MONITORING:
        if counter == "switch_s" and longest:
            relation, limit = "<=", longest
        FIGURES.append(("Monitoring/controls:" + args, counter, name + meaning, relation, limit))


def number(value):
    return f"{value:,.0f}" if value >= 100 or value == int(value) else f"{value:.3g}"


def measured(folder):
    """All benchmarks of the run, by name without the arguments that say how they were run."""
    found = {}
    context = {}
    for file in sorted(os.listdir(folder)):
        if not file.endswith(".json"):
            continue
        with open(os.path.join(folder, file), encoding="utf-8") as stream:
            run = json.load(stream)
        context = run["context"]
        for each in run["benchmarks"]:
            if each.get("error_occurred"):
                sys.exit(f"{each['name']}: {each['error_message']}")
            found[re.sub(r"(/seconds:\d+)?(/\d+)?(/iterations:\d+)?$", "", each["name"])] = each
    return found, context


def table(found):
    rows, over = [], []
    for name, counter, meaning, relation, limit in FIGURES:
        if name not in found:
            continue
        value = found[name][counter]
        bound = ""
        if relation:
            bound = f"at {'most' if relation == '<=' else 'least'} {number(limit)}"
            if value > limit if relation == "<=" else value < limit:
                over.append(f"{meaning}: {number(value)}, {bound}")
        rows.append(f"| {number(value)} | {meaning} | {bound} |")
    return ["| measured | what | limit |", "|---:|---|---|", *rows], over


def main(folder, page):
    found, context = measured(folder)
    rows, over = table(found)
    lines = ["# Benchmarks", "",
             "Made by `scripts/bench`, which repeats it on any Debian 12 machine in about ten "
             "minutes and says",
             "when a figure is over its limit. Each is a ratio, or lies between two things of the "
             "same run, so that",
             "it can be compared between machines; [bench/README.md](../bench/README.md) says what "
             "is run."]
    if context:
        load = max(context["load_avg"], default=0)
        lines += ["", f"This run: {context['num_cpus']} cores of {context['mhz_per_cpu']} MHz, an "
                  f"optimised build, load {load:.1f}.",
                  "(At rest the load is below 1; with much more the times are not the program's "
                  "alone.)", "", *rows]
    windows = os.path.join(folder, "windows.txt")
    if os.path.exists(windows):
        with open(windows, encoding="utf-8") as stream:
            said = [line.strip() for line in stream if ":" in line and not line.startswith("==")]
        lines += ["", "The control in a Windows host under Wine:", "", *[f"- {line}" for line in said]]
    with open(page, "w", encoding="utf-8") as stream:
        stream.write("\n".join(lines) + "\n")
    print("\n".join(lines))
    for each in over:
        print("over its limit:", each)
    return 1 if over else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1], sys.argv[2]))
