"""The page's files, and the page before a made-up probe."""
import json
import re
import time

from browser import KEYS
from fake_probe import HOSTILE, PAGE, FakeProbe
from page_view import LANGUAGES, PageView, expect


def check_texts(_):
    """All languages have the same keys in the same order with the same placeholders; the page uses exactly these."""
    tables = {language: json.loads((PAGE / f"texts/{language}.json").read_text()) for language in LANGUAGES}
    english = tables["en"]
    for language, table in tables.items():
        expect(list(table) == list(english), f"{language}: other keys: {set(table) ^ set(english)}")
        for key, text in table.items():
            same = sorted(re.findall(r"{\w*}", text)) == sorted(re.findall(r"{\w*}", english[key]))
            expect(text.strip() and same, f"{language}: {key}: {text!r}")
    source = "".join(path.read_text() for path in [*PAGE.glob("*.js"), PAGE / "index.html"])
    families = re.findall(r"`(\w+\.)\${", source)
    for key in english:
        used = re.search(rf"['\"]{re.escape(key)}['\"]", source) or key.startswith(tuple(families))
        expect(used, f"{key} is used nowhere")
    for key in re.findall(r"(?:(?:texts|words)\.get\(|data-(?:text|label)=)['\"]([\w.]+)['\"]", source):
        expect(key in english, f"{key} has no text")


def check_assets(_):
    listed = [line.split()[0] for line in (PAGE / "assets.txt").read_text().splitlines()]
    files = {path.relative_to(PAGE).as_posix() for path in PAGE.rglob("*") if path.is_file()} - {"assets.txt"}
    expect(sorted(listed) == sorted(files), f"listed and there differ: {set(listed) ^ files}")


def check_search(_):
    with FakeProbe() as probe, PageView() as page:
        page.show(probe.url)
        page.keys("/")
        expect(page.run("document.activeElement.id") == "search", "/ does not focus the search")
        page.keys("PUMP memory")
        page.until("the search narrows the list", "shown().length < 20")
        expect(page.run("shown().every(row => /^pump/.test(text(row, '.name')))"), "others are shown")
        expect("search=PUMP+memory" in page.run("location.hash"), "the address does not keep the search")
        page.keys(KEYS["escape"])
        page.until("Escape clears the search", "all('.sensor').length === 63")
        page.show(probe.url + "#state=error&language=fr")
        page.until("only errors, from the address", "shown().every(row => row.dataset.state === 'error')")
        expect(page.run("document.documentElement.lang") == "fr", "the address does not keep the language")


def check_keyboard(_):
    with FakeProbe() as probe, PageView() as page:
        page.show(probe.url + "#state=error")
        reached, deadline = [], time.monotonic() + 30
        while "name" not in reached and time.monotonic() < deadline:
            page.keys(KEYS["tab"])
            reached.append(page.run("document.activeElement.classList[0] ?? document.activeElement.id"))
        order = list(dict.fromkeys(reached))
        expect(order == ["skip", "count", "search", "language", "quiet", "fold", "only", "name"], f"Tab reaches {order}")
        for opened in (True, False):
            page.keys(KEYS["enter"])
            expect(page.run("document.activeElement.ariaExpanded") == str(opened).lower(), f"opened: not {opened}")
            axis = page.run("document.activeElement.closest('.sensor').querySelector('.axis').checkVisibility()")
            expect(axis == opened, f"details shown: not {opened}")


def check_hostile_texts(_):
    """Whatever stands in names, units and messages is shown as text, and nothing of it is loaded or run."""
    with FakeProbe() as probe, PageView() as page:
        page.show(probe.url + "#search=onerror")
        page.until("the sensor", "shown().length === 1 && shown()[0].querySelector('.unit')")
        for part in (".name", ".message", ".channel-name", ".unit"):
            expect(page.run("text(shown()[0], a[0])", part) == HOSTILE, f"{part} is changed")
        expect(page.run("all('img, script:not([src])').length") == 0, "markup was taken for markup")
        expect(page.run("document.title").endswith("OPC UA probe"), "a script ran")
        complaints = page.complaints()
        expect(complaints == [], f"the browser complains: {complaints}")


