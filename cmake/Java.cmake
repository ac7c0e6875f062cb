# Compiling Java with the tools of the JDK that was found. Class files have the format of Java 8, which Android's tools
# read.

set(VASK_JAVAC_FLAGS --release 8 -Xlint:all,-options -Werror -encoding UTF-8)

# The time of every file in an archive, so that the same content gives the same bytes. Older JDKs have no such option.
set(VASK_JAR_DATE "")
set(create cf)
if(Java_VERSION VERSION_GREATER_EQUAL 17.0.3)
  set(VASK_JAR_DATE 1980-01-01T00:00:02Z)
  set(create --create --date=${VASK_JAR_DATE} --file)
endif()
set(VASK_JAR_CREATE "${Java_JAR_EXECUTABLE}" ${create})

# Compile the .java files below `sources` into a jar: vask_add_jar(target jar sources [CLASSPATH jar...] [FLAGS flag...]
# [CONTENT argument of jar...] [DEPENDS file...])
function(vask_add_jar target jar sources)
  cmake_parse_arguments(arg "" "" "CLASSPATH;FLAGS;CONTENT;DEPENDS" ${ARGN})
  file(GLOB_RECURSE files CONFIGURE_DEPENDS "${sources}/*.java")
  list(JOIN arg_CLASSPATH ":" classpath)
  set(classes "${CMAKE_CURRENT_BINARY_DIR}/${target}.dir/classes")
  set(output "${CMAKE_CURRENT_BINARY_DIR}/${jar}")
  add_custom_command(
    OUTPUT "${output}"
    COMMAND "${CMAKE_COMMAND}" -E rm -rf "${classes}"
    COMMAND "${Java_JAVAC_EXECUTABLE}" ${VASK_JAVAC_FLAGS} ${arg_FLAGS} -cp ".:${classpath}" -d "${classes}" ${files}
    COMMAND ${VASK_JAR_CREATE} "${output}" -C "${classes}" . ${arg_CONTENT}
    DEPENDS ${files} ${arg_CLASSPATH} ${arg_DEPENDS}
    COMMENT "Building ${jar}"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS "${output}")
endfunction()
