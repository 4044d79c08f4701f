# Real RTF files and RTFD packages (../shared/corpus) through the note conversion, their text
# compared with what LibreOffice reads from the same sources. The check skips itself when the
# corpus or LibreOffice (Debian package libreoffice-writer-nogui) is missing.
find_program(KI_CORPUS_PYTHON3 NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
find_program(KI_CORPUS_PYTHON3 NAMES python3)
add_executable(convert_corpus_notes ${CMAKE_CURRENT_SOURCE_DIR}/scripts/convert_corpus_notes.cpp)
target_link_libraries(convert_corpus_notes PRIVATE KastrelTestSupport)
ki_set_warnings(convert_corpus_notes)
set_target_properties(convert_corpus_notes PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)
if(KI_CORPUS_PYTHON3)
    add_test(NAME CorpusNotesAgainstLibreOffice
             COMMAND ${KI_TEST_LAUNCHER} ${KI_CORPUS_PYTHON3} ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_corpus_notes.py
                     $<TARGET_FILE:convert_corpus_notes> ${KI_SHARED_DIR})
    set_tests_properties(CorpusNotesAgainstLibreOffice PROPERTIES TIMEOUT 900 SKIP_RETURN_CODE 77
                         ENVIRONMENT "QT_QPA_PLATFORM=offscreen;${KI_TEST_ENVIRONMENT}")
else()
    message(STATUS "python3 not found: the corpus check of the note conversion is left out")
endif()
