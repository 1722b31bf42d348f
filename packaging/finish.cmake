# Hands the packages that CPack has made to packaging/finish-package.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/finish-package ${package} ${CPACK_OBJCOPY_EXECUTABLE}
                  COMMAND_ERROR_IS_FATAL ANY)
endforeach()
