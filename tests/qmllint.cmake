# Runs the generated qmllint target and fails on any finding, also on those qmllint itself only
# reports as warnings with a zero exit status.
execute_process(
    COMMAND ${CMAKE_COMMAND} --build ${BUILD_DIR} --target all_qmllint
    OUTPUT_VARIABLE output
    ERROR_VARIABLE output
    RESULT_VARIABLE status)
string(REGEX MATCHALL "(Warning|Error|Info): [^\n]*" findings "${output}")
if(NOT status EQUAL 0 OR findings)
    message(FATAL_ERROR "qmllint reported:\n${output}")
endif()
message(STATUS "qmllint: no findings")
