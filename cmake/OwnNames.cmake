# A static library of one object in which only the names that begin with vask_ are visible, so that a program may have
# its own Exp or filter beside it. Where object files are not ELF there is none, nor for Android, whose linker does not
# join objects and leave some of them out at once.
#
#   vask_add_own_names(target library core)   libLIBRARY.a from the objects of `core`: the property ARCHIVE of `target`, and
#                                             for those who find it installed the library TARGET_installed

set(VASK_HAVE_OWN_NAMES OFF)
if(CMAKE_OBJCOPY AND CMAKE_EXECUTABLE_FORMAT STREQUAL "ELF" AND NOT VASK_SANITIZE AND NOT ANDROID)
  set(VASK_HAVE_OWN_NAMES ON)
endif()

function(vask_add_own_names target library core)
  set(archive "${PROJECT_BINARY_DIR}/lib${library}.a")
  set(object "${PROJECT_BINARY_DIR}/${library}.o")
  set(roots "")
  if(VASK_STREAMS_ONLY)
    # What none of these reaches is left out.
    set(roots ${VASK_EXPORTED_FUNCTIONS})
    list(TRANSFORM roots PREPEND "-Wl,-u,")
    list(APPEND roots -Wl,--gc-sections)
  endif()
  add_custom_command(
    OUTPUT "${archive}"
    COMMAND "${CMAKE_CXX_COMPILER}" -r -nostdlib -no-pie ${roots} -o "${object}" "$<TARGET_OBJECTS:${core}>"
    COMMAND "${CMAKE_OBJCOPY}" --wildcard "--keep-global-symbol=vask_*" --strip-unneeded "${object}"
    COMMAND "${CMAKE_COMMAND}" -E rm -f "${archive}"
    COMMAND "${CMAKE_AR}" rcs "${archive}" "${object}"
    DEPENDS "$<TARGET_OBJECTS:${core}>" "${VASK_EXPORTS_FILE}"
    COMMAND_EXPAND_LISTS VERBATIM)
  add_custom_target(${target} ALL DEPENDS "${archive}")
  set_property(TARGET ${target} PROPERTY ARCHIVE "${archive}")
  add_library(${target}_installed INTERFACE)
  target_include_directories(${target}_installed INTERFACE "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
  target_link_libraries(${target}_installed
                        INTERFACE "$<INSTALL_INTERFACE:$<INSTALL_PREFIX>/${CMAKE_INSTALL_LIBDIR}/lib${library}.a>" m)
endfunction()
