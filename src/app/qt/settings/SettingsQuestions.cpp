#include "app/qt/settings/SettingsQuestions.h"

#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QPushButton>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/CertificateTrustDialog.h"
#include "app/qt/dialogs/ModalQuestion.h"

namespace tidemark::qt {

namespace {

QString chosenPath(QFileDialog& dialog)
{
    if (ModalQuestion::ask(dialog) != QDialog::Accepted) return {};
    return dialog.selectedFiles().value(0);
}

} // namespace

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

bool askYes(QWidget* parent, const QString& question)
{
    QMessageBox box(QMessageBox::Question, text("Settings", "TITLE"), question, QMessageBox::NoButton, parent);
    box.setTextFormat(Qt::PlainText);
    const auto* yes = box.addButton(text("Settings", "YES"), QMessageBox::AcceptRole);
    auto* no = box.addButton(text("Settings", "NO"), QMessageBox::RejectRole);
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    ModalQuestion::ask(box);
    return box.clickedButton() == yes;
}

bool askTrustForGood(QWidget* parent, const std::string& url, const ServerCertificate& certificate)
{
    CertificateTrustDialog dialog(fromUtf8(url), std::make_shared<const ServerCertificate>(certificate), parent,
                                  text("Settings", "TRUST_QUESTION", {{"server", url}}));
    return dialog.ask();
}

std::optional<QString> askSecret(QWidget* parent, const QString& title, const QString& label)
{
    QInputDialog dialog(parent);
    dialog.setWindowTitle(title);
    dialog.setLabelText(label);
    dialog.setTextEchoMode(QLineEdit::Password);
    dialog.setOkButtonText(text("TidemarkResource", "OK"));
    dialog.setCancelButtonText(text("TidemarkResource", "CANCEL"));
    if (ModalQuestion::ask(dialog) != QDialog::Accepted) return std::nullopt;
    return dialog.textValue();
}

QString chooseFolder(QWidget* parent, const QString& title, const QString& current)
{
    QFileDialog dialog(parent, title, current);
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    return chosenPath(dialog);
}

QString chooseFile(QWidget* parent, const QString& title, const QString& filter)
{
    QFileDialog dialog(parent, title, {}, filter);
    dialog.setFileMode(QFileDialog::ExistingFile);
    return chosenPath(dialog);
}

} // namespace tidemark::qt
