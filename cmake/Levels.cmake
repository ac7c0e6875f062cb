# The level of optimisation of the core, for builds at -O2 or -O3. What runs per frame takes half as much time again at
# -O2, the level of RelWithDebInfo and of distributions, so it is compiled with -O3 there too; the rest for size. Who
# asks for another level, such as -O0, -Og or -Os, gets it everywhere.

# Whether the build type, which may be empty, compiles C++ with -O2 or -O3: the last level on the line counts.
function(vask_optimises build_type result)
  string(TOUPPER "${build_type}" build_type)
  string(REGEX MATCHALL " -O[^ ]*" levels " ${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}")
  set(${result} 0 PARENT_SCOPE)
  if(levels MATCHES "-O[23]$")
    set(${result} 1 PARENT_SCOPE)
  endif()
endfunction()

# vask_set_levels(TARGET SOURCE...): the sources are those that do not run per frame.
function(vask_set_levels target)
  vask_optimises("${CMAKE_BUILD_TYPE}" optimises)
  if(CMAKE_CONFIGURATION_TYPES)
    set(optimised 0)
    foreach(type IN LISTS CMAKE_CONFIGURATION_TYPES)
      vask_optimises(${type} this_one)
      string(APPEND optimised ",$<AND:${this_one},$<CONFIG:${type}>>")
    endforeach()
    set(optimises "$<OR:${optimised}>")
  endif()
  target_compile_options(${target} PRIVATE $<${optimises}:-O3>)
  set_source_files_properties(${ARGN} PROPERTIES COMPILE_OPTIONS "$<${optimises}:-Os>")
endfunction()
