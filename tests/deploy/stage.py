"""Two simulated plants, a probe that scans them, and a Prometheus that scrapes it as packaging/prometheus says: with the
lines for TLS and a password switched on, other addresses and short intervals. All on loopback."""
import base64
import contextlib
import json
import os
import pathlib
import re
import shutil
import socket
import ssl
import subprocess
import time
import urllib.error
import urllib.parse
import urllib.request

ROOT = pathlib.Path(__file__).resolve().parents[2]
PROMETHEUS = ROOT / "packaging/prometheus"
PASSWORD = "not \"simple\" at all"
PROBE = """\
listen:
  port: 0
  tls: {{certificate: opcua-probe-ca.pem, key: key.pem}}
  basic_auth: {{user: prometheus, password: {{file: opcua-probe-password}}}}
modules:
  status: {{kind: server_status_sensor, targets: ["127.0.0.1:*"]}}
  boiler: {{kind: custom_sensor, plain_password: allow, targets: ["127.0.0.1:*"], units: {{1: "°C"}},
           settings: {{user: user1, password: password1}},
           channels: ["Boiler=ns=2;s=Boiler.Temperature", "ns=2;s=Tank.Level"]}}
  certificate: {{kind: certificate_sensor}}
  ipc: {{kind: beckhoff_ipc_system_status_sensor}}
  beyond: {{kind: custom_sensor, channels: ["Level=ns=2;s=Tank.Level"], critical: {{Level: "~:-1"}}}}
  lookup: {{kind: custom_sensor, channels: ["Valve='ns=2;s=Array.Booleans'[1]"]}}
  stated: {{kind: custom_sensor, channels: ["Valve='ns=2;s=Array.Booleans'[1]"], states: {{Valve: {{"False": warning}}}}}}
  number: {{kind: custom_sensor, channels: ["Lost=ns=2;s=Value.NaN"], warning: "0:1"}}
  message: {{kind: custom_sensor, channels: ["Level=ns=2;s=Tank.Level"], message_node: "ns=2;s=Text.Status",
            message_states: {{"All*": critical}}}}
  lost: {{kind: custom_sensor, channels: ["ns=2;s=Tank.Level"], warning: {{Levl: "0:100"}}}}
  secured: {{kind: server_status_sensor, settings: {{security_mode: sign_encrypt}}}}
sensors:
  - {{name: status-1, module: status, target: "{well}", interval: 1s}}
  - {{name: boiler-1, module: boiler, target: "{well}", interval: 1s}}
  - {{name: certificate-1, module: certificate, target: "{well}", interval: 1s}}
  - {{name: certificate-2, module: certificate, target: "{expired}", interval: 1s}}
  - {{name: ipc-2, module: ipc, target: "{expired}", interval: 1s}}
  - {{name: status-3, module: status, target: "{dead}", interval: 1s}}
  - {{name: beyond-1, module: beyond, target: "{well}", interval: 1s}}
  - {{name: lookup-1, module: lookup, target: "{well}", interval: 1s}}
  - {{name: stated-1, module: stated, target: "{well}", interval: 1s}}
  - {{name: number-1, module: number, target: "{well}", interval: 1s}}
  - {{name: message-1, module: message, target: "{well}", interval: 1s}}
  - {{name: lost-1, module: lost, target: "{well}", interval: 1s}}
  - {{name: secured-1, module: secured, target: "{well}", interval: 1s}}
"""


def find_tool(name):
    """From the path, or where scripts/prometheus_tools unpacks it."""
    unpacked = ROOT / "build/prometheus/usr/bin" / name
    if not (found := shutil.which(name) or (unpacked.is_file() and str(unpacked))):
        raise SystemExit(f"deploy: {name} is not there: scripts/prometheus_tools fetches it")
    return found


def free_port():
    with socket.socket() as chosen:
        chosen.bind(("127.0.0.1", 0))
        return chosen.getsockname()[1]


def comes_true(condition, seconds=60):
    deadline = time.monotonic() + seconds
    while not (result := condition()) and time.monotonic() < deadline:
        time.sleep(0.2)
    return result


def ask(url, parameters):
    with urllib.request.urlopen(url + "?" + urllib.parse.urlencode(parameters), timeout=20) as answer:
        return json.load(answer)["data"]


def query_of(address, expression):
    """What a Prometheus knows now."""
    return ask(f"http://{address}/api/v1/query", {"query": expression})["result"]


def as_secured(text):
    """A configuration with the lines that are comments for those who need no TLS."""
    return re.sub(r"^( +)# (?=scheme:|tls_config:|basic_auth:)", r"\1", text, flags=re.MULTILINE)


