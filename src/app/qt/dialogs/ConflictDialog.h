#pragma once

#include "app/qt/dialogs/QuestionDialog.h"

namespace tidemark::qt {

/// A conflict: both sides with their names, sizes and times and which is the newer one, and a button for each choice.
class ConflictDialog : public QuestionDialog
{
public:
    explicit ConflictDialog(const BXSyncConfirmInfo& info, QWidget* parent = nullptr);
};

} // namespace tidemark::qt
