"""Nothing that the page shows as a fault is silent in Prometheus: each state that there is, made up, and each fault of
this stage."""
import json
import re

from checks import promtool
from stage import PROMETHEUS, ROOT, comes_true

PAGE = ROOT / "exporter/page"
SENSOR = {"instance": "probe", "server": "plc:4840", "sensor": "s", "kind": "k"}
JOBS = {"/metrics": {"job": "opcua-probe"}, "/probe": {"job": "opcua-targets", "module": "m"}}


def marks_of_page():
    """Which states of servers the page shows as no fault, and which of sensors and channels as one."""
    source = (PAGE / "model.js").read_text()
    servers = re.search(r"const server_marks = {(.*?)};", source)[1]
    sensors = re.search(r"const is_faulty = \({state}\) => (.*?);", source)[1]
    return set(re.findall(r"(\w+):", servers)), set(re.findall(r"state === '(\w+)'", sensors))


def states_in(text, family):
    """All states that the probe knows: a state set tells of each whether it holds."""
    return set(re.findall(rf'^{family}{{.*\b{family}="(\w+)"', text, re.MULTILINE))


def series(name, labels, value):
    text = ", ".join(f'{label}="{labels[label]}"' for label in labels)
    return {"series": f"{name}{{{text}}}", "values": f"{value}x60"}


def one_of(family, labels, states, holds):
    return [series(family, labels | {family: state}, int(state == holds)) for state in states]


def scraped(way, states, server, sensor, up):
    """What Prometheus has of one sensor; without states of it, nothing but that there was no result."""
    labels = SENSOR | JOBS[way]
    result = [series("opcua_up", labels, up)]
    if sensor is not None:
        of_server = {label: labels[label] for label in labels if label not in ("sensor", "kind")}
        result += one_of("opcua_connection_state", of_server, states["opcua_connection_state"], server)
        result += one_of("opcua_sensor_state", labels, states["opcua_sensor_state"], sensor)
    return result


def check_every_state_has_an_alert(stage):
    """Red is at least a warning, yellow at least told, and what is well raises nothing."""
    text = stage.ask_probe("/metrics")[1]
    states = {family: states_in(text, family) for family in ("opcua_connection_state", "opcua_sensor_state")}
    well, faulty = marks_of_page()
    assert well < states["opcua_connection_state"] and faulty < states["opcua_sensor_state"], (well, faulty, states)
    names = json.loads((PAGE / "texts/en.json").read_text())
    for prefix, family in (("server.", "opcua_connection_state"), ("state.", "opcua_sensor_state")):
        unnamed = {state for state in states[family] if prefix + state not in names}
        assert not unnamed, f"states that the page does not know: {unnamed}"
    cases = []
    for way in JOBS:
        cases += [(f"{way}, server {state}", scraped(way, states, state, "error", 0), "warning|critical")
                  for state in states["opcua_connection_state"] - well]
        cases += [(f"{way}, values, sensor {state}", scraped(way, states, "ready", state, 1),
                   "warning|critical" if state == "error" else ".+") for state in faulty]
        cases += [(f"{way}, no or old values, server {server}, sensor {state}",
                   scraped(way, states, server, state, 0), "warning|critical")
                  for state in states["opcua_sensor_state"] for server in well]
        cases += [(f"{way}, no result", scraped(way, states, None, None, 0), "warning|critical"),
                  (f"{way}, well", scraped(way, states, "ready", "ok", 1), "")]
    assert len({name for name, _, _ in cases}) == len(cases) >= 36, len(cases)
    tests = [{
        "name": name, "interval": "1m", "input_series": given,
        "promql_expr_test": [{
            "expr": f'count(ALERTS{{alertstate="firing", severity=~"{severities or ".+"}"}}) > bool 0', "eval_time": "30m",
            "exp_samples": [{"labels": "{}", "value": 1}] if severities else [],
        }],
    } for name, given, severities in cases]
    file = stage.folder / "every-state.yml"
    file.write_text(json.dumps(
        {"rule_files": [str(PROMETHEUS / "opcua-alerts.yml")], "evaluation_interval": "1m", "tests": tests}))
    promtool("test", "rules", file)


def check_page_is_not_silent(stage):
    """Each fault on the page, by a limit, a lookup, a state, a message or a rule, has an alert of its own or its server's."""
    well, faulty = marks_of_page()
    silent, causes = [], set()

    def is_told():
        page = json.loads(stage.ask_probe("/api/state")[1])
        alerts = [alert["labels"] for alert in stage.ask_prometheus("alerts")["alerts"]]
        told = {(labels.get("server"), labels.get("sensor")) for labels in alerts}
        servers = {server for server, sensor in told if sensor is None}
        silent[:] = [server["address"] for server in page["servers"]
                     if server["state"] not in well and server["address"] not in servers]
        for sensor in page["sensors"]:
            bad = [channel for channel in sensor["channels"] if channel["state"] in faulty]
            causes.update((channel["cause"], channel["state"]) for channel in bad)
            if sensor["state"] in faulty:
                if (sensor["server"], sensor["name"]) not in told and sensor["server"] not in servers:
                    silent.append(sensor["name"])
            elif bad:
                silent.append(f"{sensor['name']} looks well, its channels do not")
        return not silent

    assert comes_true(is_told), f"silent: {silent}"
    wanted = {("above", "error"), ("lookup", "error"), ("stated", "warning"), ("no_number", "warning")}
    assert wanted <= causes, f"this stage lacks {wanted - causes}"
    states = {one["name"]: one["state"] for one in json.loads(stage.ask_probe("/api/state")[1])["sensors"]}
    for name, state in (("message-1", "error"), ("lost-1", "warning")):
        assert states[name] == state, f"{name}: {states[name]}"


def check_outcomes(stage):
    """Scans are counted as what they were, by names that the document explains."""
    counted = set(re.findall(r'^opcua_probe_scans_total{.*outcome="(\w+)"', stage.ask_probe("/metrics")[1], re.MULTILINE))
    assert counted >= {"ok", "warning", "error", "not_connected"}, counted
    row = re.search(r"^\| `opcua_probe_scans_total`.*$", (ROOT / "docs/deploy.md").read_text(), re.MULTILINE)[0]
    unknown = {outcome for outcome in counted | {"failed"} if f"`{outcome}`" not in row}
    assert not unknown, f"not explained: {unknown}"
