#include <optional>
#include <unordered_map>
#include <vector>

#include "platform/BinaryPropertyListView.h"
#include "platform/KeyedArchive.h"
#include "platform/MappedFile.h"

namespace tidemark::KeyedArchive {

namespace {

using View = BinaryPropertyListView;
using Malformed = View::Malformed;

/// Walks from the root object to its records. The way has a fixed length (root, array, record, text or class), so
/// references in a circle end it with an error.
class Reader
{
public:
    Reader(std::span<const std::uint8_t> document, std::string_view className)
        : view_(document), className_(className), taken_(view_.objectCount())
    {
    }

    void run(const std::function<void(const Record&)>& take)
    {
        auto array = openArchive();
        requireClass(array, "NSArray", arrayClasses_);
        auto items = inner(array, "NS.objects");
        if (items.kind != View::Kind::array) throw Malformed{"the root object is no array"};
        for (std::uint64_t i = 0; i < items.count; ++i)
            take(record(view_.at(view_.item(items, i))));
    }

private:
    using KnownClasses = std::unordered_map<View::Reference, bool>;

    /// The root object, after the archive's own table is known.
    View::Object openArchive()
    {
        auto top = view_.at(view_.root());
        if (!view_.isText(inner(top, "$archiver"), "NSKeyedArchiver") || view_.number(inner(top, "$version")) != 100000)
            throw Malformed{"not a keyed archive"};
        objects_ = inner(top, "$objects");
        if (objects_.kind != View::Kind::array) throw Malformed{"the object table is no array"};
        return view_.at(target(inner(inner(top, "$top"), "root")));
    }

    /// What an object reference stands for.
    View::Reference target(const View::Object& uid) const
    {
        auto index = view_.uid(uid);
        if (index >= objects_.count) throw Malformed{"a reference to a missing object"};
        return view_.item(objects_, index);
    }

    std::optional<View::Object> find(const View::Object& dictionary, std::string_view key) const
    {
        if (dictionary.kind != View::Kind::dictionary) throw Malformed{"no keyed object where one should be"};
        for (std::uint64_t i = 0; i < dictionary.count; ++i)
            if (view_.isText(view_.at(view_.item(dictionary, i)), key)) return view_.at(view_.value(dictionary, i));
        return std::nullopt;
    }

    View::Object inner(const View::Object& dictionary, std::string_view key) const
    {
        auto found = find(dictionary, key);
        if (!found) throw Malformed{"a key is missing"};
        return *found;
    }

    Record record(const View::Object& uid)
    {
        auto reference = target(uid);
        // A record that comes twice stands where another one should.
        if (taken_[reference]) throw Malformed{"a record that comes twice"};
        taken_[reference] = true;
        auto object = view_.at(reference);
        requireClass(object, className_, recordClasses_);
        readName(view_.at(target(inner(object, "name"))));
        return {name_, view_.number(inner(object, "mod"))};
    }

    /// Plain, or inside the object that stands for a text of a mutable class.
    void readName(View::Object object)
    {
        if (object.kind == View::Kind::dictionary) object = inner(object, "NS.string");
        if (object.kind == View::Kind::uid) object = view_.at(target(object));
        view_.text(object, name_);
    }

    void requireClass(const View::Object& object, std::string_view wanted, KnownClasses& known)
    {
        auto reference = target(inner(object, "$class"));
        auto found = known.find(reference);
        if (found == known.end()) found = known.emplace(reference, isClass(view_.at(reference), wanted)).first;
        if (!found->second) throw Malformed{"an object of another class"};
    }

    bool isClass(const View::Object& description, std::string_view wanted) const
    {
        auto chain = inner(description, "$classes");
        if (chain.kind != View::Kind::array) throw Malformed{"a class without a chain"};
        if (wanted.empty()) return true;
        for (std::uint64_t i = 0; i < chain.count; ++i)
            if (view_.isText(view_.at(view_.item(chain, i)), wanted)) return true;
        return false;
    }

    View view_;
    std::string_view className_;
    View::Object objects_;
    std::vector<bool> taken_; // by object of the document
    KnownClasses arrayClasses_;
    KnownClasses recordClasses_;
    std::string name_;
};

} // namespace

Status read(const std::string& path, const std::function<void(const Record&)>& take, std::string_view className)
{
    auto file = MappedFile::open(path);
    if (!file) return failure(std::move(file.error()));
    try {
        Reader(file->bytes(), className).run(take);
        return {};
    } catch (const Malformed& malformed) {
        return failure("KeyedArchive", 1, path + ": damaged or of another kind: " + malformed.why);
    }
}

} // namespace tidemark::KeyedArchive
