# The stand-in and sample tests start the stand-ins and the sample generator, so those are
# built first; the tests that look inside also link their libraries.
foreach(pair "TestKastrelStandin:kastrel-standin" "TestNortavelStandin:nortavel3-standin"
             "TestSampleLibrary:kastrel-sample-generator" "TestSampleLibrary:kastrel-standin")
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 test)
    list(GET pair 1 executable)
    if(TARGET ${test} AND TARGET ${executable})
        add_dependencies(${test} ${executable})
    endif()
endforeach()
if(TARGET TestNortavelStandin AND TARGET NortavelStandinLibrary)
    target_link_libraries(TestNortavelStandin PRIVATE NortavelStandinLibrary)
endif()
if(TARGET TestSampleLibrary AND TARGET KastrelStandinLibrary)
    target_link_libraries(TestSampleLibrary PRIVATE KastrelStandinLibrary)
endif()
