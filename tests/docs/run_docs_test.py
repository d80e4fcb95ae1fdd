#!/usr/bin/env python3
"""Tests of run_docs: what it accepts, and that it finds what is wrong.

KXINFO_BUILD names the build folder.
"""

import os
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.join(os.path.dirname(os.path.abspath(__file__)), "run_docs")
BUILD = os.environ.get("KXINFO_BUILD", os.path.join(os.path.dirname(PROGRAM), "..", "..", "build"))


class RunDocs(unittest.TestCase):
    def run_on(self, text, *options):
        with tempfile.TemporaryDirectory() as folder:
            self.document = os.path.join(folder, "document.md")
            with open(self.document, "w", encoding="utf-8") as file:
                file.write(text)
            return subprocess.run([sys.executable, PROGRAM, "--build", BUILD, *options,
                                   self.document],
                                  text=True, capture_output=True, check=False)

    def accepts(self, text, blocks):
        result = self.run_on(text)
        self.assertEqual((result.returncode, result.stdout, result.stderr),
                         (0, f"{self.document}: {blocks} blocks are as shown\n", ""))

    def refuses(self, text, line, message):
        result = self.run_on(text)
        self.assertEqual((result.returncode, result.stdout), (1, ""))
        self.assertEqual(result.stderr, f"{self.document}:{line}: {message}\n")


class ConsoleBlocks(RunDocs):
    def test_are_accepted_when_they_write_what_they_show(self):
        self.accepts("```console\n$ seq 2\n1\n2\n$ echo a; echo b >&2\na\nb\n```\n", 1)

    def test_are_refused_when_a_line_differs(self):
        self.refuses("```console\n$ seq 2\n1\n3\n```\n", 2,
                     "'seq 2' writes something else:\n--- shown\n+++ written\n@@ -1,2 +1,2 @@\n 1\n"
                     "-3\n+2")

    def test_are_refused_when_a_line_is_missing(self):
        self.refuses("```console\n$ seq 2\n1\n```\n", 2,
                     "'seq 2' writes something else:\n--- shown\n+++ written\n@@ -1 +1,2 @@\n"
                     " 1\n+2")

    def test_may_leave_out_lines_and_parts_of_lines(self):
        self.accepts("```console\n$ seq 5\n1\n…\n5\n$ echo one two three\none … three\n```\n", 1)

    def test_do_not_take_left_out_lines_for_any_end(self):
        self.refuses("```console\n$ seq 3\n1\n…\n4\n```\n", 2,
                     "'seq 3' writes something else:\n--- shown\n+++ written\n@@ -1,3 +1,3 @@\n 1\n"
                     "-…\n-4\n+2\n+3")

    def test_are_one_session(self):
        self.accepts("```console\n$ word=kept; cd /\n```\n\nText.\n\n```console\n"
                     "$ echo $word $PWD\nkept /\n```\n", 2)

    def test_go_on_in_the_next_line_after_a_backslash(self):
        self.accepts("```console\n$ echo a \\\n>     b\na b\n```\n", 1)

    def test_are_refused_when_a_command_fails_and_nothing_shows_it(self):
        self.refuses("```console\n$ false\n```\n", 2,
                     "'false' ends with status 1, and shows nothing; let '$ echo $?' follow if "
                     "that is what it shows")

    def test_may_show_that_a_command_fails(self):
        self.accepts("```console\n$ (exit 3)\n$ echo $?\n3\n$ echo no; false\nno\n```\n", 1)

    def test_wait_for_what_a_command_in_the_background_writes(self):
        self.accepts("```console\n$ mkfifo go; (read -r word <go; echo \"got $word\") &\n"
                     "$ echo it >go; wait\ngot it\n```\n", 1)

    def test_are_refused_without_a_command(self):
        self.refuses("```console\noutput\n```\n", 2,
                     "output without a command; a console block begins with '$ '")

    def test_may_be_indented(self):
        self.accepts("1. One:\n\n"
                     "   ```console\n   $ printf 'a\\n  b\\n'\n   a\n     b\n   ```\n", 1)

    def test_see_the_project_and_the_programs_and_write_elsewhere(self):
        self.accepts("```console\n$ kxinfo --version\nkxinfo …\n$ ls README.md\nREADME.md\n"
                     "$ echo kept > written; cat written\nkept\n```\n", 1)
        self.assertFalse(os.path.exists(os.path.join(os.path.dirname(PROGRAM), "..", "..",
                                                     "written")))


class Scripts(RunDocs):
    def test_are_run_and_what_they_write_is_not_looked_at(self):
        self.accepts("```sh\nfor i in 1 2; do\n    echo $i\ndone > numbers\n```\n"
                     "```console\n$ cat numbers\n1\n2\n```\n", 2)

    def test_are_refused_when_a_command_fails(self):
        self.refuses("Text.\n\n```sh\necho before\nfalse\necho after\n```\n", 4,
                     "the script ends with status 1:\nbefore")


