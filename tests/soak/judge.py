"""Sees what serve and the host say, second by second, and holds it against what is promised.

Machines are slow at times: what takes time is given much, and what can be counted or compared is judged exactly."""
import collections
import dataclasses
import statistics
import time

import settings
from plant import EXPECTED_SESSIONS
from schedule import Fault

LONGEST_ATTEMPT = 15.0  # seconds; one that began in a fault may end after it: time-outs of 5 s each
LONGEST_WAIT = 10.0  # of serve between two attempts, as its intervals are short
SLOW_MACHINE = 10.0  # seconds that scans may be late for no fault of anybody, and twice what the machine stood still
SLOW_SINCE = 60.0  # in so many seconds before
STANDSTILL = 1.0  # seconds that serve, the host or the servers were late for the soak: time-outs may have passed as well
SETTLED_AFTER = 15.0  # seconds after a fault: by then, servers have let go of sessions without clients


@dataclasses.dataclass
class Failure:
    check: str
    server: int
    fault: Fault
    when: float  # since the start
    text: str

    def __str__(self):
        befallen = f"last fault: {self.fault}" if self.fault else "no fault so far"
        where = f"server {self.server}, {befallen}" if self.server is not None else "whole program"
        return f"{self.check}: at {self.when:.1f} s, {where}: {self.text}"


@dataclasses.dataclass
class Server:
    fault: Fault = None  # the last one
    active: bool = False
    began: float = 0.0  # wall clock, as all that follows
    ended: float = 0.0
    awaited: set = dataclasses.field(default_factory=set)  # who has no value since the end


