#!/usr/bin/env python3
"""The quorvex prompt driven through a pseudo-terminal, as a person types:
history with the arrow keys (also across sessions), Tab completion, and
Ctrl-C while typing and while a statement runs.

    python3 prompt_test.py QUORVEX
"""
import os
import pty
import re
import select
import signal
import sys
import tempfile
import time
import unittest

HOST = None
TIMEOUT = 30  # seconds; the sanitizer build starts slowly


class Session:
    def __init__(self, home):
        env = dict(os.environ, HOME=home, TERM="xterm")
        env.pop("QUORVEX_HISTORY", None)
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            os.execve(HOST, [HOST], env)
        self.seen = b""  # output not yet matched

    def expect(self, pattern):
        """Waits for the regular expression and drops the output up to its end."""
        rx = re.compile(pattern.encode())
        deadline = time.time() + TIMEOUT
        while True:
            m = rx.search(self.seen)
            if m:
                self.seen = self.seen[m.end():]
                return m
            left = deadline - time.time()
            if left <= 0:
                raise AssertionError("no %r in %r" % (pattern, self.seen[-400:]))
            ready, _, _ = select.select([self.fd], [], [], left)
            if ready:
                try:
                    chunk = os.read(self.fd, 4096)
                except OSError:
                    chunk = b""
                if not chunk:
                    raise AssertionError("host ended; no %r in %r" % (pattern, self.seen[-400:]))
                self.seen += chunk

    def send(self, text):
        os.write(self.fd, text.encode())

    def line(self, text, answer):
        """Types a line and waits for its answer and the next prompt."""
        self.send(text + "\r")
        self.expect(answer)
        self.expect(r"\n> ")

    def finish(self):
        self.send("quit\r")
        _, status = os.waitpid(self.pid, 0)
        os.close(self.fd)
        return os.waitstatus_to_exitcode(status)


UP = "\x1b[A"


class PromptTest(unittest.TestCase):
    def setUp(self):
        self.home = tempfile.TemporaryDirectory()
        self.s = Session(self.home.name)
        self.s.expect(r"> ")

    def tearDown(self):
        if self.s.pid:
            try:
                os.kill(self.s.pid, signal.SIGKILL)
                os.waitpid(self.s.pid, 0)
            except OSError:
                pass
        self.home.cleanup()

    def test_up_arrow_recalls_the_last_statement_and_survives_the_session(self):
        self.s.line("x=41", r"x <- 41")
        self.s.line("x+1", r"\n42")
        # Up twice recalls "x=41"; no "[" reaches the line to open a bracket.
        self.s.send(UP + UP + "\r")
        self.s.expect(r"x <- 41")
        self.s.expect(r"\n> ")
        self.assertEqual(self.s.finish(), 0)
        self.s.pid = 0
        self.assertTrue(os.path.exists(os.path.join(self.home.name, ".quorvex_history")))
        # A new session starts with the old history.
        self.s = Session(self.home.name)
        self.s.expect(r"> ")
        self.s.send(UP + "\r")
        self.s.expect(r"x <- 41")

    def test_tab_completes_catalogue_and_workspace_names(self):
        self.s.line("sq\t(16)", r"\n4")
        self.s.line("myvalue=5", r"myvalue <- 5")
        self.s.line("myv\t*2", r"\n10")
        self.s.line(":hi\t", r"1  x?sqrt\(16\)|1  sqrt\(16\)")

    def test_ctrl_c_while_typing_discards_the_line(self):
        self.s.send("1+(2")
        time.sleep(0.3)
        self.s.send("\x03")
        self.s.expect(r"\n> ")
        self.s.line("2+2", r"\n4")

    def test_ctrl_c_cancels_a_running_statement_and_the_session_goes_on(self):
        self.s.line("y=3", r"y <- 3")
        self.s.send("while:1;\r")
        time.sleep(1.0)
        self.s.send("\x03")
        self.s.expect(r">evaluation_aborted<")
        self.s.expect(r"\n> ")
        self.s.line("y*2", r"\n6")


if __name__ == "__main__":
    HOST = os.path.abspath(sys.argv.pop(1))
    unittest.main(verbosity=2)
