// What the journal says while connections and sensors fail and work again.

#include "exporter/fault_journal.hpp"
#include "tests/exporter/fake_module.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {

namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* down = "#:error.opcua_connection_closed[]";
constexpr const char* no_such_node = "#:error.nodeid_unknown[ns=2;s=x]";

/// One connection of sensors, whose answers the test sets.
class told : public testing::Test {
  protected:
    told() {
        module_.when_scanned = [this](std::int32_t id, const std::string& record) {
            return answer_of(id, answers_[record]);
        };
    }

    /// Scans what is due for some time.
    void pass(std::chrono::seconds time) {
        for (auto step = 0s; step < time; step += 1s) {
            time_.pass(1s);
            while (connection_.due() <= time_.now()) {
                connection_.run();
            }
        }
    }
    std::vector<std::string> take() { return std::exchange(lines_, {}); }

    fake_time time_;
    fake_module module_;
    const module_document document_{};
    snapshot_store store_{time_};
    own_metrics own_{"1"};
    std::map<std::string, std::string> answers_; // identities, by record
    std::vector<std::string> lines_;
    server_connection connection_{
        {module_,
         document_,
         time_,
         store_,
         own_,
         [this](std::int32_t severity, const std::string& line) {
             lines_.push_back("<" + std::to_string(severity) + ">" + line);
         }},
        "plc:4840"};
};

TEST_F(told, once_when_a_connection_fails_and_once_when_it_works_again) {
    for (int i = 1; i <= 5; ++i) {
        const std::string name = "s" + std::to_string(i);
        connection_.add(plan_of(name), i);
    }
    pass(30s);
    EXPECT_THAT(take(), IsEmpty());
    for (int i = 1; i <= 5; ++i) {
        answers_["s" + std::to_string(i)] = down;
    }
    pass(185s);
    EXPECT_THAT(
        take(), ElementsAre("<3>plc:4840 cannot be reached; 5 sensors (s1, s2, s3 and 2 more): No")
    );
    answers_.clear();
    pass(60s);
    EXPECT_THAT(
        take(),
        ElementsAre(testing::MatchesRegex("<5>plc:4840 reachable again after [34] min [0-9]+ s; 5 "
                                          "sensors"))
    );
}

TEST_F(told, of_each_sensor_that_fails_by_itself) {
    connection_.add(plan_of("a"), 1);
    connection_.add(plan_of("b"), 2);
    answers_["b"] = no_such_node;
    pass(120s);
    EXPECT_THAT(
        take(),
        ElementsAre(
            testing::StartsWith("<3>b at plc:4840 fails: No “opcua-probe browse” finds NodeIDs.")
        )
    );
    answers_["a"] = down; // while it is down, nothing is known of b
    answers_["b"] = down;
    pass(60s);
    EXPECT_THAT(take(), ElementsAre("<3>plc:4840 cannot be reached; 2 sensors (a, b): No"));
    answers_.clear();
    pass(120s);
    EXPECT_THAT(
        take(),
        testing::UnorderedElementsAre(
            testing::StartsWith("<5>plc:4840 reachable again after "),
            testing::StartsWith("<5>b at plc:4840 works again after 3 min")
        )
    );
}

TEST_F(told, that_a_server_is_back_also_by_a_sensor_that_fails_by_itself) {
    connection_.add(plan_of("a"), 1);
    for (const char* identity : {down, no_such_node, "#:error.opcua_read_failed[BadNotReadable]"}) {
        answers_["a"] = identity;
        pass(70s);
    }
    EXPECT_THAT(
        take(),
        ElementsAre(
            testing::HasSubstr("cannot be reached"),
            testing::HasSubstr("reachable again after 1 min"),
            StartsWith("<3>a at plc:4840 fails: No "), // and once more for the other reason
            StartsWith("<3>a at plc:4840 fails: No ")
        )
    );
}

