#!/usr/bin/env python3
"""Makes manual pages from what programs say to --help, so that no page can tell something else than the program.

usage: make_pages.py [--run-by "COMMAND WORD..."] FOLDER MODULE PROGRAM...

Writes FOLDER/man1/*.1.gz anew: a page for each program and one for each of its commands, which holds the commands of that
command, too. MODULE is libOPCUA.so, which
tells the sensors to the first program. Programs for another processor are run by COMMAND. Exit code 1, with the reason on standard error, for help that cannot be read.
"""
import gzip
import json
import pathlib
import re
import shlex
import shutil
import subprocess
import sys

MANUAL = "OPC UA monitoring"
# Where CLI11 begins the text of an option.
TEXT_COLUMN = 30
TITLES = {"Positionals": "Options", "Exit codes": "Exit status", "Subcommands": "Commands", "Example": "Examples"}
EVERY_COMMAND = "Options of every command"
# Those that stand first, and those that are parts of one of them.
FIRST, PARTS = ("Commands", "Options"), ("With ", EVERY_COMMAND)
# Sections of the program that its commands' pages repeat.
GENERAL = ("Exit status", "Environment")
FILES = [("entry", "/etc/opcua-probe/probe.yaml",
          "Configuration of the service opcua-probe.service. Files that it names relatively lie beside it."),
         ("entry", "/var/lib/opcua-probe/pki", "Certificates of that service. See opcua-probe-trust(1).")]
# Commands with the option that tells where certificates are, and the commands for these.
PKI, PKI_PAGES = "--pki DIR", ("opcua-probe-trust", "opcua-probe-certificate")
# What roff would take for its own, or show as a typographic sign.
ESCAPES = {"\\": r"\e", "-": r"\-", "'": r"\(aq", '"': r"\(dq", "`": r"\(ga", "^": r"\(ha", "~": r"\(ti"}
# "--port UINT:INT in [1 - 65535]=4840" or, of newer versions, "... [4840]"; "--set KEY=VALUE ...", "kind KIND REQUIRED",
# "--password-file FILE Needs: --user", "server HOST[:PORT] REQUIRED"
HEAD = re.compile(
    r"(?P<names>-\S+(?:, *-\S+)*|[a-z]+)"
    r"(?: (?P<type>\[[A-Z]+=\][A-Z]+|[A-Z]+\[:[A-Z]+\][^ ]*|[A-Z][^ :={]*(?:=[A-Z]+)?)"
    r"(?::(?:\{(?P<words>[^}]*)\}|[A-Z]+ in \[(?P<least>\S+) - (?P<most>[^]]+)\]))?"
    r"(?:[= ]\[+(?P<listed>[^]]*)\]+|=(?P<usual>\S+))?)?"
    r"(?P<several> \.\.\.)?(?P<required> REQUIRED)?(?: Needs: (?P<needs>\S+))?(?: Excludes: (?P<excludes>\S+))?"
)


run_by = []


def output_of(*call):
    return subprocess.run([*run_by, *call], text=True, capture_output=True, check=True).stdout


def escaped(text):
    code = "".join(ESCAPES.get(c, c) if c < "\x7f" else f"\\[u{ord(c):04X}]" for c in text)
    return r"\&" + code if code.startswith(".") else code


def bold(text):
    return rf"\fB{escaped(text)}\fR"


def italic(text):
    return rf"\fI{escaped(text)}\fR"


def sentence(text):
    return text if text.endswith((".", "?")) else text + "."


def number(text):
    return f"{float(text):.12g}"


def is_title(line, following):
    """ "Exit codes:", "Channels (custom_sensor only, 1 to 10):", with indented lines below"""
    words = line.split(" (")[0]
    return bool(re.match(r"\S.*:$", line)) and following.startswith("  ") and "," not in words and words.count(" ") < 3


def entry_of(line, following):
    """@return tag and text of "  tag    text"; text is empty when it stands in the next line; None for other lines"""
    line = re.sub(r"\]  (?=\.\.\.|REQUIRED|Needs:|Excludes:)", "] ", line)  # two blanks in newer versions
    gap = re.match(r"  (\S.*?)  +(\S.*)$", line)
    if gap:
        return gap.groups()
    if following.startswith(" " * (TEXT_COLUMN - 10)):
        return " ".join(line.split()), ""
    if line[:TEXT_COLUMN].endswith(("... ", "REQUIRED ")):
        return line[:TEXT_COLUMN].strip(), line[TEXT_COLUMN:]
    return None


