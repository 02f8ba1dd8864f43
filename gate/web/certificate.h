// The certificate that the web door shows, made by the gate itself.
#pragma once

#include <string>

#include "gate/web/hostNames.h"

namespace gate {

/// Two PEM files.
struct CertificateFiles {
    std::string certificate;
    std::string key;
};

/// The files certificate.pem and key.pem in `directory`. Unless both are there, or the certificate
/// has run out, new ones are made: ECDSA P-256, signed by itself, valid ten years for `host`, the
/// key with mode 0600. Throws std::runtime_error ("FILE: REASON") when one cannot be read or
/// written, or they do not belong together. One thread at a time.
CertificateFiles ensureCertificate(const std::string& directory, const HostNames& host);

}  // namespace gate
