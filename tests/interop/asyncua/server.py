"""An asyncua server for the interoperability tests; ../servers.md says what it is told and what it answers."""

import asyncio
import datetime
import json
import logging
import pathlib
import socket
import sys
import uuid

from asyncua import Server, ua
from asyncua.common.utils import ServiceError
from asyncua.crypto.cert_gen import dump_private_key_as_pem, generate_self_signed_app_certificate
from asyncua.crypto.permission_rules import User, UserRole
from asyncua.crypto.uacrypto import der_from_x509
from asyncua.server.internal_session import InternalSession
from cryptography import x509
from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import rsa

APPLICATION_URI = "urn:tarvik:interop:asyncua"
POLICIES = {
    "none": ua.SecurityPolicyType.NoSecurity,
    "sign": ua.SecurityPolicyType.Basic256Sha256_Sign,
    "sign_encrypt": ua.SecurityPolicyType.Basic256Sha256_SignAndEncrypt,
}


def make_certificate(options):
    """Files with the server's key and certificate, made when they are not there yet."""
    folder = pathlib.Path(options["folder"])
    key_file, certificate_file = folder / "key.pem", folder / "certificate.pem"
    if not certificate_file.exists():
        key = rsa.generate_private_key(public_exponent=65537, key_size=options["key_bits"])
        names = [x509.UniformResourceIdentifier(APPLICATION_URI), x509.DNSName(socket.gethostname())]
        certificate = generate_self_signed_app_certificate(
            key, "Interop Plant", {"organizationName": "Tarvik"}, names, [x509.oid.ExtendedKeyUsageOID.SERVER_AUTH], 400
        )
        key_file.write_bytes(dump_private_key_as_pem(key))
        certificate_file.write_bytes(certificate.public_bytes(serialization.Encoding.PEM))
    return key_file, certificate_file


def scalar(kind, value):
    """The value of a row of nodes.json as asyncua wants it."""
    if value is None:
        return None
    convert = {
        "Float": float,
        "Double": float,
        "Int64": int,
        "UInt64": int,
        "DateTime": datetime.datetime.fromisoformat,
        "LocalizedText": lambda pair: ua.LocalizedText(pair[1], pair[0]),
        "QualifiedName": lambda pair: ua.QualifiedName(pair[1], pair[0]),
        "Guid": uuid.UUID,
        "ByteString": bytes.fromhex,
        "NodeId": ua.NodeId.from_string,
        "ExpandedNodeId": ua.NodeId.from_string,
        "StatusCode": lambda name: ua.StatusCode(getattr(ua.StatusCodes, name)),
        "XmlElement": ua.XmlElement,
        "EnumValueType": lambda number: ua.EnumValueType(Value=int(number)),
        "Range": lambda ends: ua.Range(*map(float, ends)),
        "DataValue": lambda number: ua.DataValue(ua.Variant(float(number), ua.VariantType.Double)),
        "Variant": lambda pair: variant(*pair),
    }
    return convert.get(kind, lambda same: same)(value)


def variant(kind, value):
    base = kind.rstrip("[]")
    depth = kind.count("[]")
    if depth == 2:
        value = [[scalar(base, element) for element in row] for row in value]
    else:
        value = [scalar(base, element) for element in value] if depth else scalar(base, value)
    structures = {"EnumValueType": "ExtensionObject", "Range": "ExtensionObject"}
    wire = ua.VariantType[structures.get(base, base)]
    return ua.Variant(value, wire, is_array=depth > 0)


def data_type(kind):
    base = kind.rstrip("[]")
    return ua.NodeId(getattr(ua.ObjectIds, "BaseDataType" if base == "Variant" else base))


async def add_row(server, namespace, name, display_name, kind, value, status="Good"):
    # A Double without a value is an empty variant; a String may be null.
    content = ua.Variant() if value is None and kind == "Double" else variant(kind, value)
    node = await server.nodes.objects.add_variable(
        ua.NodeId(name, namespace), ua.QualifiedName(name, namespace), content, datatype=data_type(kind)
    )
    await node.write_attribute(ua.AttributeIds.DisplayName, ua.DataValue(ua.LocalizedText(display_name)))
    if name.startswith("Write.") and name != "Write.ReadOnly":
        await node.set_writable()
    code = ua.StatusCode(getattr(ua.StatusCodes, status))
    if not code.is_good():
        await server.write_attribute_value(node.nodeid, ua.DataValue(content, StatusCode=code))
    return node


