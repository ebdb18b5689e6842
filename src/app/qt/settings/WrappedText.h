#pragma once

#include <QLabel>

namespace tidemark::qt {

/// Plain sentences on as many lines as they need, at the side where reading begins; a window grows to show all of them.
class WrappedText : public QLabel
{
    Q_OBJECT

public:
    explicit WrappedText(const QString& content = {}, QWidget* parent = nullptr);

    void say(const QString& content);

    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void align();
    void makeRoom();
};

} // namespace tidemark::qt
