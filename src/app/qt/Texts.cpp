#include "app/qt/Texts.h"

#include "platform/Localization.h"

namespace tidemark::qt {

QString fromUtf8(std::string_view utf8)
{
    return QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
}

std::string toUtf8(const QString& text)
{
    const auto bytes = text.toUtf8();
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

QString text(std::string_view table, std::string_view key)
{
    return fromUtf8(Localization::text(table, key));
}

QString text(std::string_view table, std::string_view key, const ReplaceMap& map)
{
    return fromUtf8(fillPlaceholders(Localization::text(table, key), map));
}

} // namespace tidemark::qt
