# The exporters' tests run twice: with the default export window (the source writes the next
# items while one is recorded) and with a window of 1 (every export asked at its item's turn).
set(ki_window_one_tests TestItemExport TestImportOperation TestNothingSilent TestHostileInput TestFaults
                        TestExportWindow)
ki_require_tests(${ki_window_one_tests})
foreach(test ${ki_window_one_tests})
    add_test(NAME ${test}WindowOne COMMAND ${KI_TEST_LAUNCHER} $<TARGET_FILE:${test}>)
    set_tests_properties(${test}WindowOne PROPERTIES TIMEOUT 300
                         ENVIRONMENT "QT_QPA_PLATFORM=offscreen;KI_TEST_EXPORT_WINDOW=1;${KI_TEST_ENVIRONMENT}")
endforeach()
