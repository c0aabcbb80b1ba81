// The self-signed certificate that the service uses if none is given. At start, before the loop.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace redfish {

struct CertificateFiles {
    std::filesystem::path certificate; // PEM, readable by all
    std::filesystem::path key;         // PEM, mode 0600
};

// The files "certificate.pem" and "key.pem" of a folder. If either is missing, both are created: a
// key on the curve P-256 and a certificate signed with it, valid for ten years.
//   names  host names and IP addresses of the certificate, at least one; the first is its CN
// Throws std::runtime_error; also for a key that others may read.
CertificateFiles ensureCertificate(const std::filesystem::path& folder,
                                   const std::vector<std::string>& names);

// The names of this machine: its host name, "localhost" and the loopback addresses.
std::vector<std::string> ownNames();

} // namespace redfish
