# cmake -DZUN_SOURCE_DIR=... -DWORK_DIR=... -DGENERATOR=... -P check_install_layout.cmake
cmake_minimum_required(VERSION 3.21)
set(build ${WORK_DIR}/build)
set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE out)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}")
    endif()
endfunction()

function(expect_same copy original)
    if(NOT EXISTS ${copy})
        message(FATAL_ERROR "missing: ${copy}")
    endif()
    file(SHA256 ${copy} a)
    file(SHA256 ${original} b)
    if(NOT a STREQUAL b)
        message(FATAL_ERROR "${copy} differs from ${original}")
    endif()
endfunction()

run(${CMAKE_COMMAND} -S ${ZUN_SOURCE_DIR}/tests/lang/install_layout -B ${build} -G ${GENERATOR}
    -DZUN_SOURCE_DIR=${ZUN_SOURCE_DIR} -DCMAKE_INSTALL_PREFIX=${prefix}
    -DCMAKE_INSTALL_LIBDIR=lib)
run(${CMAKE_COMMAND} --build ${build})
run(${CMAKE_COMMAND} --install ${build})

file(GLOB languages RELATIVE ${ZUN_SOURCE_DIR}/lang ${ZUN_SOURCE_DIR}/lang/*.lang)
foreach(name English.lang Deutsch.lang)
    if(NOT name IN_LIST languages)
        message(FATAL_ERROR "lang/${name} is not shipped (found: ${languages})")
    endif()
endforeach()
foreach(name IN LISTS languages)
    set(original ${ZUN_SOURCE_DIR}/lang/${name})
    expect_same(${build}/${name} ${original})
    # The program looks for its data at <program folder>/../share/zun/lang.
    expect_same(${prefix}/bin/../share/zun/lang/${name} ${original})
endforeach()
if(NOT EXISTS ${prefix}/bin/zun)
    message(FATAL_ERROR "missing: ${prefix}/bin/zun")
endif()
expect_same(${prefix}/share/applications/zun.desktop ${ZUN_SOURCE_DIR}/packaging/zun.desktop)
expect_same(${prefix}/share/icons/hicolor/scalable/apps/zun.svg
            ${ZUN_SOURCE_DIR}/packaging/zun.svg)

file(READ ${prefix}/share/applications/zun.desktop desktop)
foreach(line "[Desktop Entry]" "Type=Application" "Name=ZUN" "Exec=zun" "Icon=zun"
             "Terminal=false" "Categories=Utility<semi>Electronics<semi>")
    # foreach would split a semicolon, so the Categories line spells it out.
    string(REPLACE "<semi>" ";" line "${line}")
    string(FIND "\n${desktop}" "\n${line}\n" at)
    if(at LESS 0)
        message(FATAL_ERROR "zun.desktop lacks the line '${line}'")
    endif()
endforeach()

# A stale copy in the build tree is refreshed by the next build, without a relink.
file(WRITE ${build}/English.lang "stale")
run(${CMAKE_COMMAND} --build ${build})
expect_same(${build}/English.lang ${ZUN_SOURCE_DIR}/lang/English.lang)

message(STATUS "install layout ok: ${languages}")
