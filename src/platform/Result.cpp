#include "platform/Result.h"

#include <system_error>

namespace tidemark {

tl::unexpected<Error> posixFailure(int errnoValue, std::string_view what)
{
    std::string text(what);
    text += ": ";
    text += std::generic_category().message(errnoValue);
    return failure("POSIX", errnoValue, std::move(text));
}

} // namespace tidemark
