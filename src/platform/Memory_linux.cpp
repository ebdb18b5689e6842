#include "platform/Memory.h"

#include <cstdlib> // says whose library it is

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace tidemark {

void Memory::giveFreedBack()
{
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

} // namespace tidemark
