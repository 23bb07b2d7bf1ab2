"""The page before the real probe with two simulated plants."""
import pathlib
import re
import tempfile

from page_view import PageView, expect
from plant import HOSTILE_CHANNEL, HOSTILE_SENSOR, Plant

ALL_GOOD = "all(\".sensor[data-state='ok']\").length === 4"
MESSAGES = {"ja": "センサー", "de": "Der Sensor", "en": "The sensor"}


def check_plant(context):
    """Values move, a server goes and comes back, the probe itself goes and comes back."""
    with tempfile.TemporaryDirectory() as folder, \
            Plant(context.programs, pathlib.Path(folder)) as plant, PageView() as page:
        page.show(plant.url)
        page.until("all sensors good", ALL_GOOD, seconds=40)
        values_move(context, page)
        server_goes(context, page, plant)
        server_returns(page, plant)
        probe_restarts(context, page, plant)


def values_move(context, page):
    before = page.run("text(named('boiler-1'), '.value')")
    expect(re.fullmatch(r"[\d.]+ °C", before), f"a temperature is no {before!r}")
    page.until("a value moves by itself", "text(named('boiler-1'), '.value') !== a[0]", before)
    page.until("a curve of the last hour", "drawn(named('boiler-1'))", seconds=45)
    expect(page.run("text(named(a[0]), '.channel-name')", HOSTILE_SENSOR) == HOSTILE_CHANNEL, "hostile names")
    context.shot(page, "plant")


def server_goes(context, page, plant):
    plant.simulators[1].end()
    page.until("server unreachable", "text(group(a[0]), '.word') === 'Unreachable'", plant.addresses[1], seconds=40)
    page.until("its sensor fails, first in the list", "one('.sensor').dataset.state === 'error'", seconds=20)
    expect(page.run("text(one('.sensor'), '.name')") == "boiler-2", "another sensor failed")
    expect(page.run("one('.sensor').matches('.stale')"), "old values look like new ones")
    expect("boiler-2" in page.run("one('#changes').textContent"), "the failure is not announced")
    expect(page.run("document.title").startswith("(1)"), "the window's title has no count")
    for language, message in MESSAGES.items():
        page.choose_language(language)
        page.until(f"message in {language}", "text(one('.down'), '.message').startsWith(a[0])", message)
        context.shot(page, f"plant-server-down-{language}")


def server_returns(page, plant):
    plant.simulators[1].start()
    page.until("server ready again", "group(a[0]).dataset.state === 'ok'", plant.addresses[1], seconds=90)
    page.until("its sensor is good again", "named('boiler-2').matches('[data-state=ok]:not(.stale)')", seconds=30)


def probe_restarts(context, page, plant):
    colour = "getComputedStyle(one('.sensor .number')).color"
    before = page.run(colour)
    plant.probe.end()
    page.until("banner, as the probe is away", "!one('#banner').hidden", seconds=20)
    expect(page.run("shown().length") == 4, "the last values are gone")
    expect(page.run(colour) != before, "old values look like new ones")
    page.expect_contrast()
    context.shot(page, "plant-probe-away")
    plant.probe.start()
    page.until("the page finds the probe again", "one('#banner').hidden", seconds=60)
    page.until("sensors of the new run", ALL_GOOD, seconds=40)
