#include "app/qt/settings/FaultTexts.h"

#include <cerrno>

#include "app/ConfigurationDraft.h"
#include "app/qt/Texts.h"

namespace tidemark::qt {

namespace {

const char* keyOfDraftFault(std::int64_t code)
{
    switch (static_cast<ConfigurationDraft::Fault>(code)) {
    case ConfigurationDraft::Fault::runUnderWay:
        return "REASON_RUN";
    case ConfigurationDraft::Fault::gone:
        return "REASON_GONE";
    case ConfigurationDraft::Fault::notWritten:
        return "REASON_NOT_WRITTEN";
    }
    return "REASON_OTHER";
}

const char* keyOfSystemFault(std::int64_t code)
{
    switch (code) {
    case EACCES:
    case EPERM:
        return "REASON_DENIED";
    case EROFS:
        return "REASON_READ_ONLY";
    case ENOSPC:
    case EDQUOT:
        return "REASON_NO_SPACE";
    case ENOENT:
        return "REASON_NOT_THERE";
    case EEXIST:
    case ENOTDIR:
    case EISDIR:
        return "REASON_IN_THE_WAY";
    case ENAMETOOLONG:
        return "REASON_NAME_TOO_LONG";
    default:
        return "REASON_OTHER";
    }
}

} // namespace

QString reasonText(const Error& error)
{
    if (error.domain == ConfigurationDraft::errorDomain) return text("Settings", keyOfDraftFault(error.code));
    return text("Settings", error.domain == "POSIX" ? keyOfSystemFault(error.code) : "REASON_OTHER");
}

} // namespace tidemark::qt
