#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "platform/Dates.h"
#include "platform/Result.h"

namespace tidemark {

/// A property list value; dictionaries keep their keys sorted.
class PropertyList
{
public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList>;
    struct Data
    {
        std::string bytes;
        bool operator==(const Data&) const = default;
    };

    PropertyList() : value_(Dictionary{}) {}
    PropertyList(bool value) : value_(value) {}
    PropertyList(int value) : value_(static_cast<std::int64_t>(value)) {}
    PropertyList(std::int64_t value) : value_(value) {}
    PropertyList(double value) : value_(value) {}
    PropertyList(const char* value) : value_(std::string(value)) {}
    PropertyList(std::string value) : value_(std::move(value)) {}
    PropertyList(Data value) : value_(std::move(value)) {}
    PropertyList(dates::Time value) : value_(value) {}
    PropertyList(Array value) : value_(std::move(value)) {}
    PropertyList(Dictionary value) : value_(std::move(value)) {}

    template <class T>
    const T* get() const
    {
        return std::get_if<T>(&value_);
    }
    template <class T>
    T* get()
    {
        return std::get_if<T>(&value_);
    }

    /// Text as it is, numbers in decimal; "" for anything else.
    std::string stringValue() const;
    /// Numbers, booleans, and the leading decimal digits of text; 0 for anything else.
    std::int64_t integerValue() const;
    /// Numbers other than 0, true, and text that begins (after blanks and sign) with Y, y, T, t or a digit 1 to 9.
    bool boolValue() const;

    bool operator==(const PropertyList&) const = default;

    /// XML or binary form; domain "PropertyList". Values of other types (UID) fail.
    static Result<PropertyList> parse(std::string_view document);
    std::string toXml() const;
    std::string toBinary() const;

private:
    std::variant<bool, std::int64_t, double, std::string, Data, dates::Time, Array, Dictionary> value_;
};

} // namespace tidemark
