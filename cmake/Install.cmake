# What `cmake --install` installs: the libraries, the headers, the package files for find_package(Vask) and pkg-config,
# and the command.

include(CMakePackageConfigHelpers)

install(
  TARGETS vask_shared vask_static
  EXPORT VaskTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
install(
  DIRECTORY "${PROJECT_SOURCE_DIR}/include/vask"
  DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
  FILES_MATCHING
  PATTERN "*.h"
  PATTERN "*.hpp")
if(TARGET vask)
  install(TARGETS vask RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}")
endif()
file(GLOB manual_pages CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/docs/man/*.1")
if(TARGET vask AND manual_pages)
  install(FILES ${manual_pages} DESTINATION "${CMAKE_INSTALL_MANDIR}/man1")
endif()
if(TARGET vask)
  install(FILES "${PROJECT_SOURCE_DIR}/completions/vask.bash"
          DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" RENAME vask)
  install(FILES "${PROJECT_SOURCE_DIR}/completions/_vask" DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions")
endif()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Vask")
install(
  EXPORT VaskTargets
  NAMESPACE Vask::
  DESTINATION "${package_dir}")
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/VaskConfig.cmake.in" "${PROJECT_BINARY_DIR}/VaskConfig.cmake"
                              INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VaskConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/VaskConfig.cmake" "${PROJECT_BINARY_DIR}/VaskConfigVersion.cmake"
        DESTINATION "${package_dir}")

# vask.pc finds the prefix from its own location, so that an installed tree can be moved.
set(pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
  set(pc_prefix "${CMAKE_INSTALL_PREFIX}")
else()
  file(RELATIVE_PATH up "/${pc_dir}" "/")
  string(REGEX REPLACE "/$" "" up "${up}")
  set(pc_prefix "\${pcfiledir}/${up}")
endif()
foreach(kind LIBDIR INCLUDEDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
    set(pc_${kind} "${CMAKE_INSTALL_${kind}}")
  else()
    set(pc_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
  endif()
endforeach()
configure_file("${CMAKE_CURRENT_LIST_DIR}/vask.pc.in" "${PROJECT_BINARY_DIR}/vask.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/vask.pc" DESTINATION "${pc_dir}")
