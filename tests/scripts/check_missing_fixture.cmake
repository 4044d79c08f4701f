# Runs the probe (PROBE) once as a developer's checkout does and once as CI does: a missing
# shared fixture must skip the test in the first run and fail it in the second.
#   cmake -DPROBE=<missing_fixture_probe> -P check_missing_fixture.cmake
foreach(required 0 1)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env KI_REQUIRE_SHARED=${required} ${PROBE}
                    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(required EQUAL 0 AND (NOT result EQUAL 0 OR NOT output MATCHES "SKIP   : MissingFixtureProbe::asksForAMissingFixture"))
        message(FATAL_ERROR "without KI_REQUIRE_SHARED a missing fixture should skip (status ${result}):\n${output}")
    endif()
    if(required EQUAL 1 AND (result EQUAL 0 OR NOT output MATCHES "FAIL!  : MissingFixtureProbe::asksForAMissingFixture.*the shared folder is required"))
        message(FATAL_ERROR "with KI_REQUIRE_SHARED a missing fixture should fail (status ${result}):\n${output}")
    endif()
endforeach()
message(STATUS "a missing fixture skips, and fails when the shared folder is required")
