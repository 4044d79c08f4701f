# The catalogues: TestTranslations runs lupdate over the sources and checks the German (and
# English) catalogue against what it finds; the tests that read German load the built .qm
# catalogues, which must therefore be built first.
ki_require_tests(TestTranslations TestLogLanguage TestTranslationsLoader TestWindowTranslations)
set(ki_lupdate "")
if(TARGET Qt6::lupdate)
    set(ki_lupdate $<TARGET_FILE:Qt6::lupdate>)
endif()
# The folders lupdate reads, comma-separated (a semicolon would split the definition).
string(REPLACE ";" "," ki_folders "${KI_TRANSLATED_FOLDERS}")
target_compile_definitions(TestTranslations PRIVATE KI_LUPDATE="${ki_lupdate}"
                           KI_INTERFACE_TEXTS="${KI_INTERFACE_TEXTS}" KI_TRANSLATED_FOLDERS="${ki_folders}")
add_dependencies(TestTranslations interface_texts)

foreach(test TestLogLanguage TestTranslationsLoader TestWindowTranslations)
    add_dependencies(${test} kastrel-importer_lrelease)
endforeach()
# The loader's test runs the executable under German and English locales.
add_dependencies(TestTranslationsLoader kastrel-importer)
