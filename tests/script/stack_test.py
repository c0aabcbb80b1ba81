# Tests of script/lib/stack.conf and two of its readers, script/lib/stack.sh and benchmarks/stack_part.py:
# they understand it alike. The third, tests/support/stack.h, starts the processes of the end-to-end tests.
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = os.path.realpath(os.path.join(os.path.dirname(__file__), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "benchmarks"))

from stack_part import StackPart

NAMES = ("redis", "x-server", "cooling-unit", "daemon", "redfish")
VALUES = {"run": "/a folder/run", "sockets": "/a folder/sockets", "built": "/built",
          "listen": "127.0.0.1:0", "wrapper": ["setpriv", "--pdeathsig", "TERM", "--"]}


def commands_of_bash():
    """Name to words, as script/run would start them."""
    script = """
        source script/lib/common.sh
        RUN=$1 BUILT=$2
        source script/lib/processes.sh
        source script/lib/stack.sh
        VALUE[sockets]=$3
        for name in "${@:4}"; do
            command_of "$name"
            printf '%s\\0' "$name" "${#COMMAND[@]}" "${COMMAND[@]}"
        done"""
    words = subprocess.run(
        ["bash", "-euc", script, "bash", VALUES["run"], VALUES["built"], VALUES["sockets"], *NAMES],
        cwd=ROOT, capture_output=True, text=True, check=True).stdout.split("\0")
    commands = {}
    while len(words) > 1:
        name, count = words[0], int(words[1])
        commands[name], words = words[2:2 + count], words[2 + count:]
    return commands


class Stack(unittest.TestCase):
    def test_is_understood_alike_by_bash_and_python(self):
        commands = commands_of_bash()
        self.assertEqual(tuple(commands), NAMES)
        for name, words in commands.items():
            self.assertEqual(words, [str(word) for word in StackPart(name, **VALUES).command()])

    def test_waits_for_the_end_of_a_line_in_bash_and_python(self):
        condition = "log listens on ([0-9.]+:[0-9]+)"
        script = """
            source script/lib/common.sh
            RUN=$1 BUILT=$1 LOGS=$1
            source script/lib/processes.sh
            source script/lib/stack.sh
            LOGS=$1
            holds unit "$2" && printf '%s' "${VALUE[address]}" """
        for output, address in (("unit listens on 127.0.0.1:15", None),
                                ("first\nunit listens on 127.0.0.1:1502\nlast", "127.0.0.1:1502")):
            with tempfile.TemporaryDirectory() as folder:
                pathlib.Path(folder, "unit.log").write_text(output)
                bash = subprocess.run(["bash", "-uc", script, "bash", folder, condition], cwd=ROOT,
                                      capture_output=True, text=True, check=False)
            part = StackPart("cooling-unit", **VALUES)
            self.assertEqual(bash.returncode == 0, address is not None, bash.stderr)
            self.assertEqual(part.holds(condition, 0, output), address is not None)
            if address is not None:
                self.assertEqual((bash.stdout, part.address), (address, address))

    def test_keeps_a_folder_with_a_blank_in_one_word(self):
        self.assertIn("/a folder/sockets/redis.sock", StackPart("redis", **VALUES).command())
        self.assertIn("", StackPart("redis", **VALUES).command())

    def test_leaves_out_an_empty_wrapper(self):
        plain = StackPart("daemon", **{**VALUES, "wrapper": []}).command()
        self.assertEqual(plain[-2:], ["--", "/built/orvane-webgui"])

    def test_refuses_a_name_that_it_does_not_have(self):
        with self.assertRaisesRegex(KeyError, "no process called radius"):
            StackPart("radius")

    def test_each_process_says_when_it_is_up(self):
        for name in NAMES:
            self.assertTrue(StackPart(name, **VALUES).conditions, name)

    def test_an_address_is_read_from_a_whole_line(self):
        part = StackPart("cooling-unit", **VALUES)
        condition, = part.conditions
        self.assertFalse(part.holds(condition, 0, "unit listens on 127.0.0.1:15"))
        self.assertTrue(part.holds(condition, 0, "unit listens on 127.0.0.1:1502, ...\n"))
        self.assertEqual(part.address, "127.0.0.1:1502")
        self.assertEqual(part.environment(), {"COOLING_UNIT": "127.0.0.1:1502"})

    def test_a_start_finds_its_folders_and_nothing_of_an_earlier_run(self):
        with tempfile.TemporaryDirectory() as folder:
            marker = pathlib.Path(folder, "view/tmp/run/Stidre.run")
            part = StackPart("daemon", **{**VALUES, "run": folder})
            part.prepare()
            self.assertTrue(marker.parent.is_dir())
            self.assertFalse(part.holds(f"file {marker}", 0, ""))
            marker.touch()
            self.assertTrue(part.holds(f"file {marker}", 0, ""))
            part.prepare()
            self.assertFalse(marker.exists())


if __name__ == "__main__":
    unittest.main()
