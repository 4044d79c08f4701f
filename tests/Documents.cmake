# The tests of the target's own document classes link their library (documents/), which the
# rest of the program does not; and the export's libraries are checked to use nothing of it.
ki_require_tests(TestNoteFile TestNoteAttributes TestKeyedArchive TestBookmarkPasteboard TestWebBookmarkFile)
foreach(test TestNoteFile TestNoteAttributes TestKeyedArchive TestBookmarkPasteboard TestWebBookmarkFile)
    target_link_libraries(${test} PRIVATE Kastrel::NortavelDocuments)
endforeach()

if(CMAKE_NM)
    add_test(NAME EngineWithoutDocuments
             COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_unused_library.sh ${CMAKE_NM}
                     $<TARGET_FILE:NortavelDocuments> $<TARGET_FILE:KastrelEngine> $<TARGET_FILE:KastrelFormats>
                     $<TARGET_FILE:KastrelCommandLine>)
    set_tests_properties(EngineWithoutDocuments PROPERTIES TIMEOUT 60)
endif()
