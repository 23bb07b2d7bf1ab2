// A node-opcua server for the interoperability tests; ../servers.md says what it is told and what it answers.

import {Console} from 'node:console';
import {X509Certificate, webcrypto} from 'node:crypto';
import {existsSync, readFileSync} from 'node:fs';
import {hostname} from 'node:os';
import {join} from 'node:path';
import {createInterface} from 'node:readline';

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

// What a row of nodes.json holds, as node-opcua wants it; what is missing here is taken as it stands.
const from_row = {
    Float: Number,
    Double: Number,
    Int64: int64,
    UInt64: int64,
    DateTime: text => new Date(text),
    LocalizedText: ([locale, text]) => ({locale, text}),
    QualifiedName: ([namespaceIndex, name]) => ({namespaceIndex, name}),
    ByteString: text => Buffer.from(text, 'hex'),
    NodeId: coerceNodeId,
    StatusCode: name => StatusCodes[name],
    EnumValueType: number => new EnumValueType({value: int64(number)}),
    Range: ([low, high]) => new Range({low, high}),
    DataValue: number => new DataValue({value: {dataType: DataType.Double, value: number}}),
    Variant: ([type, value]) => variant_of(type, value),
};
const structures = ['EnumValueType', 'Range'];

function variant_of(type, value) {
    const base = type.replaceAll('[]', '');
    const dataType = DataType[structures.includes(base) ? 'ExtensionObject' : base];
    const one = element => (element === null ? null : (from_row[base] ?? (same => same))(element));
    switch (type.slice(base.length)) {
    case '':
        return new Variant({dataType, arrayType: VariantArrayType.Scalar, value: one(value)});
    case '[]':
        return new Variant({dataType, arrayType: VariantArrayType.Array, value: value.map(one)});
    default:
        return new Variant({
            dataType,
            arrayType: VariantArrayType.Matrix,
            value: new Int32Array(value.flat().map(one)),
            dimensions: [value.length, value[0].length],
        });
    }
}

function add_row(namespace, [name, display_name, type, value, status]) {
    const base = type.replaceAll('[]', '');
    const access = name.startsWith('Write.') && name !== 'Write.ReadOnly' ? 'CurrentRead | CurrentWrite' : 'CurrentRead';
    const node = namespace.addVariable({
        organizedBy: namespace.addressSpace.rootFolder.objects,
        nodeId: `s=${name}`,
        browseName: name,
        displayName: display_name,
        dataType: base === 'Variant' ? 'BaseDataType' : base,
        valueRank: (type.length - base.length) / 2 || -1,
        accessLevel: access,
        userAccessLevel: access,
    });
    if (value === null && base !== 'String' || status) { // by a function: a fixed value would always be good
        const reading = {statusCode: StatusCodes[status ?? 'Good'], value: value === null ? undefined : variant_of(type, value)};
        node.bindVariable({timestamped_get: () => new DataValue(reading)}, true);
    } else {
        node.setValueFromSource(variant_of(type, value));
    }
}

async function make_store(folder, options) {
    const store = new OPCUACertificateManager({
        rootFolder: folder,
        automaticallyAcceptUnknownCertificate: options.trust,
        keySize: options.key_bits,
        disableFileWatchers: true,
    });
    await store.initialize();
    return store;
}

async function make_server(options) {
    // The store remembers whom it trusted and whom it refused, so that each has one of its own.
    const folder = join(options.folder, options.trust ? 'trusting' : 'strict');
    const certificate = join(folder, 'certificate.pem');
    const store = await make_store(join(folder, 'own'), options);
    if (!existsSync(certificate)) {
        await store.createSelfSignedCertificate({
            applicationUri: application_uri,
            subject: '/CN=Interop Plant/O=Tarvik',
            dns: ['localhost', hostname()],
            ip: ['127.0.0.1'],
            startDate: new Date(),
            validity: 400,
            outputFile: certificate,
        });
    }
    const {None, Sign, SignAndEncrypt} = MessageSecurityMode;
    const modes = {none: None, sign: Sign, sign_encrypt: SignAndEncrypt};
    const small = options.max_message && {
        receiveBufferSize: 8192,
        sendBufferSize: 8192,
        maxMessageSize: options.max_message,
        maxChunkCount: options.max_message / 8192,
    };
    return new OPCUAServer({
        host: '127.0.0.1',
        hostname: '127.0.0.1',
        port: options.port,
        registerServerMethod: RegisterServerMethod.HIDDEN,
        serverCertificateManager: store,
        userCertificateManager: await make_store(join(folder, 'users'), options),
        certificateFile: certificate,
        serverInfo: {applicationUri: application_uri},
        securityModes: options.modes.map(mode => modes[mode]),
        securityPolicies: [SecurityPolicy.None, SecurityPolicy.Basic256Sha256], // the latter also for passwords
        allowAnonymous: options.anonymous,
        userManager: options.users
            ? {isValidUser: (user, password) => user === 'user1' && password === 'password1'}
            : undefined,
        serverCapabilities: {
            ...options.max_sessions && {maxSessions: options.max_sessions},
            ...options.max_nodes_per_read && {operationLimits: {maxNodesPerRead: options.max_nodes_per_read}},
        },
        ...small && {transportSettings: {adjustTransportLimits: () => small}},
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

const options = JSON.parse(process.argv[2]);
const server = await make_server(options);
await server.initialize();
const tables = JSON.parse(readFileSync(options.nodes));
const plant = server.engine.addressSpace.getOwnNamespace();
tables.plant.forEach(row => add_row(plant, row));
const ipc = server.engine.addressSpace.registerNamespace('urn:tarvik:interop:ipc');
[...tables['industrial PC'], ...options.raid ? tables['RAID controller'] : []].forEach(row => add_row(ipc, row));
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
    thumbprint: () => new X509Certificate(server.getCertificate()).fingerprint.replaceAll(':', '').toLowerCase(),
    'diagnostics on': () => (server.engine.serverDiagnosticsEnabled = true),
    'diagnostics off': () => (server.engine.serverDiagnosticsEnabled = false),
};
for (const [name] of tables.plant.filter(([name]) => name.startsWith('Write.'))) {
    answers[`value ${name}`] = () => shown(plant.findNode(`s=${name}`).readValue().value);
}
const input = createInterface({input: process.stdin});
input.on('line', line => process.stdout.write(`${answers[line]?.() ?? 'unknown command'}\n`));
input.on('close', end);
