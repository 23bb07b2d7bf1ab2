#!/usr/bin/env python3
"""Runs the commands of a document's examples, in their order and in one empty folder, and compares what they print.

usage: run_examples.py DOCUMENT PROGRAM_FOLDER

A block of ``` holds commands, each behind "$ ", with their output below; "..." stands for anything, also for lines. A command
that ends with " \\" goes on in the next line. One that ends with " &" runs until the end or until "kill %1", "kill %2" and
so on, counted from the document's beginning. What a person types stands on a line of its own below the question. A block of
```yaml is a file, which the sentence before names: `probe.yaml`. The ports 4841, 4842, 9840 and 9841 are replaced by free ones.
"""
import os
import pathlib
import pty
import re
import signal
import socket
import subprocess
import sys
import tempfile
import time

QUESTION = "Type yes to trust it."
BLOCK = re.compile(r"```(\w*)\n(.*?)^```$", re.DOTALL | re.MULTILINE)
PATIENCE = 30  # seconds, for a command, and for what a background command has yet to begin


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return str(listener.getsockname()[1])


def pattern_of(lines):
    """The output as a regular expression; a line of "..." stands for any number of lines, and columns may be wider."""
    text = "".join("(?:.*\n)*?" if line == "..." else re.escape(line).replace(r"\.\.\.", ".*") + "\n" for line in lines)
    return re.compile(re.sub(r"(?:\\ ){2,}", " {2,}", text).replace(r"\ ", " "))


def examples_of(document):
    """Yields ("file", name, text) and ("command", command, typed, lines of output)."""
    for block in BLOCK.finditer(document):
        kind, text = block.groups()
        if kind == "yaml":
            before = document[:block.start()].rstrip()
            yield "file", re.findall(r"`([\w./-]+)`", before)[-1], text
        elif text.startswith("$ "):
            for example in re.split(r"^\$ ", text, flags=re.MULTILINE)[1:]:
                command, *output = example.splitlines()
                while command.endswith("\\"):
                    command = command[:-1] + output.pop(0).lstrip()
                typed = ""
                for number, line in enumerate(output):
                    if line.endswith(QUESTION):
                        typed = output.pop(number + 1) + "\n"
                        break
                yield "command", command, typed, output


class Runner:
    def __init__(self, programs):
        self.folder = tempfile.TemporaryDirectory()
        self.background = []
        self.environment = {
            "PATH": f"{programs}:{os.environ['PATH']}", "HOME": self.folder.name, "LANG": "C.UTF-8"}

    def start(self, command, **streams):
        return subprocess.Popen(
            command, shell=True, cwd=self.folder.name, env=self.environment, text=True, start_new_session=True, **streams)

    def run(self, command, typed):
        person, terminal = pty.openpty()
        os.write(person, typed.encode())
        process = self.start(command, stdin=terminal, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        try:
            return process.communicate(timeout=PATIENCE)[0]
        finally:
            os.close(person)
            os.close(terminal)

    def run_in_background(self, command, lines):
        log = open(f"{self.folder.name}/.output-{len(self.background)}", "w+", encoding="utf-8")
        process = self.start(command, stdin=subprocess.DEVNULL, stdout=log, stderr=subprocess.STDOUT)
        self.background.append(process)
        wanted = pattern_of(lines)
        end = time.monotonic() + PATIENCE
        while not wanted.match(text := pathlib.Path(log.name).read_text(encoding="utf-8")):
            assert process.poll() is None and time.monotonic() < end, f"$ {command} &\nprinted\n{text}"
            time.sleep(0.05)

    def check(self, command, typed, lines):
        if command.endswith(" &"):
            self.run_in_background(command[:-2], lines)
            return
        if ended := re.fullmatch(r"kill %(\d+)", command):
            self.end(self.background[int(ended[1]) - 1])
            return
        wanted = pattern_of(lines)
        end = time.monotonic() + PATIENCE
        while not wanted.fullmatch(text := self.run(command, typed)):
            # Only what asks or looks at a program that may not be so far yet is asked again.
            assert command.startswith(("curl ", "tail ")) and time.monotonic() < end, (
                f"$ {command}\nprinted\n{text}\nand not\n" + "\n".join(lines))
            time.sleep(0.2)

    @staticmethod
    def end(process):
        if process.poll() is None:
            os.killpg(process.pid, signal.SIGTERM)
            process.wait(PATIENCE)

    def stop(self):
        for process in self.background:
            self.end(process)
        self.folder.cleanup()


def main(document, programs):
    text = pathlib.Path(document).read_text(encoding="utf-8")
    for port in ("4841", "4842", "9840", "9841"):
        text = re.sub(rf"\b{port}\b", free_port(), text)
    runner = Runner(pathlib.Path(programs).resolve())
    count = 0
    try:
        for kind, name, *rest in examples_of(text):
            if kind == "file":
                (pathlib.Path(runner.folder.name) / name).write_text(rest[0], encoding="utf-8")
            else:
                runner.check(name, *rest)
                count += 1
    finally:
        runner.stop()
    assert count > 0, "there was nothing to run"
    print(f"{document}: {count} commands did what it says")


if __name__ == "__main__":
    main(*sys.argv[1:])
