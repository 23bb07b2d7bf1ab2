import static org.eclipse.milo.opcua.stack.core.types.builtin.unsigned.Unsigned.ubyte;
import static org.eclipse.milo.opcua.stack.core.types.builtin.unsigned.Unsigned.uint;
import static org.eclipse.milo.opcua.stack.core.types.builtin.unsigned.Unsigned.ulong;
import static org.eclipse.milo.opcua.stack.core.types.builtin.unsigned.Unsigned.ushort;

import com.google.gson.JsonArray;
import com.google.gson.JsonElement;
import com.google.gson.JsonPrimitive;
import java.lang.reflect.Array;
import java.time.Instant;
import java.util.HexFormat;
import java.util.List;
import java.util.UUID;
import org.eclipse.milo.opcua.sdk.core.AccessLevel;
import org.eclipse.milo.opcua.sdk.core.Reference;
import org.eclipse.milo.opcua.sdk.server.ManagedNamespaceWithLifecycle;
import org.eclipse.milo.opcua.sdk.server.OpcUaServer;
import org.eclipse.milo.opcua.sdk.server.items.DataItem;
import org.eclipse.milo.opcua.sdk.server.items.MonitoredItem;
import org.eclipse.milo.opcua.sdk.server.nodes.UaVariableNode;
import org.eclipse.milo.opcua.stack.core.NodeIds;
import org.eclipse.milo.opcua.stack.core.OpcUaDataType;
import org.eclipse.milo.opcua.stack.core.StatusCodes;
import org.eclipse.milo.opcua.stack.core.types.UaStructuredType;
import org.eclipse.milo.opcua.stack.core.types.builtin.ByteString;
import org.eclipse.milo.opcua.stack.core.types.builtin.DataValue;
import org.eclipse.milo.opcua.stack.core.types.builtin.DateTime;
import org.eclipse.milo.opcua.stack.core.types.builtin.ExpandedNodeId;
import org.eclipse.milo.opcua.stack.core.types.builtin.ExtensionObject;
import org.eclipse.milo.opcua.stack.core.types.builtin.LocalizedText;
import org.eclipse.milo.opcua.stack.core.types.builtin.Matrix;
import org.eclipse.milo.opcua.stack.core.types.builtin.NodeId;
import org.eclipse.milo.opcua.stack.core.types.builtin.QualifiedName;
import org.eclipse.milo.opcua.stack.core.types.builtin.StatusCode;
import org.eclipse.milo.opcua.stack.core.types.builtin.Variant;
import org.eclipse.milo.opcua.stack.core.types.builtin.XmlElement;
import org.eclipse.milo.opcua.stack.core.types.structured.EnumValueType;
import org.eclipse.milo.opcua.stack.core.types.structured.Range;

/** One namespace with nodes of nodes.json. */
final class PlantNodes extends ManagedNamespaceWithLifecycle {
  PlantNodes(OpcUaServer server, String uri) {
    super(server, uri);
  }

  void addAll(JsonArray rows) throws Exception {
    for (JsonElement row : rows) {
      add(row.getAsJsonArray());
    }
  }

  /** A node's value as the simulated plant shows it. */
  String shown(String name) {
    Object value = ((UaVariableNode) getNodeManager().getNode(newNodeId(name)).orElseThrow()).getValue().getValue().getValue();
    return value instanceof String ? new JsonPrimitive((String) value).toString() : String.valueOf(value);
  }

  private void add(JsonArray row) throws Exception {
    String name = row.get(0).getAsString();
    String type = row.get(2).getAsString();
    boolean writable = name.startsWith("Write.") && !name.equals("Write.ReadOnly");
    var access = writable ? AccessLevel.READ_WRITE : AccessLevel.READ_ONLY;
    Variant value = new Variant(value(type, row.get(3)));
    StatusCode status = row.size() > 4 ? status(row.get(4).getAsString()) : StatusCode.GOOD;
    UaVariableNode node =
        UaVariableNode.build(
            getNodeContext(),
            builder ->
                builder
                    .setNodeId(newNodeId(name))
                    .setBrowseName(newQualifiedName(name))
                    .setDisplayName(LocalizedText.english(row.get(1).getAsString()))
                    .setDataType(dataType(type.replace("[]", "")))
                    .setValueRank(type.endsWith("[][]") ? 2 : type.endsWith("[]") ? 1 : -1)
                    .setAccessLevel(access)
                    .setUserAccessLevel(access)
                    .setTypeDefinition(NodeIds.BaseDataVariableType)
                    .build());
    node.setValue(new DataValue(value, status, DateTime.now()));
    getNodeManager().addNode(node);
    node.addReference(
        new Reference(node.getNodeId(), NodeIds.Organizes, NodeIds.ObjectsFolder.expanded(), Reference.Direction.INVERSE));
  }

