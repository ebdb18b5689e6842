#pragma once

#include <optional>

#include <QString>

#include "platform/HttpStream.h"

class QWidget;

/// What the windows of the settings ask. Each question ends with its harmless answer where the program closes
/// meanwhile. Main thread.
namespace tidemark::qt {

enum class UnsavedAnswer
{
    save,
    discard,
    keepEditing
};

/// Asks before changes are lost.
UnsavedAnswer askAboutUnsaved(QWidget* parent, const QString& message);

/// "No" is what Return and Escape mean.
bool askYes(QWidget* parent, const QString& question);

/// Shows the certificate and asks whether no certificate of this server is to be checked from then on.
bool askTrustForGood(QWidget* parent, const std::string& url, const ServerCertificate& certificate);

/// Nothing where a person gives none.
std::optional<QString> askSecret(QWidget* parent, const QString& title, const QString& label);

/// The path of a folder that is there, "" for none.
QString chooseFolder(QWidget* parent, const QString& title, const QString& current);

/// The path of a file that is there, "" for none.
QString chooseFile(QWidget* parent, const QString& title, const QString& filter);

} // namespace tidemark::qt
