"""Prints a terminal's JSON lines without what differs from run to run: wire.py FILE."""
import json
import sys

for line in open(sys.argv[1], encoding="utf-8"):
    e = json.loads(line)
    # A connection begins and ends in its own time, also between the commands; so does an event.
    if e["event"] in ("connected", "closed", "failed", "monitoring"):
        continue
    for key in ("t", "path", "port", "peer", "seconds") + (("time",) if e["event"] == "state" else ()):
        e.pop(key, None)
    print(json.dumps(e))
