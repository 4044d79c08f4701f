# Keyed archives and property lists as another reader sees them: a small program writes an
# archived string, colours, a note attributes record and plists of every kind, and Python's
# own property-list reader checks their layout and values.
# The system's Python, whose plistlib is the reference; any python3 when there is none.
find_program(KI_SYSTEM_PYTHON3 NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
find_program(KI_SYSTEM_PYTHON3 NAMES python3)
if(KI_SYSTEM_PYTHON3)
    add_executable(write_keyed_archives ${CMAKE_CURRENT_SOURCE_DIR}/scripts/write_keyed_archives.cpp)
    target_link_libraries(write_keyed_archives PRIVATE Kastrel::NortavelDocuments)
    ki_set_warnings(write_keyed_archives)
    set_target_properties(write_keyed_archives PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)
    add_test(NAME KeyedArchiveIndependentReader
             COMMAND ${KI_TEST_LAUNCHER} ${KI_SYSTEM_PYTHON3} ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_keyed_archive.py
                     $<TARGET_FILE:write_keyed_archives>)
    set_tests_properties(KeyedArchiveIndependentReader PROPERTIES TIMEOUT 300 ENVIRONMENT "QT_QPA_PLATFORM=offscreen")
else()
    message(STATUS "python3 not found: the independent keyed archive check is left out")
endif()
