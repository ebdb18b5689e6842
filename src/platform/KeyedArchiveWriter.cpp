#include <utf8proc.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "platform/FileSystem.h"
#include "platform/KeyedArchive.h"

namespace tidemark::KeyedArchive {

namespace {

/// The objects that every archive has, in the order in which they are written; records follow.
enum Fixed : std::uint64_t
{
    top,
    versionKey,
    archiverKey,
    topKey,
    objectsKey,
    version,
    archiver,
    topDictionary,
    rootKey,
    rootUid,
    objectTable,
    null,
    rootObject,
    itemsKey,
    classKey,
    items,
    arrayClassUid,
    nameKey,
    modKey,
    recordClassUid,
    recordClass,
    classNameKey,
    classesKey,
    recordClassName,
    recordClasses,
    arrayClass,
    arrayClassName,
    arrayClasses,
    baseClassName,
    fixedCount
};

/// The objects of one record, in the order in which they are written. All but the last have a fixed size.
enum PerRecord : std::uint64_t
{
    recordUid,
    recordObject,
    nameUid,
    mod,
    name,
    perRecordCount
};

enum Marker : unsigned
{
    integer = 0x10,
    real = 0x20,
    ascii = 0x50,
    utf16 = 0x60,
    uid = 0x80,
    array = 0xa0,
    dictionary = 0xd0
};

std::uint64_t recordReference(std::uint64_t record, PerRecord part)
{
    return fixedCount + record * perRecordCount + part;
}

// Places in the archive's object table: "$null", the root array, record and name in turn, the classes.
constexpr std::uint64_t rootPlace = 1;
std::uint64_t recordPlace(std::uint64_t record)
{
    return 2 + 2 * record;
}
std::uint64_t namePlace(std::uint64_t record)
{
    return 3 + 2 * record;
}

/// 1, 2, 4 or 8.
unsigned bytesFor(std::uint64_t largest)
{
    return std::bit_ceil((static_cast<unsigned>(std::bit_width(largest | 1)) + 7) / 8);
}

void appendNumber(std::string& bytes, std::uint64_t value, unsigned size)
{
    for (unsigned shift = size * 8; shift > 0;) {
        shift -= 8;
        bytes += static_cast<char>(static_cast<unsigned char>(value >> shift));
    }
}

void appendHead(std::string& bytes, Marker kind, std::uint64_t count)
{
    bytes += static_cast<char>(static_cast<unsigned char>(kind | std::min<std::uint64_t>(count, 15)));
    if (count < 15) return;
    auto size = bytesFor(count);
    bytes += static_cast<char>(integer | static_cast<unsigned>(std::countr_zero(size)));
    appendNumber(bytes, count, size);
}

/// Nothing appended and false where `text` is not UTF-8.
bool appendUtf16(std::string& bytes, std::string_view text)
{
    std::string units;
    const auto* position = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
    auto left = static_cast<utf8proc_ssize_t>(text.size());
    while (left > 0) {
        utf8proc_int32_t c = 0;
        auto length = utf8proc_iterate(position, left, &c);
        if (length <= 0) return false;
        position += length;
        left -= length;
        auto value = static_cast<std::uint32_t>(c);
        if (value >= 0x10000) appendNumber(units, 0xd7c0 + (value >> 10), 2);
        appendNumber(units, value >= 0x10000 ? 0xdc00 | (value & 0x3ff) : value, 2);
    }
    appendHead(bytes, utf16, units.size() / 2);
    bytes += units;
    return true;
}

bool appendText(std::string& bytes, std::string_view text)
{
    if (std::any_of(text.begin(), text.end(), [](char c) { return static_cast<signed char>(c) < 0; }))
        return appendUtf16(bytes, text);
    appendHead(bytes, ascii, text.size());
    bytes += text;
    return true;
}

class Writer
{
public:
    Writer(fs::DurableReplacement& file, std::string_view className, std::uint64_t count)
        : file_(file), className_(className), count_(count), uidSize_(bytesFor(namePlace(count) + 1)),
          referenceSize_(bytesFor(recordReference(count, recordUid)))
    {
        offsets_.reserve(fixedCount + count);
    }

    Status run(const std::function<bool(Record&)>& next)
    {
        put("bplist00");
        writeFrame();
        writeClasses();
        for (std::uint64_t i = 0; i < count_; ++i) {
            Record record;
            if (!next(record)) return failure("KeyedArchive", 2, "fewer records than announced");
            if (auto written = writeRecord(i, record); !written) return written;
        }
        if (Record record; next(record)) return failure("KeyedArchive", 2, "more records than announced");
        return writeTable();
    }

private:
    std::uint64_t recordClassPlace() const { return recordPlace(count_); }
    std::uint64_t arrayClassPlace() const { return namePlace(count_); }

    void put(std::string_view bytes)
    {
        if (written_) written_ = file_.write(bytes);
        position_ += bytes.size();
    }

    void startObject() { offsets_.push_back(position_); }

    void putObject(std::string_view bytes)
    {
        startObject();
        put(bytes);
    }

    void putText(std::string_view text)
    {
        std::string bytes;
        appendText(bytes, text);
        putObject(bytes);
    }

    void putUid(std::uint64_t place)
    {
        std::string bytes;
        appendUid(bytes, place);
        putObject(bytes);
    }

    void putContainer(Marker kind, std::uint64_t count, std::initializer_list<std::uint64_t> references)
    {
        std::string bytes;
        appendHead(bytes, kind, count);
        for (auto reference : references)
            appendNumber(bytes, reference, referenceSize_);
        putObject(bytes);
    }

