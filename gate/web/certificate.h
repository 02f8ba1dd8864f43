// The certificate that the web door shows, made by the gate itself, and the names and addresses
// that this server has.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace gate {

/// By what phones reach this server. Texts in small letters.
struct HostNames {
    /// The host's name, its first label, that with ".local" (mDNS), "localhost".
    std::vector<std::string> names;
    /// IPv4 before IPv6, loopback included, without brackets; without link-local IPv6, which no
    /// browser takes in an address.
    std::vector<std::string> addresses;

    /// The first IPv4 address that is not loopback, else NAME.local: what a phone can be told.
    std::string reachable() const;
};

/// Looks up those of this moment. Where the kernel does not tell the addresses, there is a line in
/// the log and loopback alone. Any thread.
HostNames ownHostNames();

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
