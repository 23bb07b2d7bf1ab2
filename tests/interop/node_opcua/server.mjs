// A node-opcua server with fixed values, for the interoperability tests.
//
//   node server.mjs [--no-none] [--sign] [--sign-encrypt] [--users] [--no-anonymous] [--strict] [--no-diagnostics]
//                   [--no-raid] [--port N] [--key-bits 2048]
//
// Listens on 127.0.0.1 only and tells nobody of itself. The first line of output is "Endpoint: URL". On standard input
// it takes lines, and answers each with one: "close sessions" with how many there were, "count sessions" with how many
// there are, "thumbprint" with the SHA-1 digest of its certificate, "diagnostics on" and "diagnostics off" with whether
// they are on now, "value NAME" with what a node of group Write holds. It ends when standard input ends, or on SIGTERM.
// Secured endpoints have policy Basic256Sha256; the only user is user1 with password1; --strict refuses the
// certificates of clients, --no-raid leaves out the nodes of the industrial PC's RAID controller. Keys and certificates
// are made at the start, in a temporary folder that goes with the process.

import {Console} from 'node:console';
import {X509Certificate, webcrypto} from 'node:crypto';
import {mkdtempSync, readFileSync, rmSync} from 'node:fs';
import {hostname, tmpdir} from 'node:os';
import {join} from 'node:path';
import {createInterface} from 'node:readline';
import {parseArgs} from 'node:util';

import {OPCUACertificateManager} from 'node-opcua-certificate-manager';
import {coerceNodeId} from 'node-opcua-nodeid';
import {OPCUAServer, RegisterServerMethod} from 'node-opcua-server';
import {EnumValueType, Range} from 'node-opcua-types';
import {MessageSecurityMode, SecurityPolicy} from 'node-opcua-secure-channel';
import {DataValue} from 'node-opcua-data-value';
import {StatusCodes} from 'node-opcua-status-code';
import {DataType, Variant, VariantArrayType} from 'node-opcua-variant';

// What node-opcua finds by itself from node 20 on; Debian 12 has node 18. For that, package.json also keeps a package back
// (hexy), which newer ones can no longer load.
globalThis.crypto ??= webcrypto;

const application_uri = 'urn:tarvik:interop:node-opcua';

// A 64-bit integer as node-opcua wants it: high and low 32 bits.
const int64 = number => {
    const bits = BigInt.asUintN(64, BigInt(number));
    return [Number(bits >> 32n), Number(bits & 0xffffffffn)];
};
const bytes = (...list) => Buffer.from(list);
const text = (locale, text) => ({locale, text});

