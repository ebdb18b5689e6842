#include "app/qt/dialogs/QuestionDialog.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/qt/Texts.h"
#include "app/qt/dialogs/QuestionParts.h"

namespace tidemark::qt {

QuestionDialog::QuestionDialog(BXSyncMessageBoxModel model, QStyle::StandardPixmap icon, QWidget* parent)
    : QDialog(parent), model_(std::move(model))
{
    setWindowTitle(fromUtf8(model_.title()));
    setAccessibleDescription(fromUtf8(model_.body()));
    auto* layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addLayout(makeHeader(*this, icon, makeBody(fromUtf8(model_.body()))));
    content_ = new QVBoxLayout;
    layout->addLayout(content_);
    addAnswers(*layout);
}

void QuestionDialog::addAnswers(QVBoxLayout& layout)
{
    QStringList texts;
    for (const auto& text : model_.buttons())
        texts.append(fromUtf8(text));
    if (model_.hasCheckBox()) texts.append(fromUtf8(model_.checkBoxText()));
    texts = withMnemonics(texts);
    if (model_.hasCheckBox()) {
        persistence_ = new QCheckBox(texts.takeLast());
        layout.addWidget(persistence_);
    }
    std::vector<QPushButton*> buttons;
    for (qsizetype i = 0; i < texts.size(); ++i) {
        buttons.push_back(new QPushButton(texts[i]));
        connect(buttons.back(), &QPushButton::clicked, this, [this, i] { endWith(i); });
    }
    addButtonRow(layout, buttons, static_cast<std::size_t>(model_.defaultIndex()));
}

void QuestionDialog::addContent(QWidget* content)
{
    content_->addWidget(content);
}

void QuestionDialog::endWith(std::int64_t index)
{
    index_ = index;
    accept();
}

std::optional<BXSyncConfirmResult> QuestionDialog::answer() const
{
    const auto index = result() == Accepted ? index_ : model_.dismissIndex();
    return model_.result(index, persistence_ && persistence_->isChecked());
}

} // namespace tidemark::qt
