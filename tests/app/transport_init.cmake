# Start-up, transport, lock, pauses and the alarm signal: programs of their own, because each
# defines other collaborators.

# libcurl, the log and the pauses are the test's.
vk_app_test(app_transport_test
    SOURCES AppPostReply_test.cpp AppPostTransport_test.cpp
        ${PROJECT_SOURCE_DIR}/tests/support/FakeCurl.cpp
    WITH poster_test record_log record_pause record_tray)

# Names looked up within a limit, the system's function the test's own.
vk_app_test(app_name_lookup_test SOURCES NameLookup_test.cpp)

# Start-up: system calls and libcurl are the test's, the database library a stub.
function(vk_app_stub_library NAME)
    add_library(${NAME} MODULE ${PROJECT_SOURCE_DIR}/tests/support/stublibs/StubLibrary.cpp)
    target_compile_definitions(${NAME} PRIVATE ${ARGN})
    target_link_libraries(${NAME} PRIVATE vk_flags)
endfunction()
vk_app_stub_library(stub_full STUB_GET STUB_FREE)
vk_app_stub_library(stub_no_get STUB_FREE)
vk_app_stub_library(stub_no_free STUB_GET)
vk_app_stub_library(stub_empty)

vk_app_test(app_post_test
    SOURCES AppPost_test.cpp ${PROJECT_SOURCE_DIR}/tests/support/FakeCurl.cpp
    WITH record_log record_pause record_tray
    LIBS ${CMAKE_DL_LIBS})
set_target_properties(app_post_test PROPERTIES ENABLE_EXPORTS ON) # the stubs call back
target_compile_definitions(app_post_test PRIVATE
    "VK_STUB_FULL=\"$<TARGET_FILE:stub_full>\""
    "VK_STUB_NO_GET=\"$<TARGET_FILE:stub_no_get>\""
    "VK_STUB_NO_FREE=\"$<TARGET_FILE:stub_no_free>\""
    "VK_STUB_EMPTY=\"$<TARGET_FILE:stub_empty>\"")
add_dependencies(app_post_test stub_full stub_no_get stub_no_free stub_empty)

# In the box: the pid file's folder is fixed.
vk_app_test(app_single_instance_test SOURCES SingleInstance_test.cpp LIBS in_box)

# What a parent leaves behind, left by the test.
vk_app_test(app_inherited_test SOURCES Inherited_test.cpp)

# Pauses and clock on system calls of the test's own.
vk_app_test(app_pause_test SOURCES AppPause_test.cpp)

# The alarm signal, at_rest and the system's timer replaced.
vk_app_test(app_alarm_signal_test SOURCES AlarmSignal_test.cpp)