TEST_F(told, again_when_the_reason_is_another_one_but_never_twice) {
    connection_.add(plan_of("a"), 1);
    for (const char* identity :
         {down,
          "#:error.opcua_connection_failed[BadUserAccessDenied]",
          down,
          "#:error.opcua_connection_failed[BadUserAccessDenied]"}) {
        answers_["a"] = identity;
        pass(70s);
    }
    EXPECT_THAT(
        take(),
        ElementsAre(testing::HasSubstr("cannot be reached"), testing::HasSubstr("refuses the user"))
    );
}

TEST(fault_journal, says_what_to_do_and_names_nobody_where_only_requests_come) {
    fault_journal journal{"plc:4840"};
    fault_record faults;
    const std::string name = "plc:4840";
    const sensor_fault untrusted{connection_state::untrusted_server, "", "No.", "Accept it."};
    const auto nobody = [] { return std::vector<std::string>{}; };
    const fault_record::time_point start{};
    journal.note({name, faults}, untrusted, nobody, start);
    journal.note({name, faults}, std::nullopt, nobody, start + 45s);
    std::vector<std::string> texts;
    for (const auto& [severity, text] : journal.take()) {
        texts.push_back(text);
    }
    EXPECT_THAT(
        texts,
        ElementsAre(
            "plc:4840 is not trusted: No. Accept it.", "plc:4840 reachable again after 45 s"
        )
    );
    EXPECT_THAT(journal.take(), IsEmpty());
}

TEST(fault_journal, is_not_flooded_by_what_a_server_says) {
    fault_journal journal{"plc:4840"};
    fault_record faults;
    const std::string name = "a";
    const auto nobody = [] { return std::vector<std::string>{}; };
    for (int i = 0; i < 1000; ++i) {
        const std::string key = "#:error.of_number_" + std::to_string(i) + "[]";
        const sensor_fault fault{std::nullopt, key, std::string(100'000, 'x'), ""};
        journal.note({name, faults}, fault, nobody, fault_record::time_point{});
    }
    const auto lines = journal.take();
    EXPECT_EQ(lines.size(), fault_record::most_reasons);
    EXPECT_LT(lines.front().text.size(), 2'000U);
}

TEST(fault_record, holds_its_peace_about_what_comes_and_goes) {
    using news = fault_record::news;
    const fault_record::time_point start{};
    fault_record record;
    std::vector<std::pair<int, news>> said; // seconds
    const auto step = [&](int second, bool good) {
        const auto now = start + std::chrono::seconds{second};
        const news what = good ? record.works(now) : record.failed("x", now);
        if (what != news::none) {
            said.emplace_back(second, what);
        }
    };
    for (int second = 0; second < 200; second += 10) {
        step(second, second % 20 == 10);
    }
    EXPECT_THAT(
        std::exchange(said, {}),
        ElementsAre(
            std::pair{0, news::begins},
            std::pair{10, news::ends},
            std::pair{20, news::begins},
            std::pair{30, news::ends},
            std::pair{40, news::begins},
            std::pair{50, news::ends},
            std::pair{60, news::unsteady}
        )
    );
    for (int second = 200; second < 1000; second += 10) {
        step(second, true);
    }
    EXPECT_THAT(std::exchange(said, {}), ElementsAre(std::pair{790, news::steady}));
    step(1000, false); // long after: as if it were the first
    EXPECT_THAT(std::exchange(said, {}), ElementsAre(std::pair{1000, news::begins}));
    for (int second = 1010; second < 1070; second += 10) {
        step(second, second % 20 == 10);
    }
    said.clear();
    for (int second = 1070; second < 2000; second += 10) {
        step(second, false); // and stays so: nobody may believe that it works
    }
    EXPECT_THAT(said, ElementsAre(std::pair{1660, news::begins}));
    EXPECT_EQ(record.works(start + 2000s), news::ends);
    EXPECT_EQ(record.lasted(), 940s);
}

} // namespace

} // namespace tarvik::monitoring_modules::probe
