"""What serve and the host are told: sensors on every server, through the proxies."""
import asyncio
import json
import pathlib
import ssl
import subprocess

VALUE_INTERVAL = 2.0  # seconds; of the sensor that reads the server's clock
STATUS_INTERVAL = 5.0
HOST_INTERVAL = 2.5
WORKERS = 24
CLOCK = "ns=2;s=Clock.Milliseconds"
USER, PASSWORD = "user1", "password1"

CONFIGURATION = f"""\
listen: {{port: 0}}
workers: {WORKERS}
pki: pki
modules:
  value: {{kind: custom_sensor, channels: ["Clock={CLOCK}"]}}
  status: {{kind: server_status_sensor}}
  secured_value: {{kind: custom_sensor, channels: ["Clock={CLOCK}"], settings:
    {{security_mode: sign_encrypt, user: {USER}, password: {PASSWORD}}}}}
  secured_status: {{kind: server_status_sensor, settings:
    {{security_mode: sign_encrypt, user: {USER}, password: {PASSWORD}}}}}
sensors:
"""


async def run(*command):
    """While the proxies go on."""
    child = await asyncio.create_subprocess_exec(
        *map(str, command), stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    output, _ = await child.communicate()
    if child.returncode != 0:
        raise RuntimeError(f"{command[1:3]}: {output.decode()}")


async def make_trust(probe, folder, plant):
    pki = folder / "pki"
    await run(probe, "certificate", "create", "--pki", pki, "--uri", "urn:soak:opcua-probe", "--name", "soak")
    for server in filter(plant.is_secured, range(plant.servers)):
        await run(
            probe, "trust", "accept", plant.addresses[server], "--pki", pki,
            "--fingerprint", plant.fingerprint(server))
    return pki


def write_configuration(folder, plant):
    lines = [CONFIGURATION]
    for server, address in enumerate(plant.addresses):
        kind = "secured_" if plant.is_secured(server) else ""
        for name, interval in (("value", VALUE_INTERVAL), ("status", STATUS_INTERVAL)):
            lines.append(f'  - {{name: {name}-{server}, module: {kind}{name}, target: "{address}", '
                         f"interval: {interval}s}}\n")
    path = folder / "serve.yaml"
    path.touch(mode=0o600)
    path.write_text("".join(lines))
    return path


def write_host_sensors(folder, plant, pki):
    own = ssl.DER_cert_to_PEM_cert(next((pki / "own/certs").iterdir()).read_bytes())
    key = next((pki / "own/private").iterdir()).read_text()
    path = folder / "host.jsonl"
    path.touch(mode=0o600)
    with path.open("w") as file:
        for server, address in enumerate(plant.addresses):
            host, port = address.split(":")
            credentials = {"connection_opcua": {"port": int(port)}}
            if plant.is_secured(server):
                credentials["connection_security"] = {
                    "security_mode": "sign_encrypt", "security_policy": "Basic256Sha256",
                    "client_certificate": own, "client_key": key}
                credentials["user_authentication"] = {
                    "user_auth_mode": "username_password", "user": USER, "password": PASSWORD}
            with_host = json.loads(json.dumps(credentials))
            with_host["connection_opcua"]["host"] = host
            common = {"host": host, "credentials": credentials}
            file.write(json.dumps({
                "id": server + 1,
                "record": {"kind": "custom_sensor", "settings": {
                    **common, "custom": {"connection_custom": {"channel1_nodeid": CLOCK}}}},
                "check": {"kind": "connection_check", "settings": common},
                "notification": {"kind": "opcua_notification", "settings": {
                    "credentials": with_host, "target": "ns=2;s=Write.Int64", "message": str(server),
                    "write.type": "Integer64"}}}) + "\n")
    return path


def paths(build):
    build = pathlib.Path(build).resolve()
    return {"probe": build / "bin/opcua-probe", "plants": build / "bin/soak_plants", "host": build / "bin/soak_host",
            "module": build / "lib/libOPCUA.so", "meter": build / "lib/libsoak_heap.so"}
