"""tools/mac/make-sysroot turns a few files into what Clang takes for Xcode's SDK."""

import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
INSTALLED = "/System/Library/Frameworks/Kit.framework/Versions/C/Kit"
CXX_LIBRARY = pathlib.Path("/usr/lib/x86_64-linux-gnu/libc++.so.1")


@unittest.skipUnless(
    CXX_LIBRARY.exists() and shutil.which("llvm-nm"), "only `make mac` on Linux installs what it needs"
)
class MacSysroot(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.root = pathlib.Path(directory.name)
        self.sdk = self.root / "sdk"
        self.sysroot = self.root / "sysroot"
        self.libsystem = self.root / "libSystem.tbd"
        kit = self.sdk / "Frameworks/Kit.framework"
        for folder in (kit, self.sdk / "include", self.sdk / "lib"):
            folder.mkdir(parents=True)
        (kit / "Kit.tbd").write_text(f"install-name:    '{INSTALLED}'\n")
        (self.sdk / "include/stdio.h").write_text("int puts(const char*);\n")
        (self.sdk / "lib/libobjc.tbd").write_text("install-name: '/usr/lib/libobjc.A.dylib'\n")
        self.libsystem.write_text("targets: [ x86_64-macos, arm64e-macos ]\n")

    def make(self):
        command = [ROOT / "tools/mac/make-sysroot", self.sdk, self.libsystem, self.sysroot]
        subprocess.run(command, check=True)

    def text(self, path):
        return (self.sysroot / path).read_text()

    def test_everything_is_where_xcode_has_it(self):
        for _ in range(2):  # the second replaces the first
            self.make()
            stub = f"install-name:    '{INSTALLED}'\n"
            self.assertEqual(self.text("System/Library/Frameworks/Kit.framework/Kit.tbd"), stub)
            self.assertEqual(self.text(INSTALLED[1:] + ".tbd"), stub)
            self.assertEqual(self.text("usr/include/stdio.h"), "int puts(const char*);\n")
            self.assertIn("libobjc.A", self.text("usr/lib/libobjc.tbd"))

    def test_libsystem_is_there_for_arm64(self):
        self.make()
        self.assertEqual(self.text("usr/lib/libSystem.tbd"), "targets: [ x86_64-macos, arm64-macos ]\n")

    def test_the_cxx_stub_has_only_what_the_cxx_library_exports(self):
        self.make()
        stub = self.text("usr/lib/libc++.tbd")
        self.assertIn("install-name: '/usr/lib/libc++.1.dylib'", stub)
        symbols = set(re.findall(r"'(_[^']*)'", stub))
        for symbol in ("__Znwm", "__ZdlPv", "___cxa_throw", "___gxx_personality_v0", "__ZTIi"):
            self.assertIn(symbol, symbols)
        for symbol in symbols:
            self.assertRegex(symbol, "^_(_Z|__cxa_|__gxx_personality|__dynamic_cast)")


if __name__ == "__main__":
    unittest.main()