// The plant's nodes: id "ns=1;s=" + name, DisplayName, type, value. A list as value makes an array, save for the 64-bit
// integers, where {array: [...]} does. Those of group Write may be written.
const rows = [
    ['Boiler.Temperature', 'Boiler Temperature', 'Double', 72.5],
    ['Boiler.Pressure', 'Boiler Pressure', 'Float', 2.5],
    ['Boiler.Running', 'Boiler Running', 'Boolean', true],
    ['Pump.Speed', 'Pump Speed', 'Int32', 1480],
    ['Pump.Revolutions', 'Pump Revolutions', 'UInt32', 1000000],
    ['Tank.Level', 'Tank Level', 'Byte', 60],
    ['Counter.SByte', 'Counter SByte', 'SByte', -5],
    ['Counter.Int16', 'Counter Int16', 'Int16', -300],
    ['Counter.UInt16', 'Counter UInt16', 'UInt16', 65530],
    ['Counter.Int64', 'Counter Int64', 'Int64', int64(-9000000000)],
    ['Counter.UInt64', 'Counter UInt64', 'UInt64', int64(9000000000)],
    ['Clock.Fixed', 'Clock Fixed', 'DateTime', new Date('2020-01-01T00:00:00.900Z')],
    ['Limits.UInt64Max', 'UInt64 Maximum', 'UInt64', [0xffffffff, 0xffffffff]],
    ['Limits.Int64Max', 'Int64 Maximum', 'Int64', [0x7fffffff, 0xffffffff]],
    ['Limits.Int64Min', 'Int64 Minimum', 'Int64', int64(-(2n ** 63n))],
    ['Limits.DoubleMax', 'Double Maximum', 'Double', Number.MAX_VALUE],
    ['Value.NaN', 'Not a Number', 'Double', NaN],
    ['Value.Infinity', 'Infinity', 'Double', Infinity],
    ['Value.Never', 'Never Measured', 'Null', null],
    ['Value.Bad', 'Bad Sensor', 'Null', null],
    ['Text.Status', 'Plant Status', 'String', 'All systems normal'],
    ['Text.WithNumber', 'Text With Number', 'String', '12.5 °C'],
    ['Text.NoNumber', 'Text Without Number', 'String', 'abc'],
    ['Text.Empty', 'Empty Text', 'String', ''],
    ['Text.Null', 'Null Text', 'String', null],
    ['Text.Localized', 'Localized Text', 'LocalizedText', text('en', 'Valve open')],
    ['Text.Qualified', 'Qualified Name', 'QualifiedName', {namespaceIndex: 2, name: 'Temp'}],
    ['Value.NoDisplayName', '', 'Double', 1.25],
    ['Array.Doubles', 'Double Array', 'Double', [21.5, 22.25, 23, 19.75]],
    ['Array.Strings', 'String Array', 'String', ['north', 'middle', 'south']],
    ['Array.Booleans', 'Boolean Array', 'Boolean', [true, false, true]],
    ['Array.Int32', 'Int32 Array', 'Int32', [-1, 0, 1]],
    ['Array.UInt64', 'UInt64 Array', 'UInt64', {array: [int64(1), [0x80000000, 0]]}],
    ['Array.Empty', 'Empty Array', 'Int32', []],
    ['Array.Matrix', 'Int32 Matrix', 'Int32', {matrix: [11, 12, 21, 22], dimensions: [2, 2]}],
    ['Array.EnumValues', 'Enum Value Array', 'ExtensionObject',
        [new EnumValueType({value: int64(11)}), new EnumValueType({value: int64(-12)})]],
    ['Type.Guid', 'Guid', 'Guid', '72962b91-fa75-4ae6-8d28-b404dc7daf63'],
    ['Type.ByteString', 'ByteString', 'ByteString', bytes(0, 1, 0xfe, 0xff)],
    ['Type.NodeId', 'NodeId', 'NodeId', coerceNodeId('ns=1;s=Boiler.Temperature')],
    ['Type.ExpandedNodeId', 'ExpandedNodeId', 'ExpandedNodeId', 'ns=1;s=Boiler.Pressure'],
    ['Type.StatusCode', 'StatusCode', 'StatusCode', StatusCodes.BadSensorFailure],
    ['Type.XmlElement', 'XmlElement', 'XmlElement', '<state>on</state>'],
    ['Type.EnumValue', 'Enum Value', 'ExtensionObject',
        new EnumValueType({value: int64(11), displayName: text('en', 'Cleaning')})],
    ['Type.Structure', 'Structure', 'ExtensionObject', new Range({low: -20, high: 150})],
    ['Write.Boolean', 'Writable Boolean', 'Boolean', false],
    ['Write.String', 'Writable String', 'String', 'off'],
    ['Write.Int64', 'Writable Int64', 'Int64', int64(0)],
    ['Write.Double', 'Writable Double', 'Double', 0],
    ['Write.ReadOnly', 'Not Writable', 'Boolean', true],
];
// Those of an industrial PC, in namespace 2; the two of its RAID controller are the last.
const ipc_rows = [
    ['Modules|CPU|CPU0|0x8nn1|0x02', 'CPU Load', 'UInt16', 40],
    ['Modules|CPU|CPU0|0x8nn1|0x03', 'CPU Temperature', 'Int16', 54],
    ['Modules|MAINBOARD|MAINBOARD|0x8nn1|0x0a', 'Mainboard Temperature', 'Int16', 38],
    ['Modules|Memory|Memory|0x8nn1|0x01', 'Memory Total', 'Int32', 2147483647],
    ['Modules|Memory|Memory|0x8nn1|0x02', 'Memory Available', 'UInt32', 2147483647],
    ['Modules|Memory|Memory|0x8nn1|0x06', 'Memory Total, 64 Bits', 'UInt64', int64(16n << 30n)],
    ['Modules|Memory|Memory|0x8nn1|0x07', 'Memory Available, 64 Bits', 'Int64', int64(9n << 30n)],
    ['Modules|RAID Controller|Scsi0:|0x8nn1|0x01', 'RAID State', 'Byte', 1],
    ['Modules|RAID Controller|Scsi0:|0x8nn1|0x02', 'RAID Offline Reason', 'Byte', 0],
];
const structures = {'Type.Structure': 'Range', 'Type.EnumValue': 'EnumValueType', 'Array.EnumValues': 'EnumValueType'};