class Users:
    def get_user(self, iserver, username=None, password=None, certificate=None):
        anonymous = username is None
        return User(role=UserRole.User) if anonymous or (username, password) == ("user1", "password1") else None


async def refuse(certificate, description):
    raise ServiceError(ua.StatusCodes.BadSecurityChecksFailed)


async def make_server(options):
    server = Server(user_manager=Users())
    await server.init()
    await server.set_application_uri(APPLICATION_URI)
    server.set_endpoint(f"opc.tcp://127.0.0.1:{options['port']}")
    key_file, certificate_file = make_certificate(options)
    await server.load_certificate(certificate_file)
    await server.load_private_key(key_file)
    server.set_security_policy([POLICIES[mode] for mode in options["modes"]])
    tokens = {"anonymous": ua.AnonymousIdentityToken, "users": ua.UserNameIdentityToken}
    server.set_identity_tokens([token for name, token in tokens.items() if options[name]])
    if not options["trust"]:
        server.set_certificate_validator(refuse)
    if options["max_sessions"]:
        InternalSession.max_connections = options["max_sessions"]
    if options["max_message"]:
        server.limits.max_recv_buffer = server.limits.max_send_buffer = 8192
        server.limits.max_message_size = options["max_message"]
        server.limits.max_chunk_count = options["max_message"] // 8192
    if options["max_nodes_per_read"]:
        limit = server.get_node(ua.ObjectIds.Server_ServerCapabilities_OperationLimits_MaxNodesPerRead)
        await limit.write_value(options["max_nodes_per_read"], ua.VariantType.UInt32)
    return server


async def add_nodes(server, options):
    tables = json.loads(pathlib.Path(options["nodes"]).read_text())
    plant = {row[0]: await add_row(server, 1, *row) for row in tables["plant"]}
    namespace = await server.register_namespace("urn:tarvik:interop:ipc")
    for row in tables["industrial PC"] + (tables["RAID controller"] if options["raid"] else []):
        await add_row(server, namespace, *row)
    return plant


def sessions_of(server):
    return list(server.iserver._external_sessions.values())


async def close_sessions(server):
    sessions = sessions_of(server)
    for session in sessions:
        await session.close_session(True)
    return len(sessions)


async def set_diagnostics(server, enabled):
    await server.get_node(ua.ObjectIds.Server_ServerDiagnostics_EnabledFlag).write_value(enabled)
    return enabled


def shown(value):
    """A value as the simulated plant shows it."""
    if isinstance(value, bool):
        return str(value).lower()
    if isinstance(value, float):
        return {"inf": "Infinity", "-inf": "-Infinity", "nan": "NaN"}.get(str(value)) or f"{value:.15g}"
    return json.dumps(value, ensure_ascii=False)


async def answer(server, plant, line):
    if line == "close sessions":
        return await close_sessions(server)
    if line == "count sessions":
        return len(sessions_of(server))
    if line == "thumbprint":
        return server.iserver.certificate.fingerprint(hashes.SHA1()).hex()
    if line in ("diagnostics on", "diagnostics off"):
        return await set_diagnostics(server, line == "diagnostics on")
    if line.startswith("value "):
        return shown(await plant[line.removeprefix("value ")].read_value())
    return "unknown command"


async def main():
    logging.disable(logging.CRITICAL)
    options = json.loads(sys.argv[1])
    server = await make_server(options)
    plant = await add_nodes(server, options)
    await server.start()
    print(f"Endpoint: opc.tcp://127.0.0.1:{server.bserver.port}/", flush=True)
    reader = asyncio.StreamReader()
    await asyncio.get_running_loop().connect_read_pipe(lambda: asyncio.StreamReaderProtocol(reader), sys.stdin)
    while line := (await reader.readline()).decode():
        print(await answer(server, plant, line.strip()), flush=True)


asyncio.run(main())
