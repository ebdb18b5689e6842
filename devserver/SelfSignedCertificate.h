#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace devserver {

struct SelfSignedCertificate
{
    std::string certificatePem;
    std::string keyPem;
};

// A certificate for these names (the first is its common name), valid between the two moments, in seconds from the
// present. Throws std::runtime_error.
SelfSignedCertificate makeSelfSignedCertificate(const std::vector<std::string>& names, std::int64_t validFrom,
                                                std::int64_t validUntil);

} // namespace devserver
