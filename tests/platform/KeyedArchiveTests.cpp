#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <plist/plist.h>

#include <bit>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "TempFolder.h"
#include "platform/KeyedArchive.h"

using namespace tidemark;
using testing::ElementsAre;
using testing::Pair;

namespace {

using Records = std::vector<std::pair<std::string, double>>;

class KeyedArchiveTest : public testing::Test
{
protected:
    Status write(const Records& records, std::size_t announced)
    {
        std::size_t i = 0;
        return KeyedArchive::write(folder_.path("a.psi"), "BXSyncFileData", announced, [&](KeyedArchive::Record& r) {
            if (i == records.size()) return false;
            r = {records[i].first, records[i].second};
            ++i;
            return true;
        });
    }

    Status write(const Records& records) { return write(records, records.size()); }

    /// What was taken until the end or the error.
    Records read(Status* status = nullptr)
    {
        Records taken;
        auto result = KeyedArchive::read(
            folder_.path("a.psi"), [&](const KeyedArchive::Record& r) { taken.emplace_back(r.name, r.mod); },
            "BXSyncFileData");
        if (status)
            *status = result;
        else
            EXPECT_TRUE(result) << result.error().description();
        return taken;
    }

    Records readDocument(const std::string& document)
    {
        folder_.write("a.psi", document);
        return read();
    }

    bool refuses(const std::string& document)
    {
        folder_.write("a.psi", document);
        Status status;
        read(&status);
        return !status && status.error().domain == "KeyedArchive" &&
               status.error().description().find(folder_.path("a.psi")) != std::string::npos;
    }

    test::TempFolder folder_;
};

const Records sample{{"/", 0.0},
                     {"/folder", 1700000000.25},
                     {"/folder/\xC3\xA9t\xC3\xA9 \xF0\x9F\x8C\x8A.txt", -1.5},
                     {"/a name of more than fifteen characters", 1e9}};

// --- an independent writer -------------------------------------------------------------------------------------------

plist_t dictionary(std::initializer_list<std::pair<const char*, plist_t>> items)
{
    auto node = plist_new_dict();
    for (auto [key, item] : items)
        plist_dict_set_item(node, key, item);
    return node;
}

plist_t array(std::initializer_list<plist_t> items)
{
    auto node = plist_new_array();
    for (auto item : items)
        plist_array_append_item(node, item);
    return node;
}

plist_t text(const char* value)
{
    return plist_new_string(value);
}
plist_t uid(std::uint64_t value)
{
    return plist_new_uid(value);
}

plist_t archiveOf(plist_t objects, std::uint64_t root)
{
    return dictionary({{"$version", plist_new_uint(100000)},
                       {"$archiver", text("NSKeyedArchiver")},
                       {"$top", dictionary({{"root", uid(root)}})},
                       {"$objects", objects}});
}

plist_t classOf(std::initializer_list<const char*> chain)
{
    auto names = plist_new_array();
    for (auto name : chain)
        plist_array_append_item(names, text(name));
    return dictionary({{"$classname", text(*chain.begin())}, {"$classes", names}});
}

std::string binary(plist_t root)
{
    std::unique_ptr<void, decltype(&plist_free)> owner(root, &plist_free);
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(root, &bytes, &length);
    std::string document(bytes, length);
    plist_to_bin_free(bytes);
    return document;
}

// --- a writer of any frame -------------------------------------------------------------------------------------------

/// Lays objects out with the given sizes of offsets and references.
class Frame
{
public:
    Frame(unsigned offsetSize, unsigned referenceSize) : offsetSize_(offsetSize), referenceSize_(referenceSize) {}

    std::uint64_t add(std::string object)
    {
        objects_.push_back(std::move(object));
        return objects_.size() - 1;
    }
    std::uint64_t text(const std::string& ascii) { return add(head(0x50, ascii.size()) + ascii); }
    std::uint64_t uid(std::uint64_t value, unsigned size = 1)
    {
        return add(static_cast<char>(0x80 | (size - 1)) + number(value, size));
    }
    std::uint64_t integer(std::uint64_t value, unsigned log2)
    {
        return add(head(0x10, log2) + number(value, 1u << log2));
    }
    std::uint64_t array(const std::vector<std::uint64_t>& items) { return add(head(0xa0, items.size()) + all(items)); }
    std::uint64_t dictionary(const std::vector<std::pair<std::string, std::uint64_t>>& items)
    {
        std::vector<std::uint64_t> references;
        for (const auto& [key, value] : items)
            references.push_back(text(key));
        for (const auto& [key, value] : items)
            references.push_back(value);
        return add(head(0xd0, items.size()) + all(references));
    }

    std::string document(std::uint64_t root) const
    {
        std::string bytes = "bplist00";
        std::string table;
        for (const auto& object : objects_) {
            table += number(bytes.size(), offsetSize_);
            bytes += object;
        }
        auto tableOffset = bytes.size();
        return bytes + table + std::string(6, '\0') + number(offsetSize_, 1) + number(referenceSize_, 1) +
               number(objects_.size(), 8) + number(root, 8) + number(tableOffset, 8);
    }

