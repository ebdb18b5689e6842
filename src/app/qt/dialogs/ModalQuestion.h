#pragma once

class QDialog;

/// Questions that the application waits for, in event loops of their own. Main thread.
namespace tidemark::qt::ModalQuestion {

/// Shows the dialog before all others and waits for its end; its result.
int ask(QDialog& dialog);

/// Whether somebody waits for an answer.
bool isOpen();

/// Rejects all that are open, which is their harmless answer; their waits end as soon as the stack allows.
void dismissAll();

} // namespace tidemark::qt::ModalQuestion
