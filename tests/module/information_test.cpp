// The module information document: that it holds together and describes what the module has.

#include "module/information/document_pieces.hpp"
#include "module/zuno_module_opcua.hpp"
#include "opcua/sensors/beckhoff_ipc_system_status_sensor.hpp"
#include "opcua/sensors/certificate_sensor.hpp"
#include "opcua/sensors/server_status_sensor.hpp"
#include "tests/module/information_support.hpp"

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace tarvik::monitoring_modules;
using namespace tarvik::monitoring_modules::tests;

namespace {

std::vector<std::string> names_in(const json& object) {
    std::vector<std::string> names;
    for (const auto& [name, value] : object.items()) {
        EXPECT_EQ(value.at("Name"), name);
        names.push_back(name);
    }
    std::ranges::sort(names);
    return names;
}

TEST(information, has_the_members_that_hosts_expect_in_their_order) {
    std::vector<std::string> members;
    for (const auto& [name, value] : document().items()) {
        members.push_back(name);
    }
    const std::vector<std::string> expected{
        "Revision",
        "MetaData",
        "Sensors",
        "MetaScans",
        "Checks",
        "Sections",
        "Groups",
        "Lookups",
        "Text"};
    EXPECT_EQ(members, expected);
}

TEST(information, describes_the_registered_kinds) {
    const ZunoModuleOPCUA module{0, [](std::uint64_t, const std::uint8_t*, std::uint32_t) {}};
    EXPECT_EQ(names_in(document().at("Sensors")), module.dispatcher()->sensor_kinds());
    EXPECT_EQ(names_in(document().at("Checks")), module.dispatcher()->check_kinds());
}

TEST(information, refers_only_to_what_is_in_it) {
    const auto expect_all = [](const json& names, const char* member) {
        for (const json& name : names) {
            EXPECT_TRUE(document().at(member).contains(name.get<std::string>())) << name;
        }
    };
    for (const auto& [kind, sensor] : document().at("Sensors").items()) {
        expect_all(sensor.at("RequiredChecks"), "Checks");
        expect_all(sensor.at("Settings").at("Sections"), "Sections");
    }
    for (const auto& [name, check] : document().at("Checks").items()) {
        expect_all(check.at("Sections"), "Sections");
    }
    for (const auto& [name, section] : document().at("Sections").items()) {
        expect_all(section.at("Groups"), "Groups");
    }
}

TEST(information, has_a_lookup_for_every_channel_that_names_one) {
    std::set<std::string> used{"", "positive_boolean_lookup"};
    for (const auto& channels :
         {opcua::server_status_sensor::all_channels(),
          opcua::certificate_sensor::all_channels(),
          opcua::beckhoff_ipc_system_status_sensor::all_channels()}) {
        for (const auto& channel : channels) {
            used.emplace(channel.lookup);
        }
    }
    used.erase("");
    for (const std::string& lookup : used) {
        EXPECT_TRUE(document().at("Lookups").contains(lookup)) << lookup;
    }
}

/// Every text that the structure shows stands under its key, and no key is left over.
TEST(information, shows_the_english_text_of_every_key) {
    std::set<std::string> left;
    for (const auto& [key, text] : texts_of("English").items()) {
        left.insert(key);
    }
    const auto expect_text = [&](const std::string& key, const json& shown) {
        ASSERT_TRUE(texts_of("English").contains(key)) << key;
        EXPECT_EQ(texts_of("English").at(key).at("Display"), shown) << key;
        left.erase(key);
    };
    for (const char* const member : {"Sensors", "Sections"}) {
        for (const auto& [name, entry] : document().at(member).items()) {
            expect_text(name + ".display", entry.at("Display"));
            if (entry.contains("Help")) {
                expect_text(name + ".description", entry.at("Description"));
                expect_text(name + ".help", entry.at("Help"));
            }
        }
    }
    for_each_setting([&](const std::string& group, const json& item) {
        const json& setting = item.at("Setting");
        const std::string stem = group + "." + setting.at("Name").get<std::string>();
        expect_text(stem + ".display", setting.at("Display"));
        expect_text(stem + ".help", setting.at("Help"));
        for (const json& option :
             setting.value("Selection", json::object()).value("Options", json::array())) {
            expect_text(
                stem + ".option." + option.at("Value").get<std::string>(), option.at("Display")
            );
        }
    });
    for (const auto& [name, lookup] : document().at("Lookups").items()) {
        for (const json& value : lookup.at("LookupValues")) {
            expect_text("lookup." + name + "." + value.at("Value").dump(), value.at("Display"));
        }
    }
    expect_text("module.display", document().at("MetaData").at("Display"));
    expect_text("module.description", document().at("MetaData").at("Description"));
    std::erase_if(left, [](const std::string& key) {
        return key.find("error.") != std::string::npos || key.starts_with("message.") ||
               key.starts_with("channel.");
    });
    EXPECT_TRUE(left.empty()) << *left.begin();
}

TEST(information, is_kept_in_pieces_that_compilers_take) {
    std::size_t size = 0;
    for (const auto pieces : {information::document_head(), information::document_texts()}) {
        for (const std::string_view piece : pieces) {
            EXPECT_LE(piece.size(), 5000U);
            size += piece.size();
        }
    }
    EXPECT_EQ(information_document().size(), size + std::string_view{R"(,"Text":})"}.size());
}

} // namespace
