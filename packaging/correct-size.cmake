# CPack counts a file again for each link that points to it: writes the size that is really
# installed into the finished packages.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(unpacked ${CPACK_TEMPORARY_DIRECTORY}/unpacked)
  file(REMOVE_RECURSE ${unpacked})
  execute_process(
    COMMAND
      sh -ec [[
dpkg-deb --raw-extract "$1" "$2"
size=$(du -k --summarize --exclude=DEBIAN "$2" | cut -f 1)
sed -i "s/^Installed-Size: .*/Installed-Size: $size/" "$2/DEBIAN/control"
dpkg-deb --root-owner-group --build "$2" "$1"]] -
      ${package} ${unpacked} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
  file(REMOVE_RECURSE ${unpacked})
endforeach()
