// What the module is answered, by what stands in the folder at that moment.

#include "tests/trust/plant_certificates.hpp"
#include "trust/server_judge.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

namespace fs = std::filesystem;
using part = pki_folder::part;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using enum trust_status;

constexpr const char* url = "opc.tcp://LocalHost:4841/plant";
constexpr const char* address = "localhost:4841";

test::made_certificate server_called(const char* name) {
    auto request = server_request();
    request.common_names = {name};
    return test::make_certificate(request);
}

struct judging : testing::Test {
    ~judging() override { fs::remove_all(root); }

    /// @return the status, and the refusal in `refusal`
    trust_status
    ask(const std::string& chain, const trust_policy& policy = {}, const char* at = url) {
        judged_call call{policy};
        note_server_uri(plant_uri);
        const auto status = static_cast<trust_status>(judge.answer(at, chain));
        refusal = call.take_refusal();
        return status;
    }

    fs::path root = make_folder();
    std::vector<std::string> told;
    server_judge judge{
        nullptr, pki_folder{root}, [this](const std::string& text) { told.push_back(text); }};
    test::made_certificate first = server_called("first");
    test::made_certificate second = server_called("second");
    std::string refusal;
};

TEST_F(judging, refuses_the_unknown_and_shows_the_way) {
    EXPECT_EQ(ask(bytes_of(first)), bad_certificate_untrusted);
    EXPECT_THAT(
        refusal,
        AllOf(
            HasSubstr(read(first).fingerprint()),
            HasSubstr("opcua-probe trust accept localhost:4841")
        )
    );
    EXPECT_THAT(judge.folder().certificates(part::rejected), SizeIs(1));
    EXPECT_THAT(judge.folder().known_servers(), IsEmpty());
}

TEST_F(judging, sees_changed_files_at_once) {
    EXPECT_EQ(ask(bytes_of(first)), bad_certificate_untrusted);
    static_cast<void>(judge.folder().add(part::trusted, read(first)));
    EXPECT_EQ(ask(bytes_of(first)), good);
    EXPECT_THAT(refusal, IsEmpty());
    EXPECT_FALSE(judge.folder().known_servers().at(address).confirmed);
    static_cast<void>(judge.folder().remove(part::trusted, read(first).fingerprint()));
    EXPECT_EQ(ask(bytes_of(first)), bad_certificate_untrusted);
}

TEST_F(judging, is_loud_about_a_change) {
    static_cast<void>(judge.folder().add(part::trusted, read(first)));
    EXPECT_EQ(ask(bytes_of(first)), good);
    EXPECT_EQ(ask(bytes_of(second)), bad_certificate_untrusted);
    EXPECT_THAT(
        refusal,
        AllOf(
            HasSubstr("HAS CHANGED"),
            HasSubstr(read(first).fingerprint()),
            HasSubstr(read(second).fingerprint())
        )
    );
    EXPECT_EQ(ask(bytes_of(second), {}, "opc.tcp://localhost:4842"), bad_certificate_untrusted);
    EXPECT_THAT(refusal, Not(HasSubstr("CHANGED"))) << "another server";
    EXPECT_EQ(ask(bytes_of(first)), good) << "it is still known";
}

TEST_F(judging, follows_an_authority_without_a_word) {
    static const auto authority =
        test::make_certificate(authority_request("Root", test::key_kind::other_rsa));
    static_cast<void>(judge.folder().add(part::trusted, read(authority)));
    for (const char* name : {"old", "new"}) {
        auto request = server_request(&authority);
        request.common_names = {name};
        const auto made = test::make_certificate(request);
        EXPECT_EQ(ask(bytes_of(made)), good) << refusal;
        EXPECT_EQ(judge.folder().known_servers().at(address).fingerprint, read(made).fingerprint());
    }
}

