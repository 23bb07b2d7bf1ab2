// What the plant shows: every row as declared, the special values exactly, movement, writing, and
// what can be set.

#include "simulator/plant_rows.hpp"
#include "simulator/plant_server.hpp"
#include "tests/simulator/test_client.hpp"

#include <limits>
#include <set>

namespace tarvik::simulator {
namespace {

class plant_values : public testing::Test {
  protected:
    plant_values() {
        plant_.start();
        EXPECT_EQ(client_.connect(plant_.endpoint_url()), UA_STATUSCODE_GOOD);
    }
    plant_server plant_{{.auto_change = false}};
    test_client client_;
};

TEST_F(plant_values, every_row_is_readable_with_its_declared_type_and_texts) {
    std::set<UA_UInt32> kinds;
    std::vector<plant_row> rows;
    for (const plant_tree& tree : plant_trees()) {
        rows.insert(rows.end(), tree.rows.begin(), tree.rows.end());
    }
    for (const plant_row& row : rows) {
        SCOPED_TRACE(row.node_id);
        variant value;
        EXPECT_EQ(client_.read(row.node_id, value), UA_STATUSCODE_GOOD);
        EXPECT_EQ(value->type, row.value->type);
        EXPECT_EQ(UA_Variant_isScalar(&value.get()), UA_Variant_isScalar(&row.value.get()));
        EXPECT_EQ(value->arrayLength, row.value->arrayLength);
        kinds.insert(value->type == nullptr ? UA_DATATYPEKINDS : value->type->typeKind);

        variant type;
        ASSERT_EQ(client_.read(row.node_id, type, UA_ATTRIBUTEID_DATATYPE), UA_STATUSCODE_GOOD);
        if (row.value->type != nullptr) {
            const auto& declared = *static_cast<const UA_NodeId*>(type->data);
            EXPECT_TRUE(UA_NodeId_equal(&declared, &value->type->typeId));
        }
        for (const auto& [attribute, text] :
             {std::pair{UA_ATTRIBUTEID_DISPLAYNAME, row.display_name},
              std::pair{UA_ATTRIBUTEID_DESCRIPTION, row.description}}) {
            variant shown;
            ASSERT_EQ(client_.read(row.node_id, shown, attribute), UA_STATUSCODE_GOOD);
            const auto& localized = *static_cast<const UA_LocalizedText*>(shown->data);
            EXPECT_EQ(view(localized.text), text);
            EXPECT_EQ(localized.text.data == nullptr, text.empty()) << "null, not just empty";
        }
    }
    // All built-in types but DiagnosticInfo, structures, and no value at all.
    for (UA_UInt32 kind = 0; kind < UA_DATATYPEKIND_DIAGNOSTICINFO; ++kind) {
        EXPECT_TRUE(kind == UA_DATATYPEKIND_EXTENSIONOBJECT || kinds.contains(kind)) << kind;
    }
    EXPECT_TRUE(kinds.contains(UA_DATATYPEKIND_STRUCTURE));
    EXPECT_TRUE(kinds.contains(UA_DATATYPEKINDS));
}

TEST_F(plant_values, special_values_arrive_exactly) {
    for (const auto& [id, shown] : {
             std::pair{"ns=2;s=Limits.UInt64Max", "UInt64 18446744073709551615"},
             std::pair{"ns=2;s=Limits.Int64Min", "Int64 -9223372036854775808"},
             std::pair{"ns=2;s=Value.NaN", "Double NaN"},
             std::pair{"ns=2;s=Value.Infinity", "Double Infinity"},
             std::pair{"ns=2;s=Value.Never", "- -"},
             std::pair{"ns=2;s=Text.WithNumber", "String \"12.5 °C\""},
             std::pair{"ns=2;s=Text.Empty", "String \"\""},
             std::pair{"ns=2;s=Text.Null", "String null"},
             std::pair{"ns=2;s=Array.Empty", "Int32[] []"},
             std::pair{"ns=2;s=Array.Booleans", "Boolean[] [true, false, true]"},
             std::pair{"ns=2;s=Type.StatusCode", "StatusCode BadSensorFailure"},
             std::pair{"ns=2;i=1001", "Double 12.5"},
             std::pair{"ns=2;g=09087e75-8e5e-499b-954f-f2a9603db28a", "Float 3.5"},
             std::pair{"ns=2;s=No.Such", "BadNodeIdUnknown"},
         }) {
        EXPECT_EQ(client_.shown(id), shown) << id;
    }
}

TEST_F(plant_values, move_by_steps_and_only_those_that_should) {
    plant_.advance(10);
    EXPECT_EQ(client_.shown("ns=2;s=Boiler.Running"), "Boolean false");
    EXPECT_EQ(client_.shown("ns=2;s=Counter.SByte"), "SByte 5");
    EXPECT_EQ(client_.shown("ns=2;s=Counter.UInt16"), "UInt16 4") << "wraps around";
    EXPECT_EQ(client_.shown("ns=2;s=Pump.Speed"), "Int32 1547"); // 1480 * (1 + 0.05 * sin(2))
    EXPECT_EQ(client_.shown("ns=2;s=Text.Status"), "String \"All systems normal\"");
    plant_.set_value("ns=2;s=Boiler.Temperature", 100.0);
    plant_.set_value("ns=2;s=Counter.Int16", "a faulty text does not move");
    plant_.advance(5);
    variant now;
    ASSERT_EQ(client_.read("ns=2;s=Boiler.Temperature", now), UA_STATUSCODE_GOOD);
    EXPECT_NEAR(*static_cast<const double*>(now->data), 100.7, 0.1); // 100 * (1 + 0.05 * sin(3))
    EXPECT_EQ(client_.shown("ns=2;s=Counter.Int16"), "String \"a faulty text does not move\"");

    plant_server lively{{.auto_change = true}};
    lively.start();
    EXPECT_TRUE(comes_true([&] {
        return value_text(lively.get_value("ns=2;s=Counter.SByte").get()) != "-5";
    }));
}

TEST_F(plant_values, stay_within_sensible_limits_while_they_move) {
    const std::string load = "ns=2;s=Modules|CPU|CPU0|0x8nn1|0x02";
    const std::string temperature = "ns=2;s=Modules|CPU|CPU0|0x8nn1|0x03";
    const std::string available = "ns=2;s=Modules|Memory|Memory|0x8nn1|0x07";
    const auto number = [&](const std::string& id) {
        return std::stoll(value_text(plant_.get_value(id).get()));
    };
    const auto moved = [&](const std::string& id) {
        std::set<long long> seen;
        for (int step = 0; step < 40; ++step) { // more than one whole swing
            plant_.advance();
            seen.insert(number(id));
        }
        return std::pair{*seen.begin(), *seen.rbegin()};
    };
    EXPECT_EQ(moved(load), (std::pair{32LL, 39LL}));
    EXPECT_EQ(moved(temperature), (std::pair{51LL, 56LL}));
    const auto [least, most] = moved(available);
    EXPECT_LT(least, most);
    EXPECT_GT(least, 2147483647) << "or the first set would have to move";
    EXPECT_LT(most, number("ns=2;s=Modules|Memory|Memory|0x8nn1|0x06"));

    plant_.set_value(load, std::uint16_t{100});
    EXPECT_LE(moved(load).second, 100);
    plant_.set_value(temperature, std::int16_t{-32768});
    EXPECT_EQ(moved(temperature).first, -32768) << "the type's limit, not beyond";
    plant_.set_value("ns=2;s=Pump.Speed", std::numeric_limits<std::int64_t>::max());
    EXPECT_EQ(moved("ns=2;s=Pump.Speed").second, std::numeric_limits<std::int64_t>::max());
}

TEST_F(plant_values, what_is_set_is_what_clients_see_also_after_a_restart) {
    plant_.set_value("ns=2;s=Tank.Level", std::uint8_t{200});
    plant_.set_value("ns=2;s=Clock.Now", date_time(0).get());
    plant_.set_value("ns=0;i=2257", date_time(0).get());
    plant_.set_value("ns=0;i=2259", std::int32_t{UA_SERVERSTATE_SUSPENDED});
    plant_.set_read_status("ns=2;s=Boiler.Pressure", UA_STATUSCODE_BADSENSORFAILURE);
    plant_.set_display_name("ns=2;s=Pump.Speed", "");
    plant_.set_description("ns=2;s=Pump.Speed", "new");
    plant_.remove_node("ns=2;s=Text.Status");
    plant_.remove_node("ns=0;i=2294");
    const auto check = [](test_client& client) {
        EXPECT_EQ(client.shown("ns=2;s=Tank.Level"), "Byte 200");
        EXPECT_EQ(client.shown("ns=2;s=Clock.Now"), "DateTime 1601-01-01T00:00:00Z");
        EXPECT_EQ(client.shown("ns=0;i=2257"), "DateTime 1601-01-01T00:00:00Z");
        EXPECT_EQ(client.shown("ns=0;i=2259"), "Int32 3");
        EXPECT_EQ(client.shown("ns=2;s=Boiler.Pressure"), "BadSensorFailure");
        EXPECT_EQ(client.shown("ns=2;s=Text.Status"), "BadNodeIdUnknown");
        EXPECT_EQ(client.shown("ns=0;i=2294"), "BadNodeIdUnknown");
        variant text;
        client.read("ns=2;s=Pump.Speed", text, UA_ATTRIBUTEID_DISPLAYNAME);
        EXPECT_EQ(static_cast<const UA_LocalizedText*>(text->data)->text.data, nullptr);
        client.read("ns=2;s=Pump.Speed", text, UA_ATTRIBUTEID_DESCRIPTION);
        EXPECT_EQ(view(static_cast<const UA_LocalizedText*>(text->data)->text), "new");
    };
    check(client_);
    plant_.restart();
    test_client second;
    ASSERT_EQ(second.connect(plant_.endpoint_url()), UA_STATUSCODE_GOOD);
    check(second);
    plant_.set_read_status("ns=2;s=Boiler.Pressure", UA_STATUSCODE_GOOD);
    EXPECT_EQ(second.shown("ns=2;s=Boiler.Pressure"), "Float 2.5");

    for (const char* unknown : {"", "Boiler", "ns=2;s=No.Such", "ns=2;s=Text.Status"}) {
        EXPECT_THROW(plant_.set_value(unknown, 1.0), plant_error) << unknown;
    }
}

} // namespace
} // namespace tarvik::simulator
