#pragma once

#include <vector>

#include <QWidget>

#include "app/qt/settings/FieldNotes.h"

class QCheckBox;
class QFormLayout;
class QLabel;
class QLineEdit;

namespace tidemark::qt {

/// Some fields of a configuration that is edited, with what is wrong written below each. What was typed stays as it is.
class DraftPage : public QWidget
{
    Q_OBJECT

public:
    /// Something in a page that fills its height grows with it.
    explicit DraftPage(QWidget* parent = nullptr, bool fillsHeight = false);

    virtual void load(const ConfigurationDraft& draft) = 0;
    virtual void store(ConfigurationDraft& draft) const = 0;

    /// Each below its field. The first field that one of them is about, null where none is about a field of this page.
    QWidget* showProblems(const std::vector<ConfigurationDraft::Problem>& problems);

signals:
    /// A person has changed something.
    void changed();

protected:
    using Field = ConfigurationDraft::Field;

    /// `labelKey` is one of the table "Settings"; `row` holds the control where there is more in its row.
    void addRow(const char* labelKey, QWidget* control, QWidget* row = nullptr);
    /// What is wrong with the field of the row above, or with it and its partner.
    void addNote(QLineEdit* control, Field field, QLineEdit* partner = nullptr);
    void clearNotes(std::initializer_list<Field> fields);
    /// A row without a label of its own.
    void addWide(QWidget* widget);
    QCheckBox* makeSwitch(const char* key);
    /// Explains the row above.
    QLabel* addHint(const QString& text);
    QLineEdit* makeText();
    QLineEdit* makeSecret();
    /// As wide as numbers are.
    QLineEdit* makeNumber();
    static QString textOf(const char* key);

private:
    QFormLayout* const form_;
    FieldNotes notes_;
};

} // namespace tidemark::qt
