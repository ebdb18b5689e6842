#include "platform/Clock.h"

namespace tidemark {

const Clock& Clock::system()
{
    static const Clock clock;
    return clock;
}

} // namespace tidemark
