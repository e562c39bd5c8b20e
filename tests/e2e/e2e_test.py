#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""What only whole programs show: exit statuses, the lab at its terminal and its end, the daemon's heap
and system calls, and its work in the unit's sandbox, as far as the kernel lets a test build it.

usage: e2e_test.py UNIT ENCLAB DAEMON LIBENCDEV LIBNOALLOC [EMULATOR]...
       e2e_test.py --enter UNIT LIBRARY [-E NAME=VALUE]... PROGRAM [ARGUMENT]...
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
import time
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
UP = "enclosure bus: information, enclosure VSC055, answers"
# What is done to the enclosure, and what the service then says or the lab shows.
STORY = [
    ("ses status", "reply"),
    ("fan 1 pull", "failed 0x02"),
    ("fan 1 return", "failed 0x00"),
    ("cut lm75-2", "does not answer"),
    ("mend lm75-2", "LM75 of sensor 2: warning, enclosure VSC055, answers"),
    ("switch close", "refuses"),
    ("fan 1 pull", "pulled"),
    ("switch open", "fault LED on"),
    ("ses page 1", "reply"),
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


def mounted(lab):
    """Everything read-only but the three directories, and no network."""
    words = "bwrap --ro-bind / / --dev /dev --unshare-net --die-with-parent".split()
    for name in "mmsg", "nv", "log":
        words += ["--bind", lab / name, lab / name]
    return words


def filter_load(unit):
    calls = seccomp.SyscallFilter(seccomp.KILL_PROCESS)
    for name in allowed(unit):
        if seccomp.resolve_syscall(seccomp.Arch(), name) >= 0:
            for condition in CONDITIONS.get(name, [None]):
                calls.add_rule(ALLOW, name, *filter(None, [condition]))
    calls.load()


def enter(unit, library, *words):
    """Becomes the program, with a library more; a call that UNIT does not allow ends it. "-": none."""
    environment = dict(os.environ)
    words = [re.sub("^LD_PRELOAD=", f"LD_PRELOAD={library.strip('-')}:", word) for word in words]
    while words[0] == "-E":
        environment.update([words[1].split("=", 1)])
        words = words[2:]
    environment["NO_ALLOC_FILE"] = str(pathlib.Path(__file__).with_name("no-alloc"))
    if unit != "-":
        filter_load(pathlib.Path(unit))
    os.execvpe(words[0], words, environment)


def until(condition):
    while not condition():
        time.sleep(0.05)


def entered(unit, library):
    return ["/usr/bin/python3", SCRIPT, "--enter", unit, library]


def end_by_the_clock(*_):
    raise TimeoutError("ended by the clock")


class Lab:
    """One enclab, up to the daemon's loop; commands are typed at it."""

    def __init__(self, test, *words, before=()):
        test.addCleanup(shutil.rmtree, TOP / "lab", ignore_errors=True)
        self.directory, self.lines = TOP / "lab", []
        files = ["--dir", self.directory, "--daemon", DAEMON, "--encdev", ENCDEV]
        words = [*"--speed 50 --still --no-panel".split(), *files, *words]
        self.process = subprocess.Popen(
            [*before, *EMULATOR, ENCLAB, *words],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            text=True,
        )
        test.addCleanup(self.process.kill)
        self.until(UP)
        self.daemon = int(re.search(r"daemon process (\d+)", "".join(self.lines))[1])

    def until(self, text):
        for line in self.process.stdout:
            self.lines.append(line)
            if text in line:
                return
        raise AssertionError(f"never came: {text}\n{''.join(self.lines)}")

    def do(self, command, answer):
        print(command, file=self.process.stdin, flush=True)
        self.until(answer)

    def ctl(self, *words):
        done = run(*EMULATOR, ENCLAB, "ctl", "--dir", self.directory, *words)
        return done.returncode, done.stdout.strip() + done.stderr.strip()

    def end(self, number=signal.SIGTERM):
        self.process.send_signal(number)
        with self.process:
            self.lines += self.process.stdout
        return self.process.returncode


class LabTest(unittest.TestCase):
    def start(self, *words):
        lab = Lab(self, *words)
        lab.segment = (lab.directory / "lock").read_text().split()[1]
        return lab

    def exists(self, segment):
        areas = pathlib.Path("/proc/sysvipc/shm").read_text().splitlines()
        return segment in [line.split()[1] for line in areas]

    def assert_gone(self, lab):
        self.assertFalse(self.exists(lab.segment))
        self.assertFalse(pathlib.Path(f"/proc/{lab.daemon}").exists())
        self.assertFalse(lab.directory.exists())

    def test_exit_status_says_what_is_wrong(self):
        for status, text, program, words in [
            (1, "few than 2.", DAEMON, ""),
            (2, "main(): shared memory key less than 100.", DAEMON, "99"),
            (3, "Error opening the MPU shared memory area.", DAEMON, "2000000000"),
            (2, "--speed", ENCLAB, "--speed 0"),
            (2, "--nonsense", ENCLAB, "--nonsense"),
            (2, "/no/such/file", ENCLAB, "--personality /no/such/file"),
            (1, "no daemon at /etc/passwd", ENCLAB, "--daemon /etc/passwd"),
            (2, "command", ENCLAB, "ctl"),
            (3, "no lab is running in", ENCLAB, "ctl --name no-such-lab show"),
            (0, "Usage", ENCLAB, "--help"),
        ]:
            with self.subTest(words):
                done = run(*EMULATOR, program, *words.split())
                self.assertEqual(done.returncode, status)
                self.assertIn(text, done.stdout + done.stderr)

    def test_a_line_for_each_event_and_commands(self):
        lab = self.start("--smbus")
        lab.do("nonsense", "error   no command 'nonsense'; help lists them")
        lab.do("fan 2 pull", "event   fan fault status: warning, fans 4, failed 0x04 (fan 2)")
        lab.until("led     composite fault LED on")
        lab.until("mail    e-mail notification")
        for line in lab.lines:
            self.assertRegex(line, r"^\[ +\d+\.\d\] (?!bus )\w")
        lab.do("bus on", "bus     R 41 04=")
        # Half a line is no command, and the end of the input ends nothing.
        lab.process.stdin.write("temp 0 3")
        lab.process.stdin.close()
        self.assertIn("sensor 0    30.0 degrees", lab.ctl("show")[1])
        self.assertEqual(lab.ctl("temp", "all", "-5"), (0, "all sensors at -5 degrees"))
        self.assertEqual(lab.ctl("fan", "7", "pull")[0], 1)
        self.assertEqual(lab.ctl("psu lost"), (0, "supply redundancy lost"))
        second = run(*EMULATOR, ENCLAB, "--dir", lab.directory, "--daemon", DAEMON)
        self.assertEqual(second.returncode, 1)
        self.assertIn(f"a lab is already running in {lab.directory}", second.stderr)
        self.assertEqual(lab.ctl("quit")[0], 0)
        self.assertEqual(lab.end(0), 0)
        self.assert_gone(lab)

    def test_every_way_of_ending_leaves_nothing_behind(self):
        for number in signal.SIGINT, signal.SIGTERM, signal.SIGHUP:
            lab = self.start()
            lab.process.send_signal(number)
            self.assertEqual(lab.end(number), 0)
            self.assert_gone(lab)
        lab = self.start()
        os.kill(lab.daemon, signal.SIGKILL)
        self.assertEqual(lab.end(0), 1)
        self.assertIn("lab     the daemon ended with status 137", "".join(lab.lines))
        self.assert_gone(lab)

    def test_killed_it_takes_the_daemon_along_and_the_next_one_clears_the_rest(self):
        killed = self.start()
        killed.end(signal.SIGKILL)
        until(lambda: not pathlib.Path(f"/proc/{killed.daemon}").exists())
        self.assertTrue(self.exists(killed.segment))
        lab = self.start("--trace", "--keep")
        self.assertFalse(self.exists(killed.segment))
        self.assertIn(f"lab     trace {lab.directory}/log/esa_01.log", "".join(lab.lines))
        self.assertEqual(lab.end(), 0)
        self.assertGreater((lab.directory / "log/esa_01.log").stat().st_size, 0)
        self.assertFalse((lab.directory / "mmsg").exists())


class DaemonTest(unittest.TestCase):
    """The story, lived through by a daemon in surroundings of its own."""

    def play(self, launcher, *words, before=()):
        lab = Lab(self, *words, "--emulator", " ".join(map(str, launcher)), before=before)
        (TOP / "no-alloc").touch()
        self.addCleanup((TOP / "no-alloc").unlink)
        for command, answer in STORY:
            lab.do(command, answer)
        return lab

    def test_its_loop_allocates_nothing(self):
        launcher = [*entered("-", NO_ALLOC), *EMULATOR]
        for words in [], ["--trace"]:
            with self.subTest(words):
                lab = self.play(launcher, *words)
                log = (lab.directory / "log/esa_01.log").read_text()
                self.assertEqual("Composite Fault LED" in log, words != [])
                self.assertEqual(lab.end(), 0)
                begins = run(*launcher, "-E", "LD_PRELOAD=", DAEMON, "99")
                self.assertNotEqual(begins.returncode, 2, "nobody looks")
                self.doCleanups()

    def test_a_status_request_costs_four_system_calls(self):
        file = TOP / "calls"
        strace = ["-strace", "-D", file] if EMULATOR else ["strace", "-qq", "-o", file]
        self.play([*EMULATOR, *strace]).end()
        words = re.findall(r"^(?:\d+ )?(\w+)\((\w*)", file.read_text(), re.M)
        calls = [(re.sub(r".*(select|recv|send|connect).*", r"\1", name), fd) for name, fd in words]
        # A transfer on the enclosure's adapter, one ioctl on a board, is a send and a receive in two
        # pieces on a socket here, the second that was connected.
        adapter = [fd for name, fd in calls if name == "connect"][1]
        transfers = {("send", adapter), ("recv", adapter)}
        made = " ".join(call[0] for call in calls if call not in transfers)
        passes = [calls.strip() for calls in made.split("select")[1:]]
        answers = {made for made in passes if made.startswith("recv") and "send" in made}
        self.assertEqual(answers, {"recv recv send"})

    def test_it_works_in_the_units_sandbox(self):
        # What this kernel forbids is left out.
        filtered, mounts = entered(UNIT, "-"), mounted(TOP / "plain")
        if EMULATOR or run(*ORDINARY, *filtered, "/bin/true").returncode != 0:
            filtered = []
        mounts_work = run(*ORDINARY, *mounts, "/bin/true").returncode == 0
        for status, possible, *words in [
            (-signal.SIGSYS, filtered, *filtered, "/bin/uname"),
            (0, mounts_work, *mounts, "/usr/bin/test", "-w", TOP / "plain/log"),
            (1, mounts_work, *mounts, "/usr/bin/test", "-w", TOP / "plain"),
        ]:
            if possible:
                self.assertEqual(run(*ORDINARY, *words).returncode, status, words)
        calls = TOP / "lab/log/calls"
        listed = [*EMULATOR, "-strace", "-D", calls] if EMULATOR else []
        launcher = [*(mounted(TOP / "lab") if mounts_work else []), *filtered, *listed]
        lab = self.play(launcher, "--trace", before=ORDINARY)
        self.assertIn("Composite Fault LED", (lab.directory / "log/esa_01.log").read_text())
        self.assertGreater((lab.directory / "nv/altevent.log").stat().st_size, 0)
        used = set(re.findall(r"^\d+ (\w+)\(", calls.read_text(), re.M)) if EMULATOR else set()
        self.assertEqual(used - allowed(UNIT), set())
        lab.end()

    def test_its_unit_is_sound_and_safe(self):
        unit = TOP / "sound.service"
        unit.write_text(UNIT.read_text().replace("/usr/sbin/esa", "/bin/true"))
        for words in ["verify", "--man=no"], ["security", "--offline=true", "--threshold=10"]:
            result = run("systemd-analyze", *words, unit)
            self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
            self.assertNotIn(unit.name, result.stderr)


if __name__ == "__main__":
    if sys.argv[1] == "--enter":
        enter(*sys.argv[2:])
    signal.signal(signal.SIGALRM, end_by_the_clock)
    signal.alarm(int(os.environ.get("ESA_TEST_SECONDS", "0")))
    with tempfile.TemporaryDirectory() as top:
        # Copies: whoever the tests run as, an ordinary user can read them.
        TOP, EMULATOR = pathlib.Path(top), sys.argv[6:]
        SCRIPT, UNIT, ENCLAB, DAEMON, ENCDEV, NO_ALLOC = (
            pathlib.Path(shutil.copy(file, top)) for file in [__file__, *sys.argv[1:6]]
        )
        for name in "mmsg", "nv", "log":
            (TOP / "plain" / name).mkdir(parents=True)
        if os.geteuid() != 0 or run(*ORDINARY, "/bin/true").returncode != 0:
            ORDINARY = []
        else:
            run("chown", "-R", "nobody", top)
        unittest.main(argv=sys.argv[:1], verbosity=2)
