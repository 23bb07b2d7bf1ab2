#include "trust/pki_folder.hpp"

#include "host/kept_state.hpp"
#include "host/probe_error.hpp"
#include "host/secret_file.hpp"
#include "host/settings_record.hpp"
#include "text/words.hpp"
#include "trust/shared_files.hpp"
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <system_error>

namespace tarvik::monitoring_modules::probe {

namespace fs = std::filesystem;

namespace {

constexpr const char* own_certificate = "own/certs/opcua-probe.der";
constexpr const char* own_key = "own/private/opcua-probe.pem";
constexpr const char* known_servers_file = "known-servers";

[[nodiscard]] const char* name_of(pki_folder::part part) {
    switch (part) {
    case pki_folder::part::trusted:
        return "trusted";
    case pki_folder::part::issuers:
        return "issuers";
    default:
        return "rejected";
    }
}

[[noreturn]] void fail(const fs::path& path, const std::string& problem) {
    throw probe_error{exit_code::error, path.string() + ": " + problem};
}

/// @return the plain files of a folder by their names, links followed; none where it is missing
[[nodiscard]] std::vector<fs::path> files_in(const fs::path& folder) {
    std::error_code problem;
    std::vector<fs::path> files;
    for (fs::directory_iterator entry{folder, problem}, end; !problem && entry != end;
         entry.increment(problem)) {
        std::error_code unknown;
        if (entry->is_regular_file(unknown) && files.size() < pki_folder::most_files &&
            !entry->path().filename().string().starts_with('.')) {
            files.push_back(entry->path());
        }
    }
    if (problem && problem != std::errc::no_such_file_or_directory) {
        throw probe_error{exit_code::usage, folder.string() + ": " + problem.message()};
    }
    std::ranges::sort(files);
    return files;
}

/// Who may write there could have any server trusted.
void require_protected(const fs::path& folder) {
    struct stat status {};
    if (::stat(folder.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0) {
        throw probe_error{
            exit_code::usage,
            folder.string() + ": everybody may write into it, so nothing in it is trusted"};
    }
}

/// Calls the receiver with each file and its bytes.
template <typename Receiver>
void read_each(
    const fs::path& folder,
    const std::function<void(const std::string&)>& complain,
    const Receiver& receive
) {
    require_protected(folder);
    for (const fs::path& file : files_in(folder)) {
        std::string problem = "it is neither PEM nor DER of what belongs here";
        try {
            if (receive(file, read_file(file))) {
                continue;
            }
        } catch (const probe_error& error) {
            problem = error.what();
        }
        if (complain) {
            complain("ignoring " + file.string() + ": " + problem);
        }
    }
}

template <typename Element>
[[nodiscard]] bool append(std::vector<Element>& to, std::vector<Element> read) {
    const bool any = !read.empty();
    std::ranges::move(read, std::back_inserter(to));
    return any;
}

} // namespace

void add_own_certificate(std::map<std::string, std::string>& values, const pki_folder& folder) {
    const auto mode = values.find(keys::security_mode);
    const bool secured =
        mode != values.end() && (mode->second == "sign" || mode->second == "sign_encrypt");
    if (!secured || values.contains(keys::certificate)) {
        return;
    }
    const auto own = folder.own();
    if (!own) {
        throw probe_error{
            exit_code::usage,
            "A secured connection needs a certificate of its own: opcua-probe certificate create" +
                folder.option() + " makes one, --client-certificate and --client-key name another"};
    }
    values.insert_or_assign(keys::certificate, own->certificate_pem);
    values.insert_or_assign(keys::key, read_file(own->key_path));
}

fs::path pki_path(const std::string& chosen) {
    if (!chosen.empty()) {
        return fs::absolute(chosen);
    }
    const fs::path state = state_folder_path();
    return state.empty() ? state : state / "pki";
}

std::string file_name_of(const certificate& named) {
    constexpr std::size_t most_letters = 60;
    std::string name;
    for (const char letter : named.name().substr(0, most_letters)) {
        const bool plain = (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') ||
                           (letter >= 'A' && letter <= 'Z') || letter == '-' || letter == '_' ||
                           (letter == '.' && !name.empty()) || (letter == '@' && !name.empty());
        name += plain ? letter : '_';
    }
    return name + " [" + named.fingerprint().substr(0, 16) + "]";
}

std::string pki_folder::option() const {
    // A service has a state folder of its own, which is not that of the person who reads this.
    const bool usual = ::secure_getenv("STATE_DIRECTORY") == nullptr && root_ == pki_path("");
    return usual || root_.empty() ? "" : " --pki " + root_.string();
}

void pki_folder::require_root() const {
    if (root_.empty()) {
        throw probe_error{exit_code::error, "there is no folder for certificates: --pki names one"};
    }
}

trust_lists pki_folder::read(const std::function<void(const std::string&)>& complain) const {
    trust_lists lists;
    const auto read_part = [&](part of, std::vector<certificate>& certificates) {
        const fs::path folder = root_ / name_of(of);
        read_each(folder / "certs", complain, [&](const fs::path&, const std::string& bytes) {
            return append(certificates, read_certificates(bytes));
        });
        read_each(folder / "crl", complain, [&](const fs::path&, const std::string& bytes) {
            return append(lists.revoked, read_revocation_lists(bytes));
        });
    };
    if (!root_.empty()) {
        require_protected(root_);
        read_part(part::trusted, lists.trusted);
        read_part(part::issuers, lists.issuers);
    }
    return lists;
}

std::vector<certificate_file> pki_folder::certificates(part of) const {
    std::vector<certificate_file> found;
    read_each(
        root_ / name_of(of) / "certs",
        {},
        [&](const fs::path& file, const std::string& bytes) {
            for (const certificate& content : read_certificates(bytes)) {
                found.push_back({file, content});
            }
            return true;
        }
    );
    return found;
}

fs::path pki_folder::add(part to, const certificate& added) const {
    require_root();
    const fs::path folder = root_ / name_of(to) / "certs";
    const auto present = certificates(to);
    const auto same = std::ranges::find(present, added, &certificate_file::content);
    if (same != present.end()) {
        return same->path;
    }
    fs::path path = folder / (file_name_of(added) + ".der");
    if (to == part::rejected && present.size() >= most_rejected) {
        std::error_code unknown;
        const auto age = [&unknown](const certificate_file& file) {
            return fs::last_write_time(file.path, unknown);
        };
        fs::remove(std::ranges::min_element(present, {}, age)->path, unknown);
    }
    replace_file(path, added.der());
    return path;
}

fs::path pki_folder::add_lists(part to, const std::string& name, std::string_view bytes) const {
    require_root();
    fs::path path = root_ / name_of(to) / "crl" / name;
    replace_file(path, bytes);
    return path;
}

std::size_t pki_folder::remove(part from, const std::string& fingerprint) const {
    std::size_t count = 0;
    for (const certificate_file& file : certificates(from)) {
        if (file.content.fingerprint() != fingerprint) {
            continue;
        }
        std::error_code problem;
        if (!fs::remove(file.path, problem) && problem) {
            fail(file.path, problem.message());
        }
        ++count;
    }
    return count;
}

std::map<std::string, known_server> pki_folder::known_servers() const {
    std::map<std::string, known_server> known;
    require_protected(root_);
    std::ifstream file{root_ / known_servers_file};
    for (std::string line; std::getline(file, line);) {
        std::istringstream words{line};
        std::string address;
        std::string fingerprint;
        std::string how;
        words >> address >> fingerprint >> how;
        if (fingerprint = parse_fingerprint(fingerprint); !fingerprint.empty()) {
            known[lower_case(address)] = {fingerprint, how == "confirmed"};
        }
    }
    return known;
}

void pki_folder::remember(const std::string& address, const std::optional<known_server>& to) const {
    require_root();
    make_shared_folder(root_);
    file_descriptor lock;
    lock_file(root_ / ".known-servers.lock", lock);
    auto known = known_servers();
    if (to) {
        known[lower_case(address)] = *to;
    } else {
        known.erase(lower_case(address));
    }
    std::string text;
    for (const auto& [server, entry] : known) {
        text += server + " " + entry.fingerprint + (entry.confirmed ? " confirmed\n" : " seen\n");
    }
    replace_file(root_ / known_servers_file, text);
}

std::optional<own_identity> pki_folder::own() const {
    const fs::path path = root_ / own_certificate;
    std::error_code unknown;
    if (root_.empty() || !fs::exists(path, unknown)) {
        return std::nullopt;
    }
    const auto read = read_certificates(read_file(path));
    if (read.empty()) {
        throw probe_error{exit_code::usage, path.string() + ": it is no certificate"};
    }
    return own_identity{read.front(), read.front().pem(), path, root_ / own_key};
}

void pki_folder::keep_own(const certificate& own, std::string_view key_pem) const {
    require_root();
    replace_file(root_ / own_key, key_pem, readers::owner);
    replace_file(root_ / own_certificate, own.der());
}

} // namespace tarvik::monitoring_modules::probe
