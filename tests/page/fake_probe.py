"""A probe that is none: serves the page with made-up sensors, for what no real plant shows on demand, such as hundreds
of sensors and names that are meant to break out.

    with FakeProbe(sensors=500, servers=40) as probe: ...        its page is at probe.url, until the block is left
"""
import http.server
import json
import math
import pathlib
import threading
import time
import urllib.parse

PAGE = pathlib.Path(__file__).resolve().parents[2] / "exporter/page"
HEADERS = {
    "Content-Security-Policy": "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; "
    "connect-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'",
    "X-Content-Type-Options": "nosniff",
    "Cache-Control": "no-store",
}
STEPS, STEP = 120, 30
RAID = [{"id": 0, "low": [1] * (STEPS - 40) + [2] * 40, "high": [1] * (STEPS - 40) + [2] * 40}]  # the lookup's curve
LIMITS = {"lower_error": 7, "lower_warning": 28, "upper_warning": 80, "upper_error": 90}
BYTES = 1e8  # of memory in one unit of a wave
DOWN = "The sensor could not connect to the OPC UA server (BadConnectionClosed)."
UNKNOWN = "The node ns=2;s=Press.Force could not be read (BadNodeIdUnknown)."
FINE = "All systems normal"
NAMES = ["Boiler Temperature", "Available Memory", "Uptime", "Return flow of the secondary circuit", "Requests"]
HOSTILE = "<img src=x onerror=\"document.title='broken'\">{name}</li>\u202e"


