# An overlay port: vcpkg install libvask --overlay-ports=packaging/vcpkg
# It builds the tree that it stands in; a registry would name a tag here.
get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

vcpkg_check_features(OUT_FEATURE_OPTIONS options FEATURES tool VASK_BUILD_COMMAND)
vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS ${options}
          -DVASK_JNI=OFF
          -DVASK_BUILD_JAVA=OFF
          -DVASK_BUILD_TABLES=OFF
          -DVASK_BUILD_BENCH=OFF
          -DVASK_BUILD_TRAINING=OFF
          -DVASK_BUILD_TESTS=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME Vask CONFIG_PATH lib/cmake/Vask)
vcpkg_fixup_pkgconfig()
if("tool" IN_LIST FEATURES)
  vcpkg_copy_tools(TOOL_NAMES vask AUTO_CLEAN)
endif()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
