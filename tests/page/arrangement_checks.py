"""What the page shows where, before a made-up probe: faults first and large, what is well in a line."""
import re
import time

from fake_probe import DOWN, FINE, UNKNOWN, FakeProbe
from page_view import LANGUAGES, PageView, expect

LIVE_BY_DEFAULT = 63 - 9  # sensors of the servers that are not down


def check_head(_):
    """The head is one line from 1,024 px on, in all languages."""
    with FakeProbe() as probe, PageView() as page:
        for width in (1024, 1280, 1440):
            page.emulate(width, 800, False)
            page.show(probe.url)
            for language in LANGUAGES:
                page.choose_language(language)
                page.until("counts", "count('error') > 0")
                bottom, top = page.run("""((parts) => [Math.min(...parts.map(part => part.bottom)),
                    Math.max(...parts.map(part => part.top))])(all('.head > *, .count').filter(part =>
                    getComputedStyle(part).clipPath === 'none').map(part => part.getBoundingClientRect()))""")
                wide = page.run("one('.head').scrollWidth > one('.head').clientWidth")
                expect(top < bottom and not wide, f"{language} at {width}: more than a line")


def check_lines(context):
    """A healthy sensor is one line, a name is not cut beside a curve, and 63 sensors are no more than three screens."""
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        for width in (1280, 1440, 360):
            page.emulate(width, 800, False)
            page.show(probe.url)
            page.until("curves", "drawn(one('#faults'))")
            screens = page.run("screens()")
            context.note(f"63 sensors at {width} px: {screens:.1f} screens")
            expect(screens < (4 if width == 360 else 3), f"{screens:.1f} screens at {width} px")
            highest = page.run("Math.max(...all('#groups .sensor').map(row => row.offsetHeight))")
            expect(highest <= 26, f"a line of {highest} px at {width} px")
            cut = page.run("""all('.channel').filter(cell => {
                const [name, plot] = ['.channel-name', '.curve'].map(part => cell.querySelector(part));
                return cell.checkVisibility() && name.scrollWidth > name.clientWidth && plot.clientWidth > 0;
            }).map(cell => text(cell, '.channel-name'))""")
            expect(cut == [], f"cut beside a curve: {cut}")


def check_faults(_):
    """Errors before warnings; what is wrong comes first and large, with since when; what is new looks new."""
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)
        page.until("since when", "all('#faults .since').filter(since => since.checkVisibility()).length === 5")
        names = page.run("names('#faults')")
        expect(names == ["press-47", "pump-17", "pump-25", "boiler-8", "pump-9"], f"faults are {names}")
        heads = dict(zip(names, page.run("all('#faults > .sensor').map(row => row.querySelector('.fault').innerText)")))
        for name, said in {
            "press-47": r"Boiler Temperature\s9\d\.\d\d\s°C\s.*> 90\s°C\sNew Since \d+:\d\d [AP]M [12] min\. ago",
            "pump-17": re.escape(UNKNOWN) + r"\sSince \d+:\d\d [AP]M 15 min\. ago",
            "pump-25": r"Boiler Temperature\s9\d.*Since before \d+:\d\d [AP]M",
            "boiler-8": r"Boiler Temperature\s8\d.*> 80\s°C\sSince \d+:\d\d [AP]M (39|40) min\. ago",
            "pump-9": r"RAID controller\sBus degraded.*Warning by the module’s lookup\sSince \d+:\d\d [AP]M (19|20) min\. ago",
        }.items():
            words = re.sub(r"\s+", " ", heads[name])
            expect(re.search(said.replace(r"\s", " "), words), f"{name} says {words!r}")
        expect(FINE not in page.run("one('#faults').innerText"), "a faulty sensor says that all is well")
        sizes = page.run("""['.first .number', '.rest .number'].map(part =>
            parseFloat(getComputedStyle(one('#faults ' + part)).fontSize))""")
        expect(sizes[0] > 1.4 * sizes[1], f"the fault is {sizes[0]} px large, others {sizes[1]}")
        probe.hot[1] = (time.time(), "error")
        page.until("another fault in its place", "names('#faults')[1] === 'pump-1'")
        page.until("it looks new", "text(named('pump-1'), '.first .new') === 'New'")
        expect(page.run("getComputedStyle(named('pump-1')).boxShadow !== getComputedStyle(named('pump-25')).boxShadow"),
               "a new fault has no mark of its own")


def check_reasons(_):
    """Each fault says whether a limit, a range, a state or the module's lookup made it one, in the reader's language."""
    judged = {
        47: ({"cause": "above", "by_module": True}, r"Error\s>.90 °C \(module’s limit\)"),
        25: ({"cause": "above"}, r"Error\s>.90 °C$"),
        8: ({"cause": "inside", "limits": {}, "bad": {"warning": [80, 90]}}, r"Warning\s80 °C to 90 °C$"),
        19: ({"cause": "inside", "state": "error", "bad": {"error": [None, 90]}}, r"Error\s≤.90 °C$"),
        21: ({"cause": "stated", "state": "error"}, r"Error\sby the configuration$"),
        22: ({"cause": "lookup", "state": "error"}, r"Error\sby the module’s lookup$"),
        23: ({"cause": "no_number", "state": "warning", "value": "NaN"}, r"Warning\snot a number: it cannot be judged$"),
    }
    with FakeProbe() as probe, PageView() as page:
        probe.judged = {id: told for id, (told, _) in judged.items()}
        page.show(probe.url)
        flag = "all('#faults > .sensor').find(row => text(row, '.name').endsWith(a[0]))?.querySelector('.first .flag')"
        for id, (_, said) in judged.items():
            page.until(f"the fault of {id}", f"({flag.replace('a[0]', repr(f'-{id}'))})?.textContent")
            told = page.run(f"{flag}.textContent", f"-{id}")
            expect(re.search(said, told.strip().replace("\u00a0", " ")), f"{id}: {told!r}")
        page.choose_language("de")
        page.until("German", "one('#faults').textContent.includes('laut Konfiguration')")
        page.run("[...all('#faults .name')].find(name => name.textContent.endsWith('-8')).click()")
        page.until("the bad range in the details", "one('#faults').innerText.includes('Warnbereich')")


