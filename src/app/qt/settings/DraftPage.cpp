#include "app/qt/settings/DraftPage.h"

#include <QCheckBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/settings/FieldNote.h"
#include "app/qt/settings/WrappedText.h"

namespace tidemark::qt {

namespace {

constexpr int fieldWidthInCharacters = 40;
constexpr int numberWidthInCharacters = 12;

} // namespace

DraftPage::DraftPage(QWidget* parent, bool fillsHeight) : QWidget(parent), form_(new QFormLayout)
{
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form_);
    if (!fillsHeight) layout->addStretch(1);
    form_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form_->setRowWrapPolicy(QFormLayout::WrapLongRows);
}

QString DraftPage::textOf(const char* key)
{
    return text("Settings", key);
}

void DraftPage::addRow(const char* labelKey, QWidget* control, QWidget* row)
{
    auto* label = new QLabel(textOf(labelKey));
    label->setBuddy(control);
    control->setAccessibleName(textOf(labelKey).remove('&'));
    form_->addRow(label, row ? row : control);
}

void DraftPage::addNote(QLineEdit* control, Field field, QLineEdit* partner)
{
    addWide(notes_.make(control, field, partner));
}

void DraftPage::clearNotes(std::initializer_list<Field> fields)
{
    for (const auto field : fields)
        notes_.clear(field);
}

void DraftPage::addWide(QWidget* widget)
{
    form_->addRow(QString(), widget);
}

QLabel* DraftPage::addHint(const QString& content)
{
    auto* hint = new WrappedText(content);
    form_->addRow(QString(), hint);
    return hint;
}

QCheckBox* DraftPage::makeSwitch(const char* key)
{
    auto* box = new QCheckBox(textOf(key));
    connect(box, &QCheckBox::clicked, this, &DraftPage::changed);
    return box;
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

QLineEdit* DraftPage::makeNumber()
{
    auto* field = makeText();
    field->setMinimumWidth(0);
    field->setMaximumWidth(field->fontMetrics().averageCharWidth() * numberWidthInCharacters);
    return field;
}

QWidget* DraftPage::showProblems(const std::vector<ConfigurationDraft::Problem>& problems)
{
    return notes_.show(problems);
}

} // namespace tidemark::qt
