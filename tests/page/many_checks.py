"""The page before a made-up probe with many sensors: what it needs of the screen and of the browser's time."""
import time

from fake_probe import FakeProbe
from page_view import PageView, expect

MEASURED = 5  # answers


class Cost:
    """What the browser's main thread does within the block."""

    def __init__(self, page):
        self.page = page
        page.devtools("Performance.enable")

    def seconds(self):
        metrics = self.page.devtools("Performance.getMetrics")["metrics"]
        return {metric["name"]: metric["value"] for metric in metrics}["TaskDuration"]

    def __enter__(self):
        self.before = self.seconds()
        return self

    def __exit__(self, *_):
        self.spent = self.seconds() - self.before


def update_cost(probe, page):
    """Milliseconds of the main thread for an answer in which each fifth sensor changed."""
    time.sleep(3)  # the first curves
    first = probe.revision
    with Cost(page) as cost:
        while probe.revision < first + MEASURED:
            time.sleep(0.1)
    return 1000 * cost.spent / MEASURED


def scroll_cost(page):
    """Milliseconds for each of 20 steps of most of a screen, each of them drawn."""
    with Cost(page) as cost:
        for step in range(20):
            page.run("""(scrollTo(0, a[0]), new Promise(
                seen => requestAnimationFrame(() => requestAnimationFrame(seen))))""", step * 600)
    return 1000 * cost.spent / 20


def show_many(context, probe, page):
    started = time.monotonic()
    page.show(probe.url)
    page.until("all rows", "all('.sensor').length === a[0]", probe.count, seconds=30)
    shown = time.monotonic() - started
    update, scroll = update_cost(probe, page), scroll_cost(page)
    screens, nodes = page.run("[screens(), all('*').length]")
    page.run("scrollTo(0, 0)")
    context.note(f"{probe.count} sensors: shown after {shown:.1f} s, {screens:.1f} screens, {nodes} elements, "
                 f"{update:.0f} ms an answer, {scroll:.0f} ms a step of scrolling")
    context.shot(page, f"{probe.count}-sensors")
    return screens, nodes, update, scroll


def check_500_sensors(context):
    """At most eight screens; curves only of rows that show some."""
    with FakeProbe(sensors=500, servers=40) as probe, PageView(1280, 800) as page:
        probe.hot |= {id: (time.time() - 1000, "warning") for id in range(50, 500, 45)}
        screens, _, update, _ = show_many(context, probe, page)
        expect(screens <= 8, f"{screens:.1f} screens")
        expect(update < 500, f"{update:.0f} ms for an answer")
        asked = {id for path in probe.requests if "curves" in path for id in path.split("=")[1].split(",")}
        expect(0 < len(asked) < 20, f"curves of {len(asked)} sensors were asked for")
        page.run("(window.row = named('boiler-400')).scrollIntoView({block: 'center'})")
        page.run("row.querySelector('.name').click()")
        page.until("the curves of one that is opened", "drawn(row)")


def check_2000_sensors(context):
    """No row is lost, and none costs much while nobody sees it."""
    with FakeProbe(sensors=2000, servers=150) as probe, PageView(1280, 800) as page:
        _, nodes, update, scroll = show_many(context, probe, page)
        expect(nodes < 60000, f"{nodes} elements")
        expect(update < 1000 and scroll < 500, f"{update:.0f} ms for an answer, {scroll:.0f} ms for a step")
        page.run("(window.last = named('press-1999')).scrollIntoView({block: 'center'})")
        page.until("values of a row that came into sight", "last.querySelector('.number')?.textContent")
        page.run("(one('#search').value = 'press-1999', one('#search').dispatchEvent(new Event('input')))")
        page.until("the one that is looked for", "shown().length === 1 && shown()[0] === last")
