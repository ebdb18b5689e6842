#pragma once

#include "security/PasswordDelegate.h"

namespace tidemark {

/// Stored secrets as Base64 of AES-256 under the fixed settings key: not readable at a glance, and readable by every
/// installation. Any thread.
class BXSyncPasswordManager : public PasswordDelegate
{
public:
    std::string encrypt(const std::string& plain) const override;
    std::string decrypt(const std::string& stored) const override;
};

} // namespace tidemark
