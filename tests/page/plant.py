"""The programs under test as child processes: simulated plants, and `opcua-probe serve` in front of them."""
import re
import socket
import subprocess
import time

# Names that would break out of a page that took them for markup.
HOSTILE_SENSOR = "<script>document.title='broken'</script>"
HOSTILE_CHANNEL = "<b>&amp;</b><!--"

CONFIGURATION = """\
listen: {{port: {port}}}
modules:
  boiler: {{kind: custom_sensor, channels: ["Boiler=ns=2;s=Boiler.Temperature", "ns=2;s=Tank.Level"],
           units: {{1: "°C"}}, message_node: "ns=2;s=Text.Status"}}
  hostile: {{kind: custom_sensor, channels: ["{channel}=ns=2;s=Tank.Level"]}}
  status: {{kind: server_status_sensor}}
sensors:
  - {{name: boiler-1, module: boiler, target: "{first}", interval: 1s}}
  - {{name: status-1, module: status, target: "{first}", interval: 1s}}
  - {{name: "{sensor}", module: hostile, target: "{first}", interval: 1s}}
  - {{name: boiler-2, module: boiler, target: "{second}", interval: 1s}}
"""


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Program:
    def __init__(self, log, *command):
        self.log, self.command = log, command
        self.start()

    def start(self):
        with open(self.log, "wb") as output:
            self.process = subprocess.Popen(self.command, stdout=output, stderr=subprocess.STDOUT)

    def wait_for(self, pattern, seconds=20):
        """The first group of the first match in what the program says."""
        deadline = time.monotonic() + seconds
        while not (found := re.search(pattern, said := self.log.read_text(errors="replace"))):
            assert time.monotonic() < deadline, f"{self.command[0]} never said {pattern!r}, but: {said[-500:]}"
            time.sleep(0.05)
        return found[1]

    def end(self):
        self.process.terminate()
        try:
            self.process.wait(10)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()


class Plant:
    """Two simulators and the probe; all are ended with the block that this is used in."""

    def __init__(self, programs, folder):
        self.children, self.simulators, addresses = [], [], []
        self.folder, self.programs = folder, programs
        try:
            for _ in range(2):
                # The port is chosen here, so that a simulator can be started again on it.
                port = free_port()
                simulator = self.add(programs / "opcua-simulator", "--port", str(port), "--quiet")
                simulator.wait_for("(opc.tcp://)")
                self.simulators.append(simulator)
                addresses.append(f"127.0.0.1:{port}")
            configuration = folder / "serve.yml"
            configuration.write_text(CONFIGURATION.format(
                port=free_port(), first=addresses[0], second=addresses[1],
                sensor=HOSTILE_SENSOR, channel=HOSTILE_CHANNEL))
            self.addresses = addresses
            self.probe = self.add(programs / "opcua-probe", "serve", "--config", str(configuration))
            self.url = self.probe.wait_for(r"Serving (http://\S+)")
        except BaseException:
            self.__exit__()
            raise

    def add(self, *command):
        log = self.folder / f"program-{len(self.children)}.log"
        self.children.append(Program(log, *map(str, command)))
        return self.children[-1]

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for child in reversed(self.children):
            child.end()
