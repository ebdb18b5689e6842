#pragma once

#include <functional>

#include <QString>

namespace tidemark::qt {

/// News for a person who is not looking.
struct Notice
{
    QString title;
    QString message;
    /// Shows what it is about.
    std::function<void()> open = {};
};

} // namespace tidemark::qt
