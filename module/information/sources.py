"""The sources of the module information: reads them, checks them and puts the document together.

A folder holds structure.json (what there is, without texts) and texts/ (one file for each language). The tables are what
the program information_tables prints: the English texts of errors, messages, channels and lookups stand in the code. Keys
of texts follow from names. What exists for every channel of a custom sensor is written once, with {cur} in place of the
channel's number. Objects keep the order of their members, which hosts show.
"""
import json
import re

LANGUAGES = (
    "Russian", "Brazilian", "Dutch", "Japanese", "French", "Spanish", "English", "German", "SimplifiedChinese"
)
CHANNEL_MARK = "{cur}"
CHANNELS = range(1, 11)
# Channel 1 is always on: it has no switch, and no texts for one.
SWITCH, SWITCH_TEXTS = "channel{cur}", "connection_custom.channel{cur}."
# Hosts translate names of channels and values themselves.
ENGLISH_ONLY = ("channel.", "lookup.")
# A record is at most 1 MiB long, and so is each text in it.
LONGEST_TEXT = 1024 * 1024
MARK = re.compile(r"%%|%[0-9]+:s|(?P<stray>%)|\[(?P<end>/?)(?P<markup>[bi])\]|\[br\]")


class Refused(Exception):
    """The sources are not in order."""


def read_json(path, objects=None):
    """The file's content. A member that comes twice is refused, unless objects says how to make objects of pairs."""

    def unique(pairs):
        members = dict(pairs)
        if len(members) < len(pairs):
            names = [name for name, _ in pairs]
            raise Refused(f"{path.name}: {next(name for name in names if names.count(name) > 1)}: comes twice")
        return members

    try:
        return json.loads(path.read_bytes().decode(), object_pairs_hook=objects or unique)
    except OSError as error:
        raise Refused(f"{path.name} cannot be read: {error.strerror}") from error
    except ValueError as error:
        raise Refused(f"{path.name}: {error}") from error


def marks_of(text):
    """What a translation may not lose, sorted: placeholders (%0:s, %%) and markup ([b] [/b] [i] [/i] [br])."""
    marks, opened = [], []
    for mark in MARK.finditer(text):
        if mark["stray"]:
            raise Refused('a "%" that is no placeholder')
        if mark["end"] and (not opened or opened.pop() != mark["markup"]):
            raise Refused(f"{mark[0]} closes nothing")
        if mark["markup"] and not mark["end"]:
            opened.append(mark["markup"])
        marks.append(mark[0])
    if opened:
        raise Refused(f"[{opened[-1]}] is not closed")
    return sorted(marks)


def for_channel(text, channel):
    return text.replace(CHANNEL_MARK, str(channel))


def expand(entries, name_of, is_switch, fill):
    """Entries that hold the channel's mark, once for each channel and all of one channel together."""
    for channel in CHANNELS:
        for entry in entries:
            if CHANNEL_MARK in name_of(entry) and not (channel == 1 and is_switch(name_of(entry))):
                yield fill(entry, channel)


class Texts:
    """The texts of all languages: languages is {"German": {key: text}}, in the order of the document."""

    def __init__(self, folder, tables):
        english = self._read(folder, "English") + [tuple(message) for message in tables["messages"]]
        self.languages = {}
        for language in LANGUAGES:
            texts = english if language == "English" else self._read(folder, language)
            self._check(language, texts, dict(reversed(english)))
            self.languages[language] = self._expanded(texts)

    def english(self, key):
        try:
            return self.languages["English"][key]
        except KeyError:
            raise Refused(f"there is no English text for {key}") from None

    @staticmethod
    def _read(folder, language):
        path = folder / f"{language.lower()}.json"
        texts = read_json(path, objects=tuple)  # which keeps keys that come twice
        if not isinstance(texts, tuple):
            raise Refused(f"{path.name} is no JSON object")
        return list(texts)

    @staticmethod
    def _check(language, texts, english):
        def expect(condition, key, problem):
            if not condition:
                raise Refused(f"{language.lower()}.json: {key}: {problem}")

        wanted = {key for key in english if language == "English" or not key.startswith(ENGLISH_ONLY)}
        seen = set()
        for key, text in texts:
            expect(key not in seen, key, "comes twice")
            seen.add(key)
            expect(key in wanted, key, "there is no such key")
            expect(isinstance(text, str), key, "is no text")
            expect(text, key, "the text is empty")
            try:
                same = marks_of(text) == marks_of(english[key])
            except Refused as refusal:
                raise Refused(f"{language.lower()}.json: {key}: {refusal}") from refusal
            expect(same, key, "other placeholders or markup than in English")
        for key in english:
            expect(key in seen or key not in wanted, key, "is missing")

    @staticmethod
    def _expanded(texts):
        """Those of channels stand where the first of them stood."""
        marked = [CHANNEL_MARK in key for key, _ in texts]
        first = marked.index(True) if any(marked) else len(texts)
        of_channels = expand(
            texts, lambda entry: entry[0], lambda key: key.startswith(SWITCH_TEXTS),
            lambda entry, channel: tuple(for_channel(part, channel) for part in entry),
        )
        rest = [entry for entry, is_marked in zip(texts[first:], marked[first:]) if not is_marked]
        return dict([*texts[:first], *of_channels, *rest])


def present(structure, *names):
    return {name: structure[name] for name in names if name in structure}


def limits_of(row):
    return {
        "IsMinimumSet": "Minimum" in row,
        "Minimum": row.get("Minimum", 0),
        "IsMaximumSet": "Maximum" in row,
        "Maximum": row.get("Maximum", 0),
    }