    void putReference(std::uint64_t reference)
    {
        std::string bytes;
        appendNumber(bytes, reference, referenceSize_);
        put(bytes);
    }

    void appendUid(std::string& bytes, std::uint64_t place) const
    {
        bytes += static_cast<char>(static_cast<unsigned char>(uid | (uidSize_ - 1)));
        appendNumber(bytes, place, uidSize_);
    }

    void writeFrame()
    {
        putContainer(dictionary, 4,
                     {versionKey, archiverKey, topKey, objectsKey, version, archiver, topDictionary, objectTable});
        for (auto key : {"$version", "$archiver", "$top", "$objects"})
            putText(key);
        constexpr std::string_view version100000("\x12\x00\x01\x86\xa0", 5);
        putObject(version100000);
        putText("NSKeyedArchiver");
        putContainer(dictionary, 1, {rootKey, rootUid});
        putText("root");
        putUid(rootPlace);
        writeObjectTable();
        putText("$null");
        putContainer(dictionary, 2, {itemsKey, classKey, items, arrayClassUid});
        putText("NS.objects");
        putText("$class");
        writeItems();
    }

    void writeObjectTable()
    {
        std::string head;
        appendHead(head, array, 4 + 2 * count_);
        putObject(head);
        putReference(null);
        putReference(rootObject);
        for (std::uint64_t i = 0; i < count_; ++i) {
            putReference(recordReference(i, recordObject));
            putReference(recordReference(i, name));
        }
        putReference(recordClass);
        putReference(arrayClass);
    }

    void writeItems()
    {
        std::string head;
        appendHead(head, array, count_);
        putObject(head);
        for (std::uint64_t i = 0; i < count_; ++i)
            putReference(recordReference(i, recordUid));
    }

    void writeClasses()
    {
        putUid(arrayClassPlace());
        putText("name");
        putText("mod");
        putUid(recordClassPlace());
        putContainer(dictionary, 2, {classNameKey, classesKey, recordClassName, recordClasses});
        putText("$classname");
        putText("$classes");
        putText(className_);
        putContainer(array, 2, {recordClassName, baseClassName});
        putContainer(dictionary, 2, {classNameKey, classesKey, arrayClassName, arrayClasses});
        putText("NSArray");
        putContainer(array, 2, {arrayClassName, baseClassName});
        putText("NSObject");
    }

    // The sizes of the parts before the name, from which writeTable() knows where each begins.
    std::uint64_t uidBytes() const { return 1 + uidSize_; }
    std::uint64_t recordBytes() const { return 1 + std::uint64_t{6} * referenceSize_; }
    static constexpr std::uint64_t realBytes = 9;

    Status writeRecord(std::uint64_t i, const Record& record)
    {
        scratch_.clear();
        appendUid(scratch_, recordPlace(i));
        appendHead(scratch_, dictionary, 3);
        for (std::uint64_t reference :
             {std::uint64_t{nameKey}, std::uint64_t{modKey}, std::uint64_t{classKey}, recordReference(i, nameUid),
              recordReference(i, mod), std::uint64_t{recordClassUid}})
            appendNumber(scratch_, reference, referenceSize_);
        appendUid(scratch_, namePlace(i));
        scratch_ += static_cast<char>(real | 3);
        appendNumber(scratch_, std::bit_cast<std::uint64_t>(record.mod), 8);
        if (!std::isfinite(record.mod)) return failure("KeyedArchive", 3, "a number that is not finite");
        if (!appendText(scratch_, record.name)) return failure("KeyedArchive", 3, "a name that is not UTF-8");
        putObject(scratch_);
        return written_;
    }

    Status writeTable()
    {
        auto table = position_;
        auto offsetSize = bytesFor(table);
        std::string bytes;
        for (std::uint64_t i = 0; i < offsets_.size(); ++i) {
            bytes.clear();
            auto offset = offsets_[i];
            appendNumber(bytes, offset, offsetSize);
            if (i >= fixedCount)
                for (auto size : {uidBytes(), recordBytes(), uidBytes(), realBytes})
                    appendNumber(bytes, offset += size, offsetSize);
            put(bytes);
        }
        bytes.assign(6, '\0');
        appendNumber(bytes, offsetSize, 1);
        appendNumber(bytes, referenceSize_, 1);
        for (std::uint64_t value : {recordReference(count_, recordUid), std::uint64_t{top}, table})
            appendNumber(bytes, value, 8);
        put(bytes);
        return written_;
    }

    fs::DurableReplacement& file_;
    std::string_view className_;
    std::uint64_t count_;
    unsigned uidSize_;
    unsigned referenceSize_;
    std::uint64_t position_ = 0;
    std::vector<std::uint64_t> offsets_; // of the fixed objects and of the first object of each record
    std::string scratch_;
    Status written_;
};

} // namespace

Status write(const std::string& path, std::string_view className, std::size_t count,
             const std::function<bool(Record&)>& next)
{
    auto file = fs::DurableReplacement::begin(path);
    if (!file) return failure(std::move(file.error()));
    auto written = Writer(*file, className, count).run(next);
    if (written) written = file->commit();
    if (!written && written.error().domain == "KeyedArchive")
        written.error().userInfo[Error::descriptionKey].insert(0, path + ": ");
    return written;
}

} // namespace tidemark::KeyedArchive
