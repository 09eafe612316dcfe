"""A place of its own for a worker: a copy of the sources, a build of them, and the checks.

After each mutation the source and whatever the build made of it are put back as they were, with
their old times, so that nothing is compiled a second time for it.
"""

import filecmp
import hashlib
import os
import re
import shutil
import signal
import subprocess
import threading
from dataclasses import dataclass
from pathlib import Path

from catalogue import Mutation
from results import Result, Verdict

# The build that is made and checked.
PRESET = "release"

LEVELS = ("baseline", "sse41", "avx2", "avx512")

# Files that only one level of instruction sets is compiled from, or those above it.
LEVEL_FILES = {
    "kernels/four_doubles_avx2.h": "avx2",
    "kernels/level_avx2.cpp": "avx2",
    "kernels/level_avx512.cpp": "avx512",
    "kernels/row_lanes_avx2.h": "avx2",
    "kernels/simd_avx2.h": "avx2",
    "kernels/simd_avx512.h": "avx512",
    "kernels/wide_boxes_avx2.h": "avx2",
    "kernels/wide_boxes_avx512.h": "avx512",
    "kernels/wide_level.h": "avx2",
    "kernels/words_avx2.h": "avx2",
}

# Folders whose code does the same whatever the level is.
FOLDERS_WITHOUT_LEVELS = ("bridge", "pixels")

# How tests say that the machine does not offer their level.
SKIPPED = 77

# What is neither built nor checked, and so is not copied.
LEFT_OUT = ("build", ".git", "docs", "mutation")

# The build system's own records. They grow, and remember what was built in between.
RECORDS = (".ninja_log", ".ninja_deps", "Testing")


class WorkshopError(Exception):
    """Something other than a mutation is wrong: the unchanged sources fail."""


class Interrupted(Exception):
    """The user has had enough."""


@dataclass(frozen=True)
class Check:
    """A command that is to succeed, run in the folder of the build."""

    name: str
    command: tuple[str, ...]
    limit: int  # seconds
    level: str = ""  # which build is checked, if not the one that is shipped


@dataclass(frozen=True)
class Stage:
    """What has to be built for some checks, and the checks."""

    targets: tuple[str, ...]
    checks: tuple[Check, ...]


def stages(source: Path) -> tuple[Stage, ...]:
    """All checks, those first that are quick and find most."""
    listed = ("tests/golden/zvk_golden", "--check", str(source / "tests/golden/golden.txt"))
    golden = [Check("golden results", listed, 60)]
    contract = ("tests/test_contract", "--gtest_brief=1", "--gtest_fail_fast")
    contracts = []
    for level in LEVELS:
        plugin = ("--plugin", f"vandrel_picture_{level}.so", "--level", level)
        golden.append(Check(f"golden results, {level}", listed + plugin, 60, level))
        contracts.append(Check(f"test_contract, {level}", contract, 120, level))
    plugins = ("vandrel_picture", *(f"vandrel_picture_{level}" for level in LEVELS))
    return (
        Stage(plugins, (*golden, Check("test_contract", contract, 120), _program("test_faults"))),
        Stage(("test_units", "test_kernels"), (_program("test_units"), _program("test_kernels"))),
        Stage(("all",), (
            *contracts,
            _program("test_platform_absent"),
            Check("test_golden", ("tests/golden/test_golden", "--gtest_brief=1"), 300),
            _program("test_workbench"),
            Check("fuzz corpus and shared code",
                  ("ctest", "--output-on-failure", "--no-tests=error", "-R",
                   "^fuzz/|^style/levels"), 600))),
    )


def _program(name: str) -> Check:
    """One of the programs of tests, ended at its first failure."""
    return Check(name, (f"tests/{name}", "--gtest_brief=1", "--gtest_fail_fast"), 120)


def _concerned(checks: tuple[Check, ...], mutation: Mutation) -> list[Check]:
    """The checks that a mutation concerns: some folders are the same at every level."""
    return [check for check in checks
            if not check.level or mutation.folder not in FOLDERS_WITHOUT_LEVELS]


