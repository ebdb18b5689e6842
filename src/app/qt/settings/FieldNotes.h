#pragma once

#include <map>
#include <vector>

#include "app/ConfigurationDraft.h"

class QLineEdit;
class QWidget;

namespace tidemark::qt {

class FieldNote;

/// What is wrong with the fields of a page, each below its field. Main thread.
class FieldNotes
{
public:
    using Field = ConfigurationDraft::Field;

    /// A note that goes when another text is typed into `control`, or into `partner`, which the note may be about as
    /// well; for the caller's layout.
    FieldNote* make(QLineEdit* control, Field field, QLineEdit* partner = nullptr);
    void clear(Field field) const;

    /// Of `problems` those that are about a field with a note. The first such field, null without one.
    QWidget* show(const std::vector<ConfigurationDraft::Problem>& problems) const;

private:
    struct Checked
    {
        QLineEdit* control;
        FieldNote* note;
    };
    std::map<Field, Checked> checked_;
};

} // namespace tidemark::qt
