# Compiles resources/localization/<language>/<table>.json into the engine, so that a program finds its texts
# wherever it is installed. The generated file defines what platform/LocalizationTables.h declares.

function(tidemark_embed_localization output_variable directory)
  file(GLOB tables CONFIGURE_DEPENDS "${directory}/*/*.json")
  set(generated "${CMAKE_CURRENT_BINARY_DIR}/LocalizationTables.cpp")
  add_custom_command(
    OUTPUT "${generated}"
    COMMAND "${CMAKE_COMMAND}" -D "DIRECTORY=${directory}" -D "OUTPUT=${generated}"
            -P "${PROJECT_SOURCE_DIR}/cmake/WriteLocalizationTables.cmake"
    DEPENDS ${tables} "${PROJECT_SOURCE_DIR}/cmake/WriteLocalizationTables.cmake"
    VERBATIM)
  set(${output_variable} "${generated}" PARENT_SCOPE)
endfunction()