class FakeProbe:
    """What is wrong can be changed while the page looks on:

    down     numbers of servers that are not reached
    failing  ids of sensors whose scans fail
    hot      id of a sensor -> (since when, state): its first channel is beyond the limit of that state
    judged   id of a sensor -> what is told otherwise of its first channel
    names    id of a sensor -> its name, in place of a made-up one
    hint     what to do about servers that are down
    labels   id of a sensor -> its labels
    certificates  as the probe tells them

    Sensor 9 warns by a lookup, 12 was never scanned, and the names and texts of 2 are hostile unless told otherwise.
    """

    def __init__(self, sensors=63, servers=7, port=0, hostile=True):
        now = time.time()
        self.count, self.servers, self.revision, self.requests = sensors, servers, 1, []
        self.down, self.failing, self.hostile, self.names = {6}, {17}, hostile, {}
        self.hot = {25: (now - 5400, "error"), 47: (now - 130, "error"), 8: (now - 2400, "warning")}
        self.hint, self.certificates, self.judged = "", [], {}
        self.labels = lambda id: {}
        self.delay = 0  # of answers about the state, seconds
        self.at_once = self.most_at_once = 0  # such requests
        probe = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                probe.requests.append(self.path)
                try:
                    probe.answer(self)
                except ConnectionError:
                    pass  # the browser went away

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", port), Handler)
        self.server.daemon_threads = True
        self.url = f"http://127.0.0.1:{self.server.server_port}/"

    def __enter__(self):
        threading.Thread(target=self.server.serve_forever, daemon=True).start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.server.server_close()

    def answer(self, request):
        address = urllib.parse.urlsplit(request.path)
        query = dict(urllib.parse.parse_qsl(address.query))
        file = dict(line.split(maxsplit=1) for line in (PAGE / "assets.txt").read_text().splitlines())
        name = address.path.lstrip("/") or "index.html"
        if name == "api/state":
            self.at_once += 1
            self.most_at_once = max(self.most_at_once, self.at_once)
            time.sleep(self.delay)
            body, kind = json.dumps(self.state(query)).encode(), "application/json"
            self.at_once -= 1
        elif name == "api/curves":
            body, kind = json.dumps(self.curves(query)).encode(), "application/json"
        elif name in file:
            body, kind = (PAGE / name).read_bytes(), file[name]
        else:
            request.send_error(404)
            return
        request.send_response(200)
        for header, value in (HEADERS | {"Content-Type": kind, "Content-Length": len(body)}).items():
            request.send_header(header, value)
        request.end_headers()
        request.wfile.write(body)

    def state(self, query):
        self.revision += 1
        complete = "since" not in query
        return {
            "revision": self.revision, "now": time.time(), "version": "1.18.0", "complete": complete, "removed": [],
            "servers": [self.server_state(number) for number in range(self.servers)],
            "certificates": self.certificates,
            "sensors": [self.sensor(id) for id in range(1, self.count + 1) if complete or id % 5 == self.revision % 5],
        }

    def server_state(self, number):
        down = number in self.down
        return {
            "address": self.address(number), "state": "unreachable" if down else "ready",
            "message": DOWN if down else "", "hint": self.hint if down else "",
            "since": time.time() - (940 if down else 90000), "next_attempt": time.time() + 7 if down else None,
            "sensors": sum(id % self.servers == number for id in range(1, self.count + 1)), "sessions": 0 if down else 1,
        }

    def wave(self, id, number, moment):
        """A made-up measurement."""
        since, state = self.hot.get(id, (math.inf, ""))
        turn = math.sin(moment / (400 + 37 * (id % 7)) + id + number)
        if number == 1 and moment >= since:
            return (94 if state == "error" else 84) + 3 * turn
        return 60 + number + 9 * turn

    def fault(self, id):
        """Why the scans of a sensor fail; None when they do not."""
        return DOWN if id % self.servers in self.down else UNKNOWN if id in self.failing else None

    def sensor(self, id):
        now, fault, new, hostile = time.time(), self.fault(id), id == 12, self.hostile and id == 2
        channels = [] if new else [self.channel(id, number, now) for number in range(1, 2 + id % 5)]
        if id == 9:
            channels.append({"id": 0, "name": "RAID controller", "value": "Bus degraded", "unit": "", "raw": 2,
                             "scaled": 2, "state": "warning", "lookup": True, "difference": False,
                             "cause": "lookup", "by_module": True})
        worst = [state for state in ("error", "warning") if any(channel["state"] == state for channel in channels)]
        fine = FINE if id in self.hot or id % 6 == 0 else "OK"
        made_up = f"{['boiler', 'pump', 'tank', 'press'][id % 4]}-{id}"
        return {
            "id": id, "name": self.names.get(id, HOSTILE if hostile else made_up), "kind": "custom_sensor",
            "kind_name": "OPC UA Custom", "message": "" if new else fault or (HOSTILE if hostile else fine),
            "interval": 10.0, "stale": bool(fault), "channels": channels, "server": self.address(id % self.servers),
            "labels": self.labels(id),
            "state": "error" if fault else "pending" if new else worst[0] if worst else "ok",
            "last_scan": None if new else now, "last_good": None if new else now - (950 if fault else 1),
        }

    @staticmethod
    def address(number):
        return f"plc-{number}.plant.example:4840"

    def channel(self, id, number, now):
        raw = self.wave(id, number, now)
        state = "none" if number != 1 or 28 <= raw <= 80 else "warning" if 7 <= raw <= 90 else "error"
        value, unit, limits = f"{raw:.3f}", "/s" if number == 5 else "°C", {"limits": LIMITS} if number == 1 else {}
        if number == 2:
            raw *= BYTES
            value, unit = f"{raw / 1024 ** 3:.1f}", "GiB"
        elif number == 3:
            raw = 187200 + now % 3600
            value, unit = f"2 d {int(raw % 86400 // 3600)} h", ""
        name, unit = (HOSTILE, HOSTILE) if self.hostile and id == 2 else (NAMES[number - 1], unit)
        return {"id": number, "name": name, "value": value, "unit": unit, "raw": 10 * raw, "scaled": raw, "state": state,
                "lookup": False, "difference": number == 5, **limits, **(self.judged.get(id, {}) if number == 1 else {})}

    def curves(self, query):
        end = time.time() // STEP * STEP
        return {"step": STEP, "end": end, "sensors": [
            {"id": id, "channels": [self.curve(id, number, end) for number in range(1, 2 + id % 5)] + RAID * (id == 9)}
            for id in map(int, query["sensors"].split(","))]}

    def curve(self, id, number, end):
        factor = BYTES if number == 2 else 1
        middle = [self.wave(id, number, end - STEP * (STEPS - step)) * factor for step in range(STEPS)]
        for gap in range(40, 52) if id % 4 == 1 else []:
            middle[gap] = None
        if self.fault(id):
            middle[88:] = [None] * 32
        spread = (0.5 + id % 3) * factor
        low, high = ([value and value + side * spread for value in middle] for side in (-1, 1))
        return {"id": number, "low": low, "high": high}

