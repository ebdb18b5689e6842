#pragma once

#include <functional>
#include <string>
#include <vector>

#include <QMenu>

#include "app/StatusMenuEntries.h"

namespace tidemark::qt {

/// The status menu. Looks at the configurations each time it opens, and is built anew only when something differs.
class StatusMenu : public QMenu
{
    Q_OBJECT

public:
    using Names = std::function<std::vector<std::string>()>;
    using Perform = std::function<void(StatusMenuEntry::Action action, const std::string& name)>;

    StatusMenu(Names names, Perform perform, QWidget* parent = nullptr);

    /// What opening does.
    void menuNeedsUpdate();

private:
    void fill(QMenu& menu, const std::vector<StatusMenuEntry>& entries);

    const Names names_;
    const Perform perform_;
    std::vector<StatusMenuEntry> entries_;
};

} // namespace tidemark::qt
