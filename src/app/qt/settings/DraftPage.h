#pragma once

#include <map>
#include <vector>

#include <QWidget>

#include "app/ConfigurationDraft.h"

class QFormLayout;
class QLabel;
class QLineEdit;

namespace tidemark::qt {

/// Some fields of a configuration that is edited, with what is wrong written below each. What was typed stays as it is.
class DraftPage : public QWidget
{
    Q_OBJECT

public:
    explicit DraftPage(QWidget* parent = nullptr);

    virtual void load(const ConfigurationDraft& draft) = 0;
    virtual void store(ConfigurationDraft& draft) const = 0;

    /// True when one of them is about a field of this page; the first such field gets the keyboard.
    bool showProblems(const std::vector<ConfigurationDraft::Problem>& problems);

signals:
    /// A person has changed something.
    void changed();

protected:
    using Field = ConfigurationDraft::Field;

    QFormLayout& form() { return *form_; }
    /// `labelKey` is one of the table "Settings".
    void addRow(const char* labelKey, QWidget* widget);
    void addRow(const char* labelKey, QWidget* widget, Field field);
    /// A row without a label of its own.
    void addWide(QWidget* widget);
    /// Explains the row above.
    QLabel* addHint(const QString& text);
    QLineEdit* makeText();
    QLineEdit* makeSecret();
    static QString textOf(const char* key);

private:
    struct Row
    {
        QWidget* widget;
        QLabel* problem;
    };

    QFormLayout* const form_;
    std::map<Field, Row> rows_;
};

} // namespace tidemark::qt
