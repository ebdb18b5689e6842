#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace devserver {

// Text as lower-case hexadecimal digits.
std::string md5Hex(std::string_view data);
std::string randomHex(std::size_t bytes);
std::optional<std::string> base64Decoded(std::string_view text);
// Takes a time that does not depend on where the texts differ.
bool equalInConstantTime(std::string_view a, std::string_view b);

class Md5
{
public:
    Md5();
    ~Md5();
    void update(std::string_view data);
    std::string finishHex();

private:
    struct Context;
    std::unique_ptr<Context> context_;
};

} // namespace devserver
