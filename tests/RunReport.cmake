# The report test shares the fault tests' harness (tests/faults), starts both stand-ins, also
# runs the export command, and reads the German catalogue.
ki_require_tests(TestRunReport)
target_sources(TestRunReport PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/faults/FaultHarness.cpp
                                     ${CMAKE_CURRENT_SOURCE_DIR}/faults/FaultHarness.h)
target_include_directories(TestRunReport PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/faults)
foreach(executable kastrel-standin nortavel3-standin kastrel-importer)
    if(TARGET ${executable})
        add_dependencies(TestRunReport ${executable})
    endif()
endforeach()
if(TARGET kastrel-importer_lrelease)
    add_dependencies(TestRunReport kastrel-importer_lrelease)
endif()
