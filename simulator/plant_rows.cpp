#include "simulator/plant_rows.hpp"

#include "simulator/plant_values.hpp"

#include <cstdint>
#include <limits>

namespace tarvik::simulator {
namespace {

using namespace std::string_view_literals;
using std::int16_t, std::int32_t, std::int64_t, std::int8_t;
using std::uint16_t, std::uint32_t, std::uint64_t, std::uint8_t;
using rows = std::vector<plant_row>;
using enum motion;
using enum access;

// One line is one variable.
// clang-format off

/// What a plant shows: most of it moves.
rows moving_rows() {
    return {
        {"ns=2;s=Boiler.Temperature", "Boiler", "Boiler Temperature", "Water temperature, °C", value_of(72.5), wave, read_only, {"°C", "CEL"}},
        {"ns=2;s=Boiler.Pressure", "Boiler", "Boiler Pressure", "Steam pressure, bar", value_of(2.5F), wave, read_only, {"bar", "BAR"}},
        {"ns=2;s=Boiler.Running", "Boiler", "Boiler Running", "Whether the burner is on", value_of(true), toggle},
        {"ns=2;s=Pump.Speed", "Pump", "Pump Speed", "Shaft speed, 1/min", value_of(int32_t{1480}), wave, read_only, {"1/min", "RPM"}},
        {"ns=2;s=Pump.Revolutions", "Pump", "Pump Revolutions", "Turns since the last service", value_of(uint32_t{1'000'000}), count_up},
        {"ns=2;s=Tank.Level", "Tank", "Tank Level", "Filling level, %", value_of(uint8_t{60}), wave, read_only, {"%", "P1"}},
        {"ns=2;s=Counter.SByte", "Counter", "Counter SByte", "Counts up, 8 bits signed", value_of(int8_t{-5}), count_up},
        {"ns=2;s=Counter.Int16", "Counter", "Counter Int16", "Counts up, 16 bits signed", value_of(int16_t{-300}), count_up},
        {"ns=2;s=Counter.UInt16", "Counter", "Counter UInt16", "Counts up, 16 bits", value_of(uint16_t{65'530}), count_up},
        {"ns=2;s=Counter.Int64", "Counter", "Counter Int64", "Counts up, 64 bits signed", value_of(int64_t{-9'000'000'000}), count_up},
        {"ns=2;s=Counter.UInt64", "Counter", "Counter UInt64", "Counts up, 64 bits", value_of(uint64_t{9'000'000'000}), count_up},
        {"ns=2;s=Clock.Now", "Clock", "Clock Now", "The plant's clock, UTC", date_time(0), clock},
        {"ns=2;s=Clock.Milliseconds", "Clock", "Clock Milliseconds", "The plant's clock, ms since 1970", value_of(int64_t{0}), clock},
        {"ns=2;i=1001", "Numbered", "Numbered Flow", "Flow with a numeric node id, l/min", value_of(12.5), wave},
        {"ns=2;i=1002", "Numbered", "Numbered Parts", "Parts made, with a numeric node id", value_of(uint32_t{4711}), count_up},
        {"ns=2;g=09087e75-8e5e-499b-954f-f2a9603db28a", "Numbered", "Guid Torque", "Torque with a GUID node id, Nm", value_of(3.5F), wave},
    };
}

/// Values at the edges of their types, and none at all.
rows edge_rows() {
    return {
        {"ns=2;s=Limits.UInt64Max", "Limits", "UInt64 Maximum", "Largest UInt64", value_of(std::numeric_limits<uint64_t>::max())},
        {"ns=2;s=Limits.Int64Max", "Limits", "Int64 Maximum", "Largest Int64", value_of(std::numeric_limits<int64_t>::max())},
        {"ns=2;s=Limits.Int64Min", "Limits", "Int64 Minimum", "Smallest Int64", value_of(std::numeric_limits<int64_t>::min())},
        {"ns=2;s=Limits.DoubleMax", "Limits", "Double Maximum", "Largest Double", value_of(std::numeric_limits<double>::max())},
        {"ns=2;s=Value.NaN", "Value", "Not a Number", "A Double that is no number", value_of(std::numeric_limits<double>::quiet_NaN())},
        {"ns=2;s=Value.Infinity", "Value", "Infinity", "A Double beyond all numbers", value_of(std::numeric_limits<double>::infinity())},
        {"ns=2;s=Value.Never", "Value", "Never Measured", "A variable without a value", variant{}},
    };
}

rows text_rows() {
    return {
        {"ns=2;s=Text.Status", "Text", "Plant Status", "What the plant says of itself", value_of("All systems normal"sv)},
        {"ns=2;s=Text.WithNumber", "Text", "Text With Number", "A number with its unit", value_of("12.5 °C"sv)},
        {"ns=2;s=Text.NoNumber", "Text", "Text Without Number", "No digit at all", value_of("abc"sv)},
        {"ns=2;s=Text.Empty", "Text", "Empty Text", "A String of no characters", value_of(""sv)},
        {"ns=2;s=Text.Null", "Text", "Null Text", "A null String", null_string()},
        {"ns=2;s=Text.Localized", "Text", "Localized Text", "A text with its language", localized_text("en", "Valve open")},
        {"ns=2;s=Text.Qualified", "Text", "Qualified Name", "A name with its namespace", qualified_name(2, "Temp")},
        {"ns=2;s=Text.NoDisplayName", "Text", "", "A node without DisplayName", value_of("no display name"sv)},
        {"ns=2;s=Text.NoDescription", "Text", "No Description", "", value_of("no description"sv)},
    };
}

rows array_rows() {
    return {
        {"ns=2;s=Array.Doubles", "Array", "Double Array", "Temperatures of four zones, °C", array_of(std::vector{21.5, 22.25, 23.0, 19.75}, UA_TYPES_DOUBLE)},
        {"ns=2;s=Array.Strings", "Array", "String Array", "Names of three zones", array_of_strings({"north", "middle", "south"})},
        {"ns=2;s=Array.Booleans", "Array", "Boolean Array", "Three valves", array_of(std::vector<UA_Byte>{1, 0, 1}, UA_TYPES_BOOLEAN)},
        {"ns=2;s=Array.Int32", "Array", "Int32 Array", "Three set points", array_of(std::vector<int32_t>{-1, 0, 1}, UA_TYPES_INT32)},
        {"ns=2;s=Array.Empty", "Array", "Empty Array", "An Int32 array of length 0", array_of(std::vector<int32_t>{}, UA_TYPES_INT32)},
        {"ns=2;s=Array.Matrix", "Array", "Int32 Matrix", "Two rows, two columns", matrix({11, 12, 21, 22})},
        {"ns=2;s=Array.Variants", "Array", "Variant Array", "Elements of several types", array_of_variants({value_of(1.5), value_of(true), value_of("two"sv)})},
    };
}

rows type_rows() {
    return {
        {"ns=2;s=Type.Guid", "Type", "Guid", "A GUID", guid("72962b91-fa75-4ae6-8d28-b404dc7daf63")},
        {"ns=2;s=Type.ByteString", "Type", "ByteString", "Four bytes", byte_string("\x00\x01\xfe\xff"sv)},
        {"ns=2;s=Type.NodeId", "Type", "NodeId", "Another node's id", node_id_value("ns=2;s=Boiler.Temperature")},
        {"ns=2;s=Type.StatusCode", "Type", "StatusCode", "BadSensorFailure", status_code(UA_STATUSCODE_BADSENSORFAILURE)},
        {"ns=2;s=Type.ExpandedNodeId", "Type", "ExpandedNodeId", "A node id with its namespace's URI", expanded_node_id("s=Boiler.Pressure", plant_namespace)},
        {"ns=2;s=Type.XmlElement", "Type", "XmlElement", "A piece of XML", xml_element("<state>on</state>")},
        {"ns=2;s=Type.EnumValue", "Type", "Enum Value", "A number with its name", enum_value(11, "Cleaning", "Being cleaned")},
        {"ns=2;s=Type.Structure", "Type", "Structure", "A structure: measuring range, °C", range(-20.0, 150.0)},
        {"ns=2;s=Type.DataValue", "Type", "DataValue", "A value within a value", data_value(42.0, UA_STATUSCODE_UNCERTAININITIALVALUE)},
        {"ns=2;s=Write.Boolean", "Write", "Writable Boolean", "Clients may write it", value_of(false), fixed, read_write},
        {"ns=2;s=Write.String", "Write", "Writable String", "Clients may write it", value_of("off"sv), fixed, read_write},
        {"ns=2;s=Write.Int64", "Write", "Writable Int64", "Clients may write it", value_of(int64_t{0}), fixed, read_write},
        {"ns=2;s=Write.Double", "Write", "Writable Double", "Clients may write it", value_of(0.0), fixed, read_write},
        {"ns=2;s=Write.ReadOnly", "Write", "Not Writable", "Clients may not write it", value_of(true)},
    };
}
// clang-format on

} // namespace

std::vector<plant_row> plant_rows() {
    rows all;
    for (rows group : {moving_rows(), edge_rows(), text_rows(), array_rows(), type_rows()}) {
        all.insert(all.end(), group.begin(), group.end());
    }
    return all;
}

} // namespace tarvik::simulator
