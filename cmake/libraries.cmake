# The libraries that we build on, as targets: mariadb_client and iniparser. The client's TLS library
# is OpenSSL, which we tell what not to start; hence "crypto". Linked in statically (the client with
# its TLS and compression libraries), a process starts in a fraction of the time that loading and
# binding the shared ones takes.

find_path(MARIADB_INCLUDE mysql.h PATH_SUFFIXES mariadb mysql REQUIRED)
find_path(INIPARSER_INCLUDE iniparser/iniparser.h REQUIRED)

# Only MariaDB's client library sends a statement before the one ahead of it has been answered.
if(NOT EXISTS ${MARIADB_INCLUDE}/mariadb_version.h)
  message(FATAL_ERROR "${MARIADB_INCLUDE}/mysql.h is not of MariaDB Connector/C, which ap-run needs. "
                      "Debian's package is libmariadb-dev; -D MARIADB_INCLUDE=... names its folder.")
endif()
file(STRINGS ${MARIADB_INCLUDE}/mariadb_version.h connector REGEX "MARIADB_PACKAGE_VERSION ")
string(REGEX MATCH "[0-9.]+" connector "${connector}")
if(connector VERSION_LESS 3.3) # the oldest that the tests have been run with
  message(FATAL_ERROR "MariaDB Connector/C ${connector} is too old: 3.3 or later is needed.")
endif()
# iniparser's headers do not tell its version; 4.1 is the first that lets us have its messages.
file(STRINGS ${INIPARSER_INCLUDE}/iniparser/iniparser.h callback REGEX iniparser_set_error_callback)
if(NOT callback)
  message(FATAL_ERROR "The iniparser in ${INIPARSER_INCLUDE} is too old: 4.1 or later is needed.")
endif()

add_library(mariadb_client INTERFACE)
target_include_directories(mariadb_client SYSTEM INTERFACE ${MARIADB_INCLUDE})
add_library(iniparser INTERFACE)
target_include_directories(iniparser SYSTEM INTERFACE ${INIPARSER_INCLUDE})

if(AP_RUN_STATIC_CLIENT)
  foreach(name mariadbclient ssl crypto zstd z iniparser)
    find_library(STATIC_${name} lib${name}.a REQUIRED)
  endforeach()
  target_link_libraries(mariadb_client INTERFACE ${STATIC_mariadbclient} ${STATIC_ssl}
                                                 ${STATIC_crypto} ${STATIC_zstd} ${STATIC_z} m)
  target_link_libraries(iniparser INTERFACE ${STATIC_iniparser})
else()
  find_library(SHARED_mariadb mariadb REQUIRED)
  find_library(SHARED_iniparser iniparser REQUIRED)
  find_library(SHARED_crypto crypto REQUIRED)
  target_link_libraries(mariadb_client INTERFACE ${SHARED_mariadb} ${SHARED_crypto})
  target_link_libraries(iniparser INTERFACE ${SHARED_iniparser})
endif()
