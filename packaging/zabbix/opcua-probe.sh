#!/bin/sh
# External check of Zabbix: scans one sensor of an OPC UA server and prints the result as one JSON object. The template
# beside this file, opcua-probe.yaml, uses it.
#
# usage: opcua-probe.sh HOST PORT KIND [OPTION...]
#   OPTION goes to `opcua-probe scan`, name and value in one word: --channel=Boiler=ns=2;s=Boiler.Temperature
#   Empty ones are left out.
#
# To install: copy it to the folder that ExternalScripts names in zabbix_server.conf or zabbix_proxy.conf (Debian:
# /usr/lib/zabbix/externalscripts), make it executable, and set Timeout=20 there (Zabbix 7: the item's own time-out).
#
# What Zabbix gets is an object in every case: when there is no result, "state" is "unknown" and the message tells why.
# Exit code 0 always, because Zabbix looks at the text alone.

program=${OPCUA_PROBE:-/usr/bin/opcua-probe}
limit=${OPCUA_PROBE_TIMEOUT:-15} # seconds

# Puts a text into a JSON object: one line of it, without what JSON would have to escape.
unknown() {
    text=$(printf '%s' "$1" | tr '\n\t\\"' "  /'" | tr -d '\000-\037')
    printf '{"state":"unknown","message":{"text":"%s"},"channels":[]}\n' "$text"
    exit 0
}

[ $# -ge 3 ] || unknown "usage: opcua-probe.sh HOST PORT KIND [OPTION...]"
host=$1 port=$2 kind=$3
shift 3
count=$#
while [ "$count" -gt 0 ]; do
    option=$1
    shift
    count=$((count - 1))
    [ -z "$option" ] || set -- "$@" "$option"
done

problem=$(mktemp) || unknown "no temporary file can be made"
trap 'rm -f "$problem"' EXIT
result=$(timeout -k 2 "$limit" "$program" scan "$kind" --format json --host "$host" --port "$port" "$@" 2>"$problem")
code=$?
# More than one line: something like --count was asked for; the last one is the latest.
result=$(printf '%s\n' "$result" | tail -n 1)
case $result in
    '{'*'}') printf '%s\n' "$result" ;;
    *)
        case $code in
            124 | 137) unknown "no result within $limit s" ;;
            127) unknown "$program is not there" ;;
            *) unknown "$(head -n 1 "$problem")" ;;
        esac
        ;;
esac
