#!/usr/bin/env python3
"""What scripts/mutation plants, and how it judges what became of it.

usage: mutation_test.py ROOT
"""
import importlib.machinery
import importlib.util
import pathlib
import sys
import unittest

SOURCE = """
// A comment with i < 5.
int Box::fill(int count) {
    if (count < limit)  // and i < 5
        return true;
    LCMP_ERROR("more than %d", count + 1);
    total = count;
    return RESULT_OK;
}

void Box::empty() { total = 0; }
"""
SURVIVORS = """
# How it is written.
box.cpp fill
- if (count < limit)
+ if (count <= limit)
No box is asked
for so much.
"""


def script(root):
    loader = importlib.machinery.SourceFileLoader("mutation", str(root / "scripts/mutation"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("mutation", loader))
    loader.exec_module(module)
    return module


class Mutation(unittest.TestCase):
    def mutants(self, functions=None):
        return mutation.mutants_of("box.cpp", SOURCE, functions)

    def test_each_kind_of_fault_is_planted_and_comments_are_left_alone(self):
        self.assertEqual(
            [mutant.mutated.strip() for mutant in self.mutants()],
            ["if (count <= limit)", "if (count > limit)", "return false;", ";", ";",
             "return RESULT_GENERAL_ERROR;", "void Box::empty() {  }", "void Box::empty() { total = 1; }"])

    def test_only_the_functions_that_are_meant_are_mutated(self):
        self.assertEqual({mutant.function for mutant in self.mutants("em.*")}, {"empty"})

    def test_shifts_numbers_and_negations_are_spoiled(self):
        self.assertEqual(list(mutation.spoiled("    if (!a && b << 8)")),
                         ["    if (!a || b << 8)", "    if (!a && b >> 8)", "    if (!a && b << 9)",
                          "    if (!a && b << 7)", "    if (a && b << 8)", "    if (!(!a && b << 8))"])

    def test_every_target_of_the_project_has_something_to_mutate(self):
        self.assertEqual({mutant.file for mutant in mutation.all_mutants()},
                         {file for file, _, _ in mutation.TARGETS})

    def verdict(self, *outcomes, explained="", everything=True):
        mutants = self.mutants() * 10
        lines, good = mutation.verdict(list(zip(mutants, outcomes)), mutation.read_survivors(explained),
                                       everything)
        return "\n".join(lines), good

    def test_all_killed_is_good(self):
        printed, good = self.verdict("killed", "killed", "does not compile")
        self.assertTrue(good)
        self.assertRegex(printed, "box.cpp +2 killed +0 survived")
        self.assertRegex(printed, "count: 2 mutants$")

    def test_a_survivor_needs_an_explanation(self):
        killed = ["killed"] * 30
        self.assertFalse(self.verdict("survived", *killed)[1])
        self.assertTrue(self.verdict("survived", *killed, explained=SURVIVORS)[1])
        self.assertFalse(self.verdict("killed", "survived", *killed, explained=SURVIVORS)[1])

    def test_an_explanation_of_nothing_is_found_where_all_were_tried(self):
        self.assertFalse(self.verdict("killed", explained=SURVIVORS)[1])
        self.assertTrue(self.verdict("killed", explained=SURVIVORS, everything=False)[1])

    def test_too_few_killed_is_a_fault_also_with_explanations(self):
        self.assertFalse(self.verdict("survived", "killed", explained=SURVIVORS)[1])
        self.assertFalse(self.verdict("does not compile")[1])


if __name__ == "__main__":
    mutation = script(pathlib.Path(sys.argv[1]))
    unittest.main(argv=sys.argv[:1])
