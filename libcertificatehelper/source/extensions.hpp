#pragma once

// The extensions of a certificate as texts.

#include "libcertificatehelper/source/owners.hpp"

#include <string>
#include <vector>

namespace tarvik::monitoring_modules::libcertificatehelper {

/// One text for each instance of an extension, in the certificate's order: what OpenSSL prints, and
/// nothing for an instance that it cannot print. The authority key identifier instead gives
/// "keyid:" and its key identifier as "01:AB:...", and no text when it has none.
/// @param nid OpenSSL's number of the extension, such as NID_subject_alt_name.
/// @throws exceptions::bad_alloc
[[nodiscard]] std::vector<std::string> extension_texts(const X509& certificate, int nid);

/// The pieces of printed alternative names; none of a text that says that it is empty.
[[nodiscard]] std::vector<std::string> split_names(const std::vector<std::string>& texts);

/// The URIs in the full names of all distribution points.
[[nodiscard]] std::vector<std::string> crl_distribution_point_uris(const X509& certificate);

} // namespace tarvik::monitoring_modules::libcertificatehelper
