# Chooses the service framework: an installed CppMicroServices, or the bundled subset of it.
set(TARNIX_SERVICE_FRAMEWORK auto CACHE STRING
    "auto (an installed CppMicroServices where there is one), system or bundled")
set_property(CACHE TARNIX_SERVICE_FRAMEWORK PROPERTY STRINGS auto system bundled)
if(NOT TARNIX_SERVICE_FRAMEWORK MATCHES "^(auto|system|bundled)$")
    message(FATAL_ERROR "TARNIX_SERVICE_FRAMEWORK is auto, system or bundled, "
                        "not '${TARNIX_SERVICE_FRAMEWORK}'")
endif()

set(TARNIX_USES_SYSTEM_FRAMEWORK OFF)
if(TARNIX_SERVICE_FRAMEWORK STREQUAL "system")
    find_package(CppMicroServices 3.8 CONFIG REQUIRED COMPONENTS Framework)
    set(TARNIX_USES_SYSTEM_FRAMEWORK ON)
elseif(TARNIX_SERVICE_FRAMEWORK STREQUAL "auto")
    find_package(CppMicroServices 3.8 CONFIG QUIET COMPONENTS Framework)
    set(TARNIX_USES_SYSTEM_FRAMEWORK ${CppMicroServices_FOUND})
endif()

add_library(tarnix_service_framework INTERFACE)
add_library(tarnix::service_framework ALIAS tarnix_service_framework)
set_target_properties(tarnix_service_framework PROPERTIES EXPORT_NAME service_framework)
if(TARNIX_USES_SYSTEM_FRAMEWORK)
    message(STATUS "Service framework: CppMicroServices ${CppMicroServices_VERSION}")
    target_link_libraries(tarnix_service_framework INTERFACE CppMicroServices)
else()
    message(STATUS "Service framework: bundled")
    target_include_directories(tarnix_service_framework INTERFACE
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/host/cppmicroservices/include>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/tarnix/bundled>)
endif()
