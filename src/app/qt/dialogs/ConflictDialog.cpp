#include "app/qt/dialogs/ConflictDialog.h"

#include <QDateTime>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QVBoxLayout>

#include "app/qt/ReadingOrder.h"
#include "app/qt/Texts.h"
#include "app/qt/dialogs/QuestionParts.h"
#include "platform/Unicode.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Dialogs";
/// Newer, this side, that side, cancel.
constexpr std::size_t buttonCount = 4;
constexpr int sideCharacters = 36;
constexpr std::int64_t kibibyte = 1024;

/// Where one side's particulars are among those of the question.
struct SideKeys
{
    const char* titleKey;
    const char* place;
    const char* name;
    const char* size;
    const char* date;
};
constexpr SideKeys localSide{"CONFLICT_LOCAL", "local", BXSyncConfirmInfo::localNameKey,
                             BXSyncConfirmInfo::localSizeKey, BXSyncConfirmInfo::localDateKey};
constexpr SideKeys serverSide{"CONFLICT_SERVER", "server", BXSyncConfirmInfo::serverNameKey,
                              BXSyncConfirmInfo::serverSizeKey, BXSyncConfirmInfo::serverDateKey};

template <class T>
const T* valueOf(const BXSyncConfirmInfo& info, const char* key)
{
    const auto found = info.otherInfo.find(key);
    return found == info.otherInfo.end() ? nullptr : found->second.get<T>();
}

bool isPlace(const BXSyncConfirmInfo& info, const char* key, const char* place)
{
    const auto* named = valueOf<std::string>(info, key);
    return named && *named == place;
}

QString dateText(const BXSyncConfirmInfo& info, const SideKeys& side)
{
    const auto* time = valueOf<dates::Time>(info, side.date);
    if (!time || dates::toSeconds(*time) <= 0) return text(table, "CONFLICT_NO_DATE");
    const auto moment = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(dates::toSeconds(*time) * 1000));
    return QLocale().toString(moment, QLocale::LongFormat);
}

/// Exact, as both sides may differ by a few bytes only.
QString sizeText(std::int64_t size)
{
    const auto rounded = QLocale().formattedDataSize(size, 1, QLocale::DataSizeIecFormat);
    if (size < kibibyte) return rounded;
    return text(table, "CONFLICT_BYTES",
                {{"size", toUtf8(rounded)}, {"bytes", toUtf8(QLocale().toString(qlonglong(size)))}});
}

/// Name, size and date, as far as they are known.
QStringList particulars(const BXSyncConfirmInfo& info, const SideKeys& side)
{
    QStringList lines;
    if (const auto* name = valueOf<std::string>(info, side.name); name && !name->empty())
        lines.append(leftToRight(breakable(fromUtf8(escapeControls(*name)))));
    if (isPlace(info, BXSyncConfirmInfo::missingPlaceKey, side.place)) return lines << text(table, "CONFLICT_GONE");
    if (const auto* size = valueOf<std::int64_t>(info, side.size)) lines.append(sizeText(*size));
    return lines << dateText(info, side);
}

QLabel* makeLine(const QString& content)
{
    auto* line = new QLabel(content);
    line->setTextFormat(Qt::PlainText);
    line->setWordWrap(true);
    line->setMinimumWidth(line->fontMetrics().averageCharWidth() * sideCharacters);
    return line;
}

QWidget* makeSide(const BXSyncConfirmInfo& info, const SideKeys& side)
{
    const bool isNewer = isPlace(info, BXSyncConfirmInfo::recentPlaceKey, side.place) &&
                         !isPlace(info, BXSyncConfirmInfo::missingPlaceKey, side.place);
    const auto name = text(table, side.titleKey);
    auto* heading = makeLine(isNewer ? text(table, "CONFLICT_NEWER", {{"side", toUtf8(name)}}) : name);
    auto font = heading->font();
    font.setBold(isNewer);
    heading->setFont(font);
    const auto lines = particulars(info, side);
    auto* frame = new QFrame;
    frame->setFrameShape(QFrame::StyledPanel);
    auto* layout = new QVBoxLayout(frame);
    layout->addWidget(heading);
    for (const auto& line : lines)
        layout->addWidget(makeLine(line));
    layout->addStretch();
    frame->setAccessibleName(heading->text() + ": " + lines.join(", "));
    return frame;
}

} // namespace

ConflictDialog::ConflictDialog(const BXSyncConfirmInfo& info, QWidget* parent)
    : QuestionDialog(BXSyncMessageBoxModel("CONFLICT", info, buttonCount), QStyle::SP_MessageBoxQuestion, parent)
{
    setWindowTitle(text(table, "CONFLICT_TITLE"));
    auto* sides = new QWidget;
    auto* row = new QHBoxLayout(sides);
    row->setContentsMargins({});
    row->addWidget(makeSide(info, localSide));
    row->addWidget(makeSide(info, serverSide));
    addContent(sides);
}

} // namespace tidemark::qt
