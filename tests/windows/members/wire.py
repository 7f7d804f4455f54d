"""Prints a terminal's JSON lines without what differs from run to run: wire.py PASS FILE. On a
serial line it checks that every address came with mark parity and nothing else did."""
import json
import sys

UNMARKED = {"space", "none"}  # two short commands' bodies go without parity
CHANGING = ("t", "path", "port", "peer", "seconds")


def main(line, file):
    with open(file, encoding="utf-8") as lines:
        events = [json.loads(text) for text in lines]
    faults = []
    addresses = [e["value"] for e in events if e["event"] == "address"]
    if line == "serial":
        marked = [e["value"] for e in events if e["event"] == "byte" and e["parity"] == "mark"]
        if marked != addresses or not addresses:
            faults.append(f"bytes with mark {marked}, addresses {addresses}")
        others = {e["parity"] for e in events if e["event"] == "byte"} - {"mark"}
        if others != UNMARKED:
            faults.append(f"parities of the other bytes: {sorted(others)}")
        for e in events:
            expected = "none" if e.get("code") in (18, 23) else "space"
            if e["event"] == "command" and e["body_parity"] != expected:
                faults.append(f"command {e['code']} with {e['body_parity']}")
    for e in events:
        # A connection begins and ends in its own time, also between the commands.
        if e["event"] in ("connected", "closed", "failed"):
            continue
        for key in CHANGING + (("time",) if e["event"] == "state" else ()):
            e.pop(key, None)
        if e["event"] == "monitoring":
            e["bytes"][4:6] = ["hour", "minute"]
        print(json.dumps(e))
    for fault in faults:
        print(fault, file=sys.stderr)
    return 1 if faults else 0


sys.exit(main(*sys.argv[1:]))
