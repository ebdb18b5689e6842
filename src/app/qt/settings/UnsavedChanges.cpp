#include "app/qt/settings/UnsavedChanges.h"

#include <QMessageBox>
#include <QPushButton>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/ModalQuestion.h"

namespace tidemark::qt {

UnsavedAnswer askAboutUnsaved(QWidget* parent, const QString& message)
{
    constexpr const char* table = "GlobalSettings";
    QMessageBox box(QMessageBox::Question, text(table, "UNSAVED_TITLE"), message, QMessageBox::NoButton, parent);
    const auto* save = box.addButton(text(table, "UNSAVED_SAVE"), QMessageBox::AcceptRole);
    const auto* discard = box.addButton(text(table, "UNSAVED_DISCARD"), QMessageBox::DestructiveRole);
    auto* keep = box.addButton(text(table, "UNSAVED_KEEP"), QMessageBox::RejectRole);
    box.setDefaultButton(keep);
    box.setEscapeButton(keep);
    ModalQuestion::ask(box);
    if (box.clickedButton() == save) return UnsavedAnswer::save;
    return box.clickedButton() == discard ? UnsavedAnswer::discard : UnsavedAnswer::keepEditing;
}

} // namespace tidemark::qt
