#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace tidemark {

/// Reads a binary property list where it lies, without building values. Nothing in the document is believed: each
/// offset, count and reference is checked before it is used, and whatever does not fit throws Malformed.
class BinaryPropertyListView
{
public:
    struct Malformed
    {
        const char* why;
    };

    enum class Kind
    {
        null,
        boolean,
        integer,
        real,
        date,
        data,
        ascii,
        utf16,
        uid,
        array,
        dictionary
    };

    /// The number of an object in the document.
    using Reference = std::uint64_t;

    struct Object
    {
        Kind kind = Kind::null;
        /// Items of an array, pairs of a dictionary, characters or code units of a text, bytes of the rest.
        std::uint64_t count = 0;
        std::span<const std::uint8_t> payload;
        /// What it takes in the document, marker included.
        std::uint64_t size = 0;
    };

    /// Checks the frame, and that the objects fill the document without gaps and refer to objects that exist: an
    /// altered count shows as a gap or an overlap. `bytes` stays with the caller.
    explicit BinaryPropertyListView(std::span<const std::uint8_t> bytes);

    Reference root() const { return root_; }
    std::uint64_t objectCount() const { return objectCount_; }
    Object at(Reference reference) const;

    /// Of an array, or a key of a dictionary; `index` below the count.
    Reference item(const Object& container, std::uint64_t index) const;
    /// The value that belongs to the key at `index` of a dictionary.
    Reference value(const Object& dictionary, std::uint64_t index) const;

    bool isText(const Object& object, std::string_view ascii) const;
    /// As UTF-8 into `text`.
    void text(const Object& object, std::string& text) const;
    /// An integer or a real.
    double number(const Object& object) const;
    std::uint64_t uid(const Object& object) const;

private:
    std::uint64_t offset(Reference reference) const;
    Object decode(std::uint64_t offset) const;
    std::uint64_t unitSize(Kind kind) const;
    void checkObjects() const;
    void checkReferences(const Object& object) const;

    std::span<const std::uint8_t> bytes_;
    std::uint64_t tableOffset_ = 0; // the objects end here
    std::uint64_t objectCount_ = 0;
    Reference root_ = 0;
    unsigned offsetSize_ = 0;
    unsigned referenceSize_ = 0;
};

} // namespace tidemark