def check_down(_):
    """The sensors of a server that is down are folded under it, and its fault is told once."""
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)
        page.until("the server", "all('.down').length === 1")
        expect(page.run("document.body.innerText.split(a[0]).length - 1", DOWN) == 1, "its fault is not told once")
        expect(page.run("text(one('.down'), '.tallies .number')") == "9", "not all its sensors are counted")
        for shown in (True, False):
            page.run("one('.down .fold').click()")
            expect(page.run("one('.down .sensor').checkVisibility()") == shown, f"sensors shown: not {shown}")
            expect(page.run("document.body.innerText.split(a[0]).length - 1", DOWN) == 1, "its sensors repeat it")
        expect(page.run("shown().length") == LIVE_BY_DEFAULT, "folded sensors are shown")
        probe.down = {5}
        page.until("it is up, another down", "text(one('.down'), '.fold').startsWith('plc-5')")
        page.until("its sensors are among the others", "group('plc-6.plant.example:4840').matches('#groups > *')")


def check_groups(_):
    """Each sensor stands in one place; groups count all of theirs; servers with a single sensor share a group."""
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)
        page.until("all sensors", "all('.sensor').length === 63")
        expect(page.run("new Set(names('#sensors')).size") == 63, "a sensor stands twice")
        told = page.run("""all('.group .tally:not([hidden]) .number')
            .reduce((sum, part) => sum + Number(part.textContent), 0)""")
        expect(told == 63, f"groups count {told}")
        titles = page.run("all('#groups .fold').map(title => title.textContent)")
        expect(titles == [probe.address(number) for number in range(6)], f"groups are {titles}")
        page.run("group(a[0]).querySelector('.only').click()", probe.address(2))
        expect(page.run("shown().length") == 9, "others are shown, too")
    with FakeProbe(sensors=5, servers=5, hostile=False) as probe, PageView() as page:
        page.show(probe.url)
        page.until("one group", "all('#groups .group').length === 1 && all('#groups .sensor').length === 5")
        expect(page.run("text(one('#groups'), '.fold')") == "Servers with one sensor", "another title")


def check_digits(_):
    """Four digits that mean something at a glance, all of them in the details; axes with round values."""
    with FakeProbe(hostile=False) as probe, PageView() as page:
        page.show(probe.url + "#search=pump-33")
        page.until("its curves", "shown().length === 1 && drawn(shown()[0])")
        for value, short in (
            ("57.974", "57.97"), ("-0.00012345", "-0.0001234"), ("12345.678", "12346"), ("8295157937", "8295157937"),
            ("7.5", "7.5"), ("100.00", "100.0"), ("0.000", "0.000"), ("999.96", "1000.0"), ("1.5e+20", "1.5e+20"),
            ("-", "-"), ("", ""), ("nan", "nan"),
        ):
            shown, exact = page.run("""Promise.all([import('./numbers.js'), import('./texts.js')]).then(
                ([numbers, {texts}]) => [false, true].map(
                    exactly => numbers.value_text({value: a[0]}, new texts('en', {}), exactly)))""", value)
            expect((shown, exact) == (short, value), f"{value}: {shown}, in the details {exact}")
        number = "text(shown()[0], '.number')"
        expect(re.fullmatch(r"\d\d\.\d\d", page.run(number)), f"{page.run(number)} in the line")
        page.run("shown()[0].querySelector('.name').click()")
        expect(re.fullmatch(r"\d\d\.\d\d\d", page.run(number)), f"{page.run(number)} in the details")
        temperature, memory = page.run("""[...shown()[0].querySelectorAll('.channel')].slice(0, 2).map(
            cell => [...cell.querySelectorAll('.value-axis > *')].map(tick => [tick.textContent, tick.getBoundingClientRect().top]))""")
        for ticks, unit in ((temperature, "°C"), (memory, "GiB")):
            expect(len(ticks) > 1, f"an axis with {ticks}")
            expect(all(re.fullmatch(rf"\d+(\.[05])?\s{unit}", text) for text, _ in ticks), f"no round values: {ticks}")
            expect(sorted(ticks, key=lambda tick: -tick[1]) == sorted(ticks, key=lambda tick: float(tick[0].split()[0])),
                   f"larger values do not stand higher: {ticks}")
        times = page.run("[...one('.axis').children].map(part => part.textContent)")
        expect(len(set(times)) == 3, f"times under the curve: {times}")


def check_pictures(context):
    """The pictures of the documents: tests/page/run PROGRAMS --only pictures --screenshots docs"""
    with FakeProbe(hostile=False) as probe:
        for name, width, height in (("page", 1280, 800), ("page-phone", 360, 720)):
            with PageView(width, height) as page:
                page.show(probe.url)
                page.until("curves", "drawn(one('#faults'))")
                context.shot(page, name)
