#include "app/qt/dialogs/QuestionParts.h"

#include <QDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSet>

#include "app/qt/ReadingOrder.h"

namespace tidemark::qt {

namespace {

constexpr int bodyCharacters = 60;
/// So that the longest word fits into the body.
constexpr int unbrokenCharacters = 20;
/// What is longer may end a line in short steps from there.
constexpr int brokenCharacters = 4;

/// The place of the first letter that no other text has; -1 for none.
qsizetype freeLetter(const QString& text, const QSet<QChar>& taken)
{
    for (qsizetype i = 0; i < text.size(); ++i)
        if (text[i].isLetter() && !taken.contains(text[i].toLower())) return i;
    return -1;
}

} // namespace

QStringList withMnemonics(const QStringList& texts)
{
    QSet<QChar> taken;
    QStringList marked;
    for (const auto& text : texts) {
        const auto place = freeLetter(text, taken);
        auto before = text.left(qMax<qsizetype>(place, 0)).replace('&', "&&");
        auto rest = text.mid(qMax<qsizetype>(place, 0)).replace('&', "&&");
        if (place >= 0) taken.insert(text[place].toLower());
        marked.append(before + (place >= 0 ? "&" : "") + rest);
    }
    return marked;
}

QString breakable(const QString& text)
{
    constexpr QChar breakHere(0x200B);
    QString result;
    int run = 0;
    for (const auto character : text) {
        // Between the halves of one character, or before a mark that belongs to it, no line ends.
        const bool joins = character.isLowSurrogate() || character.isMark();
        if (run >= unbrokenCharacters && !joins) {
            result += breakHere;
            run -= brokenCharacters;
        }
        result += turnsReading(character) ? QChar(QChar::ReplacementCharacter) : character;
        run = character.isSpace() ? 0 : run + 1;
        if (character != '/') continue;
        // Otherwise a line would rather end within a name than before one that begins with a digit.
        result += breakHere;
        run = 0;
    }
    return result;
}

QLabel* makeBody(const QString& text)
{
    auto* body = new QLabel(breakable(text));
    body->setTextFormat(Qt::PlainText);
    body->setWordWrap(true);
    body->setAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    body->setMinimumWidth(body->fontMetrics().averageCharWidth() * bodyCharacters);
    return body;
}

QBoxLayout* makeHeader(const QDialog& dialog, QStyle::StandardPixmap icon, QLabel* body)
{
    const int side = dialog.style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, &dialog);
    auto* picture = new QLabel;
    picture->setPixmap(dialog.style()->standardIcon(icon, nullptr, &dialog).pixmap(side));
    auto* row = new QHBoxLayout;
    row->addWidget(picture, 0, Qt::AlignTop);
    row->addSpacing(dialog.fontMetrics().averageCharWidth());
    row->addWidget(body, 1);
    return row;
}

void addButtonRow(QBoxLayout& layout, const std::vector<QPushButton*>& buttons, std::size_t defaultIndex)
{
    const bool hasDefault = defaultIndex < buttons.size();
    auto* row = new QHBoxLayout;
    row->addStretch();
    for (auto* button : buttons) {
        button->setAutoDefault(hasDefault);
        row->addWidget(button);
    }
    layout.addSpacing(buttons.empty() ? 0 : buttons.front()->fontMetrics().lineSpacing() / 2);
    layout.addLayout(row);
    if (!hasDefault) return;
    buttons[defaultIndex]->setDefault(true);
    // It belongs to the dialog only from here on.
    buttons[defaultIndex]->setFocus();
}

} // namespace tidemark::qt
