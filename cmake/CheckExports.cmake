# Compare what a shared library exports with the list of names.
#
#   cmake -DNM=nm -DLIBRARY=libVask.so -DEXPORTS=exports.txt [-DJNI_EXPORTS=exports_jni.txt] -P CheckExports.cmake
#
# All have the version VASK_0. What begins with vask_ may be exported without being listed.

execute_process(
  COMMAND "${NM}" -D --defined-only "${LIBRARY}"
  OUTPUT_VARIABLE table
  COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${table}")
set(exported "")
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^.* " "" name "${line}")
  if(NOT name MATCHES "@@VASK_0$" AND NOT name STREQUAL "VASK_0")
    message(FATAL_ERROR "${name} lacks the version VASK_0")
  endif()
  string(REGEX REPLACE "@.*" "" name "${name}")
  if(NOT name MATCHES "^(vask_|VASK_0$)")
    list(APPEND exported "${name}")
  endif()
endforeach()
file(STRINGS "${EXPORTS}" listed REGEX "^[^#]")
if(JNI_EXPORTS)
  file(STRINGS "${JNI_EXPORTS}" native_methods REGEX "^[^#]")
  list(APPEND listed ${native_methods})
endif()

list(LENGTH exported count)
set(missing ${listed})
set(surplus ${exported})
if(exported)
  list(REMOVE_ITEM missing ${exported})
  list(REMOVE_ITEM surplus ${listed})
endif()
foreach(name IN LISTS missing)
  message(NOTICE "missing: ${name}")
endforeach()
foreach(name IN LISTS surplus)
  message(NOTICE "exported, but not listed: ${name}")
endforeach()
if(missing OR surplus)
  message(FATAL_ERROR "the exported names of ${LIBRARY} differ from ${EXPORTS}")
endif()
message(NOTICE "${count} names, exactly those of the list")
