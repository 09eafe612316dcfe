"""Verdicts on mutations, the file that keeps them, and what is told of them."""

import threading
from collections import Counter
from dataclasses import dataclass
from enum import Enum
from pathlib import Path

from catalogue import PLUGIN_FOLDERS, Mutation


class Verdict(Enum):
    """What came of a mutation. A value is the word for it in the file of results."""

    KILLED = "killed"  # a test failed, or ran out of its time
    EQUIVALENT = "equivalent"  # all tests passed, and the catalogue says why
    SURVIVED = "survived"  # all tests passed, and nobody knows why
    REFUTED = "refuted"  # the catalogue says why all tests should pass, and one did not
    BROKEN = "broken"  # it does not compile
    UNTRIED = "untried"  # the machine does not offer the instructions that it is about

    @property
    def is_welcome(self) -> bool:
        """Whether a run with this verdict is as it should be."""
        return self in (Verdict.KILLED, Verdict.EQUIVALENT, Verdict.UNTRIED)


@dataclass(frozen=True)
class Result:
    """A verdict with what it rests on."""

    mutation: Mutation
    verdict: Verdict
    detail: str  # which check, and what it said

    def line(self) -> str:
        """The result as it stands in the file and on the terminal."""
        head = f"{self.mutation.number:4} {self.mutation.digest} {self.verdict.value:10}"
        return f"{head} {self.mutation.file}: {self.detail}"


class ResultFile:
    """A file of results, one a line, written as they come in."""

    def __init__(self, path: Path, keep: bool) -> None:
        self._path = path
        self._lock = threading.Lock()
        path.parent.mkdir(parents=True, exist_ok=True)
        if not keep:
            path.write_text("", encoding="utf-8")
        path.touch()

    def known(self, mutations: list[Mutation]) -> list[Result]:
        """The results in the file that are of these very mutations, the last one of each."""
        by_digest = {mutation.digest: mutation for mutation in mutations}
        found: dict[int, Result] = {}
        for line in self._path.read_text(encoding="utf-8").splitlines():
            _, digest, verdict, rest = line.split(maxsplit=3)
            if digest in by_digest:
                mutation = by_digest[digest]
                detail = rest.partition(": ")[2]
                found[mutation.number] = Result(mutation, Verdict(verdict), detail)
        return list(found.values())

    def add(self, result: Result) -> None:
        """Appends one result."""
        with self._lock, self._path.open("a", encoding="utf-8") as file:
            file.write(result.line() + "\n")


def table(results: list[Result]) -> str:
    """How many mutations of each folder had each verdict."""
    verdicts = [verdict for verdict in Verdict
                if any(result.verdict is verdict for result in results)]
    counts = Counter((result.mutation.folder, result.verdict) for result in results)
    rows = [["folder", "mutations", *(verdict.value for verdict in verdicts)]]
    for folder in PLUGIN_FOLDERS:
        own = [counts[folder, verdict] for verdict in verdicts]
        rows.append([folder, str(sum(own)), *map(str, own)])
    totals = [sum(counts[folder, verdict] for folder in PLUGIN_FOLDERS) for verdict in verdicts]
    rows.append(["all", str(sum(totals)), *map(str, totals)])
    return "\n".join(f"{row[0]:10}" + "".join(f"{cell:>12}" for cell in row[1:]) for row in rows)
