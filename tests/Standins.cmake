# The stand-in and sample tests start the stand-ins and the sample generator, so those are
# built first; the tests that look inside also link their libraries.
ki_require_tests(TestKastrelStandin TestNortavelStandin TestSampleLibrary TestStandinNamespace)
foreach(pair "TestKastrelStandin:kastrel-standin" "TestNortavelStandin:nortavel3-standin"
             "TestSampleLibrary:kastrel-sample-generator" "TestSampleLibrary:kastrel-standin")
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 test)
    list(GET pair 1 executable)
    if(TARGET ${executable})
        add_dependencies(${test} ${executable})
    endif()
endforeach()
if(TARGET NortavelStandinLibrary)
    target_link_libraries(TestNortavelStandin PRIVATE NortavelStandinLibrary)
endif()
if(TARGET KastrelStandinLibrary)
    target_link_libraries(TestSampleLibrary PRIVATE KastrelStandinLibrary)
endif()
if(TARGET KastrelStandinLibrary)
    target_link_libraries(TestStandinNamespace PRIVATE KastrelStandinLibrary)
endif()

# The stand-in libraries define nothing outside their Standin namespace (GNU nm's -C and
# --defined-only read the archives).
if(CMAKE_NM AND TARGET KastrelStandinLibrary AND TARGET NortavelStandinLibrary)
    add_test(NAME StandinSymbolsInTheirNamespace
             COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_standin_symbols.sh ${CMAKE_NM}
                     $<TARGET_FILE:KastrelStandinCommon> $<TARGET_FILE:KastrelStandinLibrary>
                     $<TARGET_FILE:NortavelStandinLibrary>)
    set_tests_properties(StandinSymbolsInTheirNamespace PROPERTIES TIMEOUT 60)
endif()
