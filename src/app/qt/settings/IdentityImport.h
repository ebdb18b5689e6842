#pragma once

#include <string>

#include <QString>

class QWidget;

namespace tidemark::qt {

/// What became of a certificate that a person wanted to take over; both are empty where it was called off.
struct ImportedIdentity
{
    std::string identifier{};
    /// Why it was not taken, in words.
    QString fault{};
};

/// Asks for a file, and for its passphrase as often as that is wrong. Main thread.
ImportedIdentity importIdentity(QWidget* parent);

} // namespace tidemark::qt
