# A name that no test program has must stop a configure step with a message naming it; run in
# a child cmake, since the stop is a fatal error.
#   cmake -DMODULE=<cmake/RequireTests.cmake> -P check_required_tests.cmake
set(script ${CMAKE_CURRENT_BINARY_DIR}/wires-a-missing-test.cmake)
file(WRITE ${script} "include(${MODULE})\nki_require_tests(TestThatWasRenamed)\n")
execute_process(COMMAND ${CMAKE_COMMAND} -P ${script} RESULT_VARIABLE result OUTPUT_VARIABLE output
                ERROR_VARIABLE output)
file(REMOVE ${script})
# CMake wraps the message across lines.
string(REGEX REPLACE "[ \n]+" " " output "${output}")
if(result EQUAL 0 OR NOT output MATCHES "wires the test \"TestThatWasRenamed\", but no test program has")
    message(FATAL_ERROR "a missing test name should stop the configure step (status ${result}):\n${output}")
endif()
message(STATUS "a missing test name stops the configure step")
