"""Prints a terminal's JSON lines without what differs from run to run: wire.py FILE."""
import json
import sys

for line in open(sys.argv[1], encoding="utf-8"):
    e = json.loads(line)
    # A connection begins and ends in its own time, also between the commands.
    if e["event"] in ("connected", "closed", "failed"):
        continue
    for key in ("t", "path", "port", "peer", "seconds") + (("time",) if e["event"] == "state" else ()):
        e.pop(key, None)
    if e["event"] == "monitoring":
        e["bytes"][4:6] = ["hour", "minute"]
    print(json.dumps(e))
