#include "platform/PropertyList.h"

#include <plist/plist.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <optional>

namespace tidemark {

namespace {

using Node = std::unique_ptr<void, decltype(&plist_free)>;

// Dates of property lists count from 1 January 2001.
constexpr std::chrono::seconds referenceDate{978307200};
constexpr int deepestNesting = 256;

Node own(plist_t node)
{
    return {node, &plist_free};
}

tl::unexpected<Error> invalid(const char* why)
{
    return failure("PropertyList", 1, std::string("Not a property list: ") + why);
}

std::string takeText(char* text, std::uint64_t length)
{
    std::string taken(text ? text : "", text ? length : 0);
    std::free(text);
    return taken;
}

// --- to the library -------------------------------------------------------------------------------------------------

plist_t nodeFrom(const PropertyList& value);

plist_t dateNode(dates::Time time)
{
    // The library counts in 32 bits, to 1932 and 2069.
    using Limits = std::numeric_limits<std::int32_t>;
    auto second = std::chrono::floor<std::chrono::seconds>(time.time_since_epoch());
    auto rest = std::chrono::duration_cast<std::chrono::microseconds>(time.time_since_epoch() - second);
    auto seconds = std::clamp<std::int64_t>((second - referenceDate).count(), Limits::min(), Limits::max());
    return plist_new_date(static_cast<std::int32_t>(seconds), static_cast<std::int32_t>(rest.count()));
}

plist_t arrayNode(const PropertyList::Array& items)
{
    auto node = plist_new_array();
    for (const auto& item : items)
        plist_array_append_item(node, nodeFrom(item));
    return node;
}

plist_t dictionaryNode(const PropertyList::Dictionary& items)
{
    auto node = plist_new_dict();
    for (const auto& [key, item] : items)
        plist_dict_set_item(node, key.c_str(), nodeFrom(item));
    return node;
}

plist_t nodeFrom(const PropertyList& value)
{
    if (const auto* flag = value.get<bool>()) return plist_new_bool(*flag);
    if (const auto* integer = value.get<std::int64_t>()) return plist_new_uint(static_cast<std::uint64_t>(*integer));
    if (const auto* real = value.get<double>()) return plist_new_real(*real);
    if (const auto* text = value.get<std::string>()) return plist_new_string(text->c_str());
    if (const auto* data = value.get<PropertyList::Data>())
        return plist_new_data(data->bytes.data(), data->bytes.size());
    if (const auto* time = value.get<dates::Time>()) return dateNode(*time);
    if (const auto* array = value.get<PropertyList::Array>()) return arrayNode(*array);
    return dictionaryNode(*value.get<PropertyList::Dictionary>());
}

// --- from the library -----------------------------------------------------------------------------------------------

std::optional<PropertyList> valueFrom(plist_t node, int depth);

PropertyList timeFrom(plist_t node)
{
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    plist_get_date_val(node, &seconds, &microseconds);
    return dates::Time(referenceDate + std::chrono::seconds(seconds) + std::chrono::microseconds(microseconds));
}

std::optional<PropertyList> arrayFrom(plist_t node, int depth)
{
    PropertyList::Array items;
    plist_array_iter iterator = nullptr;
    plist_array_new_iter(node, &iterator);
    std::unique_ptr<void, decltype(&std::free)> owner(iterator, &std::free);
    for (plist_t item = nullptr; plist_array_next_item(node, iterator, &item), item;) {
        auto value = valueFrom(item, depth + 1);
        if (!value) return std::nullopt;
        items.push_back(std::move(*value));
    }
    return items;
}

std::optional<PropertyList> dictionaryFrom(plist_t node, int depth)
{
    PropertyList::Dictionary items;
    plist_dict_iter iterator = nullptr;
    plist_dict_new_iter(node, &iterator);
    std::unique_ptr<void, decltype(&std::free)> owner(iterator, &std::free);
    while (true) {
        char* key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, iterator, &key, &item);
        std::unique_ptr<char, decltype(&std::free)> keyOwner(key, &std::free);
        if (!item) return items;
        auto value = valueFrom(item, depth + 1);
        if (!value || !key) return std::nullopt;
        items[key] = std::move(*value);
    }
}

PropertyList textFrom(plist_t node)
{
    char* text = nullptr;
    plist_get_string_val(node, &text);
    return takeText(text, text ? std::char_traits<char>::length(text) : 0);
}

PropertyList dataFrom(plist_t node)
{
    char* bytes = nullptr;
    std::uint64_t length = 0;
    plist_get_data_val(node, &bytes, &length);
    return PropertyList::Data{takeText(bytes, length)};
}

template <class T, class Getter>
T scalarFrom(plist_t node, Getter getter)
{
    T value{};
    getter(node, &value);
    return value;
}

std::optional<PropertyList> valueFrom(plist_t node, int depth)
{
    if (depth > deepestNesting) return std::nullopt;
    switch (plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        return scalarFrom<std::uint8_t>(node, plist_get_bool_val) != 0;
    case PLIST_UINT:
        return static_cast<std::int64_t>(scalarFrom<std::uint64_t>(node, plist_get_uint_val));
    case PLIST_REAL:
        return scalarFrom<double>(node, plist_get_real_val);
    case PLIST_STRING:
        return textFrom(node);
    case PLIST_DATA:
        return dataFrom(node);
    case PLIST_DATE:
        return timeFrom(node);
    case PLIST_ARRAY:
        return arrayFrom(node, depth);
    case PLIST_DICT:
        return dictionaryFrom(node, depth);
    default:
        return std::nullopt;
    }
}

// --- conversions ----------------------------------------------------------------------------------------------------

std::string_view withoutBlanks(std::string_view text)
{
    return text.substr(std::min(text.find_first_not_of(" \t\r\n"), text.size()));
}

std::int64_t leadingInteger(std::string_view text)
{
    text = withoutBlanks(text);
    bool negative = text.starts_with('-');
    if (text.starts_with('+') || negative) text.remove_prefix(1);
    if (text.empty() || text.front() < '0' || text.front() > '9') return 0;
    std::int64_t value = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range)
        return negative ? std::numeric_limits<std::int64_t>::min() : std::numeric_limits<std::int64_t>::max();
    return negative ? -value : value;
}

