"""What is checked of docs/deploy.md and of the files in packaging/ that it speaks of."""
import collections
import json
import os
import re
import shutil
import subprocess

from shard_checks import check_two_probes  # noqa: F401
from stage import PROMETHEUS, ROOT, as_secured, comes_true, find_tool

DASHBOARD = ROOT / "packaging/grafana/opcua-overview.json"
DOCUMENT = ROOT / "docs/deploy.md"
SELECTOR = re.compile(r"\b((?:opcua|process)_\w+|up)(\{[^}]*\})?(?![\w(])")
NOT_IN_TESTS = ("server", "sensor", "instance", "job", "module", "name")  # labels whose values are made up there


# What promtool says against names on purpose: keys are as long as their bits, and certificates end after days, wherever one
# reads of them.
ACCEPTED = {
    'opcua_certificate_public_key_length_bits use base unit "bytes" instead of "bits"',
    'opcua_probe_own_certificate_remaining_days use base unit "seconds" instead of "days"',
    'opcua_probe_server_certificate_remaining_days use base unit "seconds" instead of "days"',
}


def promtool(*arguments, **more):
    ran = subprocess.run([find_tool("promtool"), *map(str, arguments)], capture_output=True, text=True, timeout=60, **more)
    said = ran.stdout + ran.stderr
    if said and ACCEPTED.issuperset(said.splitlines()):
        return ""
    assert ran.returncode == 0, f"promtool {arguments[:2]}: {said[-1500:]}"
    return said


def check_configuration(stage):
    promtool("check", "config", PROMETHEUS / "prometheus.yml")
    promtool("check", "config", PROMETHEUS / "sharded.yml")
    original = (PROMETHEUS / "prometheus.yml").read_text()
    assert as_secured(original).count("\n    basic_auth:") == 2, "a job has no password line"
    promtool("check", "config", stage.folder / "prometheus.yml")
    promtool("check", "rules", PROMETHEUS / "opcua-alerts.yml")
    promtool("test", "rules", PROMETHEUS / "opcua-alerts-test.yml")


def check_shards(stage):
    """Each target is dealt to one probe, the same one for all its modules, and each probe gets some."""
    folder = stage.folder / "sharded"
    folder.mkdir()
    for file in ("sharded.yml", "opcua-alerts.yml"):
        shutil.copy(PROMETHEUS / file, folder)
    servers = [f"10.20.{host // 100}.{host % 100}:4840" for host in range(300)]
    (folder / "opcua-targets.yml").write_text("".join(
        f"- {{targets: {json.dumps(servers)}, labels: {{__param_module: {module}}}}}\n" for module in ("status", "boiler")))
    said = promtool("check", "service-discovery", "--timeout=5s", folder / "sharded.yml", "opcua-targets", cwd=folder)
    found = [one["labels"] for one in json.loads(said[:said.rindex("\n]") + 2])]
    probes = collections.defaultdict(set)
    for labels in found:
        probes[labels["__param_target"]].add(labels["__address__"])
        assert labels["instance"] == labels["__param_target"] and labels["module"] == labels["__param_module"], labels
    assert len(found) == 600 and set(probes) == set(servers), f"{len(found)} targets, {len(probes)} servers"
    loads = collections.Counter(address for of_server in probes.values() for address in of_server)
    assert sorted(loads) == [f"probe-{number}.example:9840" for number in range(3)], loads
    assert sum(loads.values()) == 300 and min(loads.values()) > 60, loads


def exposed(stage):
    """The names of all families, from /metrics and /probe, with promtool's approval."""
    names = set()
    for path in ("/metrics", f"/probe?target={stage.well}&module=status", f"/probe?target={stage.dead}&module=status"):
        status, text = stage.ask_probe(path)
        assert status == 200 and text, f"{path}: {status}"
        said = promtool("check", "metrics", input=text)
        assert not said, f"promtool about {path}: {said}"
        names.update(re.findall(r"^# TYPE (\S+)", text, re.MULTILINE))
    return names


def check_metrics_table(stage):
    """What is exposed is documented, and nothing else is."""
    section = DOCUMENT.read_text().split("\n## Metrics\n")[1].split("\n## ")[0]
    documented = set(re.findall(r"`((?:opcua|process)_[a-z_]+)`", section))
    names = {name for name in exposed(stage) if not name.startswith("opcua_custom_")}
    assert documented == names, f"only documented {documented - names}, only exposed {names - documented}"


