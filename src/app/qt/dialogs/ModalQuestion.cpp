#include "app/qt/dialogs/ModalQuestion.h"

#include <vector>

#include <QApplication>
#include <QDialog>
#include <QPointer>
#include <QTimer>

namespace tidemark::qt::ModalQuestion {

namespace {

struct Questions
{
    std::vector<QPointer<QDialog>> open;
    bool refused = false;
    std::chrono::milliseconds patience{0};
    std::function<void(QDialog&)> unseen;
};

Questions& questions()
{
    static Questions all;
    return all;
}

/// Choosers of files and the like, which windows run by themselves.
void rejectOthers()
{
    std::vector<QPointer<QDialog>> others;
    for (auto* widget : QApplication::topLevelWidgets())
        if (auto* dialog = qobject_cast<QDialog*>(widget); dialog && dialog->isModal() && dialog->isVisible())
            others.emplace_back(dialog);
    for (const auto& dialog : others)
        if (dialog) dialog->reject();
}

void tellWhenUnseen(QDialog& dialog)
{
    QTimer::singleShot(questions().patience, &dialog, [&dialog] {
        const bool isSeen = QApplication::activeWindow() && !dialog.isMinimized();
        if (dialog.isVisible() && !isSeen && questions().unseen) questions().unseen(dialog);
    });
}

} // namespace

int ask(QDialog& dialog)
{
    auto& all = questions();
    if (all.refused) return QDialog::Rejected;
    all.open.emplace_back(&dialog);
    dialog.setWindowFlag(Qt::WindowStaysOnTopHint);
    dialog.setModal(true);
    dialog.show();
    dialog.raise();
    dialog.activateWindow();
    QApplication::alert(&dialog);
    tellWhenUnseen(dialog);
    const int result = dialog.exec();
    // Nested questions have ended before this one comes back.
    all.open.pop_back();
    return result;
}

void watch(std::chrono::milliseconds patience, std::function<void(QDialog&)> unseen)
{
    questions().patience = patience;
    questions().unseen = std::move(unseen);
}

bool isOpen()
{
    return !questions().open.empty();
}

void dismissAll()
{
    questions().refused = true;
    // Ending one may run code that ends others.
    const auto open = questions().open;
    for (auto dialog = open.rbegin(); dialog != open.rend(); ++dialog)
        if (*dialog) (*dialog)->reject();
    rejectOthers();
}

void admit()
{
    questions().refused = false;
}

} // namespace tidemark::qt::ModalQuestion