class Workshop:
    """Makes mutations in a copy of the tree and finds out which checks notice."""

    def __init__(self, tree: Path, place: Path, threads: int) -> None:
        self._tree = tree
        self._source = place / "source"
        self._build = self._source / "build" / PRESET
        self._pristine = place / "pristine"
        self._passed = place / "passed.txt"
        self._output = place / "output.txt"
        self._threads = threads
        self._stages = stages(self._source)
        self._process: subprocess.Popen[bytes] | None = None
        self._lock = threading.Lock()
        self._stopped = False

    def stop(self) -> None:
        """Ends what runs, from another thread; what would run next does not begin."""
        with self._lock:
            self._stopped = True
            if self._process is not None:
                _kill(self._process)

    def prepare(self) -> None:
        """Copies the sources, builds all of them, and makes sure that every check passes."""
        self._restore()
        _synchronise(self._tree, self._source)
        if self._run(("cmake", "--preset", PRESET), 600, self._source) != 0:
            raise WorkshopError(f"the build cannot be configured: see {self._output}")
        if not self._builds(("all",)):
            raise WorkshopError(f"the unchanged sources cannot be built: see {self._output}")
        self._pass_unchanged()
        _mirror(self._build, self._pristine)

    def judge(self, mutation: Mutation) -> Result:
        """Makes the mutation, runs the checks until one fails, and puts everything back."""
        path = self._source / mutation.file
        times = path.stat()
        text = path.read_text(encoding="utf-8")
        try:
            path.write_text(mutation.apply(text), encoding="utf-8")
            return self._verdict(mutation)
        finally:
            path.write_text(text, encoding="utf-8")
            os.utime(path, ns=(times.st_atime_ns, times.st_mtime_ns))
            self._restore()

    def _restore(self) -> None:
        """Puts the build back as it was when it was copied, if it ever was."""
        if self._pristine.is_dir():
            _mirror(self._pristine, self._build)

    def _pass_unchanged(self) -> None:
        """Makes sure that the sources as they are pass, unless they are known to."""
        digest = _digest_of(self._source)
        if self._passed.is_file() and self._passed.read_text(encoding="utf-8") == digest:
            return
        for check in (check for stage in self._stages for check in stage.checks):
            if complaint := self._complaint(check):
                raise WorkshopError(f"the unchanged sources fail: {complaint}")
        self._passed.write_text(digest, encoding="utf-8")

    def _verdict(self, mutation: Mutation) -> Result:
        for stage in self._stages:
            if not self._builds(stage.targets):
                return Result(mutation, Verdict.BROKEN, self._first_error())
            for check in _concerned(stage.checks, mutation):
                if complaint := self._complaint(check):
                    verdict = Verdict.REFUTED if mutation.equivalence else Verdict.KILLED
                    return Result(mutation, verdict, complaint)
        if mutation.equivalence:
            return Result(mutation, Verdict.EQUIVALENT, mutation.equivalence)
        level = LEVEL_FILES.get(mutation.file, "")
        if level and not self._offers(level):
            return Result(mutation, Verdict.UNTRIED, f"the machine does not offer {level}")
        return Result(mutation, Verdict.SURVIVED, mutation.sentence)

    def _builds(self, targets: tuple[str, ...]) -> bool:
        command = ("cmake", "--build", str(self._build), "--parallel", str(self._threads),
                   "--target", *targets)
        return self._run(command, 3600, self._source) == 0

    def _complaint(self, check: Check) -> str:
        """What a check has to say against the build; nothing if it passes or is skipped."""
        status = self._run(check.command, check.limit, self._build,
                           {"ZVK_TEST_LEVEL": check.level})
        if status in (0, SKIPPED):
            return ""
        if status is None:
            return f"{check.name}: not done after {check.limit} s"
        return f"{check.name}: {self._finding(status)}"

    def _offers(self, level: str) -> bool:
        check = next(check for check in self._stages[0].checks if check.name.endswith(level))
        return self._run(check.command, check.limit, self._build) != SKIPPED

    def _run(self, command: tuple[str, ...], limit: int, folder: Path,
             variables: dict[str, str] | None = None) -> int | None:
        """Runs a command with its output in a file; nothing if it is not done in time."""
        given = {name: value for name, value in (variables or {}).items() if value}
        program = folder / command[0]
        command = (str(program) if program.is_file() else command[0], *command[1:])
        with self._output.open("wb") as output:
            with self._lock:
                if self._stopped:
                    raise Interrupted
                process = subprocess.Popen(command, cwd=folder, env={**os.environ, **given},
                                           stdin=subprocess.DEVNULL, stdout=output,
                                           stderr=subprocess.STDOUT, start_new_session=True)
                self._process = process
            try:
                status: int | None = process.wait(timeout=limit)
            except subprocess.TimeoutExpired:
                status = None
            with self._lock:
                _kill(process)
                self._process = None
                if self._stopped:
                    raise Interrupted
        return status

    def _text(self) -> str:
        return self._output.read_text(encoding="utf-8", errors="replace")

    def _first_error(self) -> str:
        """The first error of a build that failed."""
        found = re.search(r"error: .*", self._text())
        return found.group() if found else "the build fails without an error"

    def _finding(self, status: int) -> str:
        """The most telling words of a check that failed."""
        text = self._text()
        for pattern in (r"\[  FAILED  \] ([\w./]+)", r"(\d+ differences?)",
                        r"\d+ - (\S+) \((?:Failed|SEGFAULT|Timeout)\)"):
            if found := re.search(pattern, text):
                return found.group(1)
        return signal.Signals(-status).name if status < 0 else f"status {status}"


