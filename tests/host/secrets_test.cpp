#include "host/connection_arguments.hpp"
#include "tests/host/expect_error.hpp"
#include <sys/stat.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace tarvik::monitoring_modules::probe {
namespace {

using testing::ElementsAre;
using testing::Pair;

class secrets : public testing::Test {
  protected:
    secrets() {
        std::string pattern = testing::TempDir() + "probe_secrets_XXXXXX";
        folder_ = mkdtemp(pattern.data());
        unsetenv("OPCUA_PASSWORD"); // NOLINT(concurrency-mt-unsafe): one thread
        arguments_.user = "u";
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }

    [[nodiscard]] std::string
    file(const std::string& content, mode_t mode = 0600, const std::string& name = "file") const {
        std::string path = folder_ + "/" + name;
        std::ofstream{path, std::ios::binary} << content;
        EXPECT_EQ(chmod(path.c_str(), mode), 0);
        return path;
    }
    [[nodiscard]] settings made() {
        warnings_.clear();
        return connection_settings(arguments_, [this](const std::string& text) {
            warnings_ += text;
        });
    }
    [[nodiscard]] std::string password() { return made()[keys::password]; }

    std::string folder_;
    connection_arguments arguments_;
    std::string warnings_;
};

TEST_F(secrets, passwords_lose_one_line_end_and_nothing_else) {
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {"\n", ""},
        {"pass", "pass"},
        {"pass\n", "pass"},
        {"pass\r\n", "pass"},
        {"pass\n\n", "pass\n"},
        {" pa ss \n", " pa ss "},
    };
    for (const auto& [content, expected] : rows) {
        arguments_.password_file = file(content);
        EXPECT_EQ(password(), expected);
    }
}

TEST_F(secrets, come_from_the_environment_when_no_file_is_named) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
    setenv("OPCUA_PASSWORD", "from environment\n", 1);
    EXPECT_EQ(password(), "from environment\n");
    arguments_.password_file = file("from file");
    EXPECT_EQ(password(), "from file");
    arguments_.user.clear();
    EXPECT_EQ(password(), "");
}

TEST_F(secrets, warn_when_everybody_can_read_them) {
    for (const mode_t mode : {0600U, 0640U, 0604U}) {
        arguments_.password_file = file("geheim", mode);
        EXPECT_EQ(password(), "geheim");
        EXPECT_EQ(warnings_.find("everybody can read") != std::string::npos, mode == 0604U) << mode;
        EXPECT_EQ(warnings_.find("geheim"), std::string::npos);
    }
}

TEST_F(secrets, name_files_that_cannot_be_used) {
    for (const std::string& path :
         {folder_, folder_ + "/absent", file(std::string(1'048'577, 'x'))}) {
        arguments_.password_file = path;
        expect_error([this] { (void)password(); }, exit_code::usage, path);
    }
    arguments_.password_file = file(std::string(1'048'576, 'x'));
    EXPECT_EQ(password().size(), 1'048'576U);
}

TEST_F(secrets, of_a_connection_become_settings_and_the_rest_is_left_to_the_module) {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): one thread
    setenv("OPCUA_PASSWORD", "for nobody", 1);
    arguments_.user = "";
    arguments_.host = "h";
    EXPECT_THAT(
        made(),
        ElementsAre(
            Pair("credentials.connection_opcua.port", "4840"),
            Pair("credentials.connection_security.security_mode", "none"),
            Pair("host", "h")
        )
    );
    arguments_.path = "plant/1";
    arguments_.user = "u";
    arguments_.password_file = file("p\n", 0600, "password");
    arguments_.security_mode = "sign";
    arguments_.client_certificate_file = file("cert\n", 0644, "certificate");
    arguments_.client_key_file = file("key\n", 0604, "key");
    arguments_.client_key_password_file = file("kp\n", 0600, "key_password");
    EXPECT_THAT(
        made(),
        ElementsAre(
            Pair("credentials.connection_opcua.port", "4840"),
            Pair("credentials.connection_opcua.server_name", "plant/1"),
            Pair("credentials.connection_security.client_certificate", "cert\n"),
            Pair("credentials.connection_security.client_key", "key\n"),
            Pair("credentials.connection_security.client_key_password", "kp"),
            Pair("credentials.connection_security.security_mode", "sign"),
            Pair("credentials.connection_security.security_policy", "Basic256Sha256"),
            Pair("credentials.user_authentication.password", "p"),
            Pair("credentials.user_authentication.user", "u"),
            Pair("credentials.user_authentication.user_auth_mode", "username_password"),
            Pair("host", "h")
        )
    );
    EXPECT_THAT(warnings_, testing::EndsWith("secret in " + folder_ + "/key")); // and no other
    EXPECT_EQ(warnings_.find("secret in"), warnings_.rfind("secret in"));
    arguments_.security_policy = "none"; // a person may ask for what no server offers
    EXPECT_EQ(made().at("credentials.connection_security.security_policy"), "none");
}

TEST_F(secrets, of_any_setting_come_from_files) {
    arguments_.raw = {"host=", "x.y=a=b"};
    arguments_.raw_files = {"a.password=" + file("geheim\n", 0604), "z=" + file("z", 0604)};
    const std::vector<given_setting> given = read_given(arguments_);
    ASSERT_EQ(given.size(), 4U);
    EXPECT_EQ(given[0].key + "|" + given[0].text, "host|");
    EXPECT_EQ(given[1].key + "|" + given[1].text, "x.y|a=b");
    EXPECT_EQ(given[2].key, "a.password");
    EXPECT_EQ(given[2].file, folder_ + "/file");
    EXPECT_TRUE(given[2].open_to_all);
    arguments_.raw_files = {"a=" + folder_ + "/absent"};
    expect_error([this] { (void)read_given(arguments_); }, exit_code::usage, "absent");
    const std::pair<std::string, std::string> bad_rows[] = {
        {"", "expected KEY=VALUE"},
        {"=x", "expected KEY=VALUE"},
        {"x", "expected KEY=VALUE"},
        {"a.password=x", "--set-file a.password"},
        {"a.client_key=x", "--set-file"},
        {"client_key_password=x", "--set-file"},
        {"tarvikcloudapikey=x", "--set-file"},
    };
    for (const auto& [argument, problem] : bad_rows) {
        arguments_.raw = {argument};
        expect_error([this] { (void)read_given(arguments_); }, exit_code::usage, problem);
    }
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
