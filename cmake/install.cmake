# Install rules: the public headers, the shared library (with its import
# library on Windows), the koshr tool, a CMake package (find_package(koshr)
# gives koshr::koshr) and a pkg-config file (koshr.pc). Both package files
# find the library relative to where they are installed, so an installed tree
# can be moved.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(KOSHR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/koshr)

install(TARGETS koshr EXPORT koshrTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/koshr ${KOSHR_GENERATED_INCLUDE}/koshr
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# Driver modules go beside the library: the front end loads them from the
# folder of its own module (the DLL's bin folder on Windows, lib elsewhere).
if(TARGET koODB)
  install(TARGETS koODB
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
if(TARGET koshr_tool)
  install(TARGETS koshr_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

install(EXPORT koshrTargets NAMESPACE koshr:: DESTINATION ${KOSHR_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/koshrConfig.cmake.in
  ${PROJECT_BINARY_DIR}/koshrConfig.cmake INSTALL_DESTINATION ${KOSHR_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/koshrConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/koshrConfig.cmake ${PROJECT_BINARY_DIR}/koshrConfigVersion.cmake
  DESTINATION ${KOSHR_CMAKE_DIR})

# koshr.pc lives in <libdir>/pkgconfig; its prefix is found from there.
file(RELATIVE_PATH KOSHR_PC_TO_PREFIX /root/${CMAKE_INSTALL_LIBDIR}/pkgconfig /root)
string(REGEX REPLACE "/$" "" KOSHR_PC_TO_PREFIX "${KOSHR_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/koshr.pc.in ${PROJECT_BINARY_DIR}/koshr.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/koshr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
