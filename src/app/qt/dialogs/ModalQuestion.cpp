#include "app/qt/dialogs/ModalQuestion.h"

#include <algorithm>
#include <vector>

#include <QApplication>
#include <QDialog>

namespace tidemark::qt::ModalQuestion {

namespace {

std::vector<QDialog*>& openQuestions()
{
    static std::vector<QDialog*> questions;
    return questions;
}

} // namespace

int ask(QDialog& dialog)
{
    auto& questions = openQuestions();
    questions.push_back(&dialog);
    dialog.setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog.setWindowModality(Qt::ApplicationModal);
    dialog.show();
    dialog.raise();
    dialog.activateWindow();
    QApplication::alert(&dialog);
    const int result = dialog.exec();
    std::erase(questions, &dialog);
    return result;
}

bool isOpen()
{
    return !openQuestions().empty();
}

void dismissAll()
{
    // The one asked last is the innermost.
    const auto questions = openQuestions();
    std::for_each(questions.rbegin(), questions.rend(), [](QDialog* dialog) { dialog->reject(); });
}

} // namespace tidemark::qt::ModalQuestion