def blocks_of(lines, typed):
    """@return ("text", words), ("entry", tag, words) and ("typed", lines)"""
    blocks, indented, whole = [], False, True
    for line, following in zip(lines, (*lines[1:], "")):
        was_indented, indented = indented, line.startswith("  ")
        entry = entry_of(line, following) if indented and not line.startswith("   ") and not typed else None
        goes_on = not whole and was_indented == indented
        if not line:
            whole = True
            continue
        if indented and (typed or (line.startswith("   ") and (whole or blocks[-1][0] != "entry"))):
            if whole or blocks[-1][0] != "typed":
                blocks.append(("typed", []))
            blocks[-1][1].append(line[2:])
        elif entry:
            blocks.append(("entry", *entry))
        elif line.startswith("   "):
            blocks[-1] = ("entry", blocks[-1][1], f"{blocks[-1][2]} {line.strip()}".strip())
        elif goes_on and blocks[-1][0] == "text":
            blocks[-1] = ("text", f"{blocks[-1][1]} {line.strip()}")
        else:
            blocks.append(("text", line.strip()))
        whole = False
    return blocks


class Help:
    """A help page taken apart: its first words, its usage, and its sections, {title: blocks}, of which the first has no
    title: it is what stands between the options and the first title of the texts below them."""

    def __init__(self, *call):
        lines = output_of(*call, "--help").splitlines() + [""]
        self.sections = {"": []}
        title, begin = "", 0
        for at, (line, following) in enumerate(zip(lines, (*lines[1:], ""))):
            begins = is_title(line, following)
            if begins or at + 1 == len(lines) or lines[begin:at][-2:] == ["", ""]:
                typed = title in ("Examples", "Configuration (YAML)")
                self.sections.setdefault(title, []).extend(blocks_of(lines[begin:at], typed))
                title = TITLES.get(line[:-1].capitalize(), line[:-1]) if begins else ""
                begin = at + begins
        head = next((text for kind, text, *_ in self.sections[""] if kind == "text" and "Usage: " in text), None)
        if not head:
            raise ValueError(f"{' '.join(map(str, call))}: no usage in its help")
        self.sections[""].remove(("text", head))
        about, _, self.usage = head.partition("Usage: ")
        self.about = sentence(about.strip())
        self.parts = {tag: Help(*call, tag) for tag in self.commands()} if len(call) > 1 else {}

    def options(self):
        """@return those of the command; where it has commands, those of all of them"""
        if self.parts:
            first, *others = (part.options() for part in self.parts.values())
            return [option for option in first if all(option in other for other in others)]
        return [block for block in self.sections["Options"] if block[0] == "entry"]

    def commands(self):
        return [tag for _, tag, _ in self.sections.get("Commands", [])]


def shape_of(head):
    if head["words"]:
        return head["words"].replace(",", "|")
    return "N" if head["type"] in ("UINT", "INT", "FLOAT") else head["type"]


def argument_of(head):
    """@return what stands for an argument: "kind" of "kind KIND", else what may be there, as HOST[:PORT]"""
    return head["names"] if head["type"] in (None, "TEXT", head["names"].upper()) else head["type"]


def option_of(tag, text):
    """@return roff for an option's tag, and sentences that say what CLI11 puts beside the tag"""
    head = HEAD.fullmatch(tag)
    if not head:
        return escaped(tag), text
    names = re.split(r", *", head["names"])
    code = ", ".join(bold(name) if name.startswith("-") else italic(argument_of(head)) for name in names)
    if head["type"] and names[0].startswith("-"):
        code += " " + italic(shape_of(head))
    usual = head["usual"] or head["listed"]
    sentences = [
        text,
        f"From {number(head['least'])} to {number(head['most'])}" if head["least"] else "",
        f"Default: {usual}" if usual else "",
        "May be given several times" if head["several"] else "",
        f"Needs {head['needs']}" if head["needs"] else "",
        f"Not together with {head['excludes']}" if head["excludes"] else "",
        "Required" if head["required"] else "",
    ]
    return code, " ".join(sentence(part) for part in sentences if part)


def roff_of(blocks, is_option_list=False):
    for block in blocks:
        if block[0] == "text":
            yield f".PP\n{escaped(block[1])}"
        elif block[0] == "typed":
            yield "\n".join([".PP\n.RS 2\n.nf", *map(escaped, block[1]), ".fi\n.RE"])
        elif block[0] == "command":
            _, tag, part, shared = block
            yield f'.SS "{synopsis_of(tag, part)}"\n.PP\n{escaped(part.about)}'
            yield from roff_of(part.sections[""])
            yield from roff_of([option for option in part.options() if option not in shared], True)
        elif is_option_list:
            tag, text = option_of(*block[1:])
            yield f".TP\n{tag}\n{escaped(text)}"
        else:
            yield f".TP\n{bold(block[1])}\n{escaped(block[2])}"


