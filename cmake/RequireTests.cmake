# tests/*.cmake wire tests by name (extra runs, dependencies, libraries). A name that matches no
# test program, because a test was renamed or removed, stops the configure step here instead
# of leaving its wiring out without a word.
function(ki_require_tests)
    foreach(name ${ARGN})
        if(NOT TARGET ${name})
            message(FATAL_ERROR "${CMAKE_CURRENT_LIST_FILE} wires the test \"${name}\", but no test program has "
                                "that name (tests/Test*.cpp, tests/cli/Test*.cpp, tests/app/Test*.cpp)")
        endif()
    endforeach()
endfunction()
