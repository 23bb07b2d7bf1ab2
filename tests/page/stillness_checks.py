"""Nothing moves under the reader's hand: the page before a made-up probe whose faults come and go."""
import time

from browser import KEYS
from fake_probe import FakeProbe
from page_view import PageView, expect

ORDER = "names('#sensors')"
PLACE = "[box(read), box(read.previousElementSibling), box(read.nextElementSibling), scrollY]"


def all_goes_wrong(probe, page):
    """What is read fails, others fail and recover, a server goes and another comes back, names change."""
    id = int(page.run("read.querySelector('.of-sensor').id.split('-')[1]"))
    probe.failing = {id, 31}
    probe.hot = {1: (time.time(), "error")}
    probe.down = {5}
    page.until("all of it is known",
               "read.dataset.state === 'error' && count('error') === 12 && count('warning') === 1")


def hold_and_let_go(page, probe, take, leave):
    page.until("a sensor to read", "(window.read = all('#groups .sensor')[20], drawn(read))")
    take()
    time.sleep(0.5)
    order, place = page.run(ORDER), page.run(PLACE)
    all_goes_wrong(probe, page)
    time.sleep(2.5)  # another answer
    expect(page.run(ORDER) == order, "rows change their places")
    now = page.run(PLACE)
    expect(now == place, f"what is read or beside it moves: from {place} to {now}")
    leave()
    page.until("faults stand first",
               "read.parentElement.id === 'faults' && names('#faults').includes('pump-1')", seconds=5)
    expect(page.run("text(one('.down'), '.fold').startsWith('plc-5')"), "the server that is down")


def check_pointer(_):
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)

        def take():
            page.run("read.scrollIntoView({block: 'center'})")
            place = page.run("(({left, top}) => ({left, top}))(read.getBoundingClientRect())")
            page.point(place["left"] + 400, place["top"] + 10)

        hold_and_let_go(page, probe, take, lambda: page.point(600, 5))


def check_pointer_on_fault(_):
    """A large row keeps its size, and what is beside it, when its fault ends."""
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)
        page.until("a fault to read", "(window.read = named('pump-17')) && drawn(read)")
        top = page.run("box(read).top")
        page.point(400, top + 10)
        order, place = page.run(ORDER), page.run(PLACE)
        probe.failing, probe.hot, probe.down = set(), {}, set()
        page.until("all is well again", "read.dataset.state === 'ok' && count('error') === 0")
        expect((page.run(ORDER), page.run(PLACE)) == (order, place), "what is read moves")
        page.point(600, 5)
        page.until("no faults", "names('#faults').join() === 'pump-9' && all('.down').length === 0", seconds=5)


def check_focus(_):
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)

        def take():
            page.run("(read.scrollIntoView({block: 'center'}), read.querySelector('.name').focus())")
            page.keys(KEYS["enter"])
            page.until("the details", "read.matches('.opened') && read.querySelector('.value-axis > *')")

        def leave():
            page.run("one('#search').focus()")

        hold_and_let_go(page, probe, take, leave)


def check_hand_left_behind(_):
    """A mouse that was left on the list, as before a wall display, does not keep faults from their place for long."""
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)
        page.until("lines", "(window.read = all('#groups .sensor')[3]) && drawn(read)")
        page.point(400, page.run("box(read).top") + 10)
        probe.hot[1] = (time.time(), "error")
        page.until("a new fault is counted", "count('error') === 13")
        expect("pump-1" not in page.run("names('#faults')"), "it moves rows under the pointer")
        expect(page.run("one('#news').innerText") == "New faults: 1", "what is not in its place yet is not told")
        page.run("(clock => { performance.now = () => clock.call(performance) + 60001; })(performance.now)")
        page.until("it stands with the faults", "names('#faults').includes('pump-1')", seconds=6)
        page.until("nothing more to tell", "one('#news').hidden", seconds=6)


def check_news(_):
    """Who reads further down is told of new faults, and brought to them."""
    with FakeProbe(hostile=False) as probe, PageView(1280, 800) as page:
        page.show(probe.url)
        page.until("lines", "all('.sensor').length === 63")
        page.run("scrollTo(0, 900)")
        expect(page.run("one('#news').hidden"), "news without any")
        probe.hot[1] = (time.time(), "error")
        page.until("news", "one('#news').innerText === 'New faults: 1'")
        page.run("one('#news').click()")
        page.until("at the faults",
                   "scrollY === 0 && names('#faults').includes('pump-1') && one('#news').hidden", seconds=6)
