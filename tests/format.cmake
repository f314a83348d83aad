# Fails when clang-format would change any C++ file of the project.
find_program(CLANG_FORMAT NAMES clang-format REQUIRED)
file(GLOB_RECURSE sources
    ${SOURCE_DIR}/src/*.cpp ${SOURCE_DIR}/src/*.h
    ${SOURCE_DIR}/tests/*.cpp ${SOURCE_DIR}/tests/*.h
    ${SOURCE_DIR}/bench/*.cpp ${SOURCE_DIR}/bench/*.h
    ${SOURCE_DIR}/helper/*.cpp ${SOURCE_DIR}/helper/*.h
    ${SOURCE_DIR}/fuzz/*.cpp ${SOURCE_DIR}/fuzz/*.h)
execute_process(
    COMMAND ${CLANG_FORMAT} --dry-run -Werror ${sources}
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
    RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "clang-format would change these files:\n${output}")
endif()
list(LENGTH sources count)
message(STATUS "clang-format: ${count} files formatted")