def synopsis_of(call, page):
    if page.parts:
        return "\n.br\n".join(synopsis_of(f"{call} {tag}", part) for tag, part in page.parts.items())
    if page.commands():
        return f"{bold(call)} [{italic('OPTION')}...] {italic('COMMAND')} [{italic('ARGUMENT')}...]"
    heads = [HEAD.fullmatch(tag) for _, tag, _ in page.options()]
    shown = {head["names"]: argument_of(head) for head in heads if head and not head["names"].startswith("-")}
    arguments = page.usage.partition("[OPTIONS]")[2].split()
    words = [bold(call), *(italic(re.sub("[a-z]+", lambda name: shown[name[0]], word)) for word in arguments)]
    words += [
        f"{bold(re.split(', *', head['names'])[-1])} {italic(shape_of(head))}"
        for head in heads if head and head["required"] and head["names"].startswith("-")
    ]
    return " ".join((*words, f"[{italic('OPTION')}...]"))


def rank(title):
    """@return where a section stands; the others keep their order"""
    if title in FIRST or title.startswith(PARTS):
        return FIRST.index(title) if title in FIRST else len(FIRST)
    return len(FIRST) + (2 if title == "Examples" else 1)


def page_of(call, page, version, see_also):
    name = call.replace(" ", "-")
    first = page.about.partition(". ")[0].rstrip(".")
    parts = [
        f'.TH {escaped(name.upper())} 1 "" "{escaped(version)}" "{MANUAL}"',
        f'.SH "NAME"\n{escaped(name)} \\- {escaped(first[0].lower() + first[1:])}',
        f'.SH "SYNOPSIS"\n{synopsis_of(call, page)}',
        f'.SH "DESCRIPTION"\n.PP\n{escaped(page.about)}',
    ]
    parts += roff_of(page.sections[""])
    for title in sorted(page.sections, key=rank):
        if title:
            name_of, more, rest = title.partition(" (")
            macro, shown = (".SS", title) if title.startswith(PARTS) else (".SH", name_of.upper() + more + rest)
            has_options = title.startswith(("Options", *PARTS))
            parts += [f'{macro} "{escaped(shown)}"', *roff_of(page.sections[title], has_options)]
    links = ", ".join(f"{bold(other)}(1)" for other in see_also if other != name)
    return name, "\n".join((*parts, f'.SH "SEE ALSO"\n{links}', ""))


def pages_of(program, version, added, others):
    """@return name and text of each page; added is {page: {title: blocks}}"""
    main = Help(program)
    commands = main.commands()
    own_pages = [f"{program.name}-{command}" for command in commands]
    if commands:
        main.sections["Commands"] = [
            ("entry", tag, f"{sentence(text)} See {program.name}-{tag}(1).")
            for _, tag, text in main.sections["Commands"]
        ]
    yield page_of(program.name, main, version, [*own_pages, *others])
    general = {title: main.sections[title] for title in GENERAL if title in main.sections}
    for command, name in zip(commands, own_pages):
        page = Help(program, command)
        page.sections[EVERY_COMMAND] = [option for option in main.options() if " " in option[1]]  # those with a value
        page.sections |= {**added.get(name, {}), **general}
        options = page.options()
        if page.parts:
            page.sections["Options"] = options
            page.sections["Commands"] = [("command", tag, part, options) for tag, part in page.parts.items()]
        related = PKI_PAGES if any(tag == PKI for _, tag, _ in options) else ()
        yield page_of(f"{program.name} {command}", page, version, [*others, *related])


def sensors_of(program, module):
    sensors = json.loads(output_of(program, "--module", module, "info", "--json"))["Sensors"].values()
    if not sensors:
        raise ValueError("the module tells of no sensors")
    return [("entry", sensor["Name"], f"{sensor['Description']}. {sensor['Help']}") for sensor in sensors]


def main(words):
    if words[:1] == ["--run-by"]:
        run_by.extend(shlex.split(words[1]))
        words = words[2:]
    if len(words) < 3:
        print("usage: make_pages.py [--run-by COMMAND] FOLDER MODULE PROGRAM...", file=sys.stderr)
        return 2
    folder, module, *programs = map(pathlib.Path, words)
    try:
        version = output_of(programs[0], "--version").strip()
        sensors = sensors_of(programs[0], module)
        added = {"opcua-probe-scan": {"Sensors": sensors}, "opcua-probe-serve": {"Files": FILES}}
        others = [program.name for program in programs]
        pages = [page for program in programs for page in pages_of(program, version, added, others)]
    except (ValueError, KeyError, OSError, subprocess.CalledProcessError) as error:
        print(f"make_pages: {error}", file=sys.stderr)
        return 1
    shutil.rmtree(folder, ignore_errors=True)
    (folder / "man1").mkdir(parents=True)
    for name, text in pages:
        (folder / f"man1/{name}.1.gz").write_bytes(gzip.compress(text.encode("ascii"), mtime=0))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
