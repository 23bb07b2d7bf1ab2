// The commands trust and certificate, as a person or a script uses them.

#include "tests/host/expect_error.hpp"
#include "tests/trust/plant_certificates.hpp"
#include "trust/commands.hpp"
#include "trust/pki_folder.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>

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
using trusting = trust_options::action;
using own = certificate_options::action;

certificate_options asking(own what) {
    certificate_options options;
    options.what = what;
    return options;
}

struct commands : testing::Test {
    ~commands() override { fs::remove_all(root); }

    exit_code run(const trust_options& options) {
        return captured([&](const command_context& context) {
            return run_trust(context, options, [this](const named_server& server) {
                asked =
                    server.host + " " + std::to_string(server.port.value_or(0)) + " " + server.path;
                return shown;
            });
        });
    }
    exit_code run(certificate_options options) {
        options.pki = folder.root();
        return captured([&](const command_context& context) {
            return run_certificate(context, options);
        });
    }
    template <typename Call>
    exit_code captured(const Call& call) {
        console terminal;
        interruption interrupt{terminal};
        const output out;
        testing::internal::CaptureStdout();
        try {
            const exit_code code = call(command_context{terminal, interrupt, out, "", ""});
            text = testing::internal::GetCapturedStdout();
            return code;
        } catch (...) {
            text = testing::internal::GetCapturedStdout();
            throw;
        }
    }
    [[nodiscard]] trust_options options(
        trusting what, const std::string& subject = "", const std::string& expected = ""
    ) const {
        return {what, folder.root(), subject, expected, false};
    }
    [[nodiscard]] std::string put(const std::string& name, const std::string& bytes) const {
        std::ofstream{root / name, std::ios::binary} << bytes;
        return root / name;
    }

    fs::path root = make_folder();
    pki_folder folder{root / "pki"};
    test::made_certificate server = test::make_certificate(server_request());
    std::string fingerprint = read(server).fingerprint();
    std::vector<std::string> shown{bytes_of(server)};
    std::string asked;
    std::string text;
};

TEST_F(commands, accept_trusts_what_was_expected) {
    static_cast<void>(folder.add(part::rejected, read(server)));
    EXPECT_EQ(run(options(trusting::accept, "opc.tcp://PLC:4841/x", fingerprint)), exit_code::ok);
    EXPECT_EQ(asked, "PLC 4841 x");
    EXPECT_THAT(
        text, AllOf(HasSubstr(fingerprint), HasSubstr("CN=application"), HasSubstr("Trusted"))
    );
    EXPECT_THAT(folder.certificates(part::trusted), SizeIs(1));
    EXPECT_THAT(folder.certificates(part::rejected), IsEmpty());
    EXPECT_TRUE(folder.known_servers().at("plc:4841").confirmed);
}

TEST_F(commands, accept_trusts_nothing_else) {
    EXPECT_EQ(run(options(trusting::accept, "plc", std::string(64, 'a'))), exit_code::error);
    EXPECT_THAT(text, HasSubstr("not the certificate that was expected"));
    const struct {
        const char* server;
        const char* fingerprint;
        exit_code code;
        const char* reason;
    } cases[] = {
        {"plc",
         "",
         exit_code::usage,
         "--fingerprint"}, // nobody to ask: standard input is no terminal
        {"plc", "abc", exit_code::usage, "64 hexadecimal digits"},
        {"plc:0", "", exit_code::usage, "HOST:PORT"},
        {"plc:65536", "", exit_code::usage, "HOST:PORT"},
        {":4840", "", exit_code::usage, "HOST:PORT"},
    };
    const int input = dup(STDIN_FILENO);
    ASSERT_NE(std::freopen("/dev/null", "r", stdin), nullptr);
    for (const auto& wrong : cases) {
        expect_error(
            [&] { run(options(trusting::accept, wrong.server, wrong.fingerprint)); },
            wrong.code,
            wrong.reason
        );
    }
    dup2(input, STDIN_FILENO);
    close(input);
    shown = {"rubbish"};
    expect_error(
        [&] { run(options(trusting::accept, "plc")); }, exit_code::error, "no certificate"
    );
    EXPECT_THAT(folder.certificates(part::trusted), IsEmpty());
    EXPECT_THAT(folder.known_servers(), IsEmpty());
}

TEST_F(commands, accept_replaces_what_the_server_had) {
    run(options(trusting::accept, "plc", fingerprint));
    run(options(trusting::accept, "twin", fingerprint));
    auto request = server_request();
    request.common_names = {"new"};
    const auto next = test::make_certificate(request);
    shown = {bytes_of(next)};
    run(options(trusting::accept, "plc", read(next).fingerprint()));
    EXPECT_THAT(text, HasSubstr("another one before: SHA-256 " + fingerprint));
    EXPECT_THAT(folder.certificates(part::trusted), SizeIs(2)) << "twin still has the old one";
    run(options(trusting::accept, "twin", read(next).fingerprint()));
    EXPECT_THAT(folder.certificates(part::trusted), SizeIs(1));
}

