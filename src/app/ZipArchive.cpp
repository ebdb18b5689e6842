#include "app/ZipArchive.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <memory>

#include <zip.h>

namespace tidemark::zip {

namespace {

tl::unexpected<Error> zipFailure(const std::string& path, const char* text)
{
    return failure("Zip", -1, path + ": " + text);
}

/// The content of one entry as the library asks for it; owned by the library's source.
class Content
{
public:
    Content(std::function<PieceSource()> open, const std::function<bool()>& cancelled)
        : open_(std::move(open)), cancelled_(cancelled)
    {
        zip_error_init(&error_);
    }

    static zip_int64_t answer(void* self, void* data, zip_uint64_t length, zip_source_cmd_t command)
    {
        return static_cast<Content*>(self)->handle(data, length, command);
    }

private:
    zip_int64_t handle(void* data, zip_uint64_t length, zip_source_cmd_t command)
    {
        switch (command) {
        case ZIP_SOURCE_OPEN:
            next_ = open_();
            piece_.clear();
            return 0;
        case ZIP_SOURCE_READ:
            return read(static_cast<char*>(data), static_cast<std::size_t>(length));
        case ZIP_SOURCE_CLOSE:
            next_ = {};
            return 0;
        case ZIP_SOURCE_STAT:
            return stat(static_cast<zip_stat_t*>(data));
        case ZIP_SOURCE_ERROR:
            return zip_error_to_data(&error_, data, length);
        case ZIP_SOURCE_FREE:
            delete this;
            return 0;
        case ZIP_SOURCE_SUPPORTS:
            return zip_source_make_command_bitmap(ZIP_SOURCE_OPEN, ZIP_SOURCE_READ, ZIP_SOURCE_CLOSE, ZIP_SOURCE_STAT,
                                                  ZIP_SOURCE_ERROR, ZIP_SOURCE_FREE, -1);
        default:
            zip_error_set(&error_, ZIP_ER_OPNOTSUPP, 0);
            return -1;
        }
    }

    zip_int64_t read(char* data, std::size_t length)
    {
        if (cancelled_ && cancelled_()) {
            zip_error_set(&error_, ZIP_ER_CANCELLED, 0);
            return -1;
        }
        while (piece_.empty()) {
            auto piece = next_();
            if (!piece) return 0;
            piece_ = std::move(*piece);
        }
        const auto count = std::min(length, piece_.size());
        std::memcpy(data, piece_.data(), count);
        piece_.erase(0, count);
        return static_cast<zip_int64_t>(count);
    }

    static zip_int64_t stat(zip_stat_t* stat)
    {
        zip_stat_init(stat);
        stat->mtime = std::time(nullptr);
        stat->valid = ZIP_STAT_MTIME;
        return sizeof(*stat);
    }

    const std::function<PieceSource()> open_;
    const std::function<bool()> cancelled_;
    zip_error_t error_;
    PieceSource next_;
    std::string piece_;
};

struct Discard
{
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
using Archive = std::unique_ptr<zip_t, Discard>;

bool add(zip_t* archive, const Entry& entry, const std::function<bool()>& cancelled)
{
    auto content = std::make_unique<Content>(entry.open, cancelled);
    auto* source = zip_source_function(archive, &Content::answer, content.get());
    if (!source) return false;
    (void)content.release();
    if (zip_file_add(archive, entry.name.c_str(), source, ZIP_FL_ENC_UTF_8) >= 0) return true;
    zip_source_free(source);
    return false;
}

} // namespace

Status writeArchive(const std::string& path, const std::vector<Entry>& entries, const std::function<bool()>& cancelled)
{
    int code = 0;
    Archive archive(zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &code));
    if (!archive) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        auto result = zipFailure(path, zip_error_strerror(&error));
        zip_error_fini(&error);
        return result;
    }
    for (const auto& entry : entries)
        if (!add(archive.get(), entry, cancelled)) return zipFailure(path, zip_strerror(archive.get()));
    if (zip_close(archive.get()) != 0) return zipFailure(path, zip_strerror(archive.get()));
    (void)archive.release();
    return {};
}

} // namespace tidemark::zip
