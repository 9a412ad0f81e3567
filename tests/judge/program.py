"""Runs the judged program in a folder of its own, under limits, and tells what it did and what it left behind."""
import contextlib
import ctypes
import os
import re
import resource
import shutil
import signal
import subprocess
import tempfile
import time
from dataclasses import dataclass, field
from pathlib import Path

SUBREAPER = 36  # prctl: orphans of the program become our children, and are found


@dataclass
class Outcome:
    status: int  # negative: ended by this signal
    out: str
    err: str
    files: dict = field(default_factory=dict)  # what is in the folder: name to path
    cpu: float = 0  # seconds of the program and its children
    rss: int = 0  # bytes, of the largest of them
    hung: bool = False
    orphans: list = field(default_factory=list)  # processes that outlived it


@dataclass
class Program:
    path: str
    seconds: float = 20  # wall clock
    memory: int = 4 << 30  # address space of each process
    sanitized: bool = False

    def __post_init__(self):
        self.path = str(Path(self.path).resolve())
        self.sanitized = b"__asan_init" in Path(self.path).read_bytes()
        if self.sanitized:
            self.seconds *= 3

    @contextlib.contextmanager
    def run(self, *arguments):
        """Runs in a fresh folder, which is gone when the outcome was looked at."""
        folder = tempfile.mkdtemp(prefix="judge-")
        try:
            yield self._run(folder, [self.path, *map(str, arguments)])
        finally:
            shutil.rmtree(folder, ignore_errors=True)

    def _run(self, folder, command):
        ctypes.CDLL(None).prctl(SUBREAPER, 1)
        out, err = (tempfile.TemporaryFile() for _ in range(2))
        environment = {**os.environ, "ASAN_OPTIONS": "allocator_may_return_null=1:detect_leaks=0"}
        process = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=out, stderr=err,
                                   start_new_session=True, preexec_fn=self._limit, env=environment)
        outcome = Outcome(0, "", "")

        def expire(*_):
            outcome.hung = True
            os.killpg(process.pid, signal.SIGKILL)

        signal.signal(signal.SIGALRM, expire)
        signal.setitimer(signal.ITIMER_REAL, self.seconds)
        _, status, usage = os.wait4(process.pid, 0)
        signal.setitimer(signal.ITIMER_REAL, 0)
        process.returncode = outcome.status = os.waitstatus_to_exitcode(status)
        outcome.orphans = _orphans()
        for file, name in ((out, "out"), (err, "err")):
            file.seek(0)
            setattr(outcome, name, file.read().decode(errors="replace"))
        outcome.err = re.sub(r"==\d+==WARNING: AddressSanitizer failed to allocate.*\n", "", outcome.err)
        outcome.cpu, outcome.rss = usage.ru_utime + usage.ru_stime, usage.ru_maxrss * 1024
        outcome.files = {p.name: p for p in Path(folder).rglob("*") if not p.is_dir()}
        return outcome

    def _limit(self):
        if not self.sanitized:  # a sanitizer reserves more than any limit
            resource.setrlimit(resource.RLIMIT_AS, (self.memory, self.memory))
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def _orphans():
    """Processes that the program left running. A child that dies with it has half a second to do so."""
    patience = time.monotonic() + 0.5
    while True:
        try:
            if os.waitpid(-1, os.WNOHANG)[0]:
                continue
        except ChildProcessError:
            return []
        if time.monotonic() > patience:
            left = [int(p) for p in Path(f"/proc/self/task/{os.getpid()}/children").read_text().split()]
            names = [Path(f"/proc/{p}/comm").read_text().strip() for p in left]
            for pid in left:
                os.kill(pid, signal.SIGKILL)
            return names
        time.sleep(0.005)


def info(text):
    """The report of --info: its lines by name, of repeated ones a list."""
    lines = {}
    for line in text.splitlines():
        name, _, value = line.partition(":")
        lines.setdefault(name.strip(), []).append(value.strip())
    return lines
