#include "app/qt/dialogs/ConflictDialog.h"

#include <QDateTime>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QVBoxLayout>

#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Dialogs";
/// Newer, this side, that side, cancel.
constexpr std::size_t buttonCount = 4;

QString dateOf(const BXSyncConfirmInfo& info, const char* key)
{
    const auto found = info.otherInfo.find(key);
    const auto* time = found == info.otherInfo.end() ? nullptr : found->second.get<dates::Time>();
    if (!time) return text(table, "CONFLICT_NO_DATE");
    const auto moment = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(dates::toSeconds(*time) * 1000));
    return QLocale().toString(moment, QLocale::LongFormat);
}

QWidget* makeSide(const QString& name, const QString& date, bool isNewer)
{
    auto* side = new QFrame;
    side->setFrameShape(QFrame::StyledPanel);
    auto* heading = new QLabel(isNewer ? text(table, "CONFLICT_NEWER", {{"side", toUtf8(name)}}) : name);
    auto font = heading->font();
    font.setBold(isNewer);
    heading->setFont(font);
    auto* layout = new QVBoxLayout(side);
    layout->addWidget(heading);
    layout->addWidget(new QLabel(date));
    side->setAccessibleName(heading->text() + ": " + date);
    return side;
}

} // namespace

ConflictDialog::ConflictDialog(const BXSyncConfirmInfo& info, QWidget* parent)
    : QuestionDialog(BXSyncMessageBoxModel("CONFLICT", info, buttonCount), QStyle::SP_MessageBoxQuestion, parent)
{
    setWindowTitle(text(table, "CONFLICT_TITLE"));
    const auto recent = info.otherInfo.find(BXSyncConfirmInfo::recentPlaceKey);
    const bool isServerNewer = recent != info.otherInfo.end() && recent->second.stringValue() == "server";
    auto* sides = new QWidget;
    auto* row = new QHBoxLayout(sides);
    row->setContentsMargins({});
    row->addWidget(
        makeSide(text(table, "CONFLICT_LOCAL"), dateOf(info, BXSyncConfirmInfo::localDateKey), !isServerNewer));
    row->addWidget(
        makeSide(text(table, "CONFLICT_SERVER"), dateOf(info, BXSyncConfirmInfo::serverDateKey), isServerNewer));
    addContent(sides);
}

} // namespace tidemark::qt
