#include "app/qt/dialogs/ConflictDialog.h"

#include <QCheckBox>
#include <QDateTime>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/ModalQuestion.h"

namespace tidemark::qt {

namespace {

constexpr const char* table = "Dialogs";
constexpr const char* resources = "TidemarkResource";
constexpr const char* cancelTitle = "CANCEL";

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
    auto* when = new QLabel(date);
    auto* layout = new QVBoxLayout(side);
    layout->addWidget(heading);
    layout->addWidget(when);
    side->setAccessibleName(heading->text() + ": " + date);
    return side;
}

} // namespace

ConflictDialog::ConflictDialog(BXSyncConfirmInfo info, QWidget* parent) : QDialog(parent), info_(std::move(info))
{
    for (const auto& choice : info_.choices)
        if (choice.title == cancelTitle) code_ = choice.returnCode;
    setWindowTitle(text(table, "CONFLICT_TITLE"));
    auto* question = new QLabel(text(resources, info_.message, info_.replaceStrings));
    question->setTextFormat(Qt::PlainText);
    question->setWordWrap(true);
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(question);
    layout->addLayout(makeSides());
    if (info_.askPersistence) {
        persistence_ = new QCheckBox(text(resources, "PERSISTENCE"));
        layout->addWidget(persistence_);
    }
    layout->addLayout(makeButtons());
}

QBoxLayout* ConflictDialog::makeSides()
{
    const auto recent = info_.otherInfo.find(BXSyncConfirmInfo::recentPlaceKey);
    const bool isServerNewer = recent != info_.otherInfo.end() && recent->second.stringValue() == "server";
    auto* sides = new QHBoxLayout;
    sides->addWidget(
        makeSide(text(table, "CONFLICT_LOCAL"), dateOf(info_, BXSyncConfirmInfo::localDateKey), !isServerNewer));
    sides->addWidget(
        makeSide(text(table, "CONFLICT_SERVER"), dateOf(info_, BXSyncConfirmInfo::serverDateKey), isServerNewer));
    return sides;
}

QBoxLayout* ConflictDialog::makeButtons()
{
    auto* row = new QHBoxLayout;
    row->addStretch();
    for (const auto& choice : info_.choices) {
        const bool isCancel = choice.title == cancelTitle;
        auto* button =
            new QPushButton(text(isCancel ? resources : table, isCancel ? choice.title : "KEEP_" + choice.title));
        button->setAutoDefault(false);
        button->setDefault(isCancel);
        connect(button, &QPushButton::clicked, this, [this, code = choice.returnCode] {
            code_ = code;
            accept();
        });
        row->addWidget(button);
    }
    return row;
}

std::optional<BXSyncConfirmResult> ConflictDialog::ask()
{
    ModalQuestion::ask(*this);
    return answer();
}

std::optional<BXSyncConfirmResult> ConflictDialog::answer() const
{
    const bool stands = result() == Accepted && persistence_ && persistence_->isChecked();
    return BXSyncConfirmResult{code_, stands};
}

} // namespace tidemark::qt
