#include "app/qt/StatusMenu.h"

#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

/// A name is no place for mnemonics.
QString titleOf(const StatusMenuEntry& entry)
{
    if (!entry.name.empty()) return fromUtf8(entry.name).replace('&', "&&");
    return text("TidemarkResource", entry.titleKey);
}

} // namespace

StatusMenu::StatusMenu(Names names, Perform perform, QWidget* parent)
    : QMenu(parent), names_(std::move(names)), perform_(std::move(perform))
{
    connect(this, &QMenu::aboutToShow, this, &StatusMenu::menuNeedsUpdate);
    menuNeedsUpdate();
}

void StatusMenu::menuNeedsUpdate()
{
    auto entries = statusMenuEntries(names_());
    if (entries == entries_) return;
    entries_ = std::move(entries);
    clear();
    fill(*this, entries_);
}

void StatusMenu::fill(QMenu& menu, const std::vector<StatusMenuEntry>& entries)
{
    for (const auto& entry : entries) {
        if (entry.isSeparator()) {
            menu.addSeparator();
        } else if (entry.action == StatusMenuEntry::Action::none) {
            auto* submenu = menu.addMenu(titleOf(entry));
            submenu->setEnabled(!entry.submenu.empty());
            fill(*submenu, entry.submenu);
        } else {
            auto* action = menu.addAction(titleOf(entry));
            connect(action, &QAction::triggered, this,
                    [this, what = entry.action, name = entry.name] { perform_(what, name); });
        }
    }
}

} // namespace tidemark::qt
