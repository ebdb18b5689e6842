#pragma once

#include <QDialog>

#include "SyncLibrary/BXSyncConfirmInfo.h"

class QBoxLayout;
class QCheckBox;

namespace tidemark::qt {

/// Both sides of a conflict with their times and which is the newer one, and the choices of the question. Escape is its
/// cancel.
class ConflictDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ConflictDialog(BXSyncConfirmInfo info, QWidget* parent = nullptr);

    /// Asks and waits.
    std::optional<BXSyncConfirmResult> ask();
    /// After the end.
    std::optional<BXSyncConfirmResult> answer() const;

private:
    QBoxLayout* makeSides();
    QBoxLayout* makeButtons();

    const BXSyncConfirmInfo info_;
    std::int64_t code_ = 0;
    QCheckBox* persistence_ = nullptr;
};

} // namespace tidemark::qt
