"""tools/check-mac-binary, on bundles made here, each wrong in one way."""

import os
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGING = pathlib.Path(os.environ["PACKAGING"])

CPUS = {"arm64": 0x0100000C, "x86_64": 0x01000007}
FOUNDATION = "/System/Library/Frameworks/CoreFoundation.framework/CoreFoundation"
SYSTEM = "/usr/lib/libSystem.B.dylib"
CXX = "/usr/lib/libc++.1.dylib"
CXX_ABI = "/usr/lib/libc++abi.dylib"
STUB = """--- !tapi-tbd
tbd-version:     4
targets:         [ x86_64-macos, {arm64}-macos ]
install-name:    '{library}'
exports:
  - targets:     [ x86_64-macos, {arm64}-macos ]
    symbols:     [ {symbols} ]
...
"""


def command(kind, body):
    body += b"\0" * (-len(body) % 8)
    return struct.pack("<II", kind, 8 + len(body)) + body


def path_command(kind, path, fixed):
    return command(kind, struct.pack("<I", 8 + fixed) + b"\0" * (fixed - 4) + path.encode() + b"\0")


def slice_of(architecture, libraries, imports, defined, minimum, rpath, text):
    """A Mach-O file of load commands, symbols and nothing else."""
    commands = [path_command(0x0C, library, 16) for library in libraries]
    commands.append(command(0x32, struct.pack("<IIII", 1, minimum << 16, minimum << 16, 0)))
    if rpath:
        commands.append(path_command(0x8000001C, rpath, 4))
    strings, symbols = b"\0", b""
    for name, kind, ordinal in [(name, 0x01, ordinal) for name, ordinal in imports] + [
        (name, 0x0F, 0) for name in defined
    ]:
        symbols += struct.pack("<IBBHQ", len(strings), kind, 0, ordinal << 8, 0)
        strings += name.encode() + b"\0"
    size = 32 + sum(map(len, commands)) + 24
    table = struct.pack("<IIII", size, len(symbols) // 16, size + len(symbols), len(strings))
    commands.append(command(0x02, table))
    header = (0xFEEDFACF, CPUS[architecture], 0, 2, len(commands), size - 32, 0, 0)
    return struct.pack("<8I", *header) + b"".join(commands) + symbols + strings + text


def program(
    architectures=("arm64", "x86_64"),
    libraries=(FOUNDATION, SYSTEM, CXX),
    imports=(("_CFRelease", 1), ("_exit", 2), ("__Znwm", 3)),
    defined=("_main",),
    minimum=13,
    rpath=None,
    text=b"",
):
    parts = [
        slice_of(architecture, libraries, imports, defined, minimum, rpath, text)
        for architecture in architectures
    ]
    offset = 8 + 20 * len(parts)
    header = struct.pack(">II", 0xCAFEBABE, len(parts))
    for architecture, part in zip(architectures, parts):
        header += struct.pack(">5I", CPUS[architecture], 0, offset, len(part), 0)
        offset += len(part)
    return header + b"".join(parts)


# (what is wrong, the message about it)
FAULTS = [
    ({"architectures": ("arm64",)}, "has the architectures arm64"),
    ({"minimum": 14}, "arm64: runs on macOS 14.0 and later, not 13.0"),
    ({"rpath": "@executable_path"}, "arm64: looks for libraries in @executable_path"),
    (
        {
            "libraries": (FOUNDATION, SYSTEM, CXX, "/opt/lib/x.dylib"),
            "imports": (("_CFRelease", 1), ("_exit", 2), ("__Znwm", 3), ("_x", 4)),
        },
        "arm64: loads /opt/lib/x.dylib, which is not Apple's",
    ),
    (
        {"imports": (("_CFRelease", 1), ("__Znwm", 3))},
        f"arm64: loads {SYSTEM}, but uses nothing of it",
    ),
    (
        {"imports": (("_CFRelease", 1), ("_exit", 4), ("__Znwm", 3))},
        "arm64: _exit is bound to no library",
    ),
    (
        {"imports": (("_CFRelease", 1), ("_CFMissing", 1), ("_exit", 2), ("__Znwm", 3))},
        f"x86_64: _CFMissing is not in {FOUNDATION}",
    ),
    (
        {"imports": (("_CFRelease", 2), ("_exit", 2), ("_CFRetain", 1), ("__Znwm", 3))},
        f"arm64: _CFRelease is not in {SYSTEM}",
    ),
    (
        {"libraries": (SYSTEM, CXX), "imports": (("_exit", 1), ("__Znwm", 2))},
        "arm64: imports nothing of Core Foundation",
    ),
    (
        {"libraries": (FOUNDATION, SYSTEM), "imports": (("_CFRelease", 1), ("_exit", 2))},
        f"arm64: has no C++ standard library from {CXX}",
    ),
    (
        {
            "libraries": (FOUNDATION, SYSTEM, CXX, CXX_ABI),
            "imports": (("_CFRelease", 1), ("_exit", 2), ("__Znwm", 3), ("___cxa_throw", 4)),
        },
        f"arm64: loads {CXX_ABI}, which is not {CXX}",
    ),
    (
        {"imports": (("_CFRelease", 1), ("_exit", 2), ("__Znwm", 3), ("__ZN8tolvaran4lostEv", 3))},
        f"arm64: __ZN8tolvaran4lostEv is not in {CXX}",
    ),
    ({"defined": ("_main", "_CFRetain")}, "arm64: defines _CFRetain itself"),
    ({"text": b"Simulator"}, "arm64: mentions the simulator"),
    ({"text": b"__ZN9simulator7machineEv"}, "arm64: mentions the simulator"),
]


class MacBinary(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)
        self.programs = self.root / "Helper.app/Contents/MacOS"
        self.programs.mkdir(parents=True)
        shutil.copy(PACKAGING / "Info.plist", self.programs.parent)
        (self.root / "stubs").mkdir()
        # As in the SDK, one of them is for arm64e only, which counts the same.
        for library, symbols, arm64 in (
            (FOUNDATION, "_CFRelease, _CFRetain", "arm64"),
            (SYSTEM, "_exit", "arm64e"),
            (CXX, "__Znwm", "arm64"),
            (CXX_ABI, "___cxa_throw", "arm64"),
        ):
            stub = STUB.format(library=library, symbols=symbols, arm64=arm64)
            (self.root / "stubs" / pathlib.Path(library).name).with_suffix(".tbd").write_text(stub)

    def check(self, **programs):
        for path in self.programs.iterdir():
            path.unlink()
        for name, content in programs.items():
            (self.programs / name).write_bytes(content)
        result = subprocess.run(
            [sys.executable, ROOT / "tools/check-mac-binary", "--stubs", self.root / "stubs"]
            + [self.root / "Helper.app"],
            capture_output=True,
            text=True,
        )
        self.assertEqual(result.returncode, 1 if result.stderr else 0)
        return result.stderr.splitlines()

    def test_a_good_bundle_has_no_fault(self):
        self.assertEqual(self.check(tolvaran_helper=program()), [])
        self.assertEqual(self.check(tolvaran_helper=program(), other=program()), [])
        report = program(text=b"__ZN9simulator6report5stepsE")
        self.assertEqual(self.check(tolvaran_helper=report), [])

    def test_every_fault_is_reported_for_every_program(self):
        for difference, message in FAULTS:
            with self.subTest(message):
                wrong = program(**difference)
                for name, programs in (
                    ("tolvaran_helper", {"tolvaran_helper": wrong, "other": program()}),
                    ("other", {"tolvaran_helper": program(), "other": wrong}),
                ):
                    lines = self.check(**programs)
                    self.assertIn(f"{self.programs / name}: {message}", lines)
                    for line in lines:
                        self.assertTrue(line.startswith(f"{self.programs / name}: "), line)

    def test_the_helper_must_be_there(self):
        self.assertEqual(
            self.check(other=program()), [f"{self.programs}: has no tolvaran_helper"]
        )


if __name__ == "__main__":
    unittest.main()
