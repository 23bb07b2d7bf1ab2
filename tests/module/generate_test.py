#!/usr/bin/env python3
"""Whether the build notices sources of the module information that are not in order, and docs/settings.md that is old.

usage: generate_test.py TABLES      TABLES is what information_tables printed
"""
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
INFORMATION = ROOT / "module/information"
TABLES = pathlib.Path(sys.argv.pop(1)).resolve()

PORT = r'"connection_opcua\.port\.display": "[^"]*",'
PORT_KEY = "german.json: connection_opcua.port.display: "
TOO_LARGE = '"Minimum": 1e999'


def replaced(pattern, replacement):
    def change(text):
        changed, count = re.subn(pattern, lambda found: found.expand(replacement), text, count=1)
        assert count == 1, f"{pattern} is not there"
        return changed

    return change


def port(text):
    return replaced(PORT, f'"connection_opcua.port.display": {text},')


def also(line):
    return replaced(PORT, rf"\g<0> {line}")


def member(path, change):
    """Changes what stands at a path of names in a JSON document."""

    def apply(text):
        document = json.loads(text)
        place = document
        for name in path[:-1]:
            place = place[name]
        change(place, path[-1])
        return json.dumps(document)

    return apply


def without(*path):
    return member(path, lambda place, name: place.pop(name))


def given(value, *path):
    return member(path, lambda place, name: place.__setitem__(name, value))


# file, what is changed, what the build says
GERMAN, ENGLISH, STRUCTURE, TABLES_FILE = "texts/german.json", "texts/english.json", "structure.json", "tables.json"
BROKEN = [
    (GERMAN, None, "german.json cannot be read"),
    (GERMAN, lambda text: "[]", "german.json is no JSON object"),
    (GERMAN, lambda text: text[:-3], "german.json: "),
    (GERMAN, lambda text: text.replace("Zugang", "\udcff"), "german.json: 'utf-8' codec can't decode"),
    (GERMAN, replaced(PORT, ""), PORT_KEY + "is missing"),
    (GERMAN, port('""'), PORT_KEY + "the text is empty"),
    (GERMAN, port("4840"), PORT_KEY + "is no text"),
    (GERMAN, port('{"Display": "Port"}'), PORT_KEY + "is no text"),
    (GERMAN, port('"Port %0:s"'), PORT_KEY + "other placeholders or markup than in English"),
    (GERMAN, port('"Port[br]"'), PORT_KEY + "other placeholders or markup than in English"),
    (GERMAN, port('"100 %"'), PORT_KEY + 'a "%" that is no placeholder'),
    (GERMAN, port('"%s"'), PORT_KEY + 'a "%" that is no placeholder'),
    (GERMAN, port('"%1"'), PORT_KEY + 'a "%" that is no placeholder'),
    (GERMAN, port('"%²:s"'), PORT_KEY + 'a "%" that is no placeholder'),
    (GERMAN, port('"[b]x"'), PORT_KEY + "[b] is not closed"),
    (GERMAN, port('"x[/i]"'), PORT_KEY + "[/i] closes nothing"),
    (GERMAN, port('"[b][i]x[/b][/i]"'), PORT_KEY + "[/b] closes nothing"),
    (GERMAN, also('"connection_opcua.port.display": "Port",'), PORT_KEY + "comes twice"),
    (GERMAN, also('"connection_opcua.port.title": "Port",'), "port.title: there is no such key"),
    (GERMAN, also('"channel.uptime": "Laufzeit",'), "channel.uptime: there is no such key"),
    (ENGLISH, also('"channel.uptime": "Uptime",'), "english.json: channel.uptime: comes twice"),
    (ENGLISH, replaced(PORT, ""), "russian.json: connection_opcua.port.display: there is no such key"),
    (ENGLISH, also('"connection_opcua.port.title": "Port",'), "russian.json: connection_opcua.port.title: is missing"),
    (STRUCTURE, None, "structure.json cannot be read"),
    (STRUCTURE, lambda text: "[]", "structure.json has another shape"),
    (STRUCTURE, lambda text: text.replace("{", "{,", 1), "structure.json: "),
    (STRUCTURE, replaced('"Revision": 71,', r"\g<0> \g<0>"), "structure.json: Revision: comes twice"),
    (STRUCTURE, without("Groups"), "structure.json lacks 'Groups'"),
    (STRUCTURE, without("MetaData", "Vendor"), "structure.json lacks 'Vendor'"),
    (STRUCTURE, without("Sensors", "certificate_sensor", "Tags"), "Sensors: certificate_sensor lacks 'Tags'"),
    (STRUCTURE, without("Groups", "connection_opcua", 0, "Default"), "Groups: connection_opcua lacks 'Default'"),
    (STRUCTURE, given("hostname", "Groups", "connection_opcua", 0, "Name"),
     "there is no English text for connection_opcua.hostname.display"),
    (STRUCTURE, given(["none", "new"], "Groups", "connection_security", 0, "Selection"),
     "there is no English text for connection_security.security_mode.option.new"),
    (STRUCTURE, given("port=1", "Groups", "user_authentication", 1, "When"),
     "structure.json: user_authentication: nothing before it is port=1"),
    (STRUCTURE, given("user_auth_mode", "Groups", "user_authentication", 1, "When"),
     "structure.json: user_authentication: nothing before it is user_auth_mode"),
    (STRUCTURE, given("user=x", "Groups", "user_authentication", 0, "When"), "nothing before it is user=x"),
    (STRUCTURE, replaced('"Minimum": 1', TOO_LARGE), "Out of range float values"),
    (STRUCTURE, without("Lookups", "server_state"), "structure.json lacks server_state"),
    (STRUCTURE, without("Lookups", "server_state", "Values", "3"), "Lookups: server_state lacks '3'"),
    (STRUCTURE, given(["New", "x"], "Lookups", "server_state", "Values", "99"),
     "the catalogue has not all values of server_state"),
    (STRUCTURE, given({"Mode": "x", "Values": {"1": ["a", "b"]}}, "Lookups", "new"),
     "the catalogue has not all values of new"),
    (TABLES_FILE, given("100 %", "messages", 0, 1), 'a "%" that is no placeholder'),
    (TABLES_FILE, given(99, "lookup_values", 0, 1), "negative_boolean_lookup lacks '99'"),
]


class GenerateTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.output = self.folder / "made"
        shutil.copytree(INFORMATION / "texts", self.folder / "texts")
        shutil.copy(INFORMATION / "structure.json", self.folder)
        shutil.copy(TABLES, self.folder / "tables.json")

    def generate(self, kind="pieces", output=None):
        """@return exit code and what stood on standard error"""
        words = [kind, self.folder, self.folder / "tables.json", output or self.output]
        program = [sys.executable, "-B", INFORMATION / "generate.py", *words]
        result = subprocess.run(program, text=True, capture_output=True, check=False)
        return result.returncode, result.stderr

    def test_settings_page_is_what_its_sources_give(self):
        self.assertEqual(self.generate("page"), (0, ""))
        self.assertEqual(
            self.output.read_text(), (ROOT / "docs/settings.md").read_text(), "build the target settings_page"
        )

    def test_broken_sources_are_refused(self):
        for name, change, complaint in BROKEN:
            with self.subTest(complaint):
                file = self.folder / name
                good = file.read_bytes()
                file.unlink()
                if change:
                    file.write_text(change(good.decode()), errors="surrogateescape")
                code, said = self.generate()
                file.write_bytes(good)
                self.assertEqual(code, 1, said)
                self.assertTrue(said.startswith("The module information cannot be made: "), said)
                self.assertIn(complaint, said)
                self.assertEqual(said.count("\n"), 1, said)
                self.assertFalse(self.output.exists())
        self.assertEqual(self.generate(), (0, ""))

    def test_what_did_not_change_is_not_written_again(self):
        self.assertEqual(self.generate(), (0, ""))
        first = self.output.stat().st_mtime_ns
        self.assertEqual(self.generate(), (0, ""))
        self.assertEqual(self.output.stat().st_mtime_ns, first)

    def test_what_it_cannot_do_has_an_exit_code(self):
        code, said = self.generate(output=self.folder)
        self.assertEqual((code, "Is a directory" in said), (1, True), said)
        self.assertEqual(self.generate("poem")[0], 2)


if __name__ == "__main__":
    unittest.main()