// A reading without a value, and one that is bad: what a sensor that has gone gives.
const readings = {
    'Value.Never': () => new DataValue({statusCode: StatusCodes.Good}),
    'Value.Bad': () => new DataValue({statusCode: StatusCodes.BadSensorFailure}),
};

function variant_of(type, value) {
    const dataType = DataType[type];
    if (value?.matrix) {
        const {matrix, dimensions} = value;
        return new Variant({dataType, arrayType: VariantArrayType.Matrix, value: new Int32Array(matrix), dimensions});
    }
    const is_pair = type === 'Int64' || type === 'UInt64';
    const list = value?.array ?? (Array.isArray(value) && !is_pair ? value : null);
    const arrayType = list === null ? VariantArrayType.Scalar : VariantArrayType.Array;
    return new Variant({dataType, arrayType, value: list ?? value});
}

function value_rank(variant) {
    return variant?.dimensions?.length ?? (variant?.arrayType === VariantArrayType.Array ? 1 : -1);
}

function add_row(namespace, [name, display_name, type, value]) {
    const group = name.split('.')[0];
    const access = group === 'Write' && name !== 'Write.ReadOnly' ? 'CurrentRead | CurrentWrite' : 'CurrentRead';
    const fixed = type === 'Null' ? null : variant_of(type, value);
    const node = namespace.addVariable({
        organizedBy: namespace.addressSpace.rootFolder.objects,
        nodeId: `s=${name}`,
        browseName: name,
        displayName: display_name,
        dataType: structures[name] ?? (type === 'Null' ? 'Double' : type),
        valueRank: value_rank(fixed),
        accessLevel: access,
        userAccessLevel: access,
    });
    if (readings[name]) {
        node.bindVariable({timestamped_get: readings[name]}, true);
    } else {
        node.setValueFromSource(fixed);
    }
}

function options_of(argv) {
    const flags = ['no-none', 'sign', 'sign-encrypt', 'users', 'no-anonymous', 'strict', 'no-diagnostics', 'no-raid'];
    const {values} = parseArgs({args: argv, options: {
        ...Object.fromEntries(flags.map(flag => [flag, {type: 'boolean', default: false}])),
        port: {type: 'string', default: '0'},
        'key-bits': {type: 'string', default: '2048'},
    }});
    return values;
}

async function make_store(folder, options) {
    const store = new OPCUACertificateManager({
        rootFolder: folder,
        automaticallyAcceptUnknownCertificate: !options.strict,
        keySize: Number(options['key-bits']),
        disableFileWatchers: true,
    });
    await store.initialize();
    return store;
}

