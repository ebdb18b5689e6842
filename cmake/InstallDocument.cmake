# Part of the installation: fills in SOURCE and installs it as DESTINATION below the prefix, compressed where that ends
# in ".gz". Changes the version, the maintainer, the date, and the changes of the newest version.

if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  set(CPACK_TIDEMARK_ROOT "${TIDEMARK_ROOT}")
  include("${TIDEMARK_ROOT}/cmake/PackageDate.cmake")
endif()
# In English and UTC wherever it runs; the time of SOURCE_DATE_EPOCH, or now.
string(TIMESTAMP TIDEMARK_DATE "%Y-%m-%d" UTC)
string(TIMESTAMP TIDEMARK_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)

# The entries of the newest version, in the form of a Debian changelog.
file(READ "${TIDEMARK_ROOT}/CHANGELOG.md" changes)
string(REGEX MATCH "\n## [^\n]*\n+" heading "${changes}")
string(FIND "${changes}" "${heading}" begin)
string(LENGTH "${heading}" length)
math(EXPR begin "${begin} + ${length}")
string(SUBSTRING "${changes}" ${begin} -1 changes)
string(REGEX REPLACE "\n## .*" "" changes "${changes}")
string(STRIP "${changes}" changes)
string(REPLACE "\n" "\n  " changes "  ${changes}")
string(REGEX REPLACE "(^|\n)  - " "\\1  * " changes "${changes}")
file(WRITE "${WORK}/changes" "${changes}\n")
execute_process(COMMAND fmt --tagged-paragraph --width=79 "${WORK}/changes" OUTPUT_VARIABLE TIDEMARK_CHANGES
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

cmake_path(GET DESTINATION FILENAME name)
cmake_path(GET DESTINATION PARENT_PATH folder)
string(MD5 place "${DESTINATION}")
set(work "${WORK}/${place}")
string(REGEX REPLACE "\\.gz$" "" plain "${name}")
if(SOURCE MATCHES "\\.in$")
  configure_file("${SOURCE}" "${work}/${plain}" @ONLY)
else()
  configure_file("${SOURCE}" "${work}/${plain}" COPYONLY)
endif()
if(NOT name STREQUAL plain)
  # -n leaves out name and time.
  execute_process(COMMAND gzip -9nkf "${work}/${plain}" COMMAND_ERROR_IS_FATAL ANY)
endif()
file(INSTALL "${work}/${name}" DESTINATION "${CMAKE_INSTALL_PREFIX}/${folder}")