def type_of(row, stem, texts):
    if "Text" in row:
        shape = row["Text"]
        return {"Text": {
            "Maxlength": shape.get("Maxlength", LONGEST_TEXT),
            "Multiline": shape.get("Multiline", False),
            **present(shape, "Security"),
        }}
    if "Selection" in row:
        options = [
            {"Value": value, "Display": texts.english(f"{stem}.option.{value}")} for value in row["Selection"]
        ]
        return {"Selection": {"Mode": "SettingSelectionModeSingle", "Options": options}}
    kind = "IntegerSigned" if "IntegerSigned" in row else "Floatingpoint"
    return {kind: limits_of(row[kind])}


def setting_of(group, row, texts):
    stem = f"{group}.{row['Name']}"
    return {
        "Name": row["Name"],
        "Display": texts.english(stem + ".display"),
        "Help": texts.english(stem + ".help"),
        "Default": row["Default"],
        **present(row, "Flags"),
        **type_of(row, stem, texts),
    }


def row_of_channel(row, channel):
    filled = {name: for_channel(value, channel) if name in ("Name", "When") else value for name, value in row.items()}
    if channel == 1 and filled.get("When") == for_channel(SWITCH, 1) + "=enable":
        del filled["When"]
    return filled


def group_of(name, rows, texts):
    for_all = [row for row in rows if CHANNEL_MARK not in row["Name"]]
    for_channels = expand(rows, lambda row: row["Name"], lambda row_name: row_name == SWITCH, row_of_channel)
    items, before = [], set()
    for row in (*for_all, *for_channels):
        item = {"Setting": setting_of(name, row, texts)}
        if "When" in row:
            other, equals, condition = row["When"].partition("=")
            if not equals or other not in before:
                raise Refused(f"structure.json: {name}: nothing before it is {row['When']}")
            item |= {"DependsOn": other, "Condition": condition}
        before.add(row["Name"])
        items.append(item)
    return {"Name": name, "Items": items}


def sensor_of(kind, structure, texts):
    return {
        "Name": kind,
        "Display": texts.english(kind + ".display"),
        "Description": texts.english(kind + ".description"),
        "Help": texts.english(kind + ".help"),
        "ManualLink": structure["ManualLink"],
        "ResourceUsage": structure["ResourceUsage"],
        **present(structure, "RecommendedInterval"),
        "Compatibility": ["SystemCompatibilityIPv4", "SystemCompatibilityIPv6"],
        "Family": structure["Family"],
        **present(structure, "Flag"),
        "RequiredChecks": structure["RequiredChecks"],
        "Settings": {"Sections": structure["Sections"]},
        "Tags": structure["Tags"],
    }


def section_of(name, structure, texts):
    return {
        "Name": name,
        "Display": texts.english(name + ".display"),
        "Scope": structure["Scope"],
        "Groups": structure["Groups"],
    }


def lookup_of(name, structure, tables):
    described = structure["Values"]
    values = [
        {"Value": value, "Name": described[str(value)][0], "Display": text, "State": described[str(value)][1]}
        for lookup, value, text in tables["lookup_values"] if lookup == name
    ]
    if len(values) != len(described):
        raise Refused(f"structure.json: the catalogue has not all values of {name}")
    return {"Name": name, "Mode": structure["Mode"], "LookupValues": values}


def each(structure, member, build):
    """Builds one member for each member of a part of the structure."""
    built = {}
    for name, described in structure[member].items():
        try:
            built[name] = build(name, described)
        except (KeyError, IndexError) as error:
            raise Refused(f"structure.json: {member}: {name} lacks {error}") from error
    return built


def document_of(structure, texts, tables):
    """The document without its member "Text"."""
    missing = {lookup for lookup, _, _ in tables["lookup_values"]} - structure["Lookups"].keys()
    if missing:
        raise Refused(f"structure.json lacks {', '.join(sorted(missing))}")
    about = structure["MetaData"]
    return {
        "Revision": structure["Revision"],
        "MetaData": {
            "Vendor": about["Vendor"],
            "Name": about["Name"],
            "Display": texts.english("module.display"),
            "Description": texts.english("module.description"),
            "Contact": about["Contact"],
            "Version": tables["version"],
        },
        "Sensors": each(structure, "Sensors", lambda *sensor: sensor_of(*sensor, texts)),
        "MetaScans": {},
        "Checks": each(structure, "Checks", lambda name, sections: {"Name": name, "Sections": sections}),
        "Sections": each(structure, "Sections", lambda *section: section_of(*section, texts)),
        "Groups": each(structure, "Groups", lambda *group: group_of(*group, texts)),
        "Lookups": each(structure, "Lookups", lambda *lookup: lookup_of(*lookup, tables)),
    }


def texts_of(texts):
    """The document's member "Text"."""
    return {
        language: {"Translation": {key: {"Display": text} for key, text in translation.items()}}
        for language, translation in texts.languages.items()
    }


def read_sources(folder, tables_file):
    """@return the tables, the texts and the document"""
    tables = read_json(tables_file)
    texts = Texts(folder / "texts", tables)
    structure = read_json(folder / "structure.json")
    try:
        return tables, texts, document_of(structure, texts, tables)
    except KeyError as error:
        raise Refused(f"structure.json lacks {error}") from error
    except (AttributeError, TypeError) as error:
        raise Refused(f"structure.json has another shape: {error}") from error
