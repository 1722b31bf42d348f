# The Debian package: cmake --build build/release --target package

set(packaging ${CMAKE_BINARY_DIR}/packaging)
file(MAKE_DIRECTORY ${packaging})
set(documents)
foreach(file man/ap-run.8 man/ap-check.8 man/ap-show.8 man/ap-run.ini.5 changelog)
  get_filename_component(name ${file} NAME)
  set(output ${packaging}/${name}.gz)
  add_custom_command(
    OUTPUT ${output}
    COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/packaging/${file} > ${output}
    DEPENDS packaging/${file}
    VERBATIM)
  list(APPEND documents ${output})
endforeach()
add_custom_target(documents ALL DEPENDS ${documents})

set(manual ${CMAKE_INSTALL_MANDIR})
install(FILES ${packaging}/ap-run.8.gz ${packaging}/ap-check.8.gz ${packaging}/ap-show.8.gz DESTINATION ${manual}/man8)
install(FILES ${packaging}/ap-run.ini.5.gz DESTINATION ${manual}/man5)
foreach(name ap-up ap-down ap-history ap-command)
  file(CREATE_LINK ap-run.8.gz ${packaging}/${name}.8.gz SYMBOLIC)
  install(FILES ${packaging}/${name}.8.gz DESTINATION ${manual}/man8)
endforeach()
install(FILES ${packaging}/changelog.gz packaging/copyright docs/formats.md docs/installing.md docs/operating.md
              docs/reliability.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES packaging/user.sql packaging/uninstall.sql DESTINATION ${CMAKE_INSTALL_DATADIR}/ap-run/admin)
install(FILES packaging/completion.bash DESTINATION share/bash-completion/completions RENAME ap-show)
install(FILES packaging/ap-show-metrics.service packaging/ap-show-metrics.timer DESTINATION lib/systemd/system)
install(FILES packaging/tmpfiles.conf DESTINATION lib/tmpfiles.d RENAME ap-run.conf)

# As Debian names what the compiler builds for.
execute_process(
  COMMAND dpkg-architecture --host-type ${CMAKE_LIBRARY_ARCHITECTURE} --query DEB_HOST_ARCH
  OUTPUT_VARIABLE architecture OUTPUT_STRIP_TRAILING_WHITESPACE)

# Only in the package, which keeps what administrators have changed: a plain install would not.
set(only_packaged COMPONENT configuration EXCLUDE_FROM_ALL)
set(administrators_eyes PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ)
install(FILES packaging/platform.ini packaging/database.cnf DESTINATION /etc/ap-run
        ${administrators_eyes} ${only_packaged})
install(FILES packaging/logrotate.conf DESTINATION /etc/logrotate.d RENAME ap-run ${only_packaged})
install(FILES packaging/lintian-overrides DESTINATION share/lintian/overrides RENAME ap-run
        ${only_packaged})
if(AP_RUN_STATIC_CLIENT)
  string(REGEX REPLACE "[.].*" "-dev" cxx_library libstdc++-${CMAKE_CXX_COMPILER_VERSION})
  if(CMAKE_CROSSCOMPILING)
    string(APPEND cxx_library -${architecture}-cross)
  endif()
  foreach(package libmariadb-dev libiniparser-dev libssl-dev libzstd-dev zlib1g-dev libcli11-dev
                  nlohmann-json3-dev ${cxx_library})
    install(FILES /usr/share/doc/${package}/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR}/linked-in
            RENAME ${package} ${only_packaged})
  endforeach()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ap-run)
set(CPACK_PACKAGE_VENDOR "The ap-run developers")
set(CPACK_PACKAGE_CONTACT "The ap-run developers <ap-run@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "event hooks of a wireless access-point controller")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "The controller daemon starts this program once per event, under the names
ap-up, ap-down, ap-history and ap-command. From what the access points report
it keeps a registry in a MariaDB or MySQL database, decides which stations a
crowded access point should send away, and leaves its answers as files.
.
ap-check tells administrators what is amiss, ap-show what the access points do
and why a station is refused.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL Unspecified configuration)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${architecture})
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)
set(CPACK_OBJCOPY_EXECUTABLE ${CMAKE_OBJCOPY})
set(CPACK_READELF_EXECUTABLE ${CMAKE_READELF})
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "systemd | systemd-standalone-tmpfiles")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "mariadb-server, logrotate, iptables, procps")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "default-mta | mail-transport-agent")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/conffiles ${PROJECT_SOURCE_DIR}/packaging/postinst
    ${PROJECT_SOURCE_DIR}/packaging/prerm ${PROJECT_SOURCE_DIR}/packaging/postrm)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish.cmake)
include(CPack)
