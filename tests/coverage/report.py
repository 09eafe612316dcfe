#!/usr/bin/env python3
"""Prints which lines and branches of the plugin were reached, file by file, and compares what was
not with the list of what cannot be reached."""

from __future__ import annotations

import argparse
import json
import subprocess
import sys
from collections import Counter, defaultdict
from dataclasses import dataclass, field
from pathlib import Path

FOLDERS = ("bridge", "pixels", "kernels", "scaling", "filters")
LLVM_COV = "llvm-cov-14"


@dataclass(frozen=True)
class Gap:
    """A line that never ran, or a condition that was never true or never false."""

    file: str
    kind: str  # "never run", "never true" or "never false"
    text: str  # of the line or of the condition, without the space around it

    def __str__(self) -> str:
        return f"{self.file}: {self.kind}: {self.text}"


@dataclass
class FileCoverage:
    """Counts of one file; a condition has two branches."""

    lines: int = 0
    lines_reached: int = 0
    branches: int = 0
    branches_reached: int = 0
    gaps: list[Gap] = field(default_factory=list)


def export(modules: list[str], form: str, profile: str) -> str:
    """What llvm-cov says of the modules, in one of its formats."""
    first, *others = modules
    command = [LLVM_COV, "export", f"-format={form}", f"-instr-profile={profile}", first]
    for module in others:
        command += ["-object", module]
    command += FOLDERS
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def count_lines(lcov: str, root: Path, files: dict[str, FileCoverage]) -> None:
    """Adds the lines of a report in lcov's format."""
    name, source = "", []
    for record in lcov.splitlines():
        key, _, value = record.partition(":")
        if key == "SF":
            name = str(Path(value).relative_to(root))
            source = Path(value).read_text(encoding="utf-8").splitlines()
        elif key == "DA":
            number, count = (int(part) for part in value.split(",")[:2])
            coverage = files[name]
            coverage.lines += 1
            if count > 0:
                coverage.lines_reached += 1
            else:
                coverage.gaps.append(Gap(name, "never run", source[number - 1].strip()))


def text_between(source: list[str], place: tuple[int, int, int, int]) -> str:
    """The text of a condition, on one line."""
    first, start, last, end = place
    if first == last:
        return source[first - 1][start - 1 : end - 1]
    parts = [source[first - 1][start - 1 :], *source[first : last - 1], source[last - 1][: end - 1]]
    return " ".join(part.strip() for part in parts)


def count_branches(report: str, root: Path, files: dict[str, FileCoverage]) -> None:
    """Adds the branches of a report in JSON. What several instantiations of a template or several
    modules count is summed up. A condition that neither was true nor false never ran, which its
    line tells, or was decided by the compiler."""
    for entry in json.loads(report)["data"][0]["files"]:
        path = Path(entry["filename"])
        name = str(path.relative_to(root))
        source = path.read_text(encoding="utf-8").splitlines()
        counts: dict[tuple[int, int, int, int], list[int]] = defaultdict(lambda: [0, 0])
        for branch in entry.get("branches", []):
            first, start, last, end, if_true, if_false = branch[:6]
            counts[first, start, last, end][0] += if_true
            counts[first, start, last, end][1] += if_false
        coverage = files[name]
        for place, (if_true, if_false) in sorted(counts.items()):
            if if_true == if_false == 0:
                continue
            coverage.branches += 2
            coverage.branches_reached += (if_true > 0) + (if_false > 0)
            if if_true == 0 or if_false == 0:
                kind = "never true" if if_true == 0 else "never false"
                coverage.gaps.append(Gap(name, kind, text_between(source, place)))


def read_explained(path: Path) -> Counter[Gap]:
    """The list of what cannot be reached: a file's name at the margin, under it gaps, each with its
    reason further in. A gap without a reason is an error."""
    gaps: Counter[Gap] = Counter()
    name, pending = "", None
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        text = line.strip()
        if not text or line.startswith("#"):
            continue
        indent = len(line) - len(line.lstrip())
        if indent < 8 and pending:
            sys.exit(f"{path}:{number - 1}: {pending} has no reason")
        if indent == 0:
            name = text
        elif indent == 4:
            kind, _, condition = text.partition(": ")
            pending = Gap(name, kind, condition)
            gaps[pending] += 1
        else:
            pending = None
    if pending:
        sys.exit(f"{path}: {pending} has no reason")
    return gaps


def share(reached: int, total: int) -> str:
    """How much was reached, rounded down, so that only all of it is 100 %."""
    return "-" if total == 0 else f"{reached * 1000 // total / 10:.1f} %"


def print_table(files: dict[str, FileCoverage], explained: Counter[Gap]) -> None:
    """One row a file, one a folder, and the total."""
    row = "{:<36} {:>6} {:>9} {:>9} {:>9} {:>10}"
    print(row.format("file", "lines", "reached", "branches", "reached", "explained"))

    def show(name: str, members: list[FileCoverage], count: int) -> None:
        lines, branches = sum(m.lines for m in members), sum(m.branches for m in members)
        print(row.format(name, lines, share(sum(m.lines_reached for m in members), lines), branches,
                         share(sum(m.branches_reached for m in members), branches), count or ""))

    for folder in FOLDERS:
        names = sorted(name for name in files if name.startswith(folder + "/"))
        for name in names:
            show(name, [files[name]], sum(n for gap, n in explained.items() if gap.file == name))
        show(folder, [files[name] for name in names],
             sum(n for gap, n in explained.items() if gap.file in names))
    show("all", list(files.values()), sum(explained.values()))


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--profile", required=True, help="merged counts")
    parser.add_argument("--explained", required=True, type=Path, help="list of what cannot be reached")
    parser.add_argument("modules", nargs="+", help="libraries and programs that counted")
    arguments = parser.parse_args()

    root = Path.cwd().resolve()
    files: dict[str, FileCoverage] = defaultdict(FileCoverage)
    count_lines(export(arguments.modules, "lcov", arguments.profile), root, files)
    count_branches(export(arguments.modules, "text", arguments.profile), root, files)
    explained = read_explained(arguments.explained)
    print_table(files, explained)

    found = Counter(gap for coverage in files.values() for gap in coverage.gaps)
    for gap in (found - explained).elements():
        print(f"NOT REACHED  {gap}")
    for gap in (explained - found).elements():
        print(f"NO LONGER SO {gap}")
    return 0 if found == explained else 1


if __name__ == "__main__":
    sys.exit(main())