def check_access(stage):
    assert stage.ask_probe("/metrics", password="wrong")[0] == 401
    assert stage.ask_probe("/probe?target=127.0.0.2:4840&module=status")[0] == 403


def expressions(board):
    """Title and expression of each panel's query, as Grafana would send them with everything chosen."""
    for panel in board["panels"]:
        for target in panel.get("targets", ()):
            text = target["expr"].replace("$__rate_interval", "1m").replace("$job", "opcua-probe|opcua-targets")
            yield panel["title"], re.sub(r"\$(server|sensor)\b", ".*", text)


def check_dashboard(stage):
    text = DASHBOARD.read_text()
    board = json.loads(text)
    variables = {variable["name"] for variable in board["templating"]["list"]}
    used = set(re.findall(r"\$\{?(\w+)", text)) - {"__rate_interval", "__all"}
    assert used == variables, f"variables used {used}, defined {variables}"
    sources = set(re.findall(r'"uid": "([^"]*)"', text)) - {board["uid"]}
    assert sources == {"${datasource}"} and board["id"] is None, sources
    ids = [panel["id"] for panel in board["panels"]]
    assert len(set(ids)) == len(ids), "a panel's id stands twice"
    taken = {}
    for panel in board["panels"]:
        place = panel["gridPos"]
        assert place["x"] + place["w"] <= 24, panel["title"]
        for cell in ((x, y) for x in range(place["x"], place["x"] + place["w"])
                     for y in range(place["y"], place["y"] + place["h"])):
            assert taken.setdefault(cell, panel["title"]) == panel["title"], f"{panel['title']} on {taken[cell]}"
    rules = [{"record": f"panel:{number}", "expr": expression}
             for number, (_, expression) in enumerate(expressions(board))]
    assert len(rules) >= 30
    file = stage.folder / "panels.yml"
    file.write_text(json.dumps({"groups": [{"name": "panels", "rules": rules}]}))
    promtool("check", "rules", file)


def check_panels_have_data(stage):
    """Names and labels of every panel are those of the probe."""
    board = json.loads(DASHBOARD.read_text())
    for variable in board["templating"]["list"][1:]:
        series = re.fullmatch(r"label_values\((.*), (\w+)\)", variable["definition"])
        series, label = series[1].replace("$job", ".*").replace("$server", ".*"), series[2]
        assert comes_true(lambda: any(label in one["metric"] for one in stage.query(series))), variable["name"]
    empty = {}

    def are_full():
        empty.clear()
        empty.update((title, text) for title, text in expressions(board) if not stage.query(text))
        return not empty

    assert comes_true(are_full), f"without data: {empty}"


def check_targets(stage):
    """Both jobs are up; names of servers are in the labels, the probe is what is asked."""
    labels = {"module": "status", "line": "bottling", "job": "opcua-targets"}
    wanted = [
        (f'up{{job="opcua-probe", instance="{stage.probe}"}}', "1"),
        (f'up{{job="opcua-targets", instance="{stage.well}", module="status", line="bottling"}}', "1"),
        (f'up{{job="opcua-targets", instance="{stage.well}", module="boiler"}}', "1"),
        (f'up{{job="opcua-targets", instance="{stage.dead}", module="status"}}', "1"),
        ('up{job="opcua-targets", instance="127.0.0.2:4840"}', "0"),
        ('opcua_up{job="opcua-probe", sensor="boiler-1"}', "1"),
        (f'opcua_up{{job="opcua-probe", sensor="status-3", server="{stage.dead}"}}', "0"),
        (f'opcua_up{{job="opcua-targets", sensor="{stage.well}", server="{stage.well}", module="boiler"}}', "1"),
        (f'opcua_up{{job="opcua-targets", sensor="{stage.dead}", server="{stage.dead}"}}', "0"),
        # No result in time.
        (f'up{{job="opcua-targets", instance="{stage.silent}"}}', "1"),
        (f'opcua_up{{job="opcua-targets", sensor="{stage.silent}", server="{stage.silent}", module="status"}}', "0"),
    ]
    for selector, value in wanted:
        values = comes_true(lambda: [one["value"][1] for one in stage.query(selector)])
        assert values == [value], f"{selector}: {values}, not {value}"
    assert labels.items() <= stage.query(wanted[1][0])[0]["metric"].items()
    for target in stage.ask_prometheus("targets")["activeTargets"]:
        assert target["scrapeUrl"].startswith(f"https://{stage.probe}/"), target["scrapeUrl"]


def rules_of(stage):
    groups = stage.ask_prometheus("rules")["groups"]
    return [rule for group in groups for rule in group["rules"]]


