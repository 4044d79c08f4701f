# The command line runs without widgets: a program of the command-line library alone, linked
# without --as-needed so every library it is given shows, and the command line's test programs
# must not load Qt Widgets, directly or through another library.
if(TARGET Kastrel::CommandLine)
    add_executable(command_line_link_probe ${CMAKE_CURRENT_SOURCE_DIR}/scripts/command_line_link_probe.cpp)
    target_link_libraries(command_line_link_probe PRIVATE Kastrel::CommandLine)
    target_link_options(command_line_link_probe PRIVATE LINKER:--no-as-needed)
    ki_set_warnings(command_line_link_probe)
    set_target_properties(command_line_link_probe PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/bin)

    set(KI_COMMAND_LINE_PROGRAMS $<TARGET_FILE:command_line_link_probe>)
    foreach(test ${KI_CLI_TESTS})
        get_filename_component(name ${test} NAME_WE)
        list(APPEND KI_COMMAND_LINE_PROGRAMS $<TARGET_FILE:${name}>)
    endforeach()
    add_test(NAME CommandLineWithoutWidgets
             COMMAND ${CMAKE_COMMAND} -P ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_without_widgets.cmake
                     ${KI_COMMAND_LINE_PROGRAMS})
    set_tests_properties(CommandLineWithoutWidgets PROPERTIES TIMEOUT 60)
endif()

# The command line's end-to-end test runs the executable against both stand-ins.
ki_require_tests(TestCommandLineThroughBus)
foreach(executable kastrel-importer kastrel-standin nortavel3-standin)
    if(TARGET ${executable})
        add_dependencies(TestCommandLineThroughBus ${executable})
    endif()
endforeach()

# The windows stand on the engine, never on the command line: the two front ends meet only in
# the executable (app/main.cpp).
if(CMAKE_NM)
    add_test(NAME WindowsWithoutCommandLine
             COMMAND bash ${CMAKE_CURRENT_SOURCE_DIR}/scripts/check_unused_library.sh ${CMAKE_NM}
                     $<TARGET_FILE:KastrelCommandLine> $<TARGET_FILE:KastrelApp>)
    set_tests_properties(WindowsWithoutCommandLine PROPERTIES TIMEOUT 60)
endif()