    static std::string number(std::uint64_t value, unsigned size)
    {
        std::string bytes;
        for (unsigned i = size; i > 0; --i)
            bytes += static_cast<char>(value >> (i - 1) * 8);
        return bytes;
    }

private:
    static std::string head(unsigned kind, std::size_t count)
    {
        if (count < 15) return {static_cast<char>(kind | count)};
        return std::string{static_cast<char>(kind | 15), 0x11} + number(count, 2);
    }
    std::string all(const std::vector<std::uint64_t>& references) const
    {
        std::string bytes;
        for (auto reference : references)
            bytes += number(reference, referenceSize_);
        return bytes;
    }

    unsigned offsetSize_;
    unsigned referenceSize_;
    std::vector<std::string> objects_;
};

struct Variant
{
    std::vector<std::uint64_t> items{2};
    std::uint64_t name = 3;
    std::string mod = std::string(1, 0x22) + Frame::number(std::bit_cast<std::uint32_t>(1.5f), 4);
    std::string nameObject = std::string(1, 0x51) + "x";
    std::string recordClass = "BXSyncFileData";
    std::string arrayClass = "NSMutableArray";
    unsigned uidSize = 1;
};

/// "$null", the array, one record, its name, the class of records, the class of the array.
std::string oneRecord(const Variant& variant, unsigned offsetSize = 2, unsigned referenceSize = 1)
{
    Frame frame(offsetSize, referenceSize);
    std::vector<std::uint64_t> items;
    for (auto item : variant.items)
        items.push_back(frame.uid(item, variant.uidSize));
    auto root = frame.dictionary({{"$class", frame.uid(5)}, {"NS.objects", frame.array(items)}});
    auto record = frame.dictionary({{"mod", frame.add(variant.mod)},
                                    {"$class", frame.uid(4)},
                                    {"name", frame.uid(variant.name, variant.uidSize)}});
    auto recordClass = frame.dictionary({{"$classes", frame.array({frame.text(variant.recordClass)})}});
    auto arrayClass =
        frame.dictionary({{"$classes", frame.array({frame.text(variant.arrayClass), frame.text("NSArray")})}});
    auto objects =
        frame.array({frame.text("$null"), root, record, frame.add(variant.nameObject), recordClass, arrayClass});
    auto top = frame.dictionary({{"$version", frame.integer(100000, 2)},
                                 {"$objects", objects},
                                 {"$archiver", frame.text("NSKeyedArchiver")},
                                 {"$top", frame.dictionary({{"root", frame.uid(1, variant.uidSize)}})}});
    return frame.document(top);
}

} // namespace

TEST_F(KeyedArchiveTest, WhatIsWrittenIsRead)
{
    ASSERT_TRUE(write(sample));
    EXPECT_EQ(read(), sample);
    ASSERT_TRUE(write({}));
    EXPECT_EQ(read(), Records{});
    Records many;
    for (int i = 0; i < 40000; ++i)
        many.emplace_back("/" + std::to_string(i), i);
    ASSERT_TRUE(write(many));
    EXPECT_EQ(read(), many);
}

TEST_F(KeyedArchiveTest, AnIndependentReaderFindsTheArchive)
{
    ASSERT_TRUE(write({{"/\xC3\xA9", 2.5}, {"/b", 3}}));
    auto document = folder_.read("a.psi");
    plist_t found = nullptr;
    plist_from_bin(document.data(), static_cast<std::uint32_t>(document.size()), &found);
    auto expected = archiveOf(
        array({text("$null"), dictionary({{"NS.objects", array({uid(2), uid(4)})}, {"$class", uid(7)}}),
               dictionary({{"name", uid(3)}, {"mod", plist_new_real(2.5)}, {"$class", uid(6)}}), text("/\xC3\xA9"),
               dictionary({{"name", uid(5)}, {"mod", plist_new_real(3)}, {"$class", uid(6)}}), text("/b"),
               classOf({"BXSyncFileData", "NSObject"}), classOf({"NSArray", "NSObject"})}),
        1);
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(binary(found), binary(expected));
}

TEST_F(KeyedArchiveTest, ArchivesOfAnotherWriterAreRead)
{
    // Classes first, records behind their names, one name used twice, keys and objects that mean nothing here.
    auto document = binary(archiveOf(
        array({text("$null"), classOf({"NSMutableArray", "NSArray", "NSObject"}),
               classOf({"Special", "BXSyncFileData", "NSObject"}), text("/shared"), text("/\xC3\xBC"),
               dictionary({{"name", uid(3)}, {"mod", plist_new_uint(7)}, {"$class", uid(2)}, {"when", uid(8)}}),
               dictionary({{"$class", uid(2)}, {"mod", plist_new_real(0.1)}, {"name", uid(4)}}),
               dictionary({{"mod", plist_new_real(9)}, {"name", uid(3)}, {"$class", uid(2)}}),
               dictionary({{"NS.time", plist_new_date(1, 2)}}),
               dictionary({{"$class", uid(1)}, {"NS.objects", array({uid(6), uid(5), uid(7)})}})}),
        9));
    EXPECT_THAT(readDocument(document), ElementsAre(Pair("/\xC3\xBC", 0.1), Pair("/shared", 7), Pair("/shared", 9)));
}

