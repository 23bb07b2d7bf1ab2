#include "exporter/node_id_form.hpp"

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using testing::HasSubstr;

TEST(node_id_form, doubts_what_was_mistyped_and_nothing_that_the_module_takes) {
    for (const std::string text :
         {"ns=2;s=Boiler.Temperature",
          "ns=2;s=a=b;c d",
          "ns=65535;i=4294967295",
          "i=2258",
          "s=",
          "s=name",
          "g=09087e75-8e5e-499b-954f-f2a9603db28a",
          "ns=1;b=TWFu",
          "nsu=http://a;s=x",
          "'ns=2;s=Zones'[0]",
          "\"ns=2;s=a'b\"[12]"}) {
        EXPECT_EQ(doubt_about_node_id(text), "") << text;
    }
    for (const auto& [text, part] : std::vector<std::pair<std::string, std::string>>{
             {"ns=2,s=x", "looks like no NodeID"},
             {"ns=65536;i=1", "looks like no NodeID"},
             {"ns=2;x=1", "looks like no NodeID"},
             {"ns=2;i=-1", "looks like no NodeID"},
             {"i=4294967296", "looks like no NodeID"},
             {"Boiler", "expected such as ns=2;s="},
             {" i=1", "looks like no NodeID"},
             {"\u2019ns=2;s=Zones\u2019[0]", "looks like no NodeID"},
             {"b=ns=2;s=Boiler", "looks like no NodeID"},
             {"s=ns=2;s=Boiler", "a channel's name is none of"},
             {"'ns=2;s=Zones'", "no element of an array"},
             {"'ns=2;s=Zones'(0)", "square brackets"},
             {"'ns=2;s=Zones'[]", "no element of an array"},
             {"'Zones'[0]", "no element of an array"},
             {"", "looks like no NodeID"}}) {
        EXPECT_THAT(doubt_about_node_id(text), HasSubstr(part)) << text;
    }
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
