#!/usr/bin/env python3
"""What is planted as a bug, and what the lists of bugs are held to: test_planted_bugs.py"""

import itertools
import pathlib
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

PROJECT = pathlib.Path(__file__).resolve().parents[2]
PLANT = PROJECT / "Tests" / "PlantedBugs" / "plant.py"
sys.path.insert(0, str(PLANT.parent))

import builds  # noqa: E402
import mutations  # noqa: E402
import plant  # noqa: E402
import reach  # noqa: E402
import runs  # noqa: E402
import trials  # noqa: E402


def changes(text):
    return {(mutant.kind, mutant.changed_lines(text)[1]) for mutant in mutations.mutants_of("a.cpp", text)}


def in_function(statements, head="void f(int a, int b)"):
    return changes(f"{head} {{\n{statements}\n}}\n")


class WhatIsPlanted(unittest.TestCase):
    def test_a_condition_is_turned_in_every_way(self):
        self.assertEqual(in_function("if (a == b) {\n}"),
                         {("condition-false", "if (false) {"), ("condition-true", "if (true) {"),
                          ("comparison-turned", "if (a != b) {")})

    def test_a_declaration_in_a_condition_stays(self):
        self.assertIn(("condition-false", "if (auto x = g(); false) {"), in_function("if (auto x = g()) {\n}"))

    def test_calls_are_dropped_and_exchanged_with_their_neighbours(self):
        found = in_function("g();\n[h run];\nint x = k();")
        self.assertIn(("call-dropped", ";"), found)
        self.assertIn(("calls-swapped", "[h run]; g();"), found)
        self.assertNotIn(("call-dropped", "int x = ;"), found)
        self.assertEqual({kind for kind, _ in found}, {"call-dropped", "calls-swapped"})

    def test_arguments_are_exchanged_also_those_of_a_message(self):
        self.assertIn(("arguments-exchanged", "g(b, a);"), in_function("g(a, b);"))
        self.assertIn(("arguments-exchanged", "[x put:b at:a];"), in_function("[x put:a at:b];"))

    def test_results_are_turned_or_emptied(self):
        self.assertIn(("result-turned", "return !(a == b);"),
                      in_function("return a == b;", "bool f(int a, int b)"))
        self.assertIn(("result-emptied", "return {};"), in_function("return g();", "Thing f()"))

    def test_constants_and_texts_move(self):
        self.assertEqual(changes('constexpr int a = 0x6E;\nconst char* const t = "on";\n'),
                         {("constant-moved", "constexpr int a = 0x6F;"),
                          ("text-changed", 'const char* const t = "onx";')})

    def test_comments_includes_and_declarations_are_left_alone(self):
        self.assertEqual(changes('#include "a.h"\n// if (a == 1)\nvoid f(int a, int b);\n'
                                 'template <class T> using U = V<T>;\n[[nodiscard]] int g();\n'), set())

    def test_names_tell_file_line_column_and_kind(self):
        mutants = mutations.mutants_of("a.cpp", "void f() {\n    g(true);\n}\n")
        self.assertEqual([mutant.name for mutant in mutants],
                         ["a.cpp:2:5 call-dropped", "a.cpp:2:7 truth-turned"])


class Lists(unittest.TestCase):
    def test_every_file_with_code_in_it_gives_wrong_programs(self):
        planted = {mutant.file for mutant in plant.all_mutants()}
        sources = {file for file in plant.source_files() if not file.endswith(".h")}
        self.assertEqual(sources - planted, {"Veilpane/AppMain.mm"})

    def test_every_entry_of_the_equal_ones_fits_a_change(self):
        plant.equal_entries(plant.all_mutants())

    def test_an_entry_that_fits_no_change_any_more_is_an_error(self):
        self.assert_rejected("a.cpp call-dropped\n- g();\n+ ;\nNobody asks.\n", "fits no wrong program")

    def test_what_is_no_entry_is_an_error(self):
        self.assert_rejected("a.cpp call-dropped\n- g();\n", "no entry")

    def test_every_bug_of_the_lists_can_be_planted(self):
        for name, least in (("by-hand.txt", 12), ("once-unnoticed.txt", 38)):
            bugs = list(plant.read_bugs(PLANT.parent / name))
            self.assertGreaterEqual(len(bugs), least)
            for title, file, text in bugs:
                self.assertNotEqual(text, plant.text_of(file), title)

    def test_a_bug_that_does_not_fit_its_file_is_an_error(self):
        with self.assertRaisesRegex(builds.Failure, "'lost': what it replaces"):
            plant.text_with("a;\n--- becomes\nb;", "a; a;", "lost")

    def assert_rejected(self, text, problem):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "equal.txt"
            path.write_text(text, encoding="utf-8")
            with self.assertRaisesRegex(builds.Failure, problem):
                plant.equal_entries([], path)


