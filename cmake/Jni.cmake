# The Java binding: VASK_HAVE_JNI says whether it is part of the shared library. On Android jni.h comes with the
# compiler, elsewhere with a JDK; without either the library is the C interface alone.

set(VASK_HAVE_JNI OFF)
if(VASK_JNI AND ANDROID)
  set(VASK_HAVE_JNI ON)
elseif(VASK_JNI)
  find_package(JNI QUIET)
  if(JAVA_INCLUDE_PATH AND JAVA_INCLUDE_PATH2)  # all that is needed, whether or not the rest of a JDK was found
    set(VASK_HAVE_JNI ON)
  else()
    message(STATUS "The Java binding is left out: there is no jni.h (a JDK has it)")
  endif()
endif()

# Add the binding to a shared library.
function(vask_add_jni target)
  file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/jni/*.cpp")
  add_library(vask_jni OBJECT ${sources})
  vask_core_settings(vask_jni)
  if(NOT ANDROID)
    target_include_directories(vask_jni SYSTEM PRIVATE "${JAVA_INCLUDE_PATH}" "${JAVA_INCLUDE_PATH2}")
  endif()
  target_sources(${target} PRIVATE $<TARGET_OBJECTS:vask_jni>)
endfunction()
