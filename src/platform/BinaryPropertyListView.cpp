#include "platform/BinaryPropertyListView.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace tidemark {

namespace {

using Bytes = std::span<const std::uint8_t>;
using View = BinaryPropertyListView;

constexpr std::string_view magic = "bplist00";
constexpr std::size_t trailerSize = 32;

/// `size` at most 8.
std::uint64_t bigEndian(const std::uint8_t* bytes, std::size_t size)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < size; ++i)
        value = value << 8 | bytes[i];
    return value;
}

View::Kind kindOf(std::uint8_t marker)
{
    switch (marker >> 4) {
    case 0x0:
        if (marker == 0x00) return View::Kind::null;
        if (marker == 0x08 || marker == 0x09) return View::Kind::boolean;
        break;
    case 0x1:
        return View::Kind::integer;
    case 0x2:
        return View::Kind::real;
    case 0x3:
        return View::Kind::date;
    case 0x4:
        return View::Kind::data;
    case 0x5:
        return View::Kind::ascii;
    case 0x6:
        return View::Kind::utf16;
    case 0x8:
        return View::Kind::uid;
    case 0xa:
        return View::Kind::array;
    case 0xd:
        return View::Kind::dictionary;
    default:
        break;
    }
    throw View::Malformed{"an object of an unknown type"};
}

/// The bytes behind the marker of an object whose marker gives its size.
std::uint64_t scalarSize(View::Kind kind, unsigned nibble)
{
    switch (kind) {
    case View::Kind::integer:
        if (nibble <= 4) return std::uint64_t{1} << nibble;
        break;
    case View::Kind::real:
        if (nibble == 2 || nibble == 3) return std::uint64_t{1} << nibble;
        break;
    case View::Kind::date:
        if (nibble == 3) return 8;
        break;
    case View::Kind::uid:
        if (nibble < 8) return nibble + 1;
        break;
    default:
        return 0;
    }
    throw View::Malformed{"a number of an unknown size"};
}

bool isScalar(View::Kind kind)
{
    switch (kind) {
    case View::Kind::data:
    case View::Kind::ascii:
    case View::Kind::utf16:
    case View::Kind::array:
    case View::Kind::dictionary:
        return false;
    case View::Kind::null:
    case View::Kind::boolean:
    case View::Kind::integer:
    case View::Kind::real:
    case View::Kind::date:
    case View::Kind::uid:
        return true;
    }
    return true;
}

struct Head
{
    std::uint64_t count = 0;
    std::uint64_t size = 1;
};

/// Marker and count of the object at the front of `bytes`.
Head headOf(View::Kind kind, Bytes bytes)
{
    unsigned nibble = bytes.front() & 15;
    if (isScalar(kind)) return {scalarSize(kind, nibble), 1};
    if (nibble != 15) return {nibble, 1};
    if (bytes.size() < 2 || (bytes[1] & 0xfc) != 0x10) throw View::Malformed{"a count of an unknown size"};
    std::size_t countSize = std::size_t{1} << (bytes[1] & 3);
    if (bytes.size() < 2 + countSize) throw View::Malformed{"an object beyond the end"};
    return {bigEndian(bytes.data() + 2, countSize), 2 + countSize};
}

void appendUtf8(std::string& text, std::uint32_t c)
{
    auto put = [&text](std::uint32_t byte) { text += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
        put(0xc0 | c >> 6);
    } else {
        if (c < 0x10000) {
            put(0xe0 | c >> 12);
        } else {
            put(0xf0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3f));
        }
        put(0x80 | (c >> 6 & 0x3f));
    }
    put(0x80 | (c & 0x3f));
}

void appendUtf16(std::string& text, Bytes units)
{
    auto unit = [&](std::size_t i) { return static_cast<std::uint32_t>(units[i] << 8 | units[i + 1]); };
    for (std::size_t i = 0; i < units.size(); i += 2) {
        auto c = unit(i);
        if (c >= 0xd800 && c < 0xe000) {
            bool paired = c < 0xdc00 && i + 2 < units.size() && (unit(i + 2) & 0xfc00) == 0xdc00;
            if (!paired) throw View::Malformed{"a text that is not UTF-16"};
            i += 2;
            c = 0x10000 + ((c - 0xd800) << 10) + (unit(i) - 0xdc00);
        }
        appendUtf8(text, c);
    }
}

double integerValue(Bytes payload)
{
    if (payload.size() < 8) return static_cast<double>(bigEndian(payload.data(), payload.size()));
    if (payload.size() == 8) return static_cast<double>(static_cast<std::int64_t>(bigEndian(payload.data(), 8)));
    // 16 bytes are written for unsigned numbers beyond 63 bits.
    if (bigEndian(payload.data(), 8) != 0) throw View::Malformed{"a number that is too large"};
    return static_cast<double>(bigEndian(payload.data() + 8, 8));
}

} // namespace

