# Installs what a host author needs beside the headers: a CMake package, a pkg-config file, the
# documentation and an example. All paths in the package and in the pkg-config file are relative to their
# own place, so `cmake --install` may use any prefix.
include(CMakePackageConfigHelpers)

file(STRINGS ${RAPIDJSON_INCLUDE_DIR}/rapidjson/rapidjson.h em_pni_rapidjson_version
    REGEX "^#define RAPIDJSON_(MAJOR|MINOR|PATCH)_VERSION [0-9]+$")
list(TRANSFORM em_pni_rapidjson_version REPLACE "^.* " "")
list(JOIN em_pni_rapidjson_version "." em_pni_rapidjson_version)

set(em_pni_module_dir ${CMAKE_INSTALL_LIBDIR}/em_pni)
set(em_pni_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/em_pni)
configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/em_pniConfig.cmake.in ${PROJECT_BINARY_DIR}/em_pniConfig.cmake
    INSTALL_DESTINATION ${em_pni_package_dir}
    PATH_VARS CMAKE_INSTALL_INCLUDEDIR em_pni_module_dir
    NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/em_pniConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/em_pniConfig.cmake ${PROJECT_BINARY_DIR}/em_pniConfigVersion.cmake
    DESTINATION ${em_pni_package_dir} COMPONENT dev)

set(pc_dir ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
set(em_pni_prefix ${CMAKE_INSTALL_PREFIX})
set(em_pni_include ${CMAKE_INSTALL_FULL_INCLUDEDIR})
set(em_pni_module ${CMAKE_INSTALL_FULL_LIBDIR}/em_pni)
cmake_path(RELATIVE_PATH em_pni_prefix BASE_DIRECTORY ${pc_dir})
cmake_path(RELATIVE_PATH em_pni_include BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
cmake_path(RELATIVE_PATH em_pni_module BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/em_pni.pc.in ${PROJECT_BINARY_DIR}/em_pni.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/em_pni.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

install(FILES docs/pni-host.md docs/storage.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/pni-host)
install(FILES docs/host.md docs/record.md TYPE DOC COMPONENT dev)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT dev)
