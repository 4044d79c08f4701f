# The installation test installs the build into a throw-away root, so everything that is
# installed is built before it; it also needs cmake itself and the project's version.
ki_require_tests(TestInstall)
target_compile_definitions(TestInstall PRIVATE KI_CMAKE_COMMAND="${CMAKE_COMMAND}"
                                               KI_PROJECT_VERSION="${PROJECT_VERSION}")
foreach(installed kastrel-importer kastrel-standin nortavel3-standin kastrel-importer-manual)
    if(TARGET ${installed})
        add_dependencies(TestInstall ${installed})
    endif()
endforeach()