TEST_F(commands, add_knows_what_it_gets) {
    const auto authority =
        test::make_certificate(authority_request("Root", test::key_kind::other_rsa));
    EXPECT_EQ(run(options(trusting::add, put("root.pem", authority.pem))), exit_code::ok);
    EXPECT_THAT(text, HasSubstr("all servers that it vouches for"));
    run(options(trusting::add, put("server.der", bytes_of(server))));
    EXPECT_THAT(text, HasSubstr("Trusted as a server"));
    run(options(trusting::add, put("root.crl", test::make_crl({authority, {server}}).pem)));
    EXPECT_THAT(folder.read({}).revoked, SizeIs(1));
    auto as_issuer = options(trusting::add, put("root.pem", authority.pem));
    as_issuer.issuer = true;
    run(as_issuer);
    EXPECT_THAT(folder.read({}).issuers, SizeIs(1));
    as_issuer.subject = put("server.der", bytes_of(server));
    expect_error([&] { run(as_issuer); }, exit_code::usage, "no authority");
    expect_error(
        [&] { run(options(trusting::add, put("rubbish", "x"))); }, exit_code::usage, "neither"
    );
    run(options(trusting::list));
    EXPECT_THAT(text, AllOf(HasSubstr("Root"), HasSubstr("authority"), HasSubstr(fingerprint)));
}

TEST_F(commands, remove_takes_a_server_or_a_fingerprint) {
    run(options(trusting::accept, "plc", fingerprint));
    expect_error([&] { run(options(trusting::remove, "other")); }, exit_code::usage, "neither");
    expect_error(
        [&] { run(options(trusting::remove, fingerprint.substr(0, 7))); },
        exit_code::usage,
        "neither"
    );
    run(options(trusting::accept, "twin", fingerprint));
    run(options(trusting::remove, "twin"));
    EXPECT_THAT(folder.certificates(part::trusted), SizeIs(1)) << "plc has it, too";
    run(options(trusting::remove, "plc"));
    EXPECT_THAT(folder.certificates(part::trusted), IsEmpty());
    EXPECT_THAT(folder.known_servers(), IsEmpty());
    static_cast<void>(folder.add(part::rejected, read(server)));
    run(options(trusting::rejected));
    EXPECT_THAT(text, HasSubstr(fingerprint));
    run(options(trusting::remove, fingerprint.substr(0, 8)));
    EXPECT_THAT(folder.certificates(part::rejected), IsEmpty());
    run(options(trusting::rejected));
    EXPECT_THAT(text, HasSubstr("none"));
}

TEST_F(commands, certificate_is_made_once_and_renewed) {
    expect_error([&] { run(asking(own::show)); }, exit_code::error, "create");
    certificate_options create = asking(own::create);
    create.uri = "urn:here";
    create.dns_names = {"here"};
    EXPECT_EQ(run(create), exit_code::ok);
    EXPECT_THAT(text, AllOf(HasSubstr("urn:here"), HasSubstr("certificate export")));
    const std::string first = folder.own()->shown.fingerprint();
    expect_error([&] { run(create); }, exit_code::error, "renew");
    run(asking(own::renew));
    EXPECT_EQ(folder.own()->shown.uris(), std::vector<std::string>{"urn:here"});
    EXPECT_EQ(folder.own()->shown.dns_names(), std::vector<std::string>{"here"});
    EXPECT_NE(folder.own()->shown.fingerprint(), first);
    for (const char* name : {"own.der", "own.pem"}) {
        certificate_options to = asking(own::export_file);
        to.file = root / name;
        run(to);
        std::ifstream file{to.file, std::ios::binary};
        const std::string bytes{std::istreambuf_iterator<char>{file}, {}};
        EXPECT_EQ(bytes.starts_with("-----BEGIN"), std::string{name} == "own.pem");
        EXPECT_THAT(bytes, Not(HasSubstr("PRIVATE")));
        EXPECT_EQ(read_certificates(bytes).at(0).fingerprint(), folder.own()->shown.fingerprint());
    }
    create.days = -2;
    create.replace = true;
    run(create);
    EXPECT_EQ(run(asking(own::show)), exit_code::error) << "expired";
    EXPECT_THAT(text, HasSubstr("EXPIRED"));
}

} // namespace
} // namespace tarvik::monitoring_modules::probe
