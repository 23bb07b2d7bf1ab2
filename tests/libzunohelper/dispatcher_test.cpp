#include "dispatcher_fixture.hpp"

namespace tarvik::monitoring_modules::libzunohelper {
namespace {

TEST_F(dispatcher, refuses_ids_that_are_in_use_or_unknown) {
    EXPECT_EQ(scan(7), 1);
    EXPECT_EQ(destroy(7), 1);
    const std::string unknown_id = "Sensor with ID 7 is not in sensor list.";
    EXPECT_EQ(logged(), (lines{unknown_id, unknown_id}));
    EXPECT_EQ(create(7), 0);
    EXPECT_EQ(create(7), 1);
    EXPECT_EQ(tested_->create_sensor_instance(7, unknown_), 1);
    const std::string in_use = "Sensor with ID 7 is already registered.";
    EXPECT_EQ(logged(), (lines{in_use, in_use}));
    EXPECT_EQ(scan(7), 0);
    EXPECT_EQ(destroy(7), 0);
    EXPECT_EQ(living_, 0);
    EXPECT_EQ(destroy(7), 1);
    EXPECT_EQ(create(7), 0);
    EXPECT_EQ(messages_, lines{});
    tested_.reset();
    EXPECT_EQ(living_, 0);
}

TEST_F(dispatcher, refuses_unknown_kinds) {
    const std::string sensor = "A sensor registry error occurred. The sensor kind \"x\" is not "
                               "registered.";
    EXPECT_EQ(tested_->create_sensor_instance(7, unknown_), 1);
    EXPECT_EQ(messages_, lines{"7 3 " + sensor});
    EXPECT_EQ(tested_->execute_check(3, unknown_), 1);
    EXPECT_EQ(tested_->execute_meta_scan(7, 2, sensor_), 1);
    EXPECT_EQ(
        logged(),
        (lines{
            sensor,
            "A sensor registry error occurred. The check kind \"x\" is not registered.",
            "A sensor registry error occurred. The meta-scan kind \"2\" is not registered."})
    );
    EXPECT_EQ(messages_.size(), 1U);
    EXPECT_EQ(create(7), 0);
}

TEST_F(dispatcher, reports_why_a_sensor_was_not_built) {
    before_building_ = [] { throw utils::exceptions::setting_not_available{"host"}; };
    EXPECT_THROW(create(7), utils::exceptions::setting_not_available);
    const std::string reason = "The setting \"host\" was not available.";
    EXPECT_EQ(logged(), lines{reason});
    EXPECT_EQ(messages_, lines{"7 3 " + reason});
    tested_->report_creation_failure(7, std::runtime_error{"other"});
    EXPECT_EQ(messages_.back(), "7 3 other");
    before_building_ = [] {};
    EXPECT_EQ(create(7), 0); // the id is still free
    tested_->report_creation_failure(7, std::runtime_error{"third"});
    EXPECT_EQ(messages_.size(), 2U); // no error of a sensor that is well
    EXPECT_EQ(logged(), (lines{"other", "third"}));
}

TEST_F(dispatcher, passes_on_what_scans_and_checks_throw) {
    work_ = [](std::int32_t) { throw std::out_of_range{"scan"}; };
    EXPECT_EQ(create(7), 0);
    EXPECT_THROW(scan(7), std::out_of_range);
    EXPECT_THROW(scan(7), std::out_of_range); // and nothing stays locked
    EXPECT_THROW(
        tested_->execute_check(3, wrap(R"({"kind":"check","settings":{}})")), std::out_of_range
    );
    EXPECT_EQ(destroy(7), 0);
    EXPECT_EQ(logged(), lines{});
}

TEST_F(dispatcher, registers_each_kind_once) {
    const auto none = [](std::int32_t, const sensor_data_wrapper&, const auto&) { return nullptr; };
    EXPECT_THROW(tested_->register_sensor("sensor", none), utils::exceptions::sensor_registry);
    EXPECT_THROW(tested_->register_check("check", none), utils::exceptions::sensor_registry);
    EXPECT_THROW(tested_->register_check("empty", nullptr), std::invalid_argument);
    tested_->register_sensor("x", none);
    EXPECT_THROW(tested_->create_sensor_instance(1, unknown_), utils::exceptions::sensor_registry);
}

} // namespace
} // namespace tarvik::monitoring_modules::libzunohelper
