# Bookmark files as another reader sees them: a small program writes a set of bookmark files
# and Python's own property-list reader checks their keys and values.
find_program(KI_PYTHON3 NAMES python3 PATHS /usr/bin)
if(KI_PYTHON3)
    add_executable(write_bookmark_files ${CMAKE_CURRENT_SOURCE_DIR}/scripts/write_bookmark_files.cpp)
    target_link_libraries(write_bookmark_files PRIVATE Kastrel::Formats)
    ki_set_warnings(write_bookmark_files)
    set_target_properties(write_bookmark_files PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)
    add_test(NAME WebBookmarkFileIndependentReader
             COMMAND ${KI_TEST_LAUNCHER} ${KI_PYTHON3} ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_bookmark_file.py
                     $<TARGET_FILE:write_bookmark_files>)
    set_tests_properties(WebBookmarkFileIndependentReader PROPERTIES TIMEOUT 300 ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
else()
    message(STATUS "python3 not found: the independent bookmark file check is left out")
endif()
