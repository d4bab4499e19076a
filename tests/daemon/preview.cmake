add_library(vk_preview_support STATIC
    support/Command.cpp
    support/PreviewOutput.cpp
    support/SystemCalls.cpp)
target_compile_definitions(vk_preview_support PRIVATE
    VK_EMULATOR="${CMAKE_CROSSCOMPILING_EMULATOR}"
    VK_VKCTL_PROGRAM="$<TARGET_FILE:vkctl>")
target_link_libraries(vk_preview_support PUBLIC vk_daemon_support)

add_executable(vk_preview_tests
    Companion_test.cpp
    Preview_test.cpp
    PreviewOutput_test.cpp
    PreviewTerminal_test.cpp
    SystemCalls_test.cpp)
target_link_libraries(vk_preview_tests PRIVATE vk_preview_support in_box)
add_dependencies(vk_preview_tests vkAppPost vkdb vkctl)
gtest_discover_tests(vk_preview_tests DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT ${VK_TIME_LIMIT} LABELS daemon)

# The companion's own classes on the same hosts, without a daemon. The box is for their files: in memory.
vk_unit_test(vk_preview_truth_test
    SOURCES PreviewTruth_test.cpp
    LIBS vkctl_lib vk_host_support in_box)

# What a program does is told by its system calls, and an emulator makes calls of its own among them;
# measuring coverage writes files, as ThreadSanitizer does.
if(NOT CMAKE_CROSSCOMPILING AND NOT VK_COVERAGE AND NOT VK_SANITIZE MATCHES "thread")
    add_executable(vk_harmless_tests Harmless_test.cpp WriteAheadLog_test.cpp)
    target_link_libraries(vk_harmless_tests PRIVATE vk_preview_support in_box)
    add_dependencies(vk_harmless_tests vkAppPost vkdb vkctl)
    gtest_discover_tests(vk_harmless_tests DISCOVERY_MODE PRE_TEST
        PROPERTIES TIMEOUT ${VK_TIME_LIMIT} LABELS daemon)
endif()

add_test(NAME Checks.CompanionHasNoTransport
    COMMAND checks/no-transport $<TARGET_FILE:vkctl> $<TARGET_FILE:vkAppPost>
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
