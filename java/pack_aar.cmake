# Pack an Android archive: the classes, the libraries, the rules for R8, and the headers and libraries again where native
# builds look for them (Prefab).
#
#   cmake -DOUT=vask.aar -DVERSION=0.0.0 -DJAR=vask.jar -DLIBRARIES=ABI=LIBRARY,ABI=LIBRARY... -DSTRIP=strip -DJAR_TOOL=jar
#         [-DDATE=1980-01-01T00:00:02Z] [-DAPI=21] [-DNDK_MAJOR=0] -P pack_aar.cmake
#
# API and NDK_MAJOR are those with which the libraries were built. The libraries are stripped. The JDK's jar packs,
# since it notes neither owners nor permissions; DATE is the time of every file, for those that can set it.
cmake_minimum_required(VERSION 3.22)

if(NOT API)
  set(API 21)
endif()
if(NOT NDK_MAJOR)
  set(NDK_MAJOR 0)
endif()
get_filename_component(root "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)
set(work "${OUT}.dir")
set(module "${work}/prefab/modules/Vask")
file(REMOVE_RECURSE "${work}")

file(READ "${CMAKE_CURRENT_LIST_DIR}/android/AndroidManifest.xml" manifest)
string(REGEX REPLACE "minSdkVersion=\"[0-9]+\"" "minSdkVersion=\"${API}\"" manifest "${manifest}")
file(WRITE "${work}/AndroidManifest.xml" "${manifest}")
file(WRITE "${work}/R.txt" "") # no resources
configure_file("${JAR}" "${work}/classes.jar" COPYONLY)
configure_file("${CMAKE_CURRENT_LIST_DIR}/keep-rules.pro" "${work}/proguard.txt" COPYONLY)
file(COPY "${root}/include/vask" DESTINATION "${module}/include" FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
file(WRITE "${work}/prefab/prefab.json"
     "{\"schema_version\": 2, \"name\": \"vask\", \"version\": \"${VERSION}\", \"dependencies\": []}\n")
file(WRITE "${module}/module.json" "{\"export_libraries\": [], \"library_name\": \"libVask\", \"android\": {}}\n")

string(REPLACE "," ";" LIBRARIES "${LIBRARIES}")
foreach(pair IN LISTS LIBRARIES)
  string(REGEX MATCH "^([^=]+)=(.+)$" matched "${pair}")
  set(abi "${CMAKE_MATCH_1}")
  set(for_applications "${work}/jni/${abi}")
  set(for_native_code "${module}/libs/android.${abi}")
  file(MAKE_DIRECTORY "${for_applications}")
  execute_process(COMMAND "${STRIP}" --strip-unneeded -o "${for_applications}/libVask.so" "${CMAKE_MATCH_2}"
                          COMMAND_ERROR_IS_FATAL ANY)
  file(COPY "${for_applications}/libVask.so" DESTINATION "${for_native_code}")
  # No C++ crosses the interface, so it works with any C++ library in the application.
  file(WRITE "${for_native_code}/abi.json"
       "{\"abi\": \"${abi}\", \"api\": ${API}, \"ndk\": ${NDK_MAJOR}, \"stl\": \"none\", \"static\": false}\n")
endforeach()

file(REMOVE "${OUT}")
set(create cfM "${OUT}")
if(DATE)
  set(create --create --no-manifest "--date=${DATE}" --file "${OUT}")
endif()
execute_process(COMMAND "${JAR_TOOL}" ${create} -C "${work}" . COMMAND_ERROR_IS_FATAL ANY)
file(REMOVE_RECURSE "${work}")
file(SIZE "${OUT}" bytes)
message(NOTICE "Packed ${OUT}: ${bytes} bytes")
