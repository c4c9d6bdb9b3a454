#!/usr/bin/env python3
"""Shows that a helper with nothing to restore costs nothing between its triggers.

Plays a real-clock scenario under strace and checks that, from the end of the start-up run to the
end of the scenario, the process makes exactly one system call, and that this call is waiting.

    at_rest_test.py TOLVARAN_SIMULATOR
"""
import json
import os
import re
import subprocess
import sys
import tempfile

SECONDS = 5  # more than the slowest start takes
LOOKING = re.compile(r"(close|newfstatat|fcntl|getdents64|read|lseek|brk)\(|openat\(.*O_RDONLY")
WAITING = re.compile(r"ppoll\(.*tv_sec=(\d+), tv_nsec=(\d+).*= 0 \(Timeout\)$")


def system_calls(simulator, directory):
    """The system calls of one run, one per line, without the process ID."""
    scenario = os.path.join(directory, "rest.json")
    trace = os.path.join(directory, "trace")
    with open(scenario, "w", encoding="utf-8") as file:
        json.dump({"clock": "real", "until": SECONDS}, file)
    # The leak checker cannot work under a tracer.
    environment = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")
    subprocess.run(["strace", "-f", "-o", trace, simulator, "--root", directory, scenario],
                   check=True, env=environment, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    with open(trace, encoding="utf-8", errors="replace") as file:
        return [line.split(maxsplit=1)[1].rstrip() for line in file]


def main():
    with tempfile.TemporaryDirectory() as directory:
        calls = system_calls(sys.argv[1], directory)
    log_writes = [i for i, call in enumerate(calls) if call.startswith("write(") and "[2" in call]
    assert log_writes, "the helper logged nothing"
    # After the last line of the start-up run: the wait, and then the player's own clean-up.
    after = calls[log_writes[-1] + 1:]
    # The run ends by closing the records that it used, as a separate work item. Before each work
    # item the player checks whether a file has changed.
    while LOOKING.match(after[0]):
        after.pop(0)
    waits = [i for i, call in enumerate(after) if WAITING.match(call)]
    assert waits == [0], "expected nothing but one wait, found:\n" + "\n".join(after[:5])
    seconds, nanoseconds = WAITING.match(after[0]).groups()
    waited = int(seconds) + int(nanoseconds) / 1e9
    print(f"at rest for {waited:.3f} s in one system call")


main()
