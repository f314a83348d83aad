# Replays a fuzz target's seeds, then lets it try RUNS new inputs. The seeds are copied into a
# fresh working corpus (named by their hash), so nothing the run finds lands in the source tree;
# an input that breaks the target is kept in RUN_DIR as crash-*, timeout-*, leak-* or oom-*.
file(REMOVE_RECURSE ${RUN_DIR})
file(MAKE_DIRECTORY ${RUN_DIR}/corpus)
foreach(seed IN LISTS SEEDS)
    if(IS_DIRECTORY ${seed})
        file(GLOB_RECURSE files LIST_DIRECTORIES false ${seed}/*)
    elseif(EXISTS ${seed})
        set(files ${seed})
    else()
        set(files)
    endif()
    foreach(file IN LISTS files)
        file(SHA1 ${file} hash)
        file(COPY_FILE ${file} ${RUN_DIR}/corpus/${hash})
    endforeach()
endforeach()
execute_process(
    COMMAND ${FUZZER} ${OPTIONS} -runs=${RUNS} -artifact_prefix=${RUN_DIR}/ -print_final_stats=1
            ${RUN_DIR}/corpus
    RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${FUZZER} failed (${status}); the input is in ${RUN_DIR}")
endif()
