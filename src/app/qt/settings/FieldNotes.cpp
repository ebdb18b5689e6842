#include "app/qt/settings/FieldNotes.h"

#include <algorithm>

#include <QLineEdit>

#include "app/qt/Texts.h"
#include "app/qt/settings/FieldNote.h"

namespace tidemark::qt {

FieldNote* FieldNotes::make(QLineEdit* control, Field field)
{
    auto* note = new FieldNote(control);
    QObject::connect(control, &QLineEdit::textChanged, note, [note] { note->setFault({}); });
    checked_[field] = {control, note};
    return note;
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
