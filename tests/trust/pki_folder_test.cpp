// The folder of certificates: what people put there, what is kept, who may write.

#include "tests/host/expect_error.hpp"
#include "tests/trust/plant_certificates.hpp"
#include "trust/pki_folder.hpp"
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvik::monitoring_modules::probe {
namespace {

namespace fs = std::filesystem;
using part = pki_folder::part;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

struct pki : testing::Test {
    ~pki() override { fs::remove_all(base); }

    void put(const std::string& file, const std::string& bytes) const {
        fs::create_directories((root() / file).parent_path());
        std::ofstream{root() / file, std::ios::binary} << bytes;
    }
    [[nodiscard]] fs::path root() const { return base / "state" / "pki"; }
    [[nodiscard]] trust_lists read() {
        return folder.read([this](const std::string& text) { complaints.push_back(text); });
    }

    fs::path base = make_folder();
    pki_folder folder{root()};
    std::vector<std::string> complaints;
    test::made_certificate made = test::make_certificate(server_request());
};

mode_t mode_of(const fs::path& file) {
    struct stat status {};
    EXPECT_EQ(stat(file.c_str(), &status), 0) << file;
    return status.st_mode & 07777U;
}

TEST_F(pki, reads_what_people_put_there) {
    const auto authority =
        test::make_certificate(authority_request("Root", test::key_kind::other_rsa));
    const auto list = test::make_crl({authority, {made}});
    put("trusted/certs/one.der", bytes_of(made));
    put("trusted/certs/two and more.pem", made.pem + authority.pem);
    put("issuers/certs/root.crt", authority.pem);
    put("trusted/crl/root.crl", list.pem);
    put("issuers/crl/root.crl", {reinterpret_cast<const char*>(list.der.data()), list.der.size()});
    put("trusted/certs/.hidden", "rubbish");
    put("trusted/certs/rubbish.der", "rubbish");
    put("trusted/certs/broken.pem",
        made.pem + "-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n");
    put("trusted/certs/cut.der", bytes_of(made).substr(0, 200));
    put("trusted/certs/more.der", bytes_of(made) + "more");
    put("trusted/certs/list.crl", list.pem);
    put("trusted/certs/empty.pem", "");
    fs::create_directories(root() / "trusted/certs/folder");
    const trust_lists lists = read();
    EXPECT_THAT(lists.trusted, SizeIs(3));
    EXPECT_THAT(lists.issuers, SizeIs(1));
    EXPECT_THAT(lists.revoked, SizeIs(2));
    EXPECT_THAT(
        complaints,
        ElementsAre(
            HasSubstr("broken.pem"),
            HasSubstr("cut.der"),
            HasSubstr("empty.pem"),
            HasSubstr("list.crl"),
            HasSubstr("more.der"),
            HasSubstr("rubbish.der")
        )
    );
}

TEST_F(pki, trusts_nothing_where_there_is_nothing) {
    const trust_lists lists = read();
    EXPECT_THAT(lists.trusted, SizeIs(0));
    EXPECT_THAT(complaints, SizeIs(0));
    EXPECT_FALSE(fs::exists(root())) << "reading makes no folders";
    EXPECT_FALSE(folder.own().has_value());
}

TEST_F(pki, trusts_nothing_where_everybody_may_write) {
    for (const char* open : {"", "trusted/certs", "issuers/crl"}) {
        put("trusted/certs/one.der", bytes_of(made));
        put("issuers/crl/none", "");
        fs::permissions(root() / open, fs::perms::others_write, fs::perm_options::add);
        expect_error([&] { static_cast<void>(read()); }, exit_code::usage, "everybody may write");
        fs::permissions(root() / open, fs::perms::others_write, fs::perm_options::remove);
    }
    EXPECT_THAT(read().trusted, SizeIs(1));
}

TEST_F(pki, keeps_each_certificate_once_under_its_name) {
    auto request = server_request();
    request.common_names = {"../..//Pümp\n7"};
    const auto odd = probe::read(test::make_certificate(request));
    const fs::path path = folder.add(part::trusted, odd);
    EXPECT_EQ(path.parent_path(), root() / "trusted/certs");
    EXPECT_THAT(path.filename().string(), HasSubstr(odd.fingerprint().substr(0, 16)));
    EXPECT_EQ(folder.add(part::trusted, odd), path);
    EXPECT_THAT(folder.certificates(part::trusted), SizeIs(1));
    EXPECT_EQ(mode_of(root()), 0700U);
    EXPECT_EQ(folder.remove(part::trusted, odd.fingerprint()), 1U);
    EXPECT_EQ(folder.remove(part::trusted, odd.fingerprint()), 0U);
    EXPECT_THAT(read().trusted, SizeIs(0));
}

TEST_F(pki, bounds_what_servers_make_it_keep) {
    const certificate first = probe::read(made);
    const fs::path oldest = folder.add(part::rejected, first);
    fs::last_write_time(oldest, fs::file_time_type::clock::now() - std::chrono::hours{1});
    for (std::size_t i = 1; i < pki_folder::most_rejected; ++i) {
        fs::copy_file(oldest, root() / "rejected/certs" / ("copy" + std::to_string(i)));
    }
    auto request = server_request();
    request.common_names = {"next"};
    const fs::path next = folder.add(part::rejected, probe::read(test::make_certificate(request)));
    EXPECT_THAT(folder.certificates(part::rejected), SizeIs(pki_folder::most_rejected));
    EXPECT_FALSE(fs::exists(oldest));
    EXPECT_TRUE(fs::exists(next));
}

TEST_F(pki, remembers_servers_whoever_else_does) {
    const std::string one(64, '1');
    const std::string two(64, '2');
    {
        std::vector<std::jthread> writers;
        for (int i = 0; i < 8; ++i) {
            writers.emplace_back([this, i, &one] {
                pki_folder{root()}.remember(
                    "Plc-" + std::to_string(i) + ":4840", known_server{one, false}
                );
            });
        }
    }
    folder.remember("PLC-0:4840", known_server{two, true});
    folder.remember("plc-1:4840", std::nullopt);
    const auto known = folder.known_servers();
    EXPECT_THAT(known, SizeIs(7));
    EXPECT_EQ(known.at("plc-0:4840").fingerprint, two);
    EXPECT_TRUE(known.at("plc-0:4840").confirmed);
    EXPECT_FALSE(known.at("plc-2:4840").confirmed);
    put("known-servers",
        "no sense\nplc-9:4840 1234 confirmed\nPLC-8:4840 " + one + " confirmed\n\xff\n");
    EXPECT_THAT(folder.known_servers(), SizeIs(1));
    EXPECT_TRUE(folder.known_servers().at("plc-8:4840").confirmed);
}

TEST_F(pki, keeps_the_own_key_for_itself) {
    folder.keep_own(probe::read(made), "a key");
    folder.keep_own(probe::read(made), "another key");
    const auto own = folder.own();
    ASSERT_TRUE(own.has_value());
    EXPECT_EQ(own->certificate_pem, made.pem);
    EXPECT_EQ(mode_of(own->key_path), 0600U);
    EXPECT_EQ(mode_of(own->key_path.parent_path()), 0700U);
    EXPECT_EQ(mode_of(own->certificate_path), 0644U);
    std::ifstream key{own->key_path};
    EXPECT_EQ((std::string{std::istreambuf_iterator<char>{key}, {}}), "another key");
    EXPECT_EQ(std::distance(fs::directory_iterator{own->key_path.parent_path()}, {}), 1);
    put("own/certs/opcua-probe.der", "rubbish");
    expect_error([&] { static_cast<void>(folder.own()); }, exit_code::usage, "no certificate");
}

TEST_F(pki, says_where_it_cannot_write) {
    std::ofstream{base / "file"} << "";
    const pki_folder under_a_file{base / "file" / "pki"};
    const auto add = [this](const pki_folder& to) {
        static_cast<void>(to.add(part::trusted, probe::read(made)));
    };
    expect_error([&] { add(under_a_file); }, exit_code::usage, "file");
    expect_error(
        [&] { under_a_file.remember("plc:4840", known_server{}); }, exit_code::error, "file"
    );
    expect_error([&] { add(pki_folder{{}}); }, exit_code::error, "--pki");
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