def check_alerts(stage):
    """The faults of this stage raise their alerts and no others, in whole sentences; all have a runbook."""
    wanted = {("OpcuaServerUnreachable", stage.dead), ("OpcuaCertificateExpires", stage.expired),
              ("OpcuaScrapeFailing", "127.0.0.2:4840"), ("OpcuaSensorDown", stage.silent),
              ("OpcuaSensorError", stage.well), ("OpcuaSensorWarning", stage.well),
              ("OpcuaServerUntrusted", f"{stage.well} (sign_encrypt)"), ("OpcuaOwnCertificateExpiresSoon", stage.probe)}
    raised = {}

    def are_raised():
        raised.clear()
        for alert in stage.ask_prometheus("alerts")["alerts"]:
            labels = alert["labels"]
            raised[labels["alertname"], labels.get("server", labels["instance"])] = alert["annotations"]
        return set(raised) == wanted

    assert comes_true(are_raised), f"raised: {sorted(raised)}"
    for annotations in raised.values():
        for text in annotations.values():
            assert text and "<" not in text and "{{" not in text and "  " not in text, annotations
    headings = set(re.findall(r"^#### (\w+)", DOCUMENT.read_text(), re.MULTILINE))
    rules = rules_of(stage)
    assert headings == {rule["name"] for rule in rules}, headings ^ {rule["name"] for rule in rules}
    for rule in rules:
        assert rule["health"] == "ok", rule
        assert set(rule["annotations"]) == {"summary", "description", "runbook"}, rule["name"]
        assert rule["annotations"]["runbook"] == "deploy.md#" + rule["name"].lower(), rule["annotations"]
        assert rule["labels"]["severity"] in ("info", "warning", "critical"), rule["labels"]


def check_series_of_alerts(stage):
    """What alerts and their tests ask for is what the probe has, with these labels and values of labels."""
    selectors = set()
    for rule in rules_of(stage):
        found = [name + braces for name, braces in SELECTOR.findall(re.sub(r"\bon \([^)]*\)", "", rule["query"]))]
        assert found, rule["query"]
        selectors.update(found)
    for name, labels in re.findall(r"series: '(\w+)\{(.*?)\}'", (PROMETHEUS / "opcua-alerts-test.yml").read_text()):
        labels = [re.sub('=.*', '!=""', one) if one.startswith(NOT_IN_TESTS) else one for one in labels.split(", ")]
        selectors.add(f"{name}{{{','.join(labels)}}}")
    assert len(selectors) > 20
    missing = []

    def are_there():
        missing[:] = [selector for selector in selectors if not stage.query(selector)]
        return not missing

    assert comes_true(are_there), f"no such series: {missing}"


def examples():
    """The configurations of documents, and the packaged one with all that is a comment there."""
    for document in (DOCUMENT, ROOT / "README.md"):
        whole = re.findall(r"```yaml\n((?:listen|modules):\n.*?)```", document.read_text(), re.DOTALL)
        assert whole, f"no whole configuration in {document.name}"
        yield from whole
    packaged = (ROOT / "packaging/debian/probe.yaml").read_text()
    yield re.sub("^#(?! )|^#(?=  )", "", packaged[packaged.index("\nlisten:"):], flags=re.MULTILINE)


def check_examples(stage):
    """The probe takes the configurations that are shown."""
    folder = stage.folder / "examples"
    (folder / "tls").mkdir(parents=True)
    texts = "".join(examples())
    environment = dict(os.environ, CREDENTIALS_DIRECTORY=str(folder), **dict.fromkeys(
        re.findall(r"\{env: (\w+)\}", texts), "secret"))
    for name in re.findall(r"(?:file|credential): ([\w.-]+)", texts):
        (folder / name).write_text("secret")
        (folder / name).chmod(0o600)
    for name, original in (("cert.pem", "opcua-probe-ca.pem"), ("key.pem", "key.pem")):
        for place in (folder, folder / "tls"):
            shutil.copy(stage.folder / original, place / name)
            (place / name).chmod(0o600)
    (folder / "conf.d").mkdir()  # which the packaged configuration offers to include
    for example in examples():
        pki = stage.folder / "state/pki"
        (folder / "probe.yaml").write_text(example.replace("/var/lib/opcua-probe/pki", str(pki)))
        ran = subprocess.run([stage.programs / "opcua-probe", "serve", "--check", "--config", folder / "probe.yaml"],
                             env=environment, capture_output=True, text=True, timeout=60)
        assert ran.returncode == 0, ran.stderr + example
