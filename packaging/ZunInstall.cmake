# Language files beside the built program, and the installed layout:
#   bin/zun, bin/zunctl, bin/zun-sim       (installed by their own folders)
#   share/zun/lang/*.lang                  (found by the program as <bin>/../share/zun/lang)
#   share/applications/zun.desktop
#   share/icons/hicolor/scalable/apps/zun.svg
include_guard(GLOBAL)
include(GNUInstallDirs)

set(ZUN_PACKAGING_DIR ${CMAKE_CURRENT_LIST_DIR})
get_filename_component(ZUN_LANG_SOURCE_DIR ${CMAKE_CURRENT_LIST_DIR}/../lang ABSOLUTE)

function(zun_language_files out)
    file(GLOB files CONFIGURE_DEPENDS ${ZUN_LANG_SOURCE_DIR}/*.lang)
    list(SORT files)
    set(${out} ${files} PARENT_SCOPE)
endfunction()

# Copies lang/*.lang next to the executable of <target>, so that a program run from the build
# tree finds its languages. The copy runs after every link of the target, and the companion
# target <target>_language_files refreshes it on every build when only a .lang file changed.
function(zun_stage_language_files target)
    zun_language_files(files)
    if(NOT files)
        return()
    endif()
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E copy_if_different ${files} $<TARGET_FILE_DIR:${target}>
        VERBATIM)
    add_custom_target(${target}_language_files ALL
        COMMAND ${CMAKE_COMMAND} -E make_directory $<TARGET_FILE_DIR:${target}>
        COMMAND ${CMAKE_COMMAND} -E copy_if_different ${files} $<TARGET_FILE_DIR:${target}>
        SOURCES ${files}
        VERBATIM)
endfunction()

function(zun_install_layout)
    zun_language_files(files)
    install(FILES ${files} DESTINATION ${CMAKE_INSTALL_DATADIR}/zun/lang)
    install(FILES ${ZUN_PACKAGING_DIR}/zun.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    install(FILES ${ZUN_PACKAGING_DIR}/zun.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
endfunction()