View::BinaryPropertyListView(Bytes bytes) : bytes_(bytes)
{
    if (bytes.size() < magic.size() + 1 + trailerSize || std::memcmp(bytes.data(), magic.data(), magic.size()) != 0)
        throw Malformed{"not a binary property list"};
    auto trailerOffset = bytes.size() - trailerSize;
    const auto* trailer = bytes.data() + trailerOffset;
    offsetSize_ = trailer[6];
    referenceSize_ = trailer[7];
    objectCount_ = bigEndian(trailer + 8, 8);
    root_ = bigEndian(trailer + 16, 8);
    tableOffset_ = bigEndian(trailer + 24, 8);
    if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8)
        throw Malformed{"sizes in the trailer"};
    if (tableOffset_ < magic.size() + 1 || tableOffset_ >= trailerOffset)
        throw Malformed{"the place of the offset table"};
    auto tableSize = trailerOffset - tableOffset_;
    if (tableSize % offsetSize_ != 0 || tableSize / offsetSize_ != objectCount_)
        throw Malformed{"the size of the offset table"};
    if (root_ >= objectCount_) throw Malformed{"the root object"};
    checkObjects();
}

void View::checkObjects() const
{
    std::uint64_t total = 0;
    for (Reference reference = 0; reference < objectCount_; ++reference) {
        auto object = at(reference);
        checkReferences(object);
        total += object.size;
        // No object is larger than the document, so that the sum cannot wrap before this is seen.
        if (total > tableOffset_) throw Malformed{"objects overlap"};
    }
    if (total != tableOffset_ - magic.size()) throw Malformed{"objects do not fill the document"};
}

void View::checkReferences(const Object& object) const
{
    if (object.kind != Kind::array && object.kind != Kind::dictionary) return;
    for (std::size_t i = 0; i < object.payload.size(); i += referenceSize_)
        if (bigEndian(object.payload.data() + i, referenceSize_) >= objectCount_)
            throw Malformed{"a reference to a missing object"};
}

std::uint64_t View::offset(Reference reference) const
{
    if (reference >= objectCount_) throw Malformed{"a reference to a missing object"};
    auto offset = bigEndian(bytes_.data() + tableOffset_ + reference * offsetSize_, offsetSize_);
    if (offset < magic.size() || offset >= tableOffset_) throw Malformed{"an offset outside of the document"};
    return offset;
}

View::Object View::at(Reference reference) const
{
    return decode(offset(reference));
}

View::Object View::decode(std::uint64_t offset) const
{
    auto rest = bytes_.subspan(offset, tableOffset_ - offset);
    auto kind = kindOf(rest.front());
    auto head = headOf(kind, rest);
    auto unit = unitSize(kind);
    if (head.count > (rest.size() - head.size) / unit) throw Malformed{"an object beyond the end"};
    auto payload = rest.subspan(head.size, head.count * unit);
    return {kind, head.count, payload, head.size + payload.size()};
}

/// The bytes that one unit of the count takes.
std::uint64_t View::unitSize(Kind kind) const
{
    if (kind == Kind::utf16) return 2;
    if (kind == Kind::array) return referenceSize_;
    if (kind == Kind::dictionary) return std::uint64_t{2} * referenceSize_;
    return 1;
}

View::Reference View::item(const Object& container, std::uint64_t index) const
{
    return bigEndian(container.payload.data() + index * referenceSize_, referenceSize_);
}

View::Reference View::value(const Object& dictionary, std::uint64_t index) const
{
    return item(dictionary, dictionary.count + index);
}

bool View::isText(const Object& object, std::string_view ascii) const
{
    if (object.count != ascii.size()) return false;
    if (object.kind == Kind::ascii) return std::memcmp(object.payload.data(), ascii.data(), ascii.size()) == 0;
    if (object.kind != Kind::utf16) return false;
    std::string decoded;
    text(object, decoded);
    return decoded == ascii;
}

void View::text(const Object& object, std::string& text) const
{
    text.clear();
    if (object.kind == Kind::utf16) return appendUtf16(text, object.payload);
    if (object.kind != Kind::ascii) throw Malformed{"no text where one should be"};
    if (std::any_of(object.payload.begin(), object.payload.end(), [](std::uint8_t c) { return c >= 0x80; }))
        throw Malformed{"a text that is not ASCII"};
    text.assign(reinterpret_cast<const char*>(object.payload.data()), object.payload.size());
}

double View::number(const Object& object) const
{
    double value = 0;
    if (object.kind == Kind::integer)
        value = integerValue(object.payload);
    else if (object.kind != Kind::real)
        throw Malformed{"no number where one should be"};
    else if (object.payload.size() == 4)
        value = std::bit_cast<float>(static_cast<std::uint32_t>(bigEndian(object.payload.data(), 4)));
    else
        value = std::bit_cast<double>(bigEndian(object.payload.data(), 8));
    if (!std::isfinite(value)) throw Malformed{"a number that is not finite"};
    return value;
}

std::uint64_t View::uid(const Object& object) const
{
    if (object.kind != Kind::uid) throw Malformed{"no object reference where one should be"};
    return bigEndian(object.payload.data(), object.payload.size());
}

} // namespace tidemark
