#!/usr/bin/env python3
"""Shows that a helper with nothing to restore costs nothing between its triggers.

Plays a real-clock scenario under strace and checks that, from the end of the start-up run to the
end of the scenario, the process makes exactly one system call, and that this call is waiting. The
start-up run ends with one look of the player at the files, and with closing the records.

    at_rest_test.py TOLVARAN_SIMULATOR
"""
import json
import os
import re
import subprocess
import sys
import tempfile

SECONDS = 5  # more than the slowest start takes
# The calls of one look at the files: those that name a file, and those on what is open already.
OPENING = re.compile(r'openat\(\w+, "([^"]+)", O_RDONLY')
ASKING = re.compile(r'newfstatat\(\w+, "([^"]+)"')
ON_WHAT_IS_OPEN = re.compile(r'(close|fstat|fcntl|getdents64|read|lseek|brk)\(|newfstatat\(\d+, ""')
# One look has 16 of them with Debian's libraries; two looks have more than this.
MOST_CALLS_ON_WHAT_IS_OPEN = 24
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


def skip_the_look(calls, directory):
    """The calls after the player's one look at the files, which are a heartbeat and its folders."""
    support = os.path.join(directory, "ApplicationSupport")
    opened, asked, others = [], [], 0
    for place, call in enumerate(calls):
        if opening := OPENING.match(call):
            opened.append(opening[1])
        elif asking := ASKING.match(call):
            asked.append(asking[1])
        elif ON_WHAT_IS_OPEN.match(call):
            others += 1
        else:
            calls = calls[place:]
            break
    assert opened == [support, "State", os.path.join(support, "State", ".helper-heartbeat")], opened
    assert len(set(asked)) == len(asked) and set(asked) <= set(opened), asked
    assert others <= MOST_CALLS_ON_WHAT_IS_OPEN, others
    return calls


def main():
    with tempfile.TemporaryDirectory() as directory:
        calls = system_calls(sys.argv[1], directory)
    log_writes = [i for i, call in enumerate(calls) if call.startswith("write(") and "[2" in call]
    assert log_writes, "the helper logged nothing"
    # After the last line of the start-up run: the wait, and then the player's own clean-up.
    # The run ends by closing the records that it used, as a separate work item. Before each work
    # item the player checks whether a file has changed.
    after = skip_the_look(calls[log_writes[-1] + 1:], directory)
    waits = [i for i, call in enumerate(after) if WAITING.match(call)]
    assert waits == [0], "expected nothing but one wait, found:\n" + "\n".join(after[:5])
    seconds, nanoseconds = WAITING.match(after[0]).groups()
    waited = int(seconds) + int(nanoseconds) / 1e9
    print(f"at rest for {waited:.3f} s in one system call")


main()
