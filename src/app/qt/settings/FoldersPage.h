#pragma once

#include "app/qt/settings/DraftPage.h"

class QCheckBox;
class QComboBox;

namespace tidemark::qt {

/// Which folders are kept in step, in which direction, and what is done where both sides differ.
class FoldersPage : public DraftPage
{
    Q_OBJECT

public:
    explicit FoldersPage(QWidget* parent = nullptr);

    void load(const ConfigurationDraft& draft) override;
    void store(ConfigurationDraft& draft) const override;

private:
    QWidget* makeFolderChooser();
    QComboBox* makeChoice();
    /// The policies that the chosen direction has.
    void showDirection();

    QLineEdit* const name_;
    QCheckBox* const enabled_;
    QLineEdit* const url_;
    QLineEdit* const local_;
    QComboBox* const mode_;
    QComboBox* const conflict_;
    QComboBox* const serverDelete_;
    QComboBox* const localDelete_;
};

} // namespace tidemark::qt
