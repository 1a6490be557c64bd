# Called by CPack with the packages it has made: mends what it cannot be told. The call of ldconfig goes, since the package has
# the trigger that Debian asks for; manual pages and changelogs are compressed; and the packages say how they go with those of
# other architectures.
foreach(package ${CPACK_PACKAGE_FILES})
  get_filename_component(name ${package} NAME)
  set(tree ${CPACK_TEMPORARY_DIRECTORY}/${name})
  file(REMOVE_RECURSE ${tree})
  execute_process(COMMAND dpkg-deb -R ${package} ${tree} COMMAND_ERROR_IS_FATAL ANY)
  if(EXISTS ${tree}/DEBIAN/triggers)
    file(REMOVE ${tree}/DEBIAN/postinst ${tree}/DEBIAN/postrm)
  endif()
  file(GLOB texts ${tree}/usr/share/man/man1/* ${tree}/usr/share/doc/*/changelog)
  execute_process(COMMAND gzip -9n ${texts} COMMAND_ERROR_IS_FATAL ANY)
  execute_process(
    COMMAND sh -c "find usr -type f -exec md5sum {} + >DEBIAN/md5sums"
    WORKING_DIRECTORY ${tree} COMMAND_ERROR_IS_FATAL ANY)
  set(kind foreign)
  if(name MATCHES "^lib")
    set(kind same)
  endif()
  file(APPEND ${tree}/DEBIAN/control "Multi-Arch: ${kind}\n")
  execute_process(COMMAND dpkg-deb --root-owner-group -b ${tree} ${package} OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
