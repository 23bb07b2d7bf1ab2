#pragma once
// Texts of the help pages.

namespace tarvik::monitoring_modules::probe {

inline constexpr const char* description = "Scans sensors, runs checks and sends notifications of "
                                           "the OPC UA monitoring module and shows what "
                                           "comes back.";

inline constexpr const char* general_footer = R"(
Examples:
  opcua-probe demo
  opcua-probe info custom_sensor --language de
  opcua-probe browse --host 192.0.2.7 --match temperature
  opcua-probe endpoints --host 192.0.2.7
  opcua-probe check connection --host 192.0.2.7
  opcua-probe scan custom_sensor --host 192.0.2.7 --channel 'ns=2;s=Boiler.Temperature' --unit 1=°C
  opcua-probe notify --host 192.0.2.7 --target 'ns=2;s=Lamp.Text' --type String --message 'Door open'
  opcua-probe scan --help

Exit codes:
  0   ok
  1   a scan delivered a warning
  2   a scan delivered an error, a check answered no, a value was not written, or a server could not be browsed
  3   the module refused or failed a call, or sent something unusable
  64  the command line is wrong, or a file that it names cannot be read
  70  the module or the simulator could not be loaded or started
  74  standard output could not be written
  130, 143  ended by Ctrl-C or SIGTERM, cleaned up; a second Ctrl-C ends at once
With scan --format plugin: 0 OK, 1 WARNING, 2 CRITICAL, 3 UNKNOWN, and nothing else; -V always ends with 3.
Of several scans the worst one counts. States of channels (limits, lookups) are shown, but do not count.

Languages:
  --language speaks to all commands: messages of sensors, their names and those of settings appear in that language;
  what the module has in English only (names of channels, lookups, log lines) stays English, and so do the words of
  this program. With --format json, texts stay as the module sent them; in another language than English a member
  "translated" stands beside "identity" and "text". What this program adds to channels is in the chosen language.

Environment:
  OPCUA_MODULE               path of libOPCUA.so
  OPCUA_PASSWORD             password of --user
  OPCUA_CLIENT_KEY_PASSWORD  password of --client-key
  NO_COLOR                   if set: no colours)";

inline constexpr const char* info_footer = R"(
Settings are listed by the keys that --set takes; those that differ in a number only are listed once, with N. With
--format json (or --json) the module's own document is printed on one line, its texts in the chosen language; it has all
settings one by one.

Examples:
  opcua-probe info
  opcua-probe info certificate_sensor --language ja
  opcua-probe info --json --language German)";

inline constexpr const char* settings_help = R"(
Settings:
  --set security_mode=sign                       any setting; opcua-probe info lists them
  --set credentials.connection_opcua.port=4841   by its full key
  --set-file password=pw.txt                     from a file of at most 1 MiB; secrets must come so, and win over --set
Options such as --port are short for settings; --set replaces what they say. Settings are checked before anything is
sent: unknown keys, values that are not allowed and required settings that are missing end with exit code 64.)";

inline constexpr const char* scan_footer = R"(

Channels (custom_sensor only, 1 to 10):
  --channel 'ns=2;s=Boiler.Temperature'          a node, named by the server
  --channel 'Boiler=ns=2;s=Boiler.Temperature'   the same with a name of your own
  --channel "'ns=2;s=Array.Doubles'[1]"          one element of an array
  --unit 2=bar --scale 2=0.001                   unit and scale factor of the second channel

Examples:
  opcua-probe scan custom_sensor --host plc.example --channel i=2258 --interval 10
  opcua-probe scan server_status_sensor --host plc.example --user operator --password-file pw.txt
  opcua-probe scan certificate_sensor --host plc.example --format json
  opcua-probe scan custom_sensor --host plc.example --channel i=2258 \
      --security-mode sign_encrypt --client-certificate client.pem --client-key client.key)";

inline constexpr const char* plugin_footer = R"(

Monitoring plugin (--format plugin):
  One short line with the state, performance data behind "|", then one line for each channel. Exit code 0 OK, 1 WARNING,
  2 CRITICAL, 3 UNKNOWN (also for --help and --version here).
  -w 80 -c '10:90'               ranges for the only channel: up to 80; from 10 to 90
  -w 'Boiler=70:' -c '3=@5:6'    by the channel's name or number: from 70 on; not from 5 to 6; "~:5" is up to 5
  A range replaces the module's own limit and lookup state of that level. For counters (channels whose growth counts)
  it is about the growth per second: such a sensor is scanned twice, 1 s apart (--interval).
  Faults in settings, such as an unknown NodeID, are UNKNOWN; a server that cannot be reached is CRITICAL
  (--unreachable), and so are its own faults.

Examples:
  opcua-probe scan certificate_sensor --format plugin -H plc.example
  opcua-probe scan custom_sensor --format plugin -H plc.example -t 15 \
      --channel 'Boiler=ns=2;s=Boiler.Temperature' --unit 1=°C -w 'Boiler=80' -c 'Boiler=90')";

inline constexpr const char* notify_footer = R"(

The last line tells whether the value was written, and if not, why; before it stand the log lines that the module
collected on the way. With --format json the response has the members "status" ("done", "failed", "refused"),
"written" and, when the value was not written, "reason".

Examples:
  opcua-probe notify --host plc.example --target 'ns=2;s=Lamp.On' --type Boolean --message True
  opcua-probe notify --host plc.example --target 'ns=2;s=Set.Point' --type FloatingPoint --message -2.5 --timeout 10
  opcua-probe notify --host plc.example --target 'ns=2;s=Lamp.Text' --type String --message "" --log-level info)";

} // namespace tarvik::monitoring_modules::probe