def check_looks(context):
    """No sideways scrolling in any language, a telephone included; contrast of all texts in light and dark."""
    grounds = set()
    with FakeProbe() as probe, PageView() as page:
        for theme in ("light", "dark"):
            for width in (360, 1024, 1440):
                page.emulate(width, 900, theme == "dark")
                page.show(probe.url)
                page.until("curves", "drawn(document)")
                for language in LANGUAGES:
                    page.choose_language(language)
                    wide = page.run("document.documentElement.scrollWidth")
                    expect(wide <= width, f"{language}: {wide} px at {width}")
                    if language in ("de", "en", "ja"):
                        context.shot(page, f"{width}-{theme}-{language}")
                page.expect_contrast()
            grounds.add(page.run("getComputedStyle(document.body).backgroundColor"))
            page.run("[...all('.large .name'), ...all('#groups .name')].slice(0, 6).forEach(name => name.click())")
            page.expect_contrast()
            context.shot(page, f"details-{theme}")
    expect(len(grounds) == 2, "dark looks like light")


def check_curves(_):
    with FakeProbe() as probe, PageView() as page:
        page.show(probe.url + "#search=pump-33")
        page.until("curves", "shown().length === 1 && drawn(shown()[0])")
        gaps = page.run("shown()[0].querySelector('.trace').getAttribute('d').split('M').length - 2")
        expect(gaps == 1, f"{gaps} gaps for one gap in the scans")
        temperature, memory = page.run("[...shown()[0].querySelectorAll('title')].slice(0, 2).map(t => t.textContent)")
        value = r"([\d.]+)\s°C"
        said = rf"Boiler Temperature, last hour: minimum {value}, maximum {value}, now {value}"
        told = re.fullmatch(said, temperature)
        expect(told, f"label {temperature!r}")
        lowest, highest, now = map(float, told.groups())
        expect(lowest - 0.01 <= now <= highest + 0.01 and lowest > 40, f"curve and value differ in scale: {temperature!r}")
        expect(re.search(r"minimum \d\.\d+\sGiB", memory), f"bytes are not shown as the value is: {memory!r}")


def check_languages(_):
    """Numbers, time spans and colons are written as the reader's language does."""
    with FakeProbe() as probe, PageView() as page:
        page.show(probe.url + "#search=pump-33")
        page.until("curves", "shown().length === 1 && drawn(shown()[0])")
        page.run("shown()[0].querySelector('.name').click()")
        for language, sign, span, colon in (
            ("en", ".", "2 days # hr", ": "), ("de", ",", "2 Tg. # Std.", ": "), ("fr", ",", "2 j # h", "\u00a0: "),
            ("ja", ".", "2 日 # 時間", "："),
        ):
            page.choose_language(language)
            hint = page.run("shown()[0].querySelector('.age').title")
            expect(re.match(rf"[^:：\u00a0]*[^:：\s]{colon}\S", hint), f"{language}: hint {hint!r}")
            for part in (".number", "title", ".facts"):  # the value, the curve's words, the details
                temperature, uptime = page.run(
                    "[0, 2].map(place => text(shown()[0].querySelectorAll('.channel')[place], a[0]))", part)
                signs = set(re.findall(r"\d([.,])\d", temperature))
                expect(signs == {sign}, f"{language}: {temperature!r}")
                if part != ".facts":
                    words = re.sub(r"\d+( \w+\.?)$", r"#\1", re.sub(r"\s", " ", uptime))
                    expect(words.endswith(span), f"{language}: {uptime!r}")


def check_trust(_):
    """What to do about a server stands behind what is wrong; certificates are listed, the one that ends first on top."""
    with FakeProbe() as probe, PageView() as page:
        page.show(probe.url)
        expect(page.run("one('#certificates').hidden"), "there are no certificates, but they are shown")
        probe.hint = "If it is the right one: opcua-probe trust accept plc"
        probe.certificates = [
            {"server": "plc-1:4840", "name": "PLC <b>1</b>", "days": 200}, {"server": "", "name": "opcua-probe", "days": 12}]
        page.until("the hint", "one('#down').textContent.includes('(BadConnectionClosed). If it is the right one')")
        page.until("certificates", "!one('#certificates').hidden")
        shown = page.run("one('#certificates').textContent")
        expect("12 days" in shown and shown.index("This probe") < shown.index("plc-1:4840"), shown)
        expect("PLC <b>1</b>" in shown and page.run("one('#certificates').dataset.state") == "warning", shown)


def check_slow_probe(_):
    """Requests do not pile up before a probe that answers slowly."""
    with FakeProbe() as probe, PageView() as page:
        page.show(probe.url)
        probe.delay, probe.most_at_once = 3, 0
        time.sleep(10)
        expect(probe.most_at_once == 1, f"{probe.most_at_once} requests at once")


def check_empty(context):
    with FakeProbe(sensors=0, servers=0) as probe, PageView() as page:
        page.show(probe.url, rows=False)
        page.until("what to do without sensors", "one('#empty').innerText.includes('custom_sensor')")
        context.shot(page, "empty")
