#!/usr/bin/env python3
"""Reads from a built library for macOS what it is, what it exports and imports and what it needs,
and compares that with what may be shipped."""

from __future__ import annotations

import re
import subprocess
import sys
from pathlib import Path

STUBS = Path("cmake/macos")
EXPORTS = {"_REALPluginMain"}
MINIMUM_SYSTEM = "10.13"
SMALLEST, LARGEST = 50_000, 900_000  # bytes


def output_of(*command: str) -> str:
    """What a command prints."""
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def allowed_imports() -> dict[str, set[str]]:
    """The symbols of each stub, by the install name of its library."""
    libraries = {}
    for stub in STUBS.glob("*.tbd"):
        text = stub.read_text(encoding="utf-8")
        name = re.search(r"install-name: +'(.+)'", text)
        libraries[name.group(1)] = set(re.findall(r"^ +- (\w+)$", text, re.MULTILINE))
    return libraries


def imports_of(library: str, names: list[str]) -> dict[str, set[str]]:
    """The undefined symbols, by the install name of the library they are looked for in. The tool
    shortens that to the file's name without its ending."""
    short_names = {Path(name).name.split(".")[0]: name for name in names}
    imports: dict[str, set[str]] = {name: set() for name in names}
    for line in output_of("llvm-nm-16", "-m", "-u", library).splitlines():
        found = re.fullmatch(r" *\(undefined\) (?:weak )?external (\w+) \(from (\S+)\)", line)
        if found is None:
            sys.exit(f"cannot tell what is imported: {line}")
        imports[short_names[found.group(2)]].add(found.group(1))
    return imports


def main() -> int:
    library = sys.argv[1]
    complaints = []

    def expect(what: str, expected: object, found: object) -> None:
        if expected != found:
            complaints.append(f"{what}: expected {expected}, found {found}")

    headers = output_of("llvm-otool-16", "-h", "-l", library)
    expect("a 64-bit library for x86-64", True,
           re.search(r"(MH_MAGIC_64|0xfeedfacf) +\S+ +\S+ +\S+ +(DYLIB|6) ", headers) is not None)
    version = re.search(r"LC_VERSION_MIN_MACOSX\s+cmdsize \d+\s+version (\S+)", headers)
    expect("the oldest system served", MINIMUM_SYSTEM, version and version.group(1))
    expect("a signature", True, "LC_CODE_SIGNATURE" in headers)
    expect("pointers fixed by opcodes", True, "LC_DYLD_INFO_ONLY" in headers)
    expect("thread-local variables", False, "__thread" in headers)

    exported = output_of("llvm-nm-16", "--defined-only", "--extern-only", "--format=just-symbols", library)
    expect("exports", EXPORTS, set(exported.split()))

    allowed = allowed_imports()
    needed = [line.split(" (")[0].strip()
              for line in output_of("llvm-otool-16", "-L", library).splitlines()[2:]]
    expect("libraries", sorted(allowed), sorted(needed))
    if not complaints:
        expect("imports", allowed, imports_of(library, needed))

    size = Path(library).stat().st_size
    expect(f"between {SMALLEST} and {LARGEST} bytes", True, SMALLEST <= size <= LARGEST)

    print("\n".join(complaints))
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
