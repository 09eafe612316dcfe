#!/usr/bin/env python3
"""Tests of what a catalogue of mutations may look like."""

import sys
import tempfile
import unittest
from pathlib import Path

sys.dont_write_bytecode = True

import catalogue  # noqa: E402
from catalogue import CatalogueError, Mutation  # noqa: E402

SOURCE = "int Double(int value) {\n    return value + value;\n}\n"
DOUBLE = "1 kernels/double.h\nA product.\n- value + value\n+ value * value\n"


class CatalogueTest(unittest.TestCase):
    """Reads and verifies catalogues against a tree of one file."""

    def setUp(self) -> None:
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        (self.root / "kernels").mkdir()
        (self.root / "kernels/double.h").write_text(SOURCE, encoding="utf-8")

    def read(self, text: str) -> list[Mutation]:
        """Reads a catalogue of the given text and verifies it."""
        path = self.root / "catalogue.txt"
        path.write_text(text, encoding="utf-8")
        mutations = catalogue.read(path)
        catalogue.verify(mutations, self.root)
        return mutations

    def refuses(self, text: str, complaint: str) -> None:
        """Expects a catalogue to be refused with a certain complaint."""
        with self.assertRaisesRegex(CatalogueError, complaint):
            self.read(text)

    def test_a_mutation_changes_its_text_and_nothing_else(self) -> None:
        mutation, = self.read("# Remarks are left out.\n\n" + DOUBLE)
        self.assertEqual(mutation.apply(SOURCE), SOURCE.replace("value + value", "value * value"))
        self.assertEqual((mutation.number, mutation.folder, mutation.equivalence),
                         (1, "kernels", ""))

    def test_lines_without_new_ones_are_left_out(self) -> None:
        mutation, = self.read("1 kernels/double.h\nNothing.\n-     return value + value;\n- }\n")
        self.assertEqual(mutation.apply(SOURCE), "int Double(int value) {\n\n")

    def test_a_reason_may_have_several_lines(self) -> None:
        mutation, = self.read(DOUBLE + "= It is\n= so.\n")
        self.assertEqual(mutation.equivalence, "It is so.")

    def test_the_number_has_no_part_in_the_digest(self) -> None:
        other = "2 kernels/double.h\nA name.\n- Double\n+ Twice\n"
        first, second = self.read(DOUBLE + "\n" + other)
        self.assertNotEqual(first.digest, second.digest)
        self.assertEqual(first.digest, Mutation(7, first.file, "", first.old, first.new, "").digest)

    def test_text_that_is_not_there_is_refused(self) -> None:
        self.refuses(DOUBLE.replace("value + value", "value - value"), "occurs 0 times")

    def test_text_that_is_there_twice_is_refused(self) -> None:
        self.refuses(DOUBLE.replace("- value + value", "- value"), "occurs 3 times")

    def test_a_change_that_changes_nothing_is_refused(self) -> None:
        self.refuses(DOUBLE.replace("value * value", "value + value"), "are the same")

    def test_a_wrong_number_is_refused(self) -> None:
        self.refuses("2" + DOUBLE[1:], "mutation 2 should have number 1")

    def test_a_change_made_twice_is_refused(self) -> None:
        self.refuses(DOUBLE + "\n2" + DOUBLE[1:], "mutation 2 repeats mutation 1")

    def test_files_that_are_not_the_plugin_s_are_refused(self) -> None:
        self.refuses(DOUBLE.replace("kernels/", "tests/"), "no source of the plugin")
        self.refuses(DOUBLE.replace("double.h", "triple.h"), "there is no file kernels/triple.h")

    def test_blocks_of_another_form_are_refused(self) -> None:
        self.refuses("kernels/double.h\nA product.\n- value\n", "a number and a file")
        self.refuses("1 kernels/double.h\n- value + value\n+ 0\n", "one sentence")
        self.refuses("1 kernels/double.h\nA product.\n+ 0\n- value + value\n", "one sentence")
        self.refuses("", "empty")


if __name__ == "__main__":
    unittest.main()