async function make_server(folder, certificate, options) {
    const store = await make_store(join(folder, 'own'), options);
    await store.createSelfSignedCertificate({
        applicationUri: application_uri,
        subject: '/CN=Interop Plant/O=Tarvik',
        dns: ['localhost', hostname()],
        ip: ['127.0.0.1'],
        startDate: new Date(),
        validity: 400,
        outputFile: certificate,
    });
    const {None, Sign, SignAndEncrypt} = MessageSecurityMode;
    const modes = [[!options['no-none'], None], [options.sign, Sign], [options['sign-encrypt'], SignAndEncrypt]];
    return new OPCUAServer({
        host: '127.0.0.1',
        hostname: '127.0.0.1',
        port: Number(options.port),
        registerServerMethod: RegisterServerMethod.HIDDEN,
        serverCertificateManager: store,
        userCertificateManager: await make_store(join(folder, 'users'), options),
        certificateFile: certificate,
        serverInfo: {applicationUri: application_uri},
        securityModes: modes.filter(([offered]) => offered).map(([, mode]) => mode),
        securityPolicies: [SecurityPolicy.None, SecurityPolicy.Basic256Sha256], // the latter also for passwords
        allowAnonymous: !options['no-anonymous'],
        userManager: options.users
            ? {isValidUser: (user, password) => user === 'user1' && password === 'password1'}
            : undefined,
    });
}

function close_sessions(server) {
    const sessions = server.engine.getSessions();
    for (const session of sessions) {
        server.engine.closeSession(session.authenticationToken, true, 'Terminated');
    }
    return sessions.length;
}

// A value as the simulated plant shows it.
const number_of = ([high, low]) => BigInt.asIntN(64, (BigInt(high) << 32n) + BigInt(low));
const shown = ({dataType, value}) =>
    dataType === DataType.String ? JSON.stringify(value) : `${dataType === DataType.Int64 ? number_of(value) : value}`;

// Standard output is for the tests alone; the packages write their warnings there too.
globalThis.console = new Console(process.stderr);

const options = options_of(process.argv.slice(2));
const folder = mkdtempSync(join(tmpdir(), 'interop-'));
process.on('exit', () => rmSync(folder, {recursive: true, force: true, maxRetries: 5}));
const certificate = join(folder, 'certificate.pem');
const server = await make_server(folder, certificate, options);
await server.initialize();
server.engine.serverDiagnosticsEnabled = !options['no-diagnostics'];
const plant = server.engine.addressSpace.getOwnNamespace();
rows.forEach(row => add_row(plant, row));
const ipc = server.engine.addressSpace.registerNamespace('urn:tarvik:interop:ipc');
ipc_rows.slice(0, options['no-raid'] ? -2 : undefined).forEach(row => add_row(ipc, row));
await server.start();
process.stdout.write(`Endpoint: opc.tcp://127.0.0.1:${server.endpoints[0].port}/\n`);

let ending = false;
async function end() {
    if (!ending) {
        ending = true;
        const patience = new Promise(resolve => setTimeout(resolve, 1000)); // clients may keep connections open
        await Promise.race([server.shutdown(0), patience]);
        process.exit(0);
    }
}
process.on('SIGTERM', end);
const answers = {
    'close sessions': () => close_sessions(server),
    'count sessions': () => server.engine.getSessions().length,
    thumbprint: () => new X509Certificate(readFileSync(certificate)).fingerprint.replaceAll(':', '').toLowerCase(),
    'diagnostics on': () => (server.engine.serverDiagnosticsEnabled = true),
    'diagnostics off': () => (server.engine.serverDiagnosticsEnabled = false),
};
for (const [name] of rows.filter(([name]) => name.startsWith('Write.'))) {
    answers[`value ${name}`] = () => shown(plant.findNode(`s=${name}`).readValue().value);
}
const input = createInterface({input: process.stdin});
input.on('line', line => process.stdout.write(`${answers[line]?.() ?? 'unknown command'}\n`));
input.on('close', end);