class Cameras(RunDocs):
    SERIALS = "```console\n$ kxinfo list 2>/dev/null | grep -o '^S[0-9][0-9]*'\n"

    def test_answer_from_the_comment_on(self):
        self.accepts("<!-- cameras: S1@127.0.0.2 S2@127.0.0.3 -->\n" + self.SERIALS +
                     "S1\nS2\n```\n", 1)

    def test_are_new_ones_after_the_next_comment(self):
        self.accepts("<!-- cameras: S1@127.0.0.2 -->\n" + self.SERIALS + "S1\n```\n"
                     "<!-- cameras: S2@127.0.0.2 -->\n" + self.SERIALS + "S2\n```\n"
                     "<!-- cameras: none -->\n" + self.SERIALS + "$ echo $?\n1\n```\n", 3)

    def test_are_refused_when_they_do_not_start(self):
        result = self.run_on("```sh\ntrue\n```\n<!-- cameras: S1 -->\n")
        self.assertEqual(result.returncode, 1)
        self.assertIn("document.md:4: the virtual cameras do not start: kxinfo-simcam: --camera",
                      result.stderr)


class BlocksThatAreNotRun(RunDocs):
    def test_are_accepted_when_a_step_of_ci_runs_them(self):
        self.accepts("<!-- run by: The demo -->\n\n```sh\nfalse\n```\n", 0)

    def test_are_accepted_when_a_test_runs_them(self):
        self.accepts("<!-- run by: docs.run_docs -->\n```sh\nfalse\n```\n", 0)

    def test_are_refused_when_nothing_runs_them(self):
        self.refuses("<!-- run by: nobody -->\n```sh\nfalse\n```\n", 1,
                     "there is no test 'nobody' ('ctest -N'), no step of this name in .ci/run and "
                     "no such check in CONTRIBUTING.md")

    def test_are_accepted_when_a_check_that_is_run_by_hand_runs_them(self):
        self.accepts("<!-- run by: scripts/mutate -->\n```sh\nfalse\n```\n", 0)

    def test_are_refused_when_the_comment_stands_elsewhere(self):
        self.refuses("<!-- run by: The demo -->\nText.\n```sh\nfalse\n```\n", 2,
                     "expected is the block that '<!-- run by: ... -->' is about")

    def test_may_hold_anything_that_does_not_look_like_a_command(self):
        self.accepts("```json\n{ \"a\": 1 }\n```\n\n```\nhost --> plug-in\n```\n", 0)

    def test_are_refused_when_they_hold_a_command(self):
        for language in ("", "text", "bash", "yaml"):
            for command in ("$ true", "kxinfo list", "scripts/test", "build/bin/kxinfo list"):
                self.refuses(f"```{language}\n{command}\n```\n", 2,
                             f"a block of language '{language}' is not run, but this looks like a "
                             "command; write ```console or ```sh, or say before the block what "
                             "runs it: '<!-- run by: NAME -->'")

    def test_are_refused_when_they_are_indented(self):
        self.refuses("Text:\n\n    $ kxinfo list\n", 3,
                     "a command in an indented block, which is not run; put it between ```console "
                     "and ```")


class Comments(RunDocs):
    def test_that_are_misspelt_are_refused(self):
        self.refuses("<!-- camera: S1@127.0.0.2, cameras that answer -->\n", 1,
                     "a comment that is not understood; expected is '<!-- cameras: "
                     "SERIAL@ADDRESS ... -->' or '<!-- run by: NAME -->' on a line of its own")


class Links(RunDocs):
    def test_that_lead_somewhere_are_accepted(self):
        self.accepts("# A `kxinfo` heading\n[a](document.md) [b](#a-kxinfo-heading) "
                     "[c](https://example.org/none) `[d](none.md)`\n", 0)

    def test_to_a_file_that_is_missing_are_refused(self):
        result = self.run_on("Text.\n[a](none.md)\n")
        self.assertEqual(result.returncode, 1)
        self.assertIn("document.md:2: the link 'none.md' leads nowhere: there is no ",
                      result.stderr)

    def test_to_a_heading_that_is_missing_are_refused(self):
        result = self.run_on("# Heading\n[a](#headings)\n")
        self.assertEqual(result.returncode, 1)
        self.assertIn("document.md:2: the link '#headings' leads nowhere: ", result.stderr)

    def test_are_all_that_is_looked_at_with_links_only(self):
        result = self.run_on("```console\n$ false\n```\n", "--links-only")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))
        result = self.run_on("Text.\n[a](none.md)\n", "--links-only")
        self.assertEqual(result.returncode, 1)
        self.assertIn("document.md:2: the link 'none.md' leads nowhere: ", result.stderr)


if __name__ == "__main__":
    unittest.main()
