"""The catalogue of mutations: how it is read, and what makes it valid.

A catalogue is plain text. Blocks are separated by blank lines, and lines that begin with "#" belong
to none. A block looks like this:

    12 pixels/pixel_layout.h
    The alpha of a pixel whose colour comes last lies in front of it.
    - .alpha = 0, .opaque = 255};
    + .alpha = 3, .opaque = 255};

The first line has the number and the file, the second says in a sentence what becomes wrong. Lines
that begin with "- " are the old text, those that begin with "+ " the new one; the old text occurs
exactly once in the file, and several lines of it stand there one behind the other. Last lines that
begin with "= " say why the mutation changes nothing that anybody could observe.
"""

import hashlib
import re
from dataclasses import dataclass
from pathlib import Path

# The folders whose sources are the plugin's own.
PLUGIN_FOLDERS = ("bridge", "filters", "kernels", "pixels", "scaling")


class CatalogueError(Exception):
    """Says what is wrong with a catalogue, one problem a line."""


@dataclass(frozen=True)
class Mutation:
    """One small change of one file."""

    number: int
    file: str
    sentence: str
    old: str
    new: str
    equivalence: str  # why it changes nothing, or nothing

    @property
    def folder(self) -> str:
        """The folder of the file."""
        return self.file.split("/")[0]

    @property
    def digest(self) -> str:
        """What the change is known by in a list of results, whatever its number."""
        change = "\0".join((self.file, self.old, self.new))
        return hashlib.sha256(change.encode()).hexdigest()[:12]

    def apply(self, text: str) -> str:
        """The file's text with the change made."""
        return text.replace(self.old, self.new, 1)


def read(path: Path) -> list[Mutation]:
    """Reads a catalogue; raises CatalogueError where a block is not as it should be."""
    mutations, problems = [], []
    for line_number, block in _blocks(path.read_text(encoding="utf-8")):
        try:
            mutations.append(_parse(block))
        except ValueError as error:
            problems.append(f"{path.name}:{line_number}: {error}")
    if problems:
        raise CatalogueError("\n".join(problems))
    return mutations


def verify(mutations: list[Mutation], root: Path) -> None:
    """Raises CatalogueError unless every mutation applies to the sources under `root`."""
    problems = _numbering_problems(mutations) + _repetition_problems(mutations)
    for mutation in mutations:
        problems += [f"mutation {mutation.number}: {problem}"
                     for problem in _application_problems(mutation, root)]
    if not mutations:
        problems.append("the catalogue is empty")
    if problems:
        raise CatalogueError("\n".join(problems))


def _blocks(text: str) -> list[tuple[int, list[str]]]:
    """The blocks of a catalogue, each with the number of its first line."""
    blocks: list[tuple[int, list[str]]] = []
    inside = False
    for line_number, line in enumerate(text.split("\n"), start=1):
        if line.startswith("#"):
            continue
        if line.strip() and not inside:
            blocks.append((line_number, []))
        inside = bool(line.strip())
        if inside:
            blocks[-1][1].append(line)
    return blocks


def _parse(block: list[str]) -> Mutation:
    """Makes a mutation of a block's lines; raises ValueError where they are out of order."""
    number, _, file = block[0].partition(" ")
    if not number.isdecimal() or not file:
        raise ValueError("a block begins with a number and a file")
    marks = "".join(line[0] if line[:2] in ("- ", "+ ", "= ", "-", "+") else "s"
                    for line in block[1:])
    if not re.fullmatch(r"s-+\+*=*", marks):
        raise ValueError("a number is followed by one sentence, the old lines, the new lines and "
                         "perhaps a reason")

    def marked(mark: str) -> list[str]:
        return [line[2:] for line, own in zip(block[1:], marks) if own == mark]

    return Mutation(int(number), file, block[1], "\n".join(marked("-")), "\n".join(marked("+")),
                    " ".join(marked("=")))


def _numbering_problems(mutations: list[Mutation]) -> list[str]:
    """Mutations are numbered from 1 on, in the order in which they stand."""
    return [f"mutation {mutation.number} should have number {expected}"
            for expected, mutation in enumerate(mutations, start=1) if mutation.number != expected]


def _repetition_problems(mutations: list[Mutation]) -> list[str]:
    """No two mutations make the same change."""
    first_with: dict[str, int] = {}
    problems = []
    for mutation in mutations:
        first = first_with.setdefault(mutation.digest, mutation.number)
        if first != mutation.number:
            problems.append(f"mutation {mutation.number} repeats mutation {first}")
    return problems


def _application_problems(mutation: Mutation, root: Path) -> list[str]:
    """Why a mutation cannot be made, if it cannot."""
    if mutation.folder not in PLUGIN_FOLDERS:
        return [f"{mutation.file} is no source of the plugin"]
    path = root / mutation.file
    if not path.is_file():
        return [f"there is no file {mutation.file}"]
    if mutation.old == mutation.new:
        return ["the old text and the new are the same"]
    count = path.read_text(encoding="utf-8").count(mutation.old)
    if count != 1:
        return [f"the old text occurs {count} times in {mutation.file}, not once"]
    return []
