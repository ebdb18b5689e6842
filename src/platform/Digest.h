#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace tidemark {

class Md5
{
public:
    Md5();
    ~Md5();
    void update(std::span<const std::byte> bytes);
    std::array<std::byte, 16> finish();

private:
    struct State;
    std::unique_ptr<State> state_;
};

std::array<std::byte, 32> sha256(std::string_view bytes);
std::string base64Encode(std::span<const std::byte> bytes);
/// Nothing for text that is not Base64.
std::optional<std::string> base64Decode(std::string_view text);
std::string hexLower(std::span<const std::byte> bytes);
/// A random identifier in upper case: 8-4-4-4-12 hexadecimal digits.
std::string makeUuid();

} // namespace tidemark
