# What a Debian package holds besides the programs and the files of ZunInstall.cmake:
#   share/man/man1/{zun,zunctl,zun-sim}.1.gz    made by help2man from each program's --help
#   share/bash-completion/completions/zunctl
#   share/metainfo/com.zun.zun.metainfo.xml
#   share/doc/zun/{copyright,changelog.gz}
# and the CPack set-up of the .deb (scripts/build-deb.sh builds, lints and lists it).
include_guard(GLOBAL)
include(GNUInstallDirs)

set(ZUN_PACKAGE_MAINTAINER "ZUN maintainers <maintainers@zun-chargers.org>"
    CACHE STRING "Maintainer field of the Debian package")

# The release date and commit come from the last commit, so that a rebuild gives the same files.
execute_process(COMMAND git -C ${PROJECT_SOURCE_DIR} log -1 --format=%ct
    OUTPUT_VARIABLE commit_time OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT commit_time)
    string(TIMESTAMP commit_time "%s" UTC)
endif()
execute_process(COMMAND git -C ${PROJECT_SOURCE_DIR} log -1 --format=%h
    OUTPUT_VARIABLE ZUN_CHANGELOG_COMMIT OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
if(NOT ZUN_CHANGELOG_COMMIT)
    set(ZUN_CHANGELOG_COMMIT unknown)
endif()
execute_process(COMMAND date -u -d @${commit_time} "+%a, %d %b %Y %H:%M:%S +0000"
    OUTPUT_VARIABLE ZUN_CHANGELOG_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND date -u -d @${commit_time} +%Y-%m-%d
    OUTPUT_VARIABLE ZUN_RELEASE_DATE OUTPUT_STRIP_TRAILING_WHITESPACE)

set(ZUN_PACKAGE_BUILD_DIR ${PROJECT_BINARY_DIR}/package-files)
configure_file(${ZUN_PACKAGING_DIR}/com.zun.zun.metainfo.xml.in
    ${ZUN_PACKAGE_BUILD_DIR}/com.zun.zun.metainfo.xml @ONLY)
configure_file(${ZUN_PACKAGING_DIR}/changelog.in ${ZUN_PACKAGE_BUILD_DIR}/changelog @ONLY)

find_program(ZUN_HELP2MAN help2man)
find_program(ZUN_GZIP gzip)

set(package_files ${ZUN_PACKAGE_BUILD_DIR}/changelog.gz)
add_custom_command(OUTPUT ${ZUN_PACKAGE_BUILD_DIR}/changelog.gz
    COMMAND ${ZUN_GZIP} -9nkf ${ZUN_PACKAGE_BUILD_DIR}/changelog
    DEPENDS ${ZUN_PACKAGE_BUILD_DIR}/changelog
    VERBATIM)

# zun opens no window for --help, but Qt wants a platform all the same. A sanitizer build is
# never packaged, and its programs' leak report at exit would fail help2man.
if(ZUN_HELP2MAN AND NOT ZUN_SANITIZE)
    foreach(program zun zunctl zun-sim)
        if(NOT TARGET ${program})
            continue()
        endif()
        set(page ${ZUN_PACKAGE_BUILD_DIR}/${program}.1)
        add_custom_command(OUTPUT ${page} ${page}.gz
            COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen
                    ${ZUN_HELP2MAN} --no-info --version-string=${PROJECT_VERSION}
                    --include=${ZUN_PACKAGING_DIR}/${program}.h2m --output=${page}
                    $<TARGET_FILE:${program}>
            COMMAND ${ZUN_GZIP} -9nkf ${page}
            DEPENDS ${program} ${ZUN_PACKAGING_DIR}/${program}.h2m
            VERBATIM)
        list(APPEND package_files ${page}.gz)
        install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    endforeach()
elseif(NOT ZUN_HELP2MAN)
    message(STATUS "help2man not found: no manual pages (scripts/install-deps.sh installs it)")
endif()
add_custom_target(zun_package_files ALL DEPENDS ${package_files})

install(FILES ${ZUN_PACKAGING_DIR}/zunctl.bash-completion
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zunctl)
install(FILES ${ZUN_PACKAGE_BUILD_DIR}/com.zun.zun.metainfo.xml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
install(FILES ${ZUN_PACKAGING_DIR}/copyright ${ZUN_PACKAGE_BUILD_DIR}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/zun)

# The .deb: dependencies from the binaries (dpkg-shlibdeps), version from the project.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zun)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT ${ZUN_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${ZUN_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "configure and monitor ZUN battery chargers over RS-232")
# CPack puts the summary first; this is the extended description below it.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "ZUN finds a ZUN multi-stage battery charger on the serial ports, identifies
its model, reads and writes its two stored charge profiles with range and
cross-page checks, reads the live values and downloads the data log as a
table, a chart and CSV files.
.
The package holds the window (zun), the command-line tool (zunctl) and a
virtual charger on a pseudo-terminal (zun-sim).")
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_BINARY_DIR}/deb)
include(CPack)
