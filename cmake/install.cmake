# What `cmake --install` puts where, in four components: command, library, development, python.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(ORDVANE_PYTHON_DIR lib/python3/dist-packages CACHE STRING "Where the Python package goes, below the prefix")
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/ordvane)
set(generated ${CMAKE_BINARY_DIR}/generated)

install(TARGETS ordvane RUNTIME COMPONENT command)
install(DIRECTORY ${generated}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR} COMPONENT command)
install(DIRECTORY ${generated}/completions/bash/ DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT command)
install(DIRECTORY ${generated}/completions/zsh/ DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT command)
install(DIRECTORY ${generated}/completions/fish/ DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT command)
install(FILES docs/run-file.schema.json docs/what-if.schema.json docs/exchange.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/ordvane COMPONENT command)

# The shared library and its headers have no other libraries in them; who links to the static one needs what it was built with.
install(TARGETS ordvane_shared EXPORT ordvane-targets LIBRARY COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS ordvane_static EXPORT ordvane-static-targets ARCHIVE COMPONENT development)
install(FILES include/ordvane.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY include/ordvane ${generated}/include/ordvane DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.h")
foreach(targets ordvane-targets ordvane-static-targets)
  install(EXPORT ${targets} NAMESPACE ordvane:: DESTINATION ${config_dir} COMPONENT development)
endforeach()
configure_package_config_file(cmake/ordvane-config.cmake.in ${generated}/ordvane-config.cmake INSTALL_DESTINATION ${config_dir})
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(${generated}/ordvane-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${generated}/ordvane-config.cmake ${generated}/ordvane-config-version.cmake DESTINATION ${config_dir}
        COMPONENT development)
file(RELATIVE_PATH to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
configure_file(cmake/ordvane.pc.in ${generated}/ordvane.pc @ONLY)
install(FILES ${generated}/ordvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

install(DIRECTORY python/ordvane DESTINATION ${ORDVANE_PYTHON_DIR} COMPONENT python FILES_MATCHING PATTERN "*.py" PATTERN "py.typed")
configure_file(python/METADATA.in ${generated}/python/METADATA @ONLY)
install(FILES ${generated}/python/METADATA DESTINATION ${ORDVANE_PYTHON_DIR}/ordvane-${PROJECT_VERSION}.dist-info COMPONENT python)
