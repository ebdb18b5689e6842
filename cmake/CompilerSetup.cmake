# One interface target carries what every target of the project is compiled with.

add_library(tidemark_options INTERFACE)
target_compile_options(tidemark_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast -Wextra-semi)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 sees overlaps in "text" + std::string that are none (GCC bug 105651).
  target_compile_options(tidemark_options INTERFACE -Wno-restrict)
endif()
if(TIDEMARK_WARNINGS_AS_ERRORS)
  target_compile_options(tidemark_options INTERFACE -Werror)
endif()
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  # -O1 keeps sanitizer runs short; -g1 is enough for stack traces.
  set(CMAKE_CXX_FLAGS_DEBUG "-O1 -g1 -fno-omit-frame-pointer")
endif()
if(TIDEMARK_SANITIZE)
  target_compile_options(tidemark_options INTERFACE -fsanitize=${TIDEMARK_SANITIZE} -fno-sanitize-recover=undefined)
  target_link_options(tidemark_options INTERFACE -fsanitize=${TIDEMARK_SANITIZE})
  # With the checks inserted g++ 12 takes parts of std::regex and std::optional for uninitialised.
  target_compile_options(tidemark_options INTERFACE -Wno-maybe-uninitialized)
  if(TIDEMARK_SANITIZE STREQUAL "thread")
    # Boost.Asio has fences, which the thread sanitizer does not follow; that is no fault of ours.
    target_compile_options(tidemark_options INTERFACE -Wno-tsan)
  endif()
endif()

find_program(TIDEMARK_CCACHE ccache)
if(TIDEMARK_CCACHE)
  # The base directory lets checkouts in different folders share entries. No precompiled headers: they would not.
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${TIDEMARK_CCACHE})
endif()

find_program(TIDEMARK_MOLD mold)
if(TIDEMARK_MOLD)
  add_link_options(-fuse-ld=mold)
endif()
