"""A headless Chromium, driven by WebDriver over HTTP; the standard library alone, but for pictures."""
import base64
import io
import json
import os
import pathlib
import signal
import subprocess
import tempfile
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"  # the key of an element's id, fixed by the WebDriver standard
KEYS = {"tab": "\ue004", "enter": "\ue007", "escape": "\ue00c"}


class Browser:
    """Ends with the block that it is used in, and with it Chromium and its profile."""

    helpers = ""  # JavaScript that precedes each script

    def __init__(self, width=1440, height=900, language="en", dark=False):
        self.folder = tempfile.TemporaryDirectory(prefix="page-test-", ignore_cleanup_errors=True)
        profile = pathlib.Path(self.folder.name)
        self.driver = subprocess.Popen(
            ["chromedriver", "--port=0"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
            start_new_session=True, env=os.environ | {"HOME": self.folder.name},
        )
        try:
            line = next(line for line in self.driver.stdout if "successfully on port" in line)
            self.base = f"http://127.0.0.1:{line.rsplit('port', 1)[1].strip(' .' + chr(10))}"
            arguments = ["--headless=new", "--no-sandbox", "--disable-gpu", f"--user-data-dir={profile / 'profile'}",
                         f"--window-size={width},{height}", f"--lang={language}", "--disable-dev-shm-usage"]
            options = {"args": arguments, "prefs": {"intl.accept_languages": language}}
            wanted = {"browserName": "chrome", "goog:chromeOptions": options, "goog:loggingPrefs": {"browser": "ALL"}}
            session = self.ask("POST", "/session", {"capabilities": {"alwaysMatch": wanted}})
            self.base += f"/session/{session['sessionId']}"
            self.emulate(width, height, dark)
        except BaseException:
            self.close()
            raise

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        if "/session/" in getattr(self, "base", ""):
            try:
                self.ask("DELETE", "")
            except OSError:
                pass
        os.killpg(self.driver.pid, signal.SIGKILL)
        self.driver.wait()
        self.driver.stdout.close()
        self.folder.cleanup()

    def ask(self, method, path, body=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(self.base + path, data, {"Content-Type": "application/json"}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=60) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise RuntimeError(json.load(error)["value"]["message"].splitlines()[0]) from None

    def devtools(self, command, **parameters):
        return self.ask("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def emulate(self, width, height, dark):
        size = {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 600}
        self.devtools("Emulation.setDeviceMetricsOverride", **size)
        features = [{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]
        self.devtools("Emulation.setEmulatedMedia", features=features)

    def open(self, url):
        self.ask("POST", "/url", {"url": url})

    def run(self, script, *arguments):
        """The value of a JavaScript expression; arguments are there as a[0], a[1] ..."""
        script = f"const a = arguments; {self.helpers} return ({script});"
        return self.ask("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def keys(self, text):
        """Types as a keyboard does, into whatever has the focus."""
        strokes = [{"type": kind, "value": key} for key in text for kind in ("keyDown", "keyUp")]
        self.ask("POST", "/actions", {"actions": [{"type": "key", "id": "keyboard", "actions": strokes}]})

    def point(self, x, y):
        """Moves the mouse there."""
        move = {"type": "pointerMove", "duration": 0, "x": round(x), "y": round(y)}
        self.ask("POST", "/actions", {"actions": [{"type": "pointer", "id": "mouse", "actions": [move]}]})

    def until(self, what, script, *arguments, seconds=15):
        """Waits until the expression is truthy and returns it; fails after the deadline, naming what was awaited."""
        deadline = time.monotonic() + seconds
        while not (value := self.run(script, *arguments)):
            if time.monotonic() > deadline:
                raise AssertionError(f"not within {seconds} s: {what}")
            time.sleep(0.1)
        return value

    def complaints(self):
        """What the page logged as errors, refused content among them, since the last call."""
        lines = self.ask("POST", "/se/log", {"type": "browser"})
        return [line["message"] for line in lines if line["level"] == "SEVERE"]

    def screenshot(self, path):
        """With 256 colours, which is a third of the size."""
        from PIL import Image  # for pictures alone

        png = io.BytesIO(base64.b64decode(self.ask("GET", "/screenshot")))
        Image.open(png).convert("RGB").quantize(256, dither=Image.Dither.NONE).save(path, optimize=True)
