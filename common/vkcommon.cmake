# libvkcommon: what the daemon is built on, installed for other programs of the host.
#
#     find_package(vkcommon)
#     target_link_libraries(theirs PRIVATE vkcommon::vkcommon)          # or vkcommon::vkcommon_static
#
# Both are made of the objects of common and vkpub, which the daemon itself keeps linking.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(VKCOMMON_SOVERSION 1) # of the shared library's interface; rises when that breaks

add_library(vkcommon SHARED $<TARGET_OBJECTS:common> $<TARGET_OBJECTS:vkpub>)
add_library(vkcommon_static STATIC $<TARGET_OBJECTS:common> $<TARGET_OBJECTS:vkpub>)
set_target_properties(vkcommon vkcommon_static PROPERTIES
    LINKER_LANGUAGE CXX
    OUTPUT_NAME vkcommon)
set_target_properties(vkcommon PROPERTIES
    VERSION ${VKCOMMON_SOVERSION}.0.0
    SOVERSION ${VKCOMMON_SOVERSION}
    LINK_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/vkcommon.map")
target_link_libraries(vkcommon PRIVATE vk_flags)
target_link_options(vkcommon PRIVATE
    "-Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/vkcommon.map")
if(NOT VK_SANITIZE) # clang's sanitizers leave names open
    target_link_options(vkcommon PRIVATE -Wl,--no-undefined)
endif()

foreach(LIBRARY vkcommon vkcommon_static)
    target_compile_features(${LIBRARY} INTERFACE cxx_std_17)
    target_include_directories(${LIBRARY} INTERFACE
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/vkcommon>)
endforeach()

set(VKCOMMON_PACKAGE ${CMAKE_INSTALL_LIBDIR}/cmake/vkcommon)
install(TARGETS vkcommon vkcommon_static EXPORT vkcommon
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT vkcommon
        NAMELINK_COMPONENT vkcommon
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT vkcommon)
install(FILES BufHelper.h SimpleIni.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vkcommon/common COMPONENT vkcommon)
install(FILES ${PROJECT_SOURCE_DIR}/vkPub/vkLog.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vkcommon/vkPub COMPONENT vkcommon)
install(EXPORT vkcommon NAMESPACE vkcommon:: FILE vkcommonConfig.cmake
    DESTINATION ${VKCOMMON_PACKAGE} COMPONENT vkcommon)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/vkcommonConfigVersion.cmake
    VERSION ${VKCOMMON_SOVERSION}.0.0 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vkcommonConfigVersion.cmake
    DESTINATION ${VKCOMMON_PACKAGE} COMPONENT vkcommon)
