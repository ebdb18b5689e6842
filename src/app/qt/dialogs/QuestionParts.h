#pragma once

#include <vector>

#include <QStringList>
#include <QStyle>

class QBoxLayout;
class QDialog;
class QLabel;
class QPushButton;

/// What the dialogs have in common. Widgets made here belong to the dialog once they are in its layout.
namespace tidemark::qt {

/// The texts with a key of the keyboard each, as far as their letters suffice; literal "&" stay as they are.
QStringList withMnemonics(const QStringList& texts);

/// The text with places where a line may end inside of long words, such as names of files, and behind each "/", and
/// without characters that turn its reading order around.
QString breakable(const QString& text);

/// Plain text of several lines; names in it may come from a server.
QLabel* makeBody(const QString& text);

/// The style's icon of a message box, beside `body`.
QBoxLayout* makeHeader(const QDialog& dialog, QStyle::StandardPixmap icon, QLabel* body);

/// A row of buttons in this order, at the end of a dialog's layout. Return presses the one at `defaultIndex`, which has
/// the focus, until another button gets it; an index outside leaves Return without a button.
void addButtonRow(QBoxLayout& layout, const std::vector<QPushButton*>& buttons, std::size_t defaultIndex);

} // namespace tidemark::qt
