#include "libcertificatehelper/source/extensions.hpp"

#include "common/catalogue/certificate_exceptions.hpp"
#include "libcertificatehelper/source/encoding.hpp"

#include <optional>
#include <string_view>

namespace tarvik::monitoring_modules::libcertificatehelper {

namespace {

std::optional<std::string> authority_key_text(X509_EXTENSION* extension) {
    const authority_key_id_ptr identifier{static_cast<AUTHORITY_KEYID*>(X509V3_EXT_d2i(extension))};
    if (identifier == nullptr || identifier->keyid == nullptr) {
        return std::nullopt;
    }
    const openssl_text_ptr text{i2s_ASN1_OCTET_STRING(nullptr, identifier->keyid)};
    if (text == nullptr) {
        return std::nullopt;
    }
    return std::string{"keyid:"} + text.get();
}

std::string printed_text(X509_EXTENSION* extension) {
    const bio_ptr bio{BIO_new(BIO_s_mem())};
    if (bio == nullptr) {
        throw exceptions::bad_alloc{"BIO_new"};
    }
    X509V3_EXT_print(bio.get(), extension, 0, 0);
    return text_of(*bio);
}

void append_uris(std::vector<std::string>& uris, const GENERAL_NAMES* names) {
    for (int i = 0; i < sk_GENERAL_NAME_num(names); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names, i);
        if (name == nullptr || name->type != GEN_URI) {
            continue;
        }
        if (std::string uri = text_of(name->d.uniformResourceIdentifier); !uri.empty()) {
            uris.push_back(std::move(uri));
        }
    }
}

} // namespace

std::vector<std::string> extension_texts(const X509& certificate, int nid) {
    std::vector<std::string> texts;
    for (int index = X509_get_ext_by_NID(&certificate, nid, -1); index >= 0;
         index = X509_get_ext_by_NID(&certificate, nid, index)) {
        X509_EXTENSION* extension = X509_get_ext(&certificate, index);
        if (nid != NID_authority_key_identifier) {
            texts.push_back(printed_text(extension));
        } else if (auto text = authority_key_text(extension)) {
            texts.push_back(std::move(*text));
        }
    }
    return texts;
}

std::vector<std::string> split_names(const std::vector<std::string>& texts) {
    constexpr std::string_view separator = ", ";
    std::vector<std::string> names;
    for (const std::string& text : texts) {
        // An instance that cannot be printed is no name either.
        if (text.empty() || text.find("<EMPTY>") != std::string::npos) {
            continue;
        }
        std::size_t begin = 0;
        for (std::size_t end = text.find(separator); end != std::string::npos;
             end = text.find(separator, begin)) {
            names.push_back(text.substr(begin, end - begin));
            begin = end + separator.size();
        }
        names.push_back(text.substr(begin));
    }
    return names;
}

std::vector<std::string> crl_distribution_point_uris(const X509& certificate) {
    const crl_distribution_points_ptr points{static_cast<CRL_DIST_POINTS*>(
        X509_get_ext_d2i(&certificate, NID_crl_distribution_points, nullptr, nullptr)
    )};
    std::vector<std::string> uris;
    for (int i = 0; i < sk_DIST_POINT_num(points.get()); ++i) {
        constexpr int full_name = 0;
        const DIST_POINT* point = sk_DIST_POINT_value(points.get(), i);
        if (point->distpoint != nullptr && point->distpoint->type == full_name) {
            append_uris(uris, point->distpoint->name.fullname);
        }
    }
    return uris;
}

} // namespace tarvik::monitoring_modules::libcertificatehelper
