"""Groups by labels of the configuration, before a made-up probe."""
from fake_probe import FakeProbe
from page_view import LANGUAGES, PageView, expect

HOSTILE = "<img src=x onerror=\"document.title='broken'\">"
TITLES = "all('#groups .fold').map(title => title.textContent)"
TOLD = """all('#groups .group').map(group => [...group.querySelectorAll('.tally:not([hidden]) .number')]
    .reduce((sum, part) => sum + Number(part.textContent), 0))"""
CHOOSE = """((part, value) => { part.value = value; part.dispatchEvent(new Event('change')); })(one('#grouping'), a[0])"""


def labels_of(id):
    """Three plants, one with a hostile name; lines 1 and 10 of the first one; every seventh sensor has no label."""
    if id % 7 == 0:
        return {}
    return {"plant": ["north", "Hall 3", HOSTILE][id % 3]} | ({"line": "1" if id % 2 else "10"} if id % 3 == 0 else {})


def check_grouping(context):
    """The reader chooses servers or a label; groups count all of theirs; the choice is remembered, and in the address."""
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)
        expect(not page.run("one('#grouping').checkVisibility()"), "a choice without labels")
        probe.labels = labels_of
        page.show(probe.url)
        page.until("the choice", "one('#grouping').checkVisibility()")
        options = page.run("[...one('#grouping').options].map(option => option.textContent)")
        expect(options == ["Groups: server", "Groups: line", "Groups: plant"], f"options are {options}")
        expect(page.run("one('#grouping').getAttribute('aria-label')") == "Groups", "the choice has no name")
        expect(page.run(TITLES)[0].startswith("plc-0"), "not by server at first")
        page.run(CHOOSE, "plant")
        page.until("plants", "text(one('#groups'), '.fold') !== 'plc-0.plant.example:4840'")
        titles = page.run(TITLES)
        expect(set(titles[:3]) == {HOSTILE, "Hall 3", "north"} and titles[3:] == ["Without plant"], f"groups {titles}")
        expected = {title: 0 for title in titles}
        for id in range(1, 64):
            expected[labels_of(id).get("plant", "Without plant")] += 1
        told = dict(zip(titles, page.run(TOLD)))
        expect(told == expected, f"groups count {told}, not {expected}")
        expect(page.run("new Set(names('#sensors')).size === 63 && all('.sensor').length === 63"), "not each sensor once")
        expect(page.run("all('.down').length === 1"), "a server that is down is lost")
        expect(page.run("document.title") != "broken", "a label broke out")
        context.shot(page, "grouping")
        expect("group=plant" in page.run("location.hash"), "the address does not have it")
        page.show(probe.url)
        page.until("still plants", "text(one('#groups'), '.fold') !== 'plc-0.plant.example:4840'")
        page.show(probe.url + "#group=line")
        page.until("the address counts", "group('10') && group('1')")
        page.run("group('1').querySelector('.only').click()")
        ids = [id for id in range(1, 64) if labels_of(id).get("line") == "1"]
        page.until("line 1 alone", "text(one('#sensors'), '#shown').startsWith(a[0] + ' of')", str(len(ids)))
        page.show(probe.url + "#group=plant&search=plant%3DHall_3")
        page.until("a value with a blank", "all('#groups .group').length === 1 && Boolean(group('Hall 3'))")
        probe.labels = lambda id: {}
        page.show(probe.url)
        page.until("no label, so servers", "text(one('#groups'), '.fold') === 'plc-0.plant.example:4840'")


def check_grouping_everywhere(_):
    """By keyboard, on the phone, in all languages."""
    with FakeProbe(hostile=False) as probe, PageView(360, 720) as page:
        probe.labels = labels_of
        page.show(probe.url)
        for language in LANGUAGES:
            page.choose_language(language)
            page.until("the choice", "one('#grouping').checkVisibility()")
            expect(page.run("document.documentElement.scrollWidth <= innerWidth"), f"{language}: wider than the phone")
            words = page.run("[...one('#grouping').options].map(option => option.textContent)")
            expect(words[2].endswith("plant") and words[0] != words[2], f"{language}: {words}")
        height = page.run("one('#grouping').getBoundingClientRect().height")
        expect(height >= 24, f"{height} px are too small to be touched")
        page.run("one('#grouping').focus()")
        expect(page.run("document.activeElement.id") == "grouping", "it takes no focus")
