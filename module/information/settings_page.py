"""The reference page of sensors, settings, channels, lookups and texts, as Markdown."""
import re

HEAD = """\
# Sensors, settings, channels, lookups and errors

Made by the build from the sources of the module information; a test compares them. To \
renew it: `cmake --build --preset release --target settings_page`.

## Sensors
"""
CUSTOM_CHANNELS = """\
Channels 1 to 10 are what its settings say: integers for Boolean values, whole numbers, and \
dates and times (seconds since 1601-01-01 UTC), else floating-point numbers. Boolean values \
have the lookup `positive_boolean_lookup`.

What may surprise:

- Of a text, the number at its start counts, written with a decimal point and without \
separators of thousands: `12.5 °C` is 12.5, but `1,5` is 1, `1.234,5` is 1.234, `1 000` is 1, \
and `0x10` is 16. `nan` and `inf` at the start are numbers, too, in capitals or not: `nano` is \
NaN, which is no number, and `info` is infinite. Any other text fails the scan.
- A value that the server calls Uncertain fails the scan as a Bad one does, such as with \
UncertainLastUsableValue, and a scan that fails has no values of any channel.
- A name service that does not answer can take longer than the time-out of 5 s; see \
`embedding.md`.
"""
SETTINGS = """
## Settings

N is the number of a channel, 1 to 10. Channel 1 is always on and has no switch. A setting is \
shown only where the one that it depends on is shown, too. Beside these, every sensor has the \
settings of its host; see `embedding.md`.
"""
MARKDOWN = {"[br]": "<br>", "[b]": "**", "[/b]": "**", "[i]": "`", "[/i]": "`", "|": "\\|"}
# Longer ones are as long as anybody wants.
LONGEST_MENTIONED = 1000


def code(text):
    return f"`{text}`" if text else "-"


def codes(texts):
    return ", ".join(code(text) for text in texts) or "-"


def cell(text):
    """A text of users for a cell of a table."""
    return re.sub(r"\[br\]|\[/?[bi]\]|\|", lambda mark: MARKDOWN[mark[0]], text)


def table(head, rows):
    return "".join(f"| {' | '.join(row)} |\n" for row in (head, ["---"] * len(head), *rows))


def channels_of(kind, tables):
    if kind == "custom_sensor":
        return CUSTOM_CHANNELS
    rows = []
    for channel in tables["channels"][kind]:
        limits = [
            f"{state} below {channel[limit]:g}"
            for limit, state in (("lower_warning", "warning"), ("lower_error", "error")) if limit in channel
        ]
        rows.append((
            str(channel["id"]), channel["name"], channel["unit"] or "-", code(channel["lookup"]),
            ", ".join(limits) or "-",
        ))
    return table(("channel", "name", "unit", "lookup", "limits"), rows)


def sensor_part(sensor, tables):
    text = (
        f"\n### {sensor['Display']}\n\n{code(sensor['Name'])}. {sensor['Description']}. {sensor['Help']}\n\n"
        f"- settings: {codes(sensor['Settings']['Sections'])}\n- checks to run first: {codes(sensor['RequiredChecks'])}"
    )
    if "RecommendedInterval" in sensor:
        text += f"\n- recommended interval: {sensor['RecommendedInterval']} s"
    return text + "\n\n" + channels_of(sensor["Name"], tables)


def limits_of(number):
    minimum = f", at least {number['Minimum']}" if number["IsMinimumSet"] else ""
    return minimum + (f", at most {number['Maximum']}" if number["IsMaximumSet"] else "")


def values_of(setting):
    if "Selection" in setting:
        return ", ".join(code(option["Value"]) for option in setting["Selection"]["Options"])
    if "IntegerSigned" in setting:
        return "whole number" + limits_of(setting["IntegerSigned"])
    if "Floatingpoint" in setting:
        return "number" + limits_of(setting["Floatingpoint"])
    shape = setting["Text"]
    text = ("secret text" if "Security" in shape else "text") + (" of several lines" if shape["Multiline"] else "")
    short = shape["Maxlength"] < LONGEST_MENTIONED
    return text + (f", at most {shape['Maxlength']} characters" if short else "")


def of_all_channels(text):
    """ "channel2_name" stands for the settings of all channels."""
    return text.replace("channel2", "channelN").replace("#2", "#N")


def setting_row(item):
    setting = item["Setting"]
    when = f"{code(item['DependsOn'])} is {code(item['Condition'])}" if "DependsOn" in item else "always"
    return (
        of_all_channels(code(setting["Name"])), of_all_channels(setting["Display"]), values_of(setting),
        code(setting["Default"]), of_all_channels(when), cell(of_all_channels(setting["Help"])),
    )


def group_part(section, group):
    rows = [
        setting_row(item) for item in group["Items"]
        if not item["Setting"]["Name"].startswith("channel") or item["Setting"]["Name"].startswith("channel2")
    ]
    head = ("key", "display", "values", "default", "shown when", "help")
    return f"\n### `{section}.{group['Name']}....`\n\n" + table(head, rows)


def settings_page(tables, texts, document):
    lookups = [
        (code(name), str(value["Value"]), value["Display"], value["State"].removeprefix("LookupValueState"))
        for name, lookup in document["Lookups"].items() for value in lookup["LookupValues"]
    ]
    errors = [
        (code(key), cell(text)) for key, text in tables["messages"] if not key.startswith(("channel.", "lookup."))
    ]
    languages = [(language, str(len(translation))) for language, translation in texts.languages.items()]
    return "".join((
        HEAD, *(sensor_part(sensor, tables) for sensor in document["Sensors"].values()),
        SETTINGS, *(
            group_part(name, document["Groups"][group])
            for name, section in document["Sections"].items() for group in section["Groups"]
        ),
        "\n## Lookups\n\n", table(("lookup", "value", "text", "state"), lookups),
        "\n## Messages and errors\n\n`%0:s` and `%1:s` are filled with arguments.\n\n",
        table(("key", "English text"), errors),
        "\n## Languages\n\n", table(("language", "texts"), languages),
    ))
