#!/usr/bin/env python3
"""Makes files of the module information from its sources; run by the build.

usage: generate.py pieces|page FOLDER TABLES OUTPUT

pieces: the C++ source file with the document. page: docs/settings.md. FOLDER holds structure.json and texts/, TABLES is
what information_tables prints. Exit codes: 0; 1 when the sources are not in order or the file cannot be written, which
standard error explains; 2 for wrong arguments. OUTPUT is left as it is when nothing changes, and when something is wrong.
"""
import json
import pathlib
import sys

from settings_page import settings_page
from sources import Refused, read_sources, texts_of

# Compilers need not take long literals.
LONGEST_PIECE = 5000


def pieces_of(text):
    rest = text.encode()
    while rest:
        length = min(len(rest), LONGEST_PIECE)
        while length < len(rest) and rest[length] & 0xC0 == 0x80:  # inside a character
            length -= 1
        yield rest[:length].decode()
        rest = rest[length:]


def literals(name, text):
    rows = "".join(f'R"~({piece})~",\n' for piece in pieces_of(text))
    return (
        f"std::span<const std::string_view> {name}() noexcept {{\n"
        f"static constexpr std::string_view pieces[]{{\n{rows}}};\nreturn pieces;\n}}\n"
    )


def document_pieces(_, texts, document):
    def dump(value):
        return json.dumps(value, ensure_ascii=False, allow_nan=False, separators=(",", ":"))

    return (
        "// Made by the build from module/information.\n"
        '#include "module/information/document_pieces.hpp"\n'
        "namespace tarvik::monitoring_modules::information {\n"
        + literals("document_head", dump(document).removesuffix("}"))
        + literals("document_texts", dump(texts_of(texts)))
        + "} // namespace tarvik::monitoring_modules::information\n"
    )


def main(words):
    makers = {"pieces": document_pieces, "page": settings_page}
    if len(words) != 4 or words[0] not in makers:
        print("usage: generate.py pieces|page FOLDER TABLES OUTPUT", file=sys.stderr)
        return 2
    folder, tables, output = map(pathlib.Path, words[1:])
    try:
        made = makers[words[0]](*read_sources(folder, tables)).encode()
        if not output.is_file() or output.read_bytes() != made:
            output.write_bytes(made)
        return 0
    except (Refused, OSError, ValueError) as error:
        print(f"The module information cannot be made: {error}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