class Stage(contextlib.ExitStack):
    """Everything ends with the block, and with this process, whatever happens."""

    def __init__(self, programs, folder):
        super().__init__()
        self.programs, self.folder = programs, folder
        os.umask(0o077)
        os.environ["STATE_DIRECTORY"] = str(folder / "state")  # of the probe

    def start(self, name, pattern, *command):
        """The first group of the first match in what the program says."""
        log = self.folder / f"{name}.log"
        with open(log, "wb") as output:
            child = subprocess.Popen(["setpriv", "--pdeathsig", "KILL", *map(str, command)], cwd=self.folder,
                                     stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)
        self.callback(self.end, child)
        found = comes_true(lambda: re.search(pattern, log.read_text(errors="replace")) or child.poll() is not None)
        assert isinstance(found, re.Match), f"{name} never said {pattern}, but: {log.read_text(errors='replace')[-500:]}"
        return found[1]

    @staticmethod
    def end(child):
        child.terminate()
        try:
            child.wait(15)
        except subprocess.TimeoutExpired:
            child.kill()
            child.wait()

    def set_up(self):
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                        "-days", "1", "-subj", "/CN=probe", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", "key.pem",
                        "-out", "opcua-probe-ca.pem"], cwd=self.folder, check=True, capture_output=True)
        (self.folder / "opcua-probe-password").write_text(PASSWORD)
        self.well, self.expired = [
            self.start(f"simulator-{number}", r"opc\.tcp://(127\.0\.0\.1:\d+)", self.programs / "opcua-simulator",
                       "--port", "0", "--users", "--security", "none,sign_encrypt", *more)
            for number, more in enumerate(([], ["--certificate-expired"]))]
        self.dead = f"127.0.0.1:{free_port()}"
        listener = self.enter_context(socket.create_server(("127.0.0.1", 0)))
        self.silent = f"127.0.0.1:{listener.getsockname()[1]}" # lets clients connect and says nothing
        (self.folder / "probe.yaml").write_text(PROBE.format(well=self.well, expired=self.expired, dead=self.dead))
        subprocess.run([self.programs / "opcua-probe", "certificate", "create", "--days", "20"], check=True,
                       capture_output=True)
        self.probe = self.start("probe", r"Serving https://(127\.0\.0\.1:\d+)/", self.programs / "opcua-probe", "serve",
                                "--config", "probe.yaml")
        self.tls = ssl.create_default_context(cafile=self.folder / "opcua-probe-ca.pem")
        assert comes_true(lambda: self.ask_probe("/readyz")[0] == 200), "not every sensor got a result"
        self.start_prometheus()

    def start_prometheus(self):
        text = as_secured((PROMETHEUS / "prometheus.yml").read_text()).replace("127.0.0.1:9840", self.probe)
        text = re.sub(r"^(.*(?:_interval|scrape_timeout): )\d+s$", r"\g<1>2s", text, flags=re.MULTILINE)
        (self.folder / "prometheus.yml").write_text(text)
        shutil.copy(PROMETHEUS / "opcua-alerts.yml", self.folder)
        targets = (PROMETHEUS / "opcua-targets.yml").read_text()
        targets = targets.replace("10.20.0.7:4840", self.well).replace("10.20.0.8:4840", self.dead)
        # And one that the module does not allow.
        targets += f'- {{targets: ["127.0.0.2:4840", "{self.silent}"], labels: {{__param_module: status}}}}\n'
        (self.folder / "opcua-targets.yml").write_text(targets)
        address = f"127.0.0.1:{free_port()}"
        self.start("prometheus", "(Server is ready)", find_tool("prometheus"), "--config.file=prometheus.yml",
                   "--storage.tsdb.path=data", f"--web.listen-address={address}")
        self.prometheus = f"http://{address}/api/v1/"

    def ask_probe(self, path, password=PASSWORD):
        """Status and text."""
        user = base64.b64encode(f"prometheus:{password}".encode()).decode()
        request = urllib.request.Request(f"https://{self.probe}{path}", headers={"Authorization": f"Basic {user}"})
        try:
            with urllib.request.urlopen(request, timeout=20, context=self.tls) as answer:
                return answer.status, answer.read().decode()
        except urllib.error.HTTPError as refusal:
            with refusal:
                return refusal.code, refusal.read().decode()

    def ask_prometheus(self, path, **parameters):
        return ask(self.prometheus + path, parameters)

    def query(self, expression):
        return self.ask_prometheus("query", query=expression)["result"]
