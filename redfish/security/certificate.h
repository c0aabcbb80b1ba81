// The certificate that the service shows where none was given.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace redfish {

struct CertificateFiles {
    std::filesystem::path certificate; // PEM
    std::filesystem::path key;         // PEM, mode 0600
};

// The files "certificate.pem" and "key.pem" of the folder. Where one of them is missing, both
// are made anew: a key on the curve P-256 and a certificate signed with it, valid for ten
// years, for these names and addresses. Throws std::runtime_error.
CertificateFiles ensureCertificate(const std::filesystem::path& folder,
                                   const std::vector<std::string>& names);

// The names by which a machine is reached from itself and by its own name.
std::vector<std::string> ownNames();

} // namespace redfish
