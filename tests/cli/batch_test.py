#!/usr/bin/env python3
"""The quorvex program run as other programs run it: exit statuses, errors
explained on standard error, options, comments, help and piped input.

    python3 batch_test.py QUORVEX
"""
import os
import signal
import subprocess
import sys
import tempfile
import time
import unittest

HOST = None


def run(*args, stdin=""):
    p = subprocess.run([HOST, *args], input=stdin, capture_output=True, text=True, timeout=120)
    return p.returncode, p.stdout, p.stderr


class BatchTest(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.TemporaryDirectory()

    def tearDown(self):
        self.dir.cleanup()

    def write(self, name, text):
        path = os.path.join(self.dir.name, name)
        with open(path, "w") as f:
            f.write(text)
        return path

    def test_sentinel_answers_give_status_1_and_an_explanation(self):
        rc, out, err = run("-e", "1+2", "foo(", "2*3")
        self.assertEqual((rc, out), (1, "3\n>invalid_expression<\n6\n"))
        self.assertIn("-e text 2", err)
        self.assertIn(">invalid_expression<", err)
        self.assertIn("foo(", err)
        # A script names the line the statement starts on; comments count as lines.
        script = self.write("s.qvx", "# start\nx=1\n\nf(\n  sin(\n")
        rc, out, err = run(script)
        self.assertEqual(rc, 1)
        self.assertIn("s.qvx, line 4", err)

    def test_stop_on_error_stops_at_the_first_sentinel(self):
        rc, out, _ = run("--stop-on-error", "-e", "1", "foo(", "2")
        self.assertEqual((rc, out), (1, "1\n>invalid_expression<\n"))
        rc, out, _ = run("--keep-going", "-e", "foo(", "2")
        self.assertEqual((rc, out), (1, ">invalid_expression<\n2\n"))

    def test_bad_command_lines_give_status_2(self):
        missing = os.path.join(self.dir.name, "missing.qvx")
        for args in (["--bogus"], ["--digits", "x"], ["--digits"], ["--seed", "1.5"],
                     ["--init", missing, "-e", "1"], [missing], ["a.qvx", "b.qvx"],
                     ["--init", missing, "--no-init"]):
            with self.subTest(args=args):
                rc, out, err = run(*args)
                self.assertEqual(rc, 2)
                self.assertEqual(out, "")
                self.assertIn("quorvex:", err)

    def test_ctrl_c_stops_the_batch_with_status_130(self):
        p = subprocess.Popen([HOST, "-e", "s=0", "while:1;", "after"],
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.assertEqual(p.stdout.readline(), "s <- 0\n")
        time.sleep(0.5)
        p.send_signal(signal.SIGINT)
        out, err = p.communicate(timeout=60)
        self.assertEqual(p.returncode, 130)
        self.assertNotIn("after", out)
        self.assertIn("interrupted", err)

    def test_help_and_version(self):
        rc, out, _ = run("--help")
        self.assertEqual(rc, 0)
        for option in ("--digits", "--seed", "--init", "--no-init", "--stop-on-error", "--plot", "Examples"):
            self.assertIn(option, out)
        rc, out, _ = run("--version")
        self.assertEqual(rc, 0)
        self.assertIn("libquorvex", out)
        rc, out, _ = run(stdin="help\nhelp sin\nhelp find roots\n:help\n")
        self.assertEqual(rc, 0)
        for text in ("Mathematical functions:", "Environment functions:", "Programming commands:",
                     "sin(z)", "findroots(f(x),x1,x2)", ":history"):
            self.assertIn(text, out)

    def test_comments_are_skipped_even_inside_a_statement(self):
        script = self.write("c.qvx", "  # a comment\ns=0,for:k=1,k<=4,\n# inside\nk=k+1,s=s+k;\ns\n")
        rc, out, err = run(script)
        self.assertEqual((rc, out, err), (0, "s <- 0\n10\n", ""))

    def test_init_file_runs_after_the_constants_and_restore_runs_it_again(self):
        init = self.write("init.qvx", "# mine\nr=2*pi\n")
        rc, out, _ = run("--init", init, "-e", "r/pi", "e^0", "restore()", "r/pi")
        self.assertEqual(rc, 0)
        self.assertEqual(out.split("\n")[0:2], ["2", "1"])
        self.assertEqual(out.split("\n")[3], "2")
        rc, out, _ = run("--no-init", "-e", "pi")
        self.assertEqual((rc, out), (0, "pi\n"))

    def test_digits_and_seed(self):
        self.assertEqual(run("--digits", "5", "-e", "pi")[1], "3.1416\n")
        first = run("--seed", "7", "-e", "rand(0,1)")[1]
        self.assertEqual(first, run("--seed", "7", "-e", "rand(0,1)")[1])
        self.assertNotEqual(first, run("--seed", "8", "-e", "rand(0,1)")[1])

    def test_piped_input_answers_without_prompts_and_history_is_one_entry_a_line(self):
        rc, out, _ = run(stdin="x=2\n[1,\n2]\n:history\n")
        self.assertEqual(rc, 0)
        self.assertFalse([l for l in out.splitlines() if l.startswith(("> ", ". "))])
        self.assertNotIn("\v", out)
        lines = out.splitlines()
        self.assertEqual(lines[0], "x <- 2")
        self.assertRegex(lines[-2], r"^\s*1\s+x=2\s+->\s+x <- 2$")
        self.assertRegex(lines[-1], r"^\s*2\s+\[1, 2\]\s+->\s+\(matrix\) \| 1  2$")

    def test_plot_command_writes_numbered_png_files_and_prints_their_paths(self):
        p = subprocess.run([HOST], input="plot sin(x)*x, 0, 10\nplot max(x,1), -2, 2\nplot x\n",
                           capture_output=True, text=True, timeout=120, cwd=self.dir.name)
        self.assertEqual(p.returncode, 0)
        lines = p.stdout.splitlines()
        for n, line in enumerate(lines[:2], start=1):
            self.assertTrue(line.endswith("plot-%d.png" % n), line)
            with open(line, "rb") as f:
                self.assertEqual(f.read(8), b"\x89PNG\r\n\x1a\n")
        self.assertIn("usage: plot EXPR, FROM, TO", lines[2])


if __name__ == "__main__":
    HOST = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
