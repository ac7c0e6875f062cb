# What `cmake --install` installs: the libraries, the headers, the package files for find_package(Vask) and pkg-config,
# and the command.

include(CMakePackageConfigHelpers)

# BUILD_SHARED_LIBS chooses one kind; without it both are installed.
set(libraries vask_shared vask_static)
if(DEFINED BUILD_SHARED_LIBS AND BUILD_SHARED_LIBS)
  set(libraries vask_shared)
elseif(DEFINED BUILD_SHARED_LIBS)
  set(libraries vask_static)
endif()
# Vask::Own is the archive of own names; of streams alone it is the only static library, and Vask::Static.
if(VASK_HAVE_OWN_NAMES AND vask_static IN_LIST libraries)
  install(FILES "$<TARGET_PROPERTY:vask_own_names,ARCHIVE>" DESTINATION "${CMAKE_INSTALL_LIBDIR}")
  list(APPEND libraries vask_own_names_installed)
  set_target_properties(vask_own_names_installed PROPERTIES EXPORT_NAME Own)
  if(VASK_STREAMS_ONLY)
    list(REMOVE_ITEM libraries vask_static)
    set_target_properties(vask_own_names_installed PROPERTIES EXPORT_NAME Static)
  endif()
endif()
install(
  TARGETS ${libraries}
  EXPORT VaskTargets
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}")
if(VASK_STREAMS_ONLY)
  list(TRANSFORM VASK_STREAM_HEADERS PREPEND "${PROJECT_SOURCE_DIR}/include/vask/" OUTPUT_VARIABLE headers)
  install(FILES ${headers} DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/vask")
else()
  install(
    DIRECTORY "${PROJECT_SOURCE_DIR}/include/vask"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
    FILES_MATCHING
    PATTERN "*.h"
    PATTERN "*.hpp")
endif()
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
set(pc_name vask)
if(VASK_STREAMS_ONLY)
  set(pc_name vask-streams)
endif()
install(FILES "${PROJECT_BINARY_DIR}/vask.pc" DESTINATION "${pc_dir}" RENAME ${pc_name}.pc)
