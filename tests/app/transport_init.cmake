# Start-up, transport, lock, pauses and the alarm signal: programs of their own, because each
# defines other collaborators.

# libcurl, the log and the pauses are the test's.
vk_app_test(app_transport_test
    SOURCES AppPostTransport_test.cpp ${PROJECT_SOURCE_DIR}/tests/support/FakeCurl.cpp
    WITH poster_test record_log record_pause record_tray)
