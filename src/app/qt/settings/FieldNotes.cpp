#include "app/qt/settings/FieldNotes.h"

#include <algorithm>

#include <QLineEdit>

#include "app/qt/Texts.h"
#include "app/qt/settings/FieldNote.h"

namespace tidemark::qt {

FieldNote* FieldNotes::make(QLineEdit* control, Field field, QLineEdit* partner)
{
    auto* note = new FieldNote(control);
    for (auto* typed : {control, partner})
        if (typed) QObject::connect(typed, &QLineEdit::textChanged, note, [note] { note->setFault({}); });
    checked_[field] = {control, note};
    return note;
}

void FieldNotes::clear(Field field) const
{
    checked_.at(field).note->setFault({});
}

QWidget* FieldNotes::show(const std::vector<ConfigurationDraft::Problem>& problems) const
{
    QWidget* first = nullptr;
    for (const auto& [field, checked] : checked_) {
        const auto found = std::ranges::find(problems, field, &ConfigurationDraft::Problem::field);
        const bool isBad = found != problems.end();
        checked.note->setFault(isBad ? text("Settings", found->key) : QString());
        if (isBad && !first) first = checked.control;
    }
    return first;
}

} // namespace tidemark::qt
