"""Two probes that share the servers as packaging/prometheus/sharded.yml deals them out, and a Prometheus that asks both."""
import hashlib
import re
import shutil

from stage import PROMETHEUS, comes_true, find_tool, free_port, query_of

PROBE = """\
listen: {port: 0}
modules:
  status: {kind: server_status_sensor, targets: ["127.0.0.1:*"]}
"""


def share_of(target):
    """The one of two shares to which Prometheus's hashmod deals a target."""
    return int.from_bytes(hashlib.md5(target.encode()).digest()[8:], "big") % 2


def start_servers(stage):
    """Two for each share, by share."""
    servers = ([], [])
    for number in range(40):
        server = stage.start(f"shared-{number}", r"opc\.tcp://(127\.0\.0\.1:\d+)", stage.programs / "opcua-simulator",
                             "--port", "0")
        servers[share_of(server)].append(server)
        if min(map(len, servers)) >= 2:
            return servers
    raise AssertionError(f"all servers are dealt to one share: {servers}")


def configuration(probes):
    """sharded.yml for these two probes, with short intervals."""
    text = (PROMETHEUS / "sharded.yml").read_text()
    text = re.sub(r'^ +- \{.*regex: "2".*\n', "", text, flags=re.MULTILINE)
    text = text.replace("modulus: 3", "modulus: 2").replace("[0-2]", "[0-1]").replace(', "probe-2.example:9840"', "")
    for number, probe in enumerate(probes):
        text = text.replace(f"probe-{number}.example:9840", probe)
    return re.sub(r"^(.*(?:_interval|scrape_timeout): )\d+s$", r"\g<1>2s", text, flags=re.MULTILINE)


def check_two_probes(stage):
    """Every server is up, and has a session with the probe of its share only."""
    folder = stage.folder / "shared"
    folder.mkdir()
    (folder / "probe.yaml").write_text(PROBE)
    probes = [stage.start(f"probe-{number}", r"Serving http://(127\.0\.0\.1:\d+)/", stage.programs / "opcua-probe", "serve",
                          "--config", folder / "probe.yaml") for number in range(2)]
    servers = start_servers(stage)
    (folder / "prometheus.yml").write_text(configuration(probes))
    shutil.copy(PROMETHEUS / "opcua-alerts.yml", folder)
    (folder / "opcua-targets.yml").write_text("- {targets: %s, labels: {__param_module: status}}\n" % sum(servers, []))
    address = f"127.0.0.1:{free_port()}"
    stage.start("prometheus-of-two", "(Server is ready)", find_tool("prometheus"), f"--config.file={folder}/prometheus.yml",
                f"--storage.tsdb.path={folder}/data", f"--web.listen-address={address}")

    def sessions():
        found = query_of(address, 'opcua_probe_sessions{job="opcua-probe"} == 1')
        return sorted((one["metric"]["instance"], one["metric"]["server"].split(" ")[0]) for one in found)

    expected = sorted((probe, server) for probe, share in zip(probes, servers) for server in share)
    assert comes_true(lambda: sessions() == expected), f"{sessions()}, expected {expected}"
    up = {one["metric"]["instance"] for one in query_of(address, 'opcua_up{job="opcua-targets"} == 1')}
    assert up == set(sum(servers, [])), f"up: {up}"
