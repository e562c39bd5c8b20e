#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""The unit's sandbox: rated, and the daemon at work in it, as far as the kernel lets a test build it.

usage: sandbox_test.py UNIT ENCLAB DAEMON LIBENCDEV [EMULATOR]...
       sandbox_test.py --enter UNIT [-E NAME=VALUE]... PROGRAM [ARGUMENT]...
An emulator filters no system calls: there they are listed and compared.
"""
import mmap
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import unittest

import seccomp
from seccomp import ALLOW, EQ, MASKED_EQ, Arg

# As in the unit: sockets of one family, no memory that is written and executed.
CONDITIONS = {
    "socket": [Arg(0, EQ, socket.AF_UNIX)],
    "mprotect": [Arg(2, MASKED_EQ, mmap.PROT_EXEC, 0)],
    "mmap": [
        Arg(2, MASKED_EQ, mmap.PROT_WRITE | mmap.PROT_EXEC, protection)
        for protection in (0, mmap.PROT_WRITE, mmap.PROT_EXEC)
    ],
}
# In front of a command: what root leaves behind.
ORDINARY = (
    "setpriv --reuid=nobody --regid=nogroup --clear-groups --bounding-set=-all --inh-caps=-all"
    " --no-new-privs"
).split()
# What is done to the enclosure, and what the service then says or the lab shows.
STORY = [
    ("", "enclosure VSC055, answers"),
    ("ses status", "reply"),
    ("fan 1 pull", "failed 0x02"),
    ("fan 1 return", "failed 0x00"),
    ("cut lm75-2", "does not answer"),
    ("mend lm75-2", "LM75 of sensor 2: warning, enclosure VSC055, answers"),
    ("switch close", "refuses"),
    ("fan 1 pull", "pulled"),
    ("switch open", "fault LED on"),
]


def run(*words):
    return subprocess.run(words, capture_output=True, text=True)


def allowed(unit):
    """The names that the unit's filter lets through, groups expanded by the manager's own tool."""
    lines = re.findall("^SystemCallFilter=(.*)", unit.read_text(), re.M)
    names = {"@default", *" ".join(lines).split()}
    groups = {name for name in names if name.startswith("@")}
    text = run("systemd-analyze", "syscall-filter", *groups).stdout
    return names - groups | set(re.findall(r"^    (\w+)", text, re.M))


if os.geteuid() != 0 or run(*ORDINARY, "/bin/true").returncode != 0:
    ORDINARY = []


def mounted(lab):
    """Everything read-only but the three directories, and no network."""
    words = "bwrap --ro-bind / / --dev /dev --unshare-net --die-with-parent".split()
    for name in "mmsg", "nv", "log":
        words += ["--bind", lab / name, lab / name]
    return words


def enter(unit, *words):
    """Becomes the program; a call that is not allowed ends it."""
    environment = dict(os.environ)
    while words[0] == "-E":
        environment.update([words[1].split("=", 1)])
        words = words[2:]
    calls = seccomp.SyscallFilter(seccomp.KILL_PROCESS)
    for name in allowed(pathlib.Path(unit)):
        if seccomp.resolve_syscall(seccomp.Arch(), name) >= 0:
            for condition in CONDITIONS.get(name, [None]):
                calls.add_rule(ALLOW, name, *filter(None, [condition]))
    calls.load()
    os.execve(words[0], words, environment)


class SandboxTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        # Copies: whoever the tests run as, an ordinary user can read them.
        cls.top = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.script, cls.unit, cls.enclab, cls.daemon, cls.encdev = (
            pathlib.Path(shutil.copy(file, cls.top)) for file in [__file__, *FILES]
        )
        cls.plain = cls.top / "plain"
        for name in "mmsg", "nv", "log":
            (cls.plain / name).mkdir(parents=True)
        if ORDINARY:
            run("chown", "-R", "nobody", cls.top)
        cls.filtered = ["/usr/bin/python3", cls.script, "--enter", cls.unit]
        # What this kernel forbids is left out.
        if EMULATOR or run(*ORDINARY, *cls.filtered, "/bin/true").returncode != 0:
            cls.filtered = []
        cls.mounts = run(*ORDINARY, *mounted(cls.plain), "/bin/true").returncode == 0

    def test_the_unit_is_sound_and_safe(self):
        unit = self.top / "sound.service"
        unit.write_text(self.unit.read_text().replace("/usr/sbin/esa", "/bin/true"))
        for words in ["verify", "--man=no"], ["security", "--offline=true", "--threshold=10"]:
            result = run("systemd-analyze", *words, unit)
            self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
            self.assertNotIn(unit.name, result.stderr)

    def test_the_sandbox_holds(self):
        if not (self.filtered and self.mounts):
            self.skipTest("this kernel or emulator has no system call filter or no user namespaces")
        for status, *words in [
            (-signal.SIGSYS, *self.filtered, "/bin/uname"),
            (0, *mounted(self.plain), "/usr/bin/test", "-w", self.plain / "log"),
            (1, *mounted(self.plain), "/usr/bin/test", "-w", self.plain),
        ]:
            self.assertEqual(run(*ORDINARY, *words).returncode, status, words)

    def test_the_daemon_works_in_it(self):
        directory = self.top / "lab"
        calls = directory / "log/calls"
        mounts = mounted(directory) if self.mounts else []
        listed = [*EMULATOR, "-strace", "-D", calls] if EMULATOR else []
        launcher = " ".join(map(str, [*mounts, *self.filtered, *listed]))
        words = f"--speed 50 --still --trace --no-panel --dir {directory} --daemon {self.daemon}"
        lab = subprocess.Popen(
            [*ORDINARY, *EMULATOR, self.enclab, *words.split()]
            + ["--encdev", self.encdev, "--emulator", launcher],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )
        with lab:
            for command, answer in STORY:
                print(command, file=lab.stdin, flush=True)
                seen = []
                for line in lab.stdout:
                    seen.append(line)
                    if answer in line:
                        break
                else:
                    self.fail(f"never came after '{command}': {answer}\n{''.join(seen)}")
            self.assertIn("Composite Fault LED", (directory / "log/esa_01.log").read_text())
            self.assertGreater((directory / "nv/altevent.log").stat().st_size, 0)
            used = calls.read_text() if EMULATOR else ""
            lab.terminate()
        self.assertEqual(set(re.findall(r"^\d+ (\w+)\(", used, re.M)) - allowed(self.unit), set())


if __name__ == "__main__":
    if sys.argv[1] == "--enter":
        enter(*sys.argv[2:])
    FILES, EMULATOR = sys.argv[1:5], sys.argv[5:]
    unittest.main(argv=sys.argv[:1], verbosity=2)
