# The switch between skipping and failing for a missing shared fixture, checked with a probe
# whose fixture never exists; and the check that a test wired here by a wrong name stops the
# configure step.
add_executable(missing_fixture_probe ${CMAKE_CURRENT_SOURCE_DIR}/scripts/missing_fixture_probe.cpp)
target_link_libraries(missing_fixture_probe PRIVATE KastrelTestSupport)
ki_set_warnings(missing_fixture_probe)
set_target_properties(missing_fixture_probe PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)
add_test(NAME MissingSharedFixture
         COMMAND ${CMAKE_COMMAND} -DPROBE=$<TARGET_FILE:missing_fixture_probe>
                 -P ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_missing_fixture.cmake)
set_tests_properties(MissingSharedFixture PROPERTIES TIMEOUT 60 ENVIRONMENT "QT_QPA_PLATFORM=offscreen")

add_test(NAME WiredTestNamesMustExist
         COMMAND ${CMAKE_COMMAND} -DMODULE=${PROJECT_SOURCE_DIR}/cmake/RequireTests.cmake
                 -P ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_required_tests.cmake)
set_tests_properties(WiredTestNamesMustExist PROPERTIES TIMEOUT 60)
