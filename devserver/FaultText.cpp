#include "devserver/Fault.h"

#include "devserver/Text.h"

#include <algorithm>
#include <functional>
#include <map>
#include <stdexcept>

namespace devserver {

namespace {

// Why the text is no fault; caught in parseFault.
class Unreadable : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

std::uint64_t number(std::string_view text)
{
    const auto value = parseNumber(text);
    if (!value) throw Unreadable("not a number: \"" + std::string(text) + "\"");
    return *value;
}

std::string unescaped(std::string_view text)
{
    static const std::map<char, char> meanings = {{'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'\\', '\\'}};
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto meaning = text[i] == '\\' && i + 1 < text.size() ? meanings.find(text[i + 1]) : meanings.end();
        result += meaning == meanings.end() ? text[i] : meaning->second;
        if (meaning != meanings.end()) ++i;
    }
    return result;
}

// "TEXT@NUMBER" into both; the number is `otherwise` when it is not there.
std::pair<std::string_view, std::uint64_t> withNumber(std::string_view text, std::uint64_t otherwise)
{
    const auto at = text.rfind('@');
    if (at == std::string_view::npos) return {text, otherwise};
    return {text.substr(0, at), number(text.substr(at + 1))};
}

FaultEffect stallEffect(std::string_view value)
{
    static const std::map<std::string_view, fault::StallPlace> places = {
        {"before-body", fault::StallPlace::BeforeReadingBody},
        {"before-response", fault::StallPlace::BeforeResponse},
        {"header", fault::StallPlace::InResponseHeader},
        {"body", fault::StallPlace::InResponseBody}};
    const auto [name, bytes] = withNumber(value, 0);
    const auto place = places.find(name);
    if (place == places.end()) throw Unreadable("no place to stall: \"" + std::string(name) + "\"");
    return fault::Stall{place->second, bytes};
}

FaultEffect connectEffect(std::string_view value)
{
    if (value == "stall") return fault::OnConnect{fault::ConnectAction::Stall};
    if (value == "close") return fault::OnConnect{fault::ConnectAction::Close};
    throw Unreadable("connect is stall or close");
}

FaultEffect endlessEffect(std::string_view value)
{
    const auto [text, total] = withNumber(value, 0);
    if (text.empty()) throw Unreadable("endless needs a text");
    return fault::EndlessBody{unescaped(text), total};
}

FaultEffect headerEffect(std::string_view value)
{
    const auto colon = value.find(':');
    if (colon == std::string_view::npos) throw Unreadable("header is NAME: VALUE");
    return fault::Header{std::string(trimmed(value.substr(0, colon))), std::string(trimmed(value.substr(colon + 1)))};
}

FaultEffect hugeHeaderEffect(std::string_view value)
{
    const auto [bytes, count] = withNumber(value, 1);
    return fault::HugeHeader{number(bytes), count};
}

FaultEffect hrefEffect(std::string_view value)
{
    const auto arrow = value.find('>');
    if (arrow == std::string_view::npos) throw Unreadable("href is NAME>HREF");
    return fault::ReplaceHref{std::string(value.substr(0, arrow)), unescaped(value.substr(arrow + 1))};
}

FaultEffect entryEffect(std::string_view value)
{
    const auto [href, size] = withNumber(value, 0);
    return fault::AddEntry{unescaped(href), href.ends_with('/'), size};
}

FaultEffect effectOf(std::string_view kind, std::string_view value)
{
    using Read = std::function<FaultEffect(std::string_view)>;
    static const std::map<std::string_view, Read> kinds = {
        {"status",
         [](auto v) {
             return fault::Status{static_cast<int>(number(v)), {}, {}};
         }},
        {"delay", [](auto v) { return fault::Delay{std::chrono::milliseconds(number(v))}; }},
        {"cut-request", [](auto v) { return fault::CutRequest{number(v)}; }},
        {"cut-response", [](auto v) { return fault::CutResponse{number(v)}; }},
        {"drop-response", [](auto) { return fault::DropResponse{}; }},
        {"close-after", [](auto) { return fault::CloseAfter{}; }},
        {"content-length", [](auto v) { return fault::WrongContentLength{number(v)}; }},
        {"no-content-length", [](auto) { return fault::NoContentLength{}; }},
        {"broken-chunks", [](auto) { return fault::BrokenChunks{}; }},
        {"stall", stallEffect},
        {"connect", connectEffect},
        {"body", [](auto v) { return fault::ReplaceBody{unescaped(v)}; }},
        {"truncate", [](auto v) { return fault::TruncateBody{number(v)}; }},
        {"endless", endlessEffect},
        {"header", headerEffect},
        {"huge-header", hugeHeaderEffect},
        {"raw-header", [](auto v) { return fault::RawHeader{unescaped(v)}; }},
        {"href", hrefEffect},
        {"entry", entryEffect},
    };
    const auto read = kinds.find(kind);
    if (read == kinds.end()) throw Unreadable("no such fault: \"" + std::string(kind) + "\"");
    return read->second(value);
}

void readCount(std::string_view text, Fault& fault)
{
    const auto plus = text.find('+');
    if (plus != std::string_view::npos) fault.skip = static_cast<int>(number(text.substr(plus + 1)));
    const auto count = text.substr(0, plus);
    fault.count = count == "*" ? Fault::forever : static_cast<int>(number(count));
}

std::string_view takeField(std::string_view& text)
{
    const auto colon = text.find(':');
    if (colon == std::string_view::npos) throw Unreadable("a fault is METHOD:PATTERN:COUNT:KIND=VALUE");
    const auto field = text.substr(0, colon);
    text.remove_prefix(colon + 1);
    return field;
}

std::string patternOf(std::string_view text)
{
    std::string pattern(text);
    for (auto at = pattern.find("%3A"); at != std::string::npos; at = pattern.find("%3A", at + 1))
        pattern.replace(at, 3, ":");
    return pattern;
}

Fault readFault(std::string_view text)
{
    Fault fault;
    fault.method = takeField(text);
    fault.pattern = patternOf(takeField(text));
    readCount(takeField(text), fault);
    const auto equals = std::min(text.find('='), text.size());
    fault.effect = effectOf(text.substr(0, equals), equals == text.size() ? "" : text.substr(equals + 1));
    return fault;
}

} // namespace

std::optional<Fault> parseFault(std::string_view text, std::string& problem)
{
    try {
        return readFault(text);
    } catch (const Unreadable& reason) {
        problem = reason.what();
        return {};
    }
}

} // namespace devserver
