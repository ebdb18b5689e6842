#pragma once

#include <chrono>
#include <functional>

class QDialog;

/// Dialogs that block their caller. Main thread.
namespace tidemark::qt::ModalQuestion {

/// Shows the dialog in front, modal over the program, and comes back with its result code when it has ended. Other
/// events are handled meanwhile, so that questions may be nested.
int ask(QDialog& dialog);

/// `unseen` is told of each question that has been open for this long without a window of the program being active; an
/// empty one of none.
void watch(std::chrono::milliseconds patience, std::function<void(QDialog&)> unseen);

/// Whether somebody waits for an answer.
bool isOpen();

/// While the program closes: every open question, and every other modal dialog, ends as rejected, the newest first, and
/// every later question before it is shown. Each ask() returns once control is back in its loop.
void dismissAll();

/// Questions are shown again.
void admit();

} // namespace tidemark::qt::ModalQuestion