TEST_F(KeyedArchiveTest, AllSizesOfOffsetsAndReferencesAreRead)
{
    for (unsigned size = 1; size <= 8; ++size) {
        Variant variant;
        variant.uidSize = size;
        EXPECT_THAT(readDocument(oneRecord(variant, std::max(size, 2u), size)), ElementsAre(Pair("x", 1.5))) << size;
    }
}

TEST_F(KeyedArchiveTest, NumbersAndTextsOfAllFormsAreRead)
{
    Variant variant;
    for (unsigned log2 = 0; log2 <= 4; ++log2) {
        variant.mod = static_cast<char>(0x10 | log2) + Frame::number(0, log2 == 4 ? 8 : 0) +
                      Frame::number(100, std::min(1u << log2, 8u));
        EXPECT_THAT(readDocument(oneRecord(variant)), ElementsAre(Pair("x", 100)));
    }
    variant.mod = std::string(1, 0x13) + std::string(8, '\xff');
    variant.nameObject = std::string("\x63\0/\xd8\x3c\xdf\x0a", 7);
    EXPECT_THAT(readDocument(oneRecord(variant)), ElementsAre(Pair("/\xF0\x9F\x8C\x8A", -1)));
}

TEST_F(KeyedArchiveTest, DocumentsThatMeanSomethingElseAreRefused)
{
    auto changed = [](auto change) {
        Variant variant;
        change(variant);
        return oneRecord(variant);
    };
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.items = {2, 2}; }))) << "twice";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.items = {1}; }))) << "circle";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.items = {0}; }))) << "no record";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.items = {6}; }))) << "missing record";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.name = 6; }))) << "missing name";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.name = 1; }))) << "name is no text";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.mod = v.nameObject; }))) << "time is no number";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.mod = "\x23\x7f\xf8" + std::string(6, '\0'); }))) << "NaN";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.nameObject = "\x51\xe9"; }))) << "not ASCII";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.nameObject = "\x61\xd8\x3c"; }))) << "half a pair";
    EXPECT_TRUE(refuses(changed([](Variant& v) { v.recordClass = "Other"; }))) << "another class";
    EXPECT_TRUE(refuses("")) << "empty";
    EXPECT_TRUE(refuses(binary(dictionary({{"name", text("x")}})))) << "another property list";
    EXPECT_FALSE(refuses(oneRecord({})));
}

TEST_F(KeyedArchiveTest, EveryTruncationIsAnError)
{
    ASSERT_TRUE(write(sample));
    auto document = folder_.read("a.psi");
    for (std::size_t length = 0; length < document.size(); ++length)
        EXPECT_TRUE(refuses(document.substr(0, length))) << length;
    EXPECT_TRUE(refuses(document + '\0'));
}

TEST_F(KeyedArchiveTest, AlteredBytesNeverGiveAShorterList)
{
    ASSERT_TRUE(write(sample));
    auto document = folder_.read("a.psi");
    std::mt19937 random(20240229);
    for (std::size_t position = 0; position < document.size(); ++position) {
        for (int round = 0; round < 12; ++round) {
            auto altered = document;
            altered[position] = static_cast<char>(round < 8 ? altered[position] ^ 1 << round : random());
            folder_.write("a.psi", altered);
            Status status;
            auto taken = read(&status);
            if (status)
                EXPECT_EQ(taken.size(), sample.size()) << position;
            else
                EXPECT_EQ(status.error().domain, "KeyedArchive");
        }
    }
}

TEST_F(KeyedArchiveTest, AFailedWriteLeavesTheOldFile)
{
    ASSERT_TRUE(write(sample));
    EXPECT_FALSE(write(sample, sample.size() - 1));
    EXPECT_FALSE(write(sample, sample.size() + 1));
    EXPECT_FALSE(write({{"\xff", 1}}));
    auto refused = write({{"x", std::numeric_limits<double>::quiet_NaN()}});
    EXPECT_NE(refused.error().description().find(folder_.path("a.psi")), std::string::npos);
    EXPECT_EQ(read(), sample);
    EXPECT_EQ(folder_.entryCount(), 1u);
}

TEST_F(KeyedArchiveTest, AFileThatCannotBeOpenedIsAnErrorOfTheSystem)
{
    Status status;
    EXPECT_EQ(read(&status), Records{});
    EXPECT_EQ(status.error().domain, "POSIX");
    EXPECT_NE(status.error().description().find("a.psi"), std::string::npos);
}
