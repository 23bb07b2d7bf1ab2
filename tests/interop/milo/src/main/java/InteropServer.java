import static org.eclipse.milo.opcua.stack.core.types.builtin.unsigned.Unsigned.uint;

import com.google.gson.JsonElement;
import com.google.gson.JsonObject;
import com.google.gson.JsonParser;
import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.io.OutputStream;
import java.io.PrintStream;
import java.net.ServerSocket;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.KeyPair;
import java.security.KeyStore;
import java.security.PrivateKey;
import java.security.cert.X509Certificate;
import java.time.Period;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Set;
import org.eclipse.milo.opcua.sdk.server.EndpointConfig;
import org.eclipse.milo.opcua.sdk.server.OpcUaServer;
import org.eclipse.milo.opcua.sdk.server.OpcUaServerConfig;
import org.eclipse.milo.opcua.sdk.server.OpcUaServerConfigLimits;
import org.eclipse.milo.opcua.sdk.server.Session;
import org.eclipse.milo.opcua.sdk.server.identity.AnonymousIdentityValidator;
import org.eclipse.milo.opcua.sdk.server.identity.CompositeValidator;
import org.eclipse.milo.opcua.sdk.server.identity.UsernameIdentityValidator;
import org.eclipse.milo.opcua.sdk.server.model.objects.ServerDiagnosticsTypeNode;
import org.eclipse.milo.opcua.stack.core.NodeIds;
import org.eclipse.milo.opcua.stack.core.Stack;
import org.eclipse.milo.opcua.stack.core.StatusCodes;
import org.eclipse.milo.opcua.stack.core.UaException;
import org.eclipse.milo.opcua.stack.core.channel.EncodingLimits;
import org.eclipse.milo.opcua.stack.core.security.CertificateValidator;
import org.eclipse.milo.opcua.stack.core.security.DefaultApplicationGroup;
import org.eclipse.milo.opcua.stack.core.security.DefaultCertificateManager;
import org.eclipse.milo.opcua.stack.core.security.MemoryCertificateQuarantine;
import org.eclipse.milo.opcua.stack.core.security.MemoryCertificateStore;
import org.eclipse.milo.opcua.stack.core.security.MemoryTrustListManager;
import org.eclipse.milo.opcua.stack.core.security.RsaSha256CertificateFactory;
import org.eclipse.milo.opcua.stack.core.security.SecurityPolicy;
import org.eclipse.milo.opcua.stack.core.types.builtin.LocalizedText;
import org.eclipse.milo.opcua.stack.core.types.builtin.unsigned.UInteger;
import org.eclipse.milo.opcua.stack.core.types.enumerated.MessageSecurityMode;
import org.eclipse.milo.opcua.stack.core.types.enumerated.UserTokenType;
import org.eclipse.milo.opcua.stack.core.types.structured.UserTokenPolicy;
import org.eclipse.milo.opcua.stack.core.util.DigestUtil;
import org.eclipse.milo.opcua.stack.core.util.SelfSignedCertificateBuilder;
import org.eclipse.milo.opcua.stack.core.util.SelfSignedCertificateGenerator;
import org.eclipse.milo.opcua.stack.transport.server.tcp.OpcTcpServerTransport;
import org.eclipse.milo.opcua.stack.transport.server.tcp.OpcTcpServerTransportConfig;

/** An Eclipse Milo server for the interoperability tests; ../servers.md says what it is told and what it answers. */
public final class InteropServer {
  private static final String APPLICATION_URI = "urn:tarvik:interop:milo";
  private static final char[] STORE_PASSWORD = "interop".toCharArray();

  private final JsonObject options;
  private final KeyPair key;
  private final X509Certificate certificate;
  private final int port;
  private final OpcUaServer server;
  private final PlantNodes plant;