class Judge:
    def __init__(self, plant):
        self.plant = plant
        self.servers = [Server() for _ in range(plant.servers)]
        self.by_address = {address: number for number, address in enumerate(plant.addresses)}
        self.start = time.time()
        self.failures, self.seen = [], set()
        self.standstills = collections.deque(maxlen=1000)  # (end, seconds)
        self.doubtful, self.excused = [], 0  # failures that a slow machine may explain: (when, arguments of fail)
        self.failing = set()  # serve's sensors, by name
        self.seen_scans = {}  # serve's, by sensor: when the last one ended, and its value
        self.since = {}  # of serve's connections: when they came into their state, and whether that is ready
        # What is worth a line in serve's log: a server goes down, it is down for another reason than before, and one
        # sensor alone has no value.
        self.episodes, self.reasons, self.sensor_episodes = 0, 0, 0
        self.scans_of_host, self.stale_of_host, self.bad_of_host = {}, {}, {}
        self.recoveries = collections.defaultdict(list)  # by kind and who: (seconds, intervals)
        self.lost = collections.defaultdict(lambda: [0, 0])  # by kind: faults, failed scans of the host
        self.judged = collections.Counter()

    def fail(self, check, server, text):
        fault = self.servers[server].fault if server is not None else None
        key = (check, text.split()[0] if server is None else server, fault.number if fault else 0)
        if key not in self.seen:
            self.seen.add(key)
            self.failures.append(Failure(check, server, fault, time.time() - self.start, text))

    # A machine that stands still is nobody's fault.
    def stood_still(self, seconds):
        self.standstills.append((time.time(), seconds))

    def slow(self, now):
        return SLOW_MACHINE + 2 * sum(seconds for end, seconds in self.standstills if end > now - SLOW_SINCE)

    def doubt(self, *failure):
        """Fails unless the machine turns out to have stood still at that time."""
        self.doubtful.append((time.time(), failure))

    def settle_doubts(self, now):
        ripe = [one for one in self.doubtful if one[0] < now - 3]
        self.doubtful = self.doubtful[len(ripe):]
        for when, failure in ripe:
            if any(when - LONGEST_ATTEMPT < end and seconds >= STANDSTILL for end, seconds in self.standstills):
                self.excused += 1
            else:
                self.fail(*failure)

    # Faults come and go.
    def begin(self, fault):
        server = self.servers[fault.server]
        if server.awaited:
            self.give_up(fault.server, server, "the next fault has come")
        server.fault, server.active, server.began, server.awaited = fault, True, time.time(), set()
        self.lost[fault.kind.name][0] += 1

    def end(self, fault):
        server = self.servers[fault.server]
        server.active, server.ended = False, time.time()
        server.awaited = {"value", "status", "host"}

    def is_settled(self, number):
        server = self.servers[number]
        return not server.active and not server.awaited and time.time() - server.ended > SETTLED_AFTER

    def settled(self):
        return [number for number in range(len(self.servers)) if self.is_settled(number)]

    # What serve shows.
    def see_serve(self, state):
        now = time.time()
        connections = {self.by_address[one["address"].split(" ")[0]]: one for one in state["servers"]}
        for number, one in connections.items():
            self.see_connection(number, one, now)
        lanes = collections.defaultdict(float)
        for sensor in state["sensors"]:
            who, number = sensor["name"].split("-")
            number = int(number)
            lanes[number] = max(lanes[number], sensor["last_scan"] or 0)
            self.see_sensor(number, who, sensor)
        for number, last in lanes.items():
            server = self.servers[number]
            calm = not server.active and not server.awaited
            allowed = settings.VALUE_INTERVAL * 2 + self.slow(now) if calm else \
                LONGEST_WAIT + LONGEST_ATTEMPT + self.slow(now)
            if now - max(last, server.ended if calm else 0) > allowed:
                self.fail("lane", number, f"serve has not scanned it for {now - last:.1f} s")
        for number, server in enumerate(self.servers):
            self.see_late(number, server, now)
        self.settle_doubts(now)

    def see_connection(self, number, connection, now):
        since, was_ready = self.since.get(number, (connection["since"], True))
        is_ready = connection["state"] == "ready"
        if connection["since"] != since:
            self.episodes += was_ready  # when it is ready again, it was down between two looks
            self.reasons += not was_ready and not is_ready
        self.since[number] = connection["since"], is_ready
        announced = connection["next_attempt"] or 0
        if announced > now + LONGEST_WAIT + 1:
            self.fail("wait", number, f"serve waits {announced - now:.1f} s")

    def see_sensor(self, number, who, sensor):
        good, last = sensor["state"] == "ok", round(1000 * (sensor["last_scan"] or 0))
        if good == sensor["stale"]:
            self.fail("old value", number, f"{sensor['name']} is {sensor['state']} and stale: {sensor['stale']}")
        before, old_value = self.seen_scans.get(sensor["name"], (0, 0))
        if who == "value" and last != before:
            value = int(sensor["channels"][0]["raw"]) if good else old_value
            self.seen_scans[sensor["name"]] = last, value
            self.judged["value"] += good
            # Read between the ends of two scans. Of the former one it may be in the very millisecond of its end.
            if good and (value == old_value or not before <= value <= last):
                self.fail("old value", number, f"serve shows the value of {value} (ms) for the scan that ended at "
                                               f"{last}, after the value {old_value} and a scan that ended at {before}")
        server = self.servers[number]
        self.sensor_episodes += not good and self.since[number][1] and sensor["name"] not in self.failing
        (self.failing.discard if good else self.failing.add)(sensor["name"])
        if not good and server.active and server.fault.kind.harmless and last > 1000 * server.began + 500:
            self.doubt("harmless", number, f"serve's {sensor['name']} failed: {sensor['message']}")
        if not good and not server.active and not server.awaited:
            self.doubt("without a fault", number, f"serve's {sensor['name']} failed: {sensor['message']}")
        if good and who in server.awaited and sensor["last_good"] > server.ended:
            interval = settings.VALUE_INTERVAL if who == "value" else settings.STATUS_INTERVAL
            self.recovered(server, who, sensor["last_good"], interval)

    # What the host reports.
    def see_host(self, report):
        now = time.time()
        if report["strays"]:
            self.fail("host", None, f"{report['strays']} messages that belong to no call")
        for number, sensor in enumerate(report["sensors"]):
            server, last = self.servers[number], sensor.get("last")
            if last is None:
                continue
            self.judged["host value"] += sensor["scans"] - self.scans_of_host.get(number, sensor["scans"])
            self.scans_of_host[number] = sensor["scans"]
            if sensor["stale"] > self.stale_of_host.get(number, 0):
                self.fail("old value", number, f"the host got a value that is not of its scan: {last}")
            self.stale_of_host[number] = sensor["stale"]
            new_bad = sensor["bad"] - self.bad_of_host.get(number, 0)
            self.bad_of_host[number] = sensor["bad"]
            if new_bad and server.fault:
                self.lost[server.fault.kind.name][1] += new_bad
            bad_begin, good_begin = sensor["bad_begin"] / 1000, sensor["good_begin"] / 1000
            if new_bad and not server.active and not server.awaited and bad_begin > server.ended:
                self.doubt("without a fault", number, f"the host's scan failed: {last['text']}")
            if new_bad and server.active and server.fault.kind.harmless and bad_begin > server.began:
                self.doubt("harmless", number, f"the host's scan failed: {last['text']}")
            if "host" in server.awaited and good_begin > server.ended:
                self.recovered(server, "host", last["end"] / 1000, settings.HOST_INTERVAL)
            if now - last["end"] / 1000 > settings.HOST_INTERVAL * 2 + 2 * LONGEST_ATTEMPT + self.slow(now):
                self.fail("lane", number, f"the host has not scanned it for {now - last['end'] / 1000:.1f} s")

    def recovered(self, server, who, when, interval):
        server.awaited.discard(who)
        late = when - server.ended
        self.recoveries[server.fault.kind.name, who].append((late, late / interval))

    def see_late(self, number, server, now):
        if not server.awaited or server.active:
            return
        for who, wait in (("value", max(LONGEST_WAIT, 2 * settings.VALUE_INTERVAL)),
                          ("status", max(LONGEST_WAIT, 2 * settings.STATUS_INTERVAL)),
                          ("host", 2 * settings.HOST_INTERVAL)):
            if who in server.awaited and now > server.ended + LONGEST_ATTEMPT + wait + self.slow(now):
                self.give_up(number, server, f"{now - server.ended:.1f} s after the end")

    def give_up(self, number, server, why):
        who = ", ".join(sorted(server.awaited))
        self.fail("recovery", number, f"no good scan of {who} since the fault ended: {why}")

    # Figures for the table.
    def recovery_lines(self):
        for kind in sorted(self.lost):
            faults, bad = self.lost[kind]
            row = [f"{kind:<12}{faults:>7}{bad / faults:>16.1f}"]
            for who in ("value", "status", "host"):
                times = self.recoveries[kind, who]
                row.append(f"{statistics.median(t for t, _ in times):>8.1f} {max(t for t, _ in times):>5.1f}"
                           if times else f"{'-':>14}")
            yield "".join(row)

    def two_intervals(self, who):
        """How many recoveries there were, how many within two intervals, and the longest in seconds."""
        times = [one for (_, whom), all_of in self.recoveries.items() if whom == who for one in all_of]
        return len(times), sum(i <= 2 for _, i in times), max((t for t, _ in times), default=0)

    def see_sessions(self, counts):
        """Of settled servers; returns those that have another number than they should."""
        return [number for number in self.settled() if counts[number] != EXPECTED_SESSIONS]
