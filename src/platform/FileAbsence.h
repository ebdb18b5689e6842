#pragma once

#include <cerrno>

#include "platform/Result.h"

namespace tidemark::fs {

/// Whether a failure of attributes() means that nothing is there, and not that it cannot be looked at.
inline bool isAbsence(const Error& error)
{
    return error.code == ENOENT || error.code == ENOTDIR || error.code == ELOOP;
}

} // namespace tidemark::fs
