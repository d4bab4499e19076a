add_executable(vk_preview_tests
    Preview_test.cpp
    PreviewOutput_test.cpp
    support/Command.cpp
    support/PreviewOutput.cpp)
target_compile_definitions(vk_preview_tests PRIVATE
    VK_EMULATOR="${CMAKE_CROSSCOMPILING_EMULATOR}"
    VK_VKCTL_PROGRAM="$<TARGET_FILE:vkctl>")
target_link_libraries(vk_preview_tests PRIVATE vk_daemon_support in_box)
add_dependencies(vk_preview_tests vkAppPost vkdb vkctl)
gtest_discover_tests(vk_preview_tests DISCOVERY_MODE PRE_TEST
    PROPERTIES TIMEOUT ${VK_TIME_LIMIT} LABELS daemon)

# The companion's own classes on the same hosts, without a daemon. The box is for their files: in memory.
vk_unit_test(vk_preview_truth_test
    SOURCES PreviewTruth_test.cpp
    LIBS vkctl_lib vk_host_support in_box)
