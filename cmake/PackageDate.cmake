# Read by cpack: dates what is packaged with the last commit, so that the same commit gives the same package. Where there
# is no history, the change log's own date stands for it.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  # The checkout may belong to somebody else than who packs it.
  execute_process(COMMAND git -c "safe.directory=${CPACK_TIDEMARK_ROOT}" -C "${CPACK_TIDEMARK_ROOT}" log -1 --format=%ct
    OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failure ERROR_QUIET)
  if(failure)
    file(TIMESTAMP "${CPACK_TIDEMARK_ROOT}/CHANGELOG.md" epoch "%s" UTC)
  endif()
  set(ENV{SOURCE_DATE_EPOCH} "${epoch}")
endif()
