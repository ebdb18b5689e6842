# What is installed, and the Debian packages: tidemark (command line, service) and tidemark-desktop (status item,
# windows). Included after the targets. `cmake --build --preset release --target deb` builds both into build/release.

include(GNUInstallDirs)

set(TIDEMARK_MAINTAINER "Tidemark developers <tidemark@example.org>" CACHE STRING "Name and address in packages")

# One file is changed, compressed or dated while it is installed: the date is that of the last commit.
function(tidemark_install_document component source destination)
  install(CODE "
    set(SOURCE \"${PROJECT_SOURCE_DIR}/${source}\")
    set(DESTINATION \"${destination}\")
    set(TIDEMARK_ROOT \"${PROJECT_SOURCE_DIR}\")
    set(TIDEMARK_VERSION \"${PROJECT_VERSION}\")
    set(TIDEMARK_MAINTAINER \"${TIDEMARK_MAINTAINER}\")
    set(WORK \"${PROJECT_BINARY_DIR}/documents\")
    include(\"${PROJECT_SOURCE_DIR}/cmake/InstallDocument.cmake\")"
    COMPONENT ${component})
endfunction()

function(tidemark_install_package_documents package component)
  set(folder "${CMAKE_INSTALL_DATADIR}/doc/${package}")
  install(FILES packaging/debian/copyright DESTINATION "${folder}" COMPONENT ${component})
  tidemark_install_document(${component} CHANGELOG.md "${folder}/changelog.gz")
  tidemark_install_document(${component} packaging/debian/changelog.in "${folder}/changelog.Debian.gz")
  install(FILES packaging/debian/${package}.lintian-overrides COMPONENT ${component}
    DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" RENAME ${package})
endfunction()

# Resolved while loading, then read only: a server that finds a way to write into memory finds no pointers there.
function(tidemark_harden target)
  target_link_options(${target} PRIVATE LINKER:-z,relro,-z,now)
endfunction()

set(CPACK_COMPONENTS_ALL "")
if(TARGET tidemark)
  tidemark_harden(tidemark)
  list(APPEND CPACK_COMPONENTS_ALL cli)
  install(TARGETS tidemark RUNTIME COMPONENT cli)
  install(FILES packaging/tidemark.service DESTINATION lib/systemd/user COMPONENT cli)
  install(FILES packaging/completion/tidemark.bash COMPONENT cli
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" RENAME tidemark)
  install(FILES packaging/completion/_tidemark COMPONENT cli
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions")
  tidemark_install_document(cli packaging/man/tidemark.1.in "${CMAKE_INSTALL_MANDIR}/man1/tidemark.1.gz")
  tidemark_install_package_documents(tidemark cli)
endif()
if(TARGET tidemark-tray)
  tidemark_harden(tidemark-tray)
  list(APPEND CPACK_COMPONENTS_ALL desktop)
  install(TARGETS tidemark-tray RUNTIME COMPONENT desktop)
  install(FILES resources/desktop/com.marlock.tidemark.desktop COMPONENT desktop
    DESTINATION "${CMAKE_INSTALL_DATADIR}/applications")
  install(FILES resources/icons/tidemark.svg COMPONENT desktop
    DESTINATION "${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps")
  tidemark_install_document(desktop resources/desktop/com.marlock.tidemark.metainfo.xml.in
    "${CMAKE_INSTALL_DATADIR}/metainfo/com.marlock.tidemark.metainfo.xml")
  tidemark_install_document(desktop packaging/man/tidemark-tray.1.in
    "${CMAKE_INSTALL_MANDIR}/man1/tidemark-tray.1.gz")
  tidemark_install_package_documents(tidemark-desktop desktop)
endif()
if(NOT CPACK_COMPONENTS_ALL)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tidemark)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
# Each package has a summary of its own, the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_CONTACT "${TIDEMARK_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/PackageDate.cmake")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/PackagePermissions.cmake")
set(CPACK_TIDEMARK_ROOT "${PROJECT_SOURCE_DIR}")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

set(CPACK_DEBIAN_CLI_PACKAGE_NAME tidemark)
set(CPACK_DEBIAN_CLI_PACKAGE_SECTION net)
set(CPACK_DEBIAN_CLI_PACKAGE_RECOMMENDS ca-certificates)
set(CPACK_DEBIAN_CLI_PACKAGE_SUGGESTS tidemark-desktop)
set(CPACK_DEBIAN_CLI_DESCRIPTION "keeps local folders in step with WebDAV folders
Two-way, upload-only or download-only, with a policy for deletions and for
conflicts, on demand, on schedule or as soon as a file is saved. A run that is
cut off at any point harms no file. Files can be encrypted before they leave
the machine.

This package has the command line and a service for one user, and needs no
screen.")

set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME tidemark-desktop)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_SECTION net)
# The icons are read by a plugin, which no program is linked with.
set(CPACK_DEBIAN_DESKTOP_PACKAGE_DEPENDS
  "tidemark (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), libqt6svg6")
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS "ca-certificates, qt6-wayland")
set(CPACK_DEBIAN_DESKTOP_DESCRIPTION "keeps local folders in step with WebDAV folders, on the desktop
An item in the status area with menu, settings, progress and questions:
two-way, upload-only or download-only, with a policy for deletions and for
conflicts, on demand, on schedule or as soon as a file is saved.")

include(CPack)
add_custom_target(deb
  COMMAND "${CMAKE_CPACK_COMMAND}" -G DEB --config "${PROJECT_BINARY_DIR}/CPackConfig.cmake"
  WORKING_DIRECTORY "${PROJECT_BINARY_DIR}" USES_TERMINAL VERBATIM)
foreach(program tidemark tidemark-tray)
  if(TARGET ${program})
    add_dependencies(deb ${program})
  endif()
endforeach()
