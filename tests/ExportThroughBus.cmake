# The end-to-end export starts both stand-ins, so they are built before it.
ki_require_tests(TestExportThroughBus)
foreach(executable kastrel-standin nortavel3-standin)
    if(TARGET ${executable})
        add_dependencies(TestExportThroughBus ${executable})
    endif()
endforeach()
