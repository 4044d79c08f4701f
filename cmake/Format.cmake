# `cmake --build build --target format` rewrites every source file with the committed .clang-format.
find_program(CLANG_FORMAT_EXECUTABLE NAMES clang-format clang-format-14)
if(CLANG_FORMAT_EXECUTABLE)
    file(GLOB_RECURSE KI_FORMAT_SOURCES CONFIGURE_DEPENDS
        ${PROJECT_SOURCE_DIR}/foundation/*.cpp ${PROJECT_SOURCE_DIR}/foundation/*.h
        ${PROJECT_SOURCE_DIR}/formats/*.cpp ${PROJECT_SOURCE_DIR}/formats/*.h
        ${PROJECT_SOURCE_DIR}/engine/*.cpp ${PROJECT_SOURCE_DIR}/engine/*.h
        ${PROJECT_SOURCE_DIR}/cli/*.cpp ${PROJECT_SOURCE_DIR}/cli/*.h
        ${PROJECT_SOURCE_DIR}/app/*.cpp ${PROJECT_SOURCE_DIR}/app/*.h
        ${PROJECT_SOURCE_DIR}/tests/*.cpp ${PROJECT_SOURCE_DIR}/tests/*.h
        ${PROJECT_SOURCE_DIR}/tools/*.cpp ${PROJECT_SOURCE_DIR}/tools/*.h)
    add_custom_target(format
        COMMAND ${CLANG_FORMAT_EXECUTABLE} -i --style=file ${KI_FORMAT_SOURCES}
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
        COMMENT "Formatting sources with clang-format")
else()
    add_custom_target(format COMMAND ${CMAKE_COMMAND} -E echo "clang-format not found: apt-get install clang-format")
endif()
