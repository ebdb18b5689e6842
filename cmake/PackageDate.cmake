# Read by cpack: dates what is packaged with the last commit, so that the same commit gives the same package.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND git -C "${CPACK_TIDEMARK_ROOT}" log -1 --format=%ct
    OUTPUT_VARIABLE epoch OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failure ERROR_QUIET)
  if(NOT failure)
    set(ENV{SOURCE_DATE_EPOCH} "${epoch}")
  endif()
endif()
