# The fault, hostile-input, nothing-lost and batched-read tests share a harness (tests/faults), start both
# stand-ins, and replay the fuzzers' regression inputs through the fuzz entry points.
foreach(test TestFaults TestHostileInput TestNothingLost TestBatchedReads)
    if(TARGET ${test})
        target_sources(${test} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/faults/FaultHarness.cpp
                                       ${CMAKE_CURRENT_SOURCE_DIR}/faults/FaultHarness.h)
        target_include_directories(${test} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/faults)
        foreach(executable kastrel-standin nortavel3-standin)
            if(TARGET ${executable})
                add_dependencies(${test} ${executable})
            endif()
        endforeach()
    endif()
endforeach()
# The nothing-lost test also runs the export command itself, and exports a library of a
# thousand items besides the smaller runs.
if(TARGET TestNothingLost)
    if(TARGET kastrel-importer)
        add_dependencies(TestNothingLost kastrel-importer)
    endif()
    set_tests_properties(TestNothingLost PROPERTIES TIMEOUT 900)
endif()
if(TARGET TestHostileInputRegressions AND TARGET KastrelFuzzInputs)
    target_link_libraries(TestHostileInputRegressions PRIVATE KastrelFuzzInputs)
endif()