TEST_F(judging, takes_a_person_at_their_word_for_one_server) {
    static_cast<void>(judge.folder().add(part::trusted, read(first)));
    judge.folder().remember("plc:4840", known_server{read(first).fingerprint(), true});
    EXPECT_EQ(ask(bytes_of(first), {}, "opc.tcp://plc"), good) << refusal;
    EXPECT_EQ(ask(bytes_of(first), {}, "opc.tcp://plc-2"), bad_certificate_host_name_invalid);
    static_cast<void>(judge.folder().add(part::trusted, read(second)));
    EXPECT_EQ(ask(bytes_of(second), {}, "opc.tcp://plc"), bad_certificate_host_name_invalid)
        << "another certificate";
    EXPECT_THAT(refusal, HasSubstr("HAS CHANGED"));
}

TEST_F(judging, sends_no_password_in_the_clear_unless_allowed) {
    EXPECT_EQ(ask(""), bad_security_mode_insufficient);
    EXPECT_THAT(refusal, HasSubstr("--plain-password allow"));
    EXPECT_EQ(ask("", {true, false}), bad_security_mode_insufficient);
    EXPECT_EQ(ask("", {false, true}), good);
}

TEST_F(judging, accepts_everything_where_it_is_told_to) {
    EXPECT_EQ(ask(bytes_of(first), {true, false}), good);
    EXPECT_EQ(ask("rubbish", {true, false}), good);
    EXPECT_THAT(judge.seen(), SizeIs(1));
    EXPECT_EQ(judge.seen().front().fingerprint, read(first).fingerprint());
    EXPECT_THAT(judge.folder().certificates(part::rejected), IsEmpty());
}

TEST_F(judging, compares_the_application_of_this_connection_only) {
    static_cast<void>(judge.folder().add(part::trusted, read(first)));
    note_server_uri("urn:other");
    EXPECT_EQ(
        judge.answer(url, bytes_of(first)), static_cast<std::uint32_t>(bad_certificate_uri_invalid)
    );
    EXPECT_EQ(judge.answer(url, bytes_of(first)), 0U) << "it has to be told anew for each connect";
}

TEST_F(judging, refuses_what_it_cannot_judge) {
    static_cast<void>(judge.folder().add(part::trusted, read(first)));
    EXPECT_EQ(ask("rubbish"), bad_certificate_invalid);
    EXPECT_EQ(ask(bytes_of(first) + "more"), bad_certificate_invalid);
    fs::permissions(root / "trusted/certs", fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(ask(bytes_of(first)), bad_certificate_untrusted);
    EXPECT_THAT(refusal, HasSubstr("everybody may write"));
}

TEST_F(judging, answers_where_nothing_can_be_written) {
    std::ofstream{root / "rejected"} << "";
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(
            judge.answer(url, bytes_of(first)),
            static_cast<std::uint32_t>(bad_certificate_untrusted)
        );
    }
    EXPECT_THAT(told, SizeIs(1));
    EXPECT_THAT(told.front(), HasSubstr("not kept"));
}

TEST_F(judging, keeps_threads_and_nested_calls_apart) {
    judged_call outer{{false, true}};
    std::thread{[this] { EXPECT_EQ(ask(""), bad_security_mode_insufficient); }}.join();
    {
        judged_call inner{{}};
        EXPECT_NE(judge.answer(url, ""), 0U);
        EXPECT_THAT(inner.take_refusal(), Not(IsEmpty()));
    }
    EXPECT_EQ(judge.answer(url, ""), 0U);
    EXPECT_THAT(outer.take_refusal(), IsEmpty());
}

TEST(address, of_a_url) {
    const std::pair<const char*, const char*> cases[] = {
        {"opc.tcp://PLC:4840", "plc:4840"},
        {"opc.tcp://plc/path:1", "plc:4840"},
        {"a b", "a b"},
        {"opc.tcp://[2001:DB8::1]:4841/x", "[2001:db8::1]:4841"},
        {"opc.tcp://[2001:db8::1]", "[2001:db8::1]:4840"},
        {"plc:1", "plc:1"},
        {"plc", "plc:4840"},
    };
    for (const auto& [text, wanted] : cases) {
        EXPECT_EQ(address_in(text), wanted);
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