def _kill(process: subprocess.Popen[bytes]) -> None:
    """Ends a process and all that it started."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def _files(root: Path, left_out: tuple[str, ...]) -> set[Path]:
    """The files below a folder, as paths from there on."""
    found: set[Path] = set()
    for folder, folders, names in os.walk(root):
        folders[:] = [name for name in folders if name not in left_out]
        found.update(Path(folder, name).relative_to(root) for name in names
                     if name not in left_out)
    return found


def _copy(source: Path, target: Path) -> None:
    """Copies a file with its times, and makes the folder for it."""
    target.parent.mkdir(parents=True, exist_ok=True)
    shutil.copy2(source, target)


def _synchronise(tree: Path, copy: Path) -> None:
    """Makes `copy` the same as the tree. Files that differed get a new time, so that they build."""
    wanted = _files(tree, LEFT_OUT)
    for file in wanted:
        if not (copy / file).is_file() or not filecmp.cmp(tree / file, copy / file, shallow=False):
            _copy(tree / file, copy / file)
            os.utime(copy / file)
    if copy.is_dir():
        for file in _files(copy, LEFT_OUT) - wanted:
            (copy / file).unlink()


def _digest_of(folder: Path) -> str:
    """A digest of all sources in a folder."""
    digest = hashlib.sha256()
    for file in sorted(_files(folder, LEFT_OUT)):
        digest.update(str(file).encode() + b"\0" + (folder / file).read_bytes() + b"\0")
    return digest.hexdigest()


def _is_as(file: Path, original: Path) -> bool:
    """Whether a file is the one that was copied, by its time and size."""
    if not file.is_file():
        return False
    own, other = file.stat(), original.stat()
    return own.st_mtime_ns == other.st_mtime_ns and own.st_size == other.st_size


def _mirror(original: Path, copy: Path) -> None:
    """Makes one build's files the same as another's."""
    wanted = _files(original, RECORDS)
    for file in wanted:
        if not _is_as(copy / file, original / file):
            _copy(original / file, copy / file)
    for file in _files(copy, RECORDS) - wanted:
        (copy / file).unlink()
