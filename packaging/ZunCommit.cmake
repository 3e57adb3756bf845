# Writes the build's commit into OUT (a header) when it changed, so that a new commit relinks the
# programs but an unchanged one rebuilds nothing. ZUN_COMMIT, when given, wins over git (a build
# from a source tarball has no .git).
if(NOT ZUN_COMMIT)
    execute_process(COMMAND git -C "${SOURCE_DIR}" rev-parse --short=12 HEAD
        OUTPUT_VARIABLE ZUN_COMMIT OUTPUT_STRIP_TRAILING_WHITESPACE
        RESULT_VARIABLE failed ERROR_QUIET)
    if(failed OR NOT ZUN_COMMIT)
        set(ZUN_COMMIT "unknown")
    endif()
endif()
set(text "#pragma once\n#define ZUN_BUILD_COMMIT \"${ZUN_COMMIT}\"\n")
if(EXISTS "${OUT}")
    file(READ "${OUT}" old)
endif()
if(NOT old STREQUAL text)
    file(WRITE "${OUT}" "${text}")
endif()