  private InteropServer(JsonObject options) throws Exception {
    this.options = options;
    KeyStore store = keyStore(Path.of(text("folder"), "server.p12"), number("key_bits"));
    certificate = (X509Certificate) store.getCertificate("server");
    key = new KeyPair(certificate.getPublicKey(), (PrivateKey) store.getKey("server", STORE_PASSWORD));
    port = number("port") != 0 ? number("port") : freePort();
    Stack.ConnectionLimits.RATE_LIMIT_ENABLED = false; // one address makes many connections here
    server = new OpcUaServer(config(), profile -> new OpcTcpServerTransport(OpcTcpServerTransportConfig.newBuilder().build()));
    JsonObject tables = JsonParser.parseString(Files.readString(Path.of(text("nodes")))).getAsJsonObject();
    plant = new PlantNodes(server, APPLICATION_URI);
    plant.addAll(tables.getAsJsonArray("plant"));
    PlantNodes ipc = new PlantNodes(server, "urn:tarvik:interop:ipc");
    ipc.addAll(tables.getAsJsonArray("industrial PC"));
    if (is("raid")) {
      ipc.addAll(tables.getAsJsonArray("RAID controller"));
    }
    plant.startup();
    ipc.startup();
    if (!is("restarted")) { // whose first channel has security token 0; see continuity_test.cpp
      server.getApplicationContext().getNextSecureChannelTokenId();
    }
  }

  private String text(String option) {
    return options.get(option).getAsString();
  }

  private int number(String option) {
    return options.get(option).getAsInt();
  }

  private boolean is(String option) {
    return options.get(option).getAsBoolean();
  }

  private static int freePort() throws Exception {
    try (ServerSocket probe = new ServerSocket(0)) {
      return probe.getLocalPort();
    }
  }

  /** The server's key and certificate, made when they are not there yet. */
  private static KeyStore keyStore(Path file, int keyBits) throws Exception {
    KeyStore store = KeyStore.getInstance("PKCS12");
    if (Files.exists(file)) {
      try (var in = Files.newInputStream(file)) {
        store.load(in, STORE_PASSWORD);
      }
      return store;
    }
    KeyPair key = SelfSignedCertificateGenerator.generateRsaKeyPair(keyBits);
    X509Certificate made =
        new SelfSignedCertificateBuilder(key)
            .setCommonName("Interop Plant")
            .setOrganization("Tarvik")
            .setApplicationUri(APPLICATION_URI)
            .addDnsName("localhost")
            .addIpAddress("127.0.0.1")
            .setValidityPeriod(Period.ofDays(400))
            .build();
    store.load(null, STORE_PASSWORD);
    store.setKeyEntry("server", key.getPrivate(), STORE_PASSWORD, new X509Certificate[] {made});
    try (OutputStream out = Files.newOutputStream(file)) {
      store.store(out, STORE_PASSWORD);
    }
    return store;
  }

  private OpcUaServerConfig config() throws Exception {
    var builder =
        OpcUaServerConfig.builder()
            .setApplicationName(LocalizedText.english("Interop Plant"))
            .setApplicationUri(APPLICATION_URI)
            .setProductUri(APPLICATION_URI)
            .setEndpoints(endpoints())
            .setCertificateManager(certificateManager())
            .setIdentityValidator(
                new CompositeValidator(
                    AnonymousIdentityValidator.INSTANCE,
                    new UsernameIdentityValidator(
                        login -> login.getUsername().equals("user1") && login.getPassword().equals("password1"))))
            .setLimits(limits());
    int maxMessage = number("max_message");
    if (maxMessage != 0) {
      builder.setEncodingLimits(new EncodingLimits(8196, maxMessage / 8192, maxMessage, 64));
    }
    return builder.build();
  }

  private Set<EndpointConfig> endpoints() {
    var common =
        EndpointConfig.newBuilder()
            .setBindAddress("127.0.0.1")
            .setBindPort(port)
            .setHostname("127.0.0.1")
            .setPath("/")
            .setCertificate(certificate);
    if (is("anonymous")) {
      common.addTokenPolicy(new UserTokenPolicy("anonymous", UserTokenType.Anonymous, null, null, null));
    }
    if (is("users")) {
      common.addTokenPolicy(
          new UserTokenPolicy("user", UserTokenType.UserName, null, null, SecurityPolicy.Basic256Sha256.getUri()));
    }
    Set<EndpointConfig> endpoints = new LinkedHashSet<>();
    for (JsonElement mode : options.getAsJsonArray("modes")) {
      endpoints.add(
          switch (mode.getAsString()) {
            case "none" -> endpoint(common, SecurityPolicy.None, MessageSecurityMode.None);
            case "sign" -> endpoint(common, SecurityPolicy.Basic256Sha256, MessageSecurityMode.Sign);
            default -> endpoint(common, SecurityPolicy.Basic256Sha256, MessageSecurityMode.SignAndEncrypt);
          });
    }
    // Where nobody may log in without security, the endpoints are still told without it.
    if (endpoints.stream().noneMatch(e -> e.getSecurityMode() == MessageSecurityMode.None)) {
      endpoints.add(
          endpoint(
              EndpointConfig.newBuilder()
                  .setBindAddress("127.0.0.1")
                  .setBindPort(port)
                  .setHostname("127.0.0.1")
                  .setPath("/discovery"),
              SecurityPolicy.None,
              MessageSecurityMode.None));
    }
    return endpoints;
  }

