#pragma once
// The folder of certificates, laid out as OPC UA products do (OPC 10000-12, annex F): what is
// trusted, what was refused, who this program is. People and other programs put files there, too,
// at any time; each use reads what is there now.

#include "trust/verification.hpp"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvik::monitoring_modules::probe {

/// A certificate and the file in which it stands.
struct certificate_file {
    std::filesystem::path path;
    certificate content;
};

/// What is known of a server from before.
struct known_server {
    std::string fingerprint;
    bool confirmed = false; ///< by a person, for this server
};

/// The own certificate, as the module takes it.
struct own_identity {
    certificate shown;
    std::string certificate_pem;
    std::filesystem::path certificate_path;
    std::filesystem::path key_path;
};

/// Reading needs no rights to write. Any thread may use it, several processes at once.
class pki_folder final {
  public:
    enum class part { trusted, issuers, rejected };

    /// More refused certificates are not kept: the oldest give way.
    static constexpr std::size_t most_rejected = 100;
    /// More files than that in one folder are not read.
    static constexpr std::size_t most_files = 2000;

    /// @param root need not exist; made at the first writing. Empty: nothing can be kept.
    explicit pki_folder(std::filesystem::path root) : root_{std::move(root)} {}

    [[nodiscard]] const std::filesystem::path& root() const noexcept { return root_; }

    /// @return what a person adds to a command so that it works with this folder; empty where that
    /// is what it would do anyway
    [[nodiscard]] std::string option() const;

    /// @param complain gets a line for each file that cannot be used; may be empty
    /// @throws probe_error (usage) when a folder of what is trusted cannot be read, or everybody
    /// may write into it
    [[nodiscard]] trust_lists read(const std::function<void(const std::string&)>& complain) const;

    /// @return all certificates of a part, in the order of their files' names
    [[nodiscard]] std::vector<certificate_file> certificates(part of) const;

    /// Adds a certificate, unless it is there.
    /// @return its file
    /// @throws probe_error (error) when it cannot be written
    std::filesystem::path add(part to, const certificate& added) const;

    /// Adds revocation lists of an authority, in place of the older ones of the same file name.
    /// @param where issuers for those of authorities that are not trusted themselves
    std::filesystem::path add_lists(part to, const std::string& name, std::string_view bytes) const;

    /// Removes the certificates with this fingerprint from a part.
    /// @return how many there were
    std::size_t remove(part from, const std::string& fingerprint) const;

    /// @return by "host:port", in lower case
    [[nodiscard]] std::map<std::string, known_server> known_servers() const;

    /// Changes what is known; processes wait for each other.
    /// @param to empty: the server is forgotten
    /// @throws probe_error (error) when it cannot be written
    void remember(const std::string& address, const std::optional<known_server>& to) const;

    /// @return nothing when there is none
    /// @throws probe_error (usage) when there is one that cannot be read
    [[nodiscard]] std::optional<own_identity> own() const;

    /// Puts a certificate and its key in the place of those that are there.
    /// @param key_pem only this user may read its file
    /// @throws probe_error (error) when they cannot be written
    void keep_own(const certificate& own, std::string_view key_pem) const;

  private:
    void require_root() const;

    std::filesystem::path root_;
};

/// Adds the own certificate and its key to settings of a connection that is secured and names no
/// certificate; nothing to others.
/// @throws probe_error (usage) when there is none, with the way to get one
void add_own_certificate(std::map<std::string, std::string>& values, const pki_folder& folder);

/// @param chosen by a person; empty: "pki" in the state folder
/// @return empty where there is no such folder
[[nodiscard]] std::filesystem::path pki_path(const std::string& chosen);

/// @return "NAME [first 16 digits of the fingerprint]", fit for a file name
[[nodiscard]] std::string file_name_of(const certificate& named);

} // namespace tarvik::monitoring_modules::probe
