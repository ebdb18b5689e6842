#pragma once

#include <string>

namespace tidemark {

/// Turns secrets into the form they are stored in, and back; "" for "" and on failure.
class PasswordDelegate
{
public:
    virtual ~PasswordDelegate() = default;
    virtual std::string encrypt(const std::string& plain) const = 0;
    virtual std::string decrypt(const std::string& stored) const = 0;
};

} // namespace tidemark
