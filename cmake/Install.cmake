# Installs the libraries with their headers, and a package that find_package(tarnix_ftp) finds.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/tarnix_ftp)

install(TARGETS
        tarnix_service_framework tarnix_platform tarnix_host tarnix_ftp_core tarnix_session
    EXPORT tarnix_ftp_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT tarnix_ftp_targets NAMESPACE tarnix:: DESTINATION ${package_dir})

install(DIRECTORY include/ platform/ host/include/ session/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.hpp")
install(FILES ${PROJECT_BINARY_DIR}/include/tarnix/io/ftp/export.hpp
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarnix/io/ftp)
if(NOT TARNIX_USES_SYSTEM_FRAMEWORK)
    install(DIRECTORY host/cppmicroservices/include/
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tarnix/bundled)
endif()

configure_package_config_file(cmake/tarnix_ftpConfig.cmake.in tarnix_ftpConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(tarnix_ftpConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
        ${PROJECT_BINARY_DIR}/tarnix_ftpConfig.cmake
        ${PROJECT_BINARY_DIR}/tarnix_ftpConfigVersion.cmake
    DESTINATION ${package_dir})
