# Compiling Java with the tools of the JDK that was found. Class files have the format of Java 8, which Android's tools
# read.

set(VASK_JAVAC_FLAGS --release 8 -Xlint:all,-options -Werror -encoding UTF-8)

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
    COMMAND "${Java_JAR_EXECUTABLE}" cf "${output}" -C "${classes}" . ${arg_CONTENT}
    DEPENDS ${files} ${arg_CLASSPATH} ${arg_DEPENDS}
    COMMENT "Building ${jar}"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS "${output}")
endfunction()
