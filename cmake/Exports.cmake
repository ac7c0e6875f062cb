# The exported names, all from one list.
#
#   VASK_EXPORTED_FUNCTIONS, VASK_EXPORTED_VARIABLES   the names
#   vask_limit_exports(target)                         make a shared library export them and vask_*, nothing else

set(VASK_EXPORTS_FILE "${CMAKE_CURRENT_LIST_DIR}/exports.txt")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${VASK_EXPORTS_FILE}")

set(VASK_EXPORTED_FUNCTIONS "")
set(VASK_EXPORTED_VARIABLES "")
set(section "")
file(STRINGS "${VASK_EXPORTS_FILE}" lines)
foreach(line IN LISTS lines)
  if(line STREQUAL "# functions")
    set(section VASK_EXPORTED_FUNCTIONS)
  elseif(line STREQUAL "# variables")
    set(section VASK_EXPORTED_VARIABLES)
  elseif(line MATCHES "^[A-Za-z_][A-Za-z0-9_]*$")
    list(APPEND ${section} ${line})
  elseif(NOT line MATCHES "^#")
    message(FATAL_ERROR "${VASK_EXPORTS_FILE}: not a name: ${line}")
  endif()
endforeach()

# The native methods are exported as well; they are not part of the C interface.
set(VASK_JNI_EXPORTS_FILE "")
set(jni_names "")
if(VASK_HAVE_JNI)
  set(VASK_JNI_EXPORTS_FILE "${CMAKE_CURRENT_LIST_DIR}/exports_jni.txt")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${VASK_JNI_EXPORTS_FILE}")
  file(STRINGS "${VASK_JNI_EXPORTS_FILE}" jni_names REGEX "^[^#]")
endif()

set(VASK_VERSION_SCRIPT "${PROJECT_BINARY_DIR}/exports.map")
string(JOIN ";\n    " names ${VASK_EXPORTED_FUNCTIONS} ${VASK_EXPORTED_VARIABLES} ${jni_names})
file(CONFIGURE OUTPUT "${VASK_VERSION_SCRIPT}" CONTENT "{\n  global:\n    @names@;\n    vask_*;\n  local: *;\n};\n" @ONLY)

function(vask_limit_exports target)
  target_link_options(${target} PRIVATE "-Wl,--version-script=${VASK_VERSION_SCRIPT}")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${VASK_VERSION_SCRIPT}")
endfunction()