class WhoIsAsked(unittest.TestCase):
    def test_lines_are_changed_from_the_first_that_differs_to_the_last(self):
        before = "a\nb\nc\nd\n"
        for after, lines in (("a\nx\nc\nd\n", [2]), ("a\nx\nc\ny\n", [2, 3, 4]), ("a\nd\n", [2, 3]),
                             ("a\nb\nx\nc\nd\n", [3])):
            self.assertEqual(list(plant.changed_lines(before, after)), lines)

    def test_those_that_run_one_of_the_lines(self):
        known = reach.Reach({"A": {"a.cpp": [1, 2], "b.cpp": [7]}, "B": {"a.cpp": [2, 3]}})
        self.assertEqual(known.names_for("a.cpp", [1]), {"A"})
        self.assertEqual(known.names_for("a.cpp", [1, 3]), {"A", "B"})
        self.assertEqual(known.names_for("b.cpp", [8]), set())

    def test_suites_of_one_program_are_run_as_one_and_safety_runs_each(self):
        suites = [trials.Trial("Unit", (f"--gtest_filter={name}.*",)) for name in ("A", "B")]
        together = list(trials.joined([suites[0], *trials.SAFETY, suites[1]]))
        self.assertEqual([trial.name for trial in together],
                         ["Unit A.*:B.*", trials.SAFETY[0].name, trials.SAFETY[1].name])

    def test_those_of_the_file_come_first_and_those_of_its_room_last(self):
        def suite(name, home):
            return trials.Trial("Unit", (f"--gtest_filter={name}.*",), frozenset({home}))

        known = [suite("Other", "CDdc"), suite("Own", "StoredDisplaysTest"), suite("Room", "Power"),
                 suite("Far", "Menu")]
        lines = {"Unit Other.*": {"Veilpane/Power/StoredDisplays.mm": [5]},
                 "Unit Own.*": {"Veilpane/Power/StoredDisplays.mm": [5]}}
        asked = []
        with unittest.mock.patch.object(trials, "failure_in", lambda trial, bench: asked.append(trial.name)):
            known = trials.Trials(known, reach.Reach(lines))
            self.assertIsNone(known.noticing("Veilpane/Power/StoredDisplays.mm", [5], None))
        self.assertEqual(asked, ["Unit Own.*", "Unit Other.*", "Unit Room.*"])


class Runs(unittest.TestCase):
    def first_failure(self, script):
        return runs.first_failure(["sh", "-c", script], None)

    def test_the_first_failing_test_is_told_without_waiting_for_the_others(self):
        told = "echo '[       OK ] A.a (0.01 s)'; echo '[  FAILED  ] B.b (0.01 s)'; "
        self.assertEqual(self.first_failure(told + "sleep 600"), "B.b")

    def test_a_violation_is_what_the_safety_runs_say_before_their_summary(self):
        announced = "echo '9 fault runs to choose from; more'; "
        self.assertEqual(self.first_failure(announced + "echo 'the display is dark'; sleep 600"), "violation")
        self.assertIsNone(self.first_failure(announced + "echo '9 fault runs, 0 history steps'"))
        self.assertIsNone(self.first_failure(announced + "echo '20 % done'"))

    def test_what_ends_badly_without_a_word_has_failed(self):
        self.assertIsNone(self.first_failure("true"))
        self.assertIsNotNone(self.first_failure("exit 3"))
        self.assertIsNotNone(self.first_failure("kill -SEGV $$"))

    def test_what_waits_too_long_has_failed_also_when_it_looks_around_meanwhile(self):
        states = itertools.cycle([({"S"}, 0.0), ({"S", "R"}, 0.0)])
        with (unittest.mock.patch.object(runs, "SECONDS_OF_WAITING", 1),
              unittest.mock.patch.object(runs, "_state", lambda session: next(states))):
            self.assertIsNotNone(self.first_failure("sleep 20"))

    def test_nothing_is_left_of_a_run_also_in_other_groups(self):
        with tempfile.TemporaryDirectory() as folder:
            number = pathlib.Path(folder) / "number"
            self.first_failure(f"set -m; sleep 600 & echo $! >{number}; echo '[  FAILED  ] A.a (0 s)'; wait")
            left = pathlib.Path("/proc") / number.read_text(encoding="utf-8").strip() / "stat"
            self.assertTrue(not left.exists() or ") Z " in left.read_text(encoding="utf-8"))


class WhatCountsAsNoticed(unittest.TestCase):
    def test_a_bug_is_noticed_only_by_what_passes_without_it(self):
        with unittest.mock.patch.object(trials, "failure_in", lambda trial, bench: "Soak violation"):
            with self.assertRaises(builds.Failure):
                trials.Trials([trials.SAFETY[0]]).require_all_pass([None])

    def test_without_counts_every_trial_is_asked(self):
        asked = []
        with unittest.mock.patch.object(trials, "failure_in", lambda trial, bench: asked.append(trial.name)):
            known = trials.Trials([trials.SAFETY[0]])
            self.assertIsNone(known.noticing("Veilpane/Power/DisplayPower.cpp", [1], None))
        self.assertEqual(asked, [trials.SAFETY[0].name])


class CommandLine(unittest.TestCase):
    def assert_refused(self, *words):
        done = subprocess.run([sys.executable, PLANT, *words], capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stdout), (2, ""))

    def test_bad_usage_is_refused(self):
        self.assert_refused("--jobs", "0")
        self.assert_refused("--only", "Nowhere.cpp", "--list")
        self.assert_refused("--nonsense")
        self.assert_refused("--count", "1", "--skip", "1000000", "--list")
        self.assert_refused("--all", "--count", "3")
        self.assert_refused("--all", "--skip", "3")
        self.assert_refused("--by-hand", "--once-unnoticed")
        for option in (["--count", "3"], ["--only", "ddc.cpp"], ["--list"], ["--all"]):
            self.assert_refused("--by-hand", *option)

    def test_without_options_a_sample_is_planted_that_no_other_part_repeats(self):
        mutants = plant.all_mutants()
        sample = plant.chosen_from(mutants, plant.options_from([]))
        self.assertEqual(len(sample), plant.SAMPLE)
        rest = plant.chosen_from(mutants, plant.options_from(["--skip", str(plant.SAMPLE), "--list"]))
        self.assertEqual(set(sample) | set(rest), set(mutants))
        self.assertFalse(set(sample) & set(rest))
        for words in (["--all"], ["--list"]):
            self.assertEqual(plant.chosen_from(mutants, plant.options_from(words)), mutants)


if __name__ == "__main__":
    unittest.main()
