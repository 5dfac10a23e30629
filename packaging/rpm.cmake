# RPM packages of the components "host" and "dev": cpack -G RPM. scripts/package --rpm builds them.
set(CPACK_GENERATOR RPM)
set(CPACK_PACKAGE_NAME pni-host)
set(CPACK_PACKAGE_VENDOR "em_pni maintainers")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_COMPONENTS_ALL host dev)
set(CPACK_RPM_COMPONENT_INSTALL ON)
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE 1)
set(CPACK_RPM_PACKAGE_LICENSE "LicenseRef-em_pni AND MIT AND BSD-3-Clause")
set(CPACK_STRIP_FILES ON)

set(CPACK_RPM_HOST_PACKAGE_NAME pni-host)
set(CPACK_RPM_HOST_PACKAGE_SUMMARY "Network inventory in the FRU data of a management controller")
set(CPACK_RPM_HOST_PACKAGE_DESCRIPTION
    "The extension module em_pni.so, pni-host, which loads it, and its systemd unit.")
set(CPACK_RPM_HOST_USER_FILELIST
    "%config(noreplace) ${CMAKE_INSTALL_FULL_SYSCONFDIR}/pni-host/em_pni.ini")
set(CPACK_RPM_HOST_PRE_UNINSTALL_SCRIPT_FILE ${CMAKE_CURRENT_LIST_DIR}/rpm_preun.sh)
set(CPACK_RPM_HOST_POST_UNINSTALL_SCRIPT_FILE ${CMAKE_CURRENT_LIST_DIR}/rpm_postun.sh)
# The service loads it; see host/output/service_status.h.
set(CPACK_RPM_HOST_PACKAGE_REQUIRES "libsystemd.so.0()(64bit)")

set(CPACK_RPM_DEV_PACKAGE_NAME em_pni-devel)
set(CPACK_RPM_DEV_PACKAGE_SUMMARY "Headers for hosts of the extension module em_pni")
set(CPACK_RPM_DEV_PACKAGE_DESCRIPTION
    "The headers of the interface between host and module, a CMake package and a pkg-config file.")
set(CPACK_RPM_DEV_PACKAGE_REQUIRES "pni-host = ${PROJECT_VERSION}, rapidjson-devel")

set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
    /etc /etc/pni-host /lib /lib/systemd /lib/systemd/system /usr/lib/systemd
    /usr/lib/systemd/system /usr/share/bash-completion /usr/share/bash-completion/completions
    /usr/share/man /usr/share/man/man5 /usr/share/man/man7 /usr/share/man/man8
    /usr/lib64/cmake /usr/lib64/pkgconfig)
include(CPack)
