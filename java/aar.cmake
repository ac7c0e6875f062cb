# The target vask_aar, in a build with the NDK's toolchain file: the Android archive with the library for each of
# VASK_AAR_ABIS. That of this build's ABI is at hand; the others come from builds of their own, with the same toolchain.

include(ExternalProject)
set(VASK_AAR_ABIS "arm64-v8a;armeabi-v7a;x86_64;x86" CACHE STRING "ABIs whose libraries the Android archive holds")
set(VASK_AAR "${PROJECT_BINARY_DIR}/vask-${PROJECT_VERSION}.aar")

set(libraries "")
set(builds "")
foreach(abi IN LISTS VASK_AAR_ABIS)
  if(abi STREQUAL ANDROID_ABI)
    list(APPEND libraries "${abi}=$<TARGET_FILE:vask_shared>")
    list(APPEND builds vask_shared)
    continue()
  endif()
  set(folder "${PROJECT_BINARY_DIR}/${abi}")
  ExternalProject_Add(
    vask_for_${abi}
    SOURCE_DIR "${PROJECT_SOURCE_DIR}"
    BINARY_DIR "${folder}"
    CMAKE_ARGS "-DCMAKE_TOOLCHAIN_FILE=${CMAKE_TOOLCHAIN_FILE}"
               "-DCMAKE_MAKE_PROGRAM=${CMAKE_MAKE_PROGRAM}"
               "-DCMAKE_BUILD_TYPE=${CMAKE_BUILD_TYPE}"
               "-DANDROID_ABI=${abi}"
               "-DANDROID_PLATFORM=${ANDROID_PLATFORM}"
               "-DVASK_BUILT_IN_MODEL=${VASK_BUILT_IN_MODEL}"
               -DVASK_BUILD_JAVA=OFF
    BUILD_COMMAND "${CMAKE_COMMAND}" --build "${folder}" --target vask_shared
    BUILD_ALWAYS ON # it knows what has changed
    BUILD_BYPRODUCTS "${folder}/libVask.so"
    INSTALL_COMMAND ""
    EXCLUDE_FROM_ALL ON
    USES_TERMINAL_BUILD ON) # one after the other: each uses all processors
  list(APPEND libraries "${abi}=${folder}/libVask.so")
  list(APPEND builds vask_for_${abi})
endforeach()

# CMake's own support for the NDK has the API level in the system's version.
set(level "${ANDROID_PLATFORM_LEVEL}")
if(NOT level)
  set(level "${CMAKE_SYSTEM_VERSION}")
endif()

list(JOIN libraries "," libraries)
add_custom_target(
  vask_aar
  COMMAND
    "${CMAKE_COMMAND}" "-DOUT=${VASK_AAR}" -DVERSION=${PROJECT_VERSION} "-DJAR=${CMAKE_CURRENT_BINARY_DIR}/vask.jar"
    "-DLIBRARIES=${libraries}" "-DSTRIP=${CMAKE_STRIP}" "-DJAR_TOOL=${Java_JAR_EXECUTABLE}" -DDATE=${VASK_JAR_DATE} -DAPI=${level} -DNDK_MAJOR=${ANDROID_NDK_MAJOR}
    -P "${CMAKE_CURRENT_LIST_DIR}/pack_aar.cmake"
  VERBATIM)
add_dependencies(vask_aar vask_jar ${builds})