  private static NodeId dataType(String type) {
    return switch (type) {
      case "EnumValueType" -> NodeIds.EnumValueType;
      case "Range" -> NodeIds.Range;
      case "Variant" -> NodeIds.BaseDataType;
      default -> OpcUaDataType.valueOf(type).getNodeId();
    };
  }

  private static StatusCode status(String name) throws Exception {
    String constant = name.replaceFirst("^(Bad|Uncertain)", "$1_");
    return new StatusCode(StatusCodes.class.getField(constant).getLong(null));
  }

  private Object value(String type, JsonElement element) throws Exception {
    if (element.isJsonNull()) {
      return null;
    }
    if (type.endsWith("[][]")) {
      return new Matrix(array(type.substring(0, type.length() - 2), element.getAsJsonArray()));
    }
    return type.endsWith("[]") ? array(type.substring(0, type.length() - 2), element.getAsJsonArray()) : scalar(type, element);
  }

  private Object array(String type, JsonArray elements) throws Exception {
    List<Object> values = new java.util.ArrayList<>();
    for (JsonElement element : elements) {
      values.add(value(type, element));
    }
    // Of an empty array nothing else tells the type.
    Class<?> kind = values.isEmpty() ? OpcUaDataType.valueOf(type).getBackingClass() : values.get(0).getClass();
    Object array = Array.newInstance(ExtensionObject.class.isAssignableFrom(kind) ? ExtensionObject.class : kind, values.size());
    for (int i = 0; i < values.size(); ++i) {
      Array.set(array, i, values.get(i));
    }
    return array;
  }

  private ExtensionObject structure(UaStructuredType value) {
    return ExtensionObject.encode(getServer().getStaticEncodingContext(), value);
  }

  private Object scalar(String type, JsonElement element) throws Exception {
    if (element.isJsonArray()) {
      JsonArray pair = element.getAsJsonArray();
      return switch (type) {
        case "LocalizedText" -> new LocalizedText(pair.get(0).getAsString(), pair.get(1).getAsString());
        case "QualifiedName" -> new QualifiedName(pair.get(0).getAsInt(), pair.get(1).getAsString());
        case "Range" -> structure(new Range(pair.get(0).getAsDouble(), pair.get(1).getAsDouble()));
        default -> new Variant(value(pair.get(0).getAsString(), pair.get(1)));
      };
    }
    String text = element.getAsString();
    return switch (type) {
      case "Boolean" -> element.getAsBoolean();
      case "SByte" -> Byte.valueOf(text);
      case "Byte" -> ubyte(Integer.parseInt(text));
      case "Int16" -> Short.valueOf(text);
      case "UInt16" -> ushort(Integer.parseInt(text));
      case "Int32" -> Integer.valueOf(text);
      case "UInt32" -> uint(Long.parseLong(text));
      case "Int64" -> Long.valueOf(text);
      case "UInt64" -> ulong(text);
      case "Float" -> Float.valueOf(text);
      case "Double" -> Double.valueOf(text);
      case "DateTime" -> new DateTime(Instant.parse(text));
      case "Guid" -> UUID.fromString(text);
      case "ByteString" -> ByteString.of(HexFormat.of().parseHex(text));
      case "NodeId" -> NodeId.parse(text);
      case "ExpandedNodeId" -> ExpandedNodeId.parse(text);
      case "StatusCode" -> status(text);
      case "XmlElement" -> new XmlElement(text);
      case "EnumValueType" -> structure(new EnumValueType(Long.valueOf(text), LocalizedText.NULL_VALUE, LocalizedText.NULL_VALUE));
      case "DataValue" -> new DataValue(new Variant(Double.valueOf(text)));
      default -> text;
    };
  }

  // Nobody subscribes here.
  @Override
  public void onDataItemsCreated(List<DataItem> items) {}

  @Override
  public void onDataItemsModified(List<DataItem> items) {}

  @Override
  public void onDataItemsDeleted(List<DataItem> items) {}

  @Override
  public void onMonitoringModeChanged(List<MonitoredItem> items) {}
}
