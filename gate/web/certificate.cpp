#include "gate/web/certificate.h"

#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <stdexcept>

#include "gate/log.h"
#include "gate/web/stateFile.h"
#include "support/wholeFile.h"

namespace gate {
namespace {

constexpr int kDaysValid = 3650;
/// A phone's clock may be behind the server's.
constexpr int kDaysBefore = -1;
constexpr int kSerialBits = 159;  // 20 bytes at most, and positive (RFC 5280)

template <auto kFree>
struct Freer {
    template <typename Object>
    void operator()(Object* object) const {
        kFree(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freer<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freer<X509_free>>;
using Memory = std::unique_ptr<BIO, Freer<BIO_free>>;
using Number = std::unique_ptr<BIGNUM, Freer<BN_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freer<X509_EXTENSION_free>>;

[[noreturn]] void fail(const std::string& file) {
    const unsigned long code = ERR_get_error();
    const char* const reason = ERR_reason_error_string(code);
    ERR_clear_error();
    throw std::runtime_error(file + ": " + (reason != nullptr ? reason : "no such content"));
}

/// `isDone`: the result of a call of the library.
void check(bool isDone, const std::string& file) {
    if (!isDone) {
        fail(file);
    }
}

std::string alternativeNames(const HostNames& host) {
    std::string text;
    const auto add = [&](const char* kind, const std::string& name) {
        text += (text.empty() ? "" : ",") + (kind + name);
    };
    for (const std::string& name : host.names) {
        add("DNS:", name);
    }
    for (const std::string& address : host.addresses) {
        add("IP:", address);
    }
    return text;
}

void addExtensions(X509* certificate, const HostNames& host, const std::string& file) {
    const std::string names = alternativeNames(host);
    const std::pair<int, const char*> extensions[] = {{NID_basic_constraints, "critical,CA:FALSE"},
                                                      {NID_key_usage, "critical,digitalSignature"},
                                                      {NID_ext_key_usage, "serverAuth"},
                                                      {NID_subject_alt_name, names.c_str()}};
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
    for (const auto& [kind, text] : extensions) {
        const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, text));
        check(extension && X509_add_ext(certificate, extension.get(), -1) == 1, file);
    }
}

Certificate newCertificate(EVP_PKEY* key, const HostNames& host, const std::string& file) {
    Certificate certificate(X509_new());
    const Number serial(BN_new());
    X509* const made = certificate.get();
    check(made != nullptr && serial, file);
    X509_NAME* const name = X509_get_subject_name(made);
    const auto* const title = reinterpret_cast<const unsigned char*>(host.names.front().c_str());
    check(X509_set_version(made, X509_VERSION_3) == 1 &&
              BN_rand(serial.get(), kSerialBits, BN_RAND_TOP_ANY, BN_RAND_BOTTOM_ANY) == 1 &&
              BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(made)) != nullptr &&
              X509_time_adj_ex(X509_getm_notBefore(made), kDaysBefore, 0, nullptr) != nullptr &&
              X509_time_adj_ex(X509_getm_notAfter(made), kDaysValid, 0, nullptr) != nullptr &&
              X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, title, -1, -1, 0) == 1 &&
              X509_set_issuer_name(made, name) == 1 && X509_set_pubkey(made, key) == 1,
          file);
    addExtensions(made, host, file);
    check(X509_sign(made, key, EVP_sha256()) > 0, file);
    return certificate;
}

std::string content(const Memory& memory) {
    char* bytes = nullptr;
    const long length = BIO_get_mem_data(memory.get(), &bytes);
    return {bytes, static_cast<size_t>(length)};
}

/// The key first: with it alone both are made anew at the next start.
void makeBoth(const CertificateFiles& files, const HostNames& host) {
    const Key key(EVP_EC_gen("P-256"));
    const Memory keyText(BIO_new(BIO_s_mem()));
    const Memory text(BIO_new(BIO_s_mem()));
    check(key && keyText && text &&
              PEM_write_bio_PrivateKey(keyText.get(), key.get(), nullptr, nullptr, 0, nullptr,
                                       nullptr) == 1,
          files.key);
    const Certificate certificate = newCertificate(key.get(), host, files.certificate);
    check(PEM_write_bio_X509(text.get(), certificate.get()) == 1, files.certificate);
    writeStateFile(files.key, content(keyText));
    writeStateFile(files.certificate, content(text));
}

Memory opened(const std::string& file) {
    const auto text = support::readWholeFile(file);
    if (!text) {
        throw std::runtime_error(file + ": " + strerror(errno));
    }
    Memory memory(BIO_new(BIO_s_mem()));
    const int length = static_cast<int>(text->size());
    check(memory && BIO_write(memory.get(), text->data(), length) == length, file);
    return memory;
}

/// Whether they can go on being shown.
bool areValid(const CertificateFiles& files) {
    const Memory text = opened(files.certificate);
    const Memory keyText = opened(files.key);
    const Certificate certificate(PEM_read_bio_X509(text.get(), nullptr, nullptr, nullptr));
    check(certificate != nullptr, files.certificate);
    const Key key(PEM_read_bio_PrivateKey(keyText.get(), nullptr, nullptr, nullptr));
    check(key && X509_check_private_key(certificate.get(), key.get()) == 1, files.key);
    return X509_cmp_current_time(X509_get0_notAfter(certificate.get())) > 0;
}

bool isThere(const std::string& file) {
    return access(file.c_str(), F_OK) == 0 || errno != ENOENT;
}

}  // namespace

CertificateFiles ensureCertificate(const std::string& directory, const HostNames& host) {
    CertificateFiles files{directory + "/certificate.pem", directory + "/key.pem"};
    if (!isThere(files.certificate) || !isThere(files.key) || !areValid(files)) {
        makeBoth(files, host);
        logText(files.certificate + ": made, valid for ten years");
    }
    return files;
}

}  // namespace gate
