#include "app/qt/settings/DraftPage.h"

#include <algorithm>

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

constexpr int fieldWidthInCharacters = 40;

QLabel* makeNote()
{
    auto* note = new QLabel;
    note->setTextFormat(Qt::PlainText);
    note->setWordWrap(true);
    return note;
}

} // namespace

DraftPage::DraftPage(QWidget* parent) : QWidget(parent), form_(new QFormLayout(this))
{
    form_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form_->setRowWrapPolicy(QFormLayout::WrapLongRows);
}

QString DraftPage::textOf(const char* key)
{
    return text("Settings", key);
}

void DraftPage::addRow(const char* labelKey, QWidget* widget)
{
    form_->addRow(textOf(labelKey), widget);
    widget->setAccessibleName(textOf(labelKey).remove('&'));
}

void DraftPage::addRow(const char* labelKey, QWidget* widget, Field field)
{
    addRow(labelKey, widget);
    auto* problem = makeNote();
    auto font = problem->font();
    font.setBold(true);
    problem->setFont(font);
    problem->hide();
    form_->addRow(QString(), problem);
    rows_[field] = {widget, problem};
}

void DraftPage::addWide(QWidget* widget)
{
    form_->addRow(QString(), widget);
}

QLabel* DraftPage::addHint(const QString& content)
{
    auto* hint = makeNote();
    hint->setText(content);
    form_->addRow(QString(), hint);
    return hint;
}

QLineEdit* DraftPage::makeText()
{
    auto* field = new QLineEdit;
    field->setMinimumWidth(field->fontMetrics().averageCharWidth() * fieldWidthInCharacters);
    connect(field, &QLineEdit::textEdited, this, &DraftPage::changed);
    return field;
}

QLineEdit* DraftPage::makeSecret()
{
    auto* field = makeText();
    field->setEchoMode(QLineEdit::Password);
    return field;
}

bool DraftPage::showProblems(const std::vector<ConfigurationDraft::Problem>& problems)
{
    bool isFirst = true;
    for (const auto& [field, row] : rows_) {
        const auto found = std::ranges::find(problems, field, &ConfigurationDraft::Problem::field);
        row.problem->setVisible(found != problems.end());
        if (found == problems.end()) continue;
        row.problem->setText(text("Settings", found->key));
        row.widget->setAccessibleDescription(row.problem->text());
        if (isFirst) row.widget->setFocus();
        isFirst = false;
    }
    return !isFirst;
}

} // namespace tidemark::qt