std::int64_t truncated(double value)
{
    if (std::isnan(value)) return 0;
    constexpr double limit = 9223372036854775808.0;
    if (value >= limit) return std::numeric_limits<std::int64_t>::max();
    if (value < -limit) return std::numeric_limits<std::int64_t>::min();
    return static_cast<std::int64_t>(value);
}

bool leadingTruth(std::string_view text)
{
    text = withoutBlanks(text);
    if (text.starts_with('+') || text.starts_with('-')) text.remove_prefix(1);
    return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
}

template <class Number>
std::string decimal(Number value)
{
    char buffer[64];
    auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return {buffer, end};
}

template <class Writer>
std::string write(const PropertyList& value, Writer writer, void (*release)(char*))
{
    auto node = own(nodeFrom(value));
    char* text = nullptr;
    std::uint32_t length = 0;
    writer(node.get(), &text, &length);
    std::unique_ptr<char, void (*)(char*)> owner(text, release);
    return {text ? text : "", text ? length : 0};
}

} // namespace

std::string PropertyList::stringValue() const
{
    if (const auto* text = get<std::string>()) return *text;
    if (const auto* integer = get<std::int64_t>()) return decimal(*integer);
    if (const auto* real = get<double>()) return decimal(*real);
    return {};
}

std::int64_t PropertyList::integerValue() const
{
    if (const auto* integer = get<std::int64_t>()) return *integer;
    if (const auto* flag = get<bool>()) return *flag ? 1 : 0;
    if (const auto* real = get<double>()) return truncated(*real);
    if (const auto* text = get<std::string>()) return leadingInteger(*text);
    return 0;
}

bool PropertyList::boolValue() const
{
    if (const auto* flag = get<bool>()) return *flag;
    if (const auto* integer = get<std::int64_t>()) return *integer != 0;
    if (const auto* real = get<double>()) return *real != 0;
    if (const auto* text = get<std::string>()) return leadingTruth(*text);
    return false;
}

Result<PropertyList> PropertyList::parse(std::string_view document)
{
    if (document.size() > std::numeric_limits<std::uint32_t>::max()) return invalid("too large");
    plist_t root = nullptr;
    auto length = static_cast<std::uint32_t>(document.size());
    if (document.starts_with("bplist"))
        plist_from_bin(document.data(), length, &root);
    else
        plist_from_xml(document.data(), length, &root);
    auto owner = own(root);
    if (!root) return invalid("it cannot be parsed");
    auto value = valueFrom(root, 0);
    if (!value) return invalid("it holds a value of an unknown type or is nested too deeply");
    return std::move(*value);
}

std::string PropertyList::toXml() const
{
    return write(*this, plist_to_xml, plist_to_xml_free);
}
std::string PropertyList::toBinary() const
{
    return write(*this, plist_to_bin, plist_to_bin_free);
}

} // namespace tidemark
