# Warnings for the project's own targets only; Qt's headers are system headers.
function(ki_set_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra)
    if(KI_WARNINGS_AS_ERRORS)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
