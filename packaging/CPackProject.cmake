# Read by cpack when it packs. Every timestamp in the package is the time of the commit it is
# built from (or SOURCE_DATE_EPOCH when the caller sets one), so two packs of one commit are the
# same bytes.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    execute_process(COMMAND git -C "${CPACK_KV_SOURCE_DIR}" log -1 --format=%ct
        OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE
        RESULT_VARIABLE status ERROR_QUIET)
    if(NOT status EQUAL 0 OR commit_time STREQUAL "")
        # Sources outside a git checkout: the changelog's own date, a fixed point in time.
        set(commit_time 1795521600)
    endif()
    set(ENV{SOURCE_DATE_EPOCH} "${commit_time}")
endif()
