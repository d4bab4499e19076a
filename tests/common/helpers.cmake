# The helper library: its functions, its frames, and the tree that is installed.
vk_unit_test(buf_test
    SOURCES
        BufCodec_test.cpp
        BufFrame_test.cpp
        BufProperties_test.cpp
        BufText_test.cpp
        YdFrame_test.cpp
    LIBS common)

set(VK_BUILD_FLAGS "")
if(VK_SANITIZE)
    string(APPEND VK_BUILD_FLAGS " -fsanitize=${VK_SANITIZE}")
endif()
if(VK_COVERAGE)
    string(APPEND VK_BUILD_FLAGS " --coverage")
endif()

add_test(NAME vkcommon.ProgramBuildsAgainstInstalledTree COMMAND ${CMAKE_COMMAND}
    -DBUILD=${PROJECT_BINARY_DIR} -DSOURCE=${PROJECT_SOURCE_DIR}
    -DWORK=${CMAKE_CURRENT_BINARY_DIR}/installed_helpers
    -DTOOLCHAIN=${CMAKE_TOOLCHAIN_FILE} -DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}
    -DCOMPILER=${CMAKE_CXX_COMPILER} -DFLAGS=${VK_BUILD_FLAGS} -DGENERATOR=${CMAKE_GENERATOR}
    -P ${CMAKE_CURRENT_SOURCE_DIR}/InstalledHelpers.cmake)
add_test(NAME vkcommon.ExportsPublicNamesOnly COMMAND ${CMAKE_COMMAND}
    -DNM=${CMAKE_NM} -DLIBRARY=$<TARGET_FILE:vkcommon>
    -P ${CMAKE_CURRENT_SOURCE_DIR}/Exports.cmake)
set_tests_properties(vkcommon.ProgramBuildsAgainstInstalledTree vkcommon.ExportsPublicNamesOnly
    PROPERTIES TIMEOUT ${VK_TIME_LIMIT})
