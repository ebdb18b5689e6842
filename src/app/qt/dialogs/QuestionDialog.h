#pragma once

#include <optional>

#include <QDialog>
#include <QStyle>

#include "app/BXSyncMessageBoxModel.h"

class QCheckBox;
class QVBoxLayout;

namespace tidemark::qt {

/// A question of a run with a button for each of its choices: the text, what a kind of question adds to it, the check
/// box, the buttons. Closing it is the answer of the button that cancels.
class QuestionDialog : public QDialog
{
public:
    QuestionDialog(BXSyncMessageBoxModel model, QStyle::StandardPixmap icon, QWidget* parent);

    /// Once the dialog has ended; nothing when that was without a button.
    std::optional<BXSyncConfirmResult> answer() const;

protected:
    const BXSyncMessageBoxModel& model() const { return model_; }
    /// Shows it below the text; it belongs to the dialog from then on.
    void addContent(QWidget* content);
    void endWith(std::int64_t index);

private:
    void addAnswers(QVBoxLayout& layout);

    const BXSyncMessageBoxModel model_;
    QVBoxLayout* content_ = nullptr;
    QCheckBox* persistence_ = nullptr;
    std::int64_t index_ = BXSyncMessageBoxModel::noIndex;
};

} // namespace tidemark::qt
