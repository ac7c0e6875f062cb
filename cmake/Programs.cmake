# The programs beside the library: the command vask, the table generator, the benchmarks and what training runs.

set(remedy "scripts/install-deps.sh installs it")
find_package(PkgConfig)
include(CheckLinkerFlag)

# A pkg-config package as an imported target. `required` false: only set `found`.
function(vask_find_package package required found)
  if(PkgConfig_FOUND)
    pkg_check_modules(${package} QUIET IMPORTED_TARGET GLOBAL ${package})
  endif()
  if(required AND NOT TARGET PkgConfig::${package})
    message(FATAL_ERROR "${package} (pkg-config) is missing: ${remedy}")
  endif()
  if(TARGET PkgConfig::${package})
    set(${found} ON PARENT_SCOPE)
  else()
    set(${found} OFF PARENT_SCOPE)
  endif()
endfunction()

if(VASK_BUILD_COMMAND)
  file(GLOB_RECURSE command_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tools/vask/*.cpp")
  if(WIN32)
    # Whole files in place of others of that name, the calls that the rest makes, and UTF-8 as the code page.
    file(GLOB windows_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tools/windows/*.cpp")
    list(FILTER command_sources EXCLUDE REGEX "/(signals|child_process|library_words)\\.cpp$")
    list(APPEND command_sources ${windows_sources} "${PROJECT_SOURCE_DIR}/tools/windows/vask.rc")
    enable_language(RC)
  endif()
  if(command_sources)
    find_package(CLI11 QUIET)
    if(NOT CLI11_FOUND)
      message(FATAL_ERROR "CLI11 is missing: ${remedy}, or -DVASK_BUILD_COMMAND=OFF leaves the command out")
    endif()
    find_package(nlohmann_json QUIET)
    if(NOT nlohmann_json_FOUND)
      message(FATAL_ERROR "nlohmann-json is missing: ${remedy}, or -DVASK_BUILD_COMMAND=OFF leaves the command out")
    endif()
    vask_find_package(sndfile ON found)
    vask_find_package(soxr ON found)
    vask_find_package(opus ON found)
    vask_find_package(ogg ON found)
    vask_find_package(zlib ON found)
    add_executable(vask ${command_sources})
    target_include_directories(vask PRIVATE tools/vask src)
    target_compile_definitions(vask PRIVATE VASK_VERSION="${PROJECT_VERSION}"
                                            VASK_JNI_BUILT=$<BOOL:${VASK_HAVE_JNI}>)
    find_package(Threads REQUIRED)
    # The static library also has what the shared one does not export: the level of the kernels.
    target_link_libraries(vask PRIVATE vask_flags vask_hardening vask_player vask_static CLI11::CLI11 nlohmann_json::nlohmann_json PkgConfig::sndfile PkgConfig::soxr
                                       Threads::Threads PkgConfig::zlib PkgConfig::opus PkgConfig::ogg)
    # Binding the C++ library's names takes half the instructions of a start; some systems only have it shared.
    set(static_runtime -static-libstdc++ -static-libgcc)
    check_linker_flag(CXX "${static_runtime}" VASK_HAVE_STATIC_RUNTIME)
    if(VASK_HAVE_STATIC_RUNTIME AND NOT VASK_SANITIZE)
      target_link_options(vask PRIVATE ${static_runtime})
    endif()
    if(VASK_SHADOW_STACK)
      target_link_options(vask PRIVATE -Wl,-z,shstk)
    endif()
    if(WIN32)
      target_include_directories(vask PRIVATE tools)
      target_include_directories(vask SYSTEM BEFORE PRIVATE tools/windows/system)
      target_link_options(vask PRIVATE -static)
      # What the libraries were hardened with, and the state of a pipe.
      set_property(TARGET PkgConfig::opus PkgConfig::sndfile APPEND PROPERTY INTERFACE_LINK_LIBRARIES ssp)
      target_link_libraries(vask PRIVATE ntdll)
    endif()
    set(VASK_REPORT_PAGE "${PROJECT_SOURCE_DIR}/tools/vask/jobs/report/template.html"
        CACHE FILEPATH "The page that vask report fills in, as viewer/build.mjs writes it")
    set_source_files_properties(
      tools/vask/jobs/report/template.cpp PROPERTIES OBJECT_DEPENDS "${VASK_REPORT_PAGE}"
                                                COMPILE_DEFINITIONS "VASK_REPORT_TEMPLATE=\"${VASK_REPORT_PAGE}\"")
    set(selftest_digests "${PROJECT_SOURCE_DIR}/tools/vask/jobs/selftest/expected.txt")
    set(selftest_cases "${PROJECT_SOURCE_DIR}/tests/replay/replay.txt")
    set_source_files_properties(
      tools/vask/jobs/selftest/expected.cpp
      PROPERTIES OBJECT_DEPENDS "${selftest_digests};${selftest_cases}"
                 COMPILE_DEFINITIONS
                 "VASK_SELFTEST_DIGESTS=\"${selftest_digests}\";VASK_SELFTEST_CASES=\"${selftest_cases}\"")
  endif()
endif()

if(VASK_BUILD_TABLES)
  file(GLOB table_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tools/tables/*.cpp")
  if(table_sources)
    add_executable(vask-tables ${table_sources})
    target_include_directories(vask-tables PRIVATE tools/tables)
    target_link_libraries(vask-tables PRIVATE vask_flags)
  endif()
endif()

if(VASK_BUILD_BENCH)
  file(GLOB bench_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/bench/*.cpp")
  find_package(benchmark QUIET)
  vask_find_package(speexdsp OFF have_speexdsp)
  vask_find_package(sndfile OFF have_sndfile)
  if(NOT bench_sources)
    # nothing to build yet
  elseif(benchmark_FOUND AND have_speexdsp AND have_sndfile)
    add_executable(bench ${bench_sources})
    target_include_directories(bench PRIVATE bench src)
    target_compile_definitions(bench PRIVATE VASK_SAMPLES_DIR="${VASK_SAMPLES_DIR}")
    target_link_libraries(bench PRIVATE vask_flags vask_static benchmark::benchmark PkgConfig::speexdsp
                                        PkgConfig::sndfile)
    set_target_properties(bench PROPERTIES RUNTIME_OUTPUT_NAME vask-bench)
  else()
    message(STATUS "Benchmarks left out: they need Google Benchmark, SpeexDSP and sndfile; ${remedy}")
  endif()
endif()

if(VASK_BUILD_TRAINING)
  add_executable(vask-ear training/ear.cpp)
  target_include_directories(vask-ear PRIVATE src)
  target_link_libraries(vask-ear PRIVATE vask_flags vask_static)
endif()
