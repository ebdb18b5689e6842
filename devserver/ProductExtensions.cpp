#include "devserver/ProductExtensions.h"

#include "devserver/Crypto.h"
#include "devserver/HttpDate.h"
#include "devserver/Ranges.h"
#include "devserver/Text.h"

#include <algorithm>
#include <array>

namespace devserver {

namespace {

const PropertyName creationDateName{std::string(internalNamespace), "creationdate"};

std::string md5OfRange(const std::filesystem::path& path, const ByteRange& range)
{
    const File file = File::openForReading(path);
    Md5 digest;
    std::array<char, 65536> buffer{};
    for (std::uint64_t done = 0; done < range.length;) {
        const auto wanted = std::min<std::uint64_t>(buffer.size(), range.length - done);
        const std::size_t size = file.readAt(std::span(buffer).first(wanted), range.first + done);
        if (size == 0) break;
        digest.update({buffer.data(), size});
        done += size;
    }
    return digest.finishHex();
}

void setUnlessEmpty(Response& response, std::string_view name, std::string value)
{
    if (!value.empty()) response.set(name, std::move(value));
}

} // namespace

void ProductExtensions::announce(Response& response, std::string_view user) const
{
    if (!site_.product()) return;
    const ProductOptions& product = site_.options.product;
    setUnlessEmpty(response, "X-BX-Marlock-Version", product.version);
    setUnlessEmpty(response, "X-BX-Primary", percentEncoded(product.primary));
    setUnlessEmpty(response, "X-BX-User", percentEncoded(product.user.empty() ? user : product.user));
    setUnlessEmpty(response, "X-BX-Platform", product.platform);
    setUnlessEmpty(response, "X-BX-CryptoFile-Enable", product.cryptoFile);
    if (product.readonlyEnable) response.set("X-BX-Readonly-Enable", "1");
}

void ProductExtensions::setCookies(const Request& request, Response& response) const
{
    if (!site_.product() || request.header("Cookie")) return;
    const auto& cookies = site_.options.product.cookies;
    for (const auto& cookie : cookies)
        response.headers.emplace_back("Set-Cookie", cookie);
    if (cookies.empty())
        response.headers.emplace_back("Set-Cookie", "MARLOCKSESSION=" + randomHex(16) + "; Path=" + site_.tree.mount());
}

void ProductExtensions::addCreationDate(const Resource& resource, Response& response) const
{
    if (!site_.product() || !resource.status) return;
    const PropertyMap properties = site_.properties.of(resource.file);
    const auto stored = properties.find(creationDateName);
    response.set("X-BX-CreationDate", stored == properties.end() ? isoDate(resource.status->created) : stored->second);
}

void ProductExtensions::answerProbe(const Request& request, const Resource& resource, Response& response) const
{
    const auto header = request.header("X-BX-Partial-MD5");
    if (!site_.product() || !header || !resource.status || resource.isFolder()) return;
    auto range = parseClosedRange(*header);
    if (!range || range->first >= resource.status->size) return;
    const auto asked = range->length;
    range->length = std::min(asked, resource.status->size - range->first);
    range->length = std::min(range->length, site_.options.product.probeLimit.value_or(UINT64_MAX));
    response.set("X-BX-Partial-MD5", md5OfRange(resource.file, *range));
    if (range->length < asked) response.set("X-BX-Partial-Length", std::to_string(range->length));
}

void ProductExtensions::applyDates(const Request& request, PartialFile& file) const
{
    if (!site_.product()) return;
    if (const auto created = parseHttpDate(request.header("X-BX-CreationDate").value_or("")))
        site_.properties.change(file.path(), {{creationDateName, isoDate(*created)}});
    if (const auto modified = parseHttpDate(request.header("X-BX-LastModified").value_or("")))
        file.setModified(*modified);
}

} // namespace devserver
