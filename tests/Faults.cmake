# The fault, hostile-input, nothing-lost, item-fault and batched-read tests share a harness
# (tests/faults) and start both stand-ins; the regression test replays the fuzzers' inputs
# through the fuzz entry points.
ki_require_tests(TestFaults TestHostileInput TestNothingLost TestHostileInputRegressions TestItemFaults TestBatchedReads
                 TestResume)
foreach(test TestFaults TestHostileInput TestNothingLost TestItemFaults TestBatchedReads TestResume)
    target_sources(${test} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/faults/FaultHarness.cpp
                                   ${CMAKE_CURRENT_SOURCE_DIR}/faults/FaultHarness.h)
    target_include_directories(${test} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/faults)
    foreach(executable kastrel-standin nortavel3-standin)
        if(TARGET ${executable})
            add_dependencies(${test} ${executable})
        endif()
    endforeach()
endforeach()
# The nothing-lost test also runs the export command itself, and exports a library of a
# thousand items besides the smaller runs.
if(TARGET kastrel-importer)
    add_dependencies(TestNothingLost kastrel-importer)
endif()
set_tests_properties(TestNothingLost PROPERTIES TIMEOUT 900)
# The item-fault test also runs the export command, and so does the test of continuing an
# export, which stops and continues it many times.
if(TARGET kastrel-importer)
    add_dependencies(TestItemFaults kastrel-importer)
    add_dependencies(TestResume kastrel-importer)
endif()
set_tests_properties(TestResume PROPERTIES TIMEOUT 600)
if(TARGET KastrelFuzzInputs)
    target_link_libraries(TestHostileInputRegressions PRIVATE KastrelFuzzInputs)
endif()