  private static EndpointConfig endpoint(EndpointConfig.Builder common, SecurityPolicy policy, MessageSecurityMode mode) {
    return common.copy().setSecurityPolicy(policy).setSecurityMode(mode).build();
  }

  private DefaultCertificateManager certificateManager() throws Exception {
    CertificateValidator validator =
        (chain, uri, names) -> {
          if (!is("trust")) {
            throw new UaException(StatusCodes.Bad_CertificateUntrusted, "none is trusted");
          }
        };
    var factory =
        new RsaSha256CertificateFactory() {
          @Override
          protected KeyPair createRsaSha256KeyPair() {
            return key;
          }

          @Override
          protected X509Certificate[] createRsaSha256CertificateChain(KeyPair pair) {
            return new X509Certificate[] {certificate};
          }
        };
    var group =
        DefaultApplicationGroup.createAndInitialize(
            new MemoryTrustListManager(), new MemoryCertificateStore(), factory, validator);
    return new DefaultCertificateManager(new MemoryCertificateQuarantine(), group);
  }

  private OpcUaServerConfigLimits limits() {
    return new OpcUaServerConfigLimits() {
      @Override
      public UInteger getMaxSessions() {
        int limit = number("max_sessions");
        return limit != 0 ? uint(limit) : OpcUaServerConfigLimits.super.getMaxSessions();
      }

      @Override
      public UInteger getMaxNodesPerRead() {
        int limit = number("max_nodes_per_read");
        return limit != 0 ? uint(limit) : OpcUaServerConfigLimits.super.getMaxNodesPerRead();
      }
    };
  }

  private int closeSessions() {
    List<Session> sessions = server.getSessionManager().getAllSessions();
    sessions.forEach(session -> server.getSessionManager().killSession(session.getSessionId(), true));
    return sessions.size();
  }

  private boolean setDiagnostics(boolean enabled) {
    var node = server.getAddressSpaceManager().getManagedNode(NodeIds.Server_ServerDiagnostics).orElseThrow();
    ((ServerDiagnosticsTypeNode) node).setEnabledFlag(enabled);
    return enabled;
  }

  private String answer(String line) throws Exception {
    if (line.startsWith("value ")) {
      return plant.shown(line.substring("value ".length()));
    }
    return switch (line) {
      case "close sessions" -> String.valueOf(closeSessions());
      case "count sessions" -> String.valueOf(server.getSessionManager().getAllSessions().size());
      case "thumbprint" -> hexadecimal(DigestUtil.sha1(certificate.getEncoded()));
      case "diagnostics on", "diagnostics off" -> String.valueOf(setDiagnostics(line.endsWith("on")));
      default -> "unknown command";
    };
  }

  private static String hexadecimal(byte[] bytes) {
    return java.util.HexFormat.of().formatHex(bytes);
  }

  public static void main(String[] arguments) throws Exception {
    PrintStream out = new PrintStream(System.out, true, StandardCharsets.UTF_8); // for the tests alone
    System.setOut(System.err);
    var made = new InteropServer(JsonParser.parseString(arguments[0]).getAsJsonObject());
    made.server.startup().get();
    out.println("Endpoint: opc.tcp://127.0.0.1:" + made.port + "/");
    var in = new BufferedReader(new InputStreamReader(System.in, StandardCharsets.UTF_8));
    for (String line; (line = in.readLine()) != null; ) {
      out.println(made.answer(line));
    }
    System.exit(0);
  }
}
