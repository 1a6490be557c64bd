# Debian packages, one a component: `make packages`. The parts that only the project's owner can decide on, the licence and who
# maintains the packages, are named as such in them.
set(ORDVANE_MAINTAINER "Nobody yet <maintainer@ordvane.invalid>" CACHE STRING "Who answers for the packages: Name <mail>")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ordvane)
set(CPACK_PACKAGE_CONTACT ${ORDVANE_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL command library development python)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# Debian's own kind of changelog, which names the version that is packaged.
string(TIMESTAMP packaged "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${CMAKE_BINARY_DIR}/generated/debian/changelog
     "ordvane (${PROJECT_VERSION}) UNRELEASED; urgency=medium\n\n  * Version ${PROJECT_VERSION}; CHANGELOG.md of the sources tells "
     "what is new.\n\n -- ${ORDVANE_MAINTAINER}  ${packaged}\n")

# Arguments after the summary: the lines of the long description.
function(ordvane_package component name section summary)
  string(TOUPPER ${component} upper)
  list(JOIN ARGN "\n" lines)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${lines}" PARENT_SCOPE)
  install(FILES ${CMAKE_SOURCE_DIR}/cmake/debian/copyright ${CMAKE_BINARY_DIR}/generated/debian/changelog DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name} COMPONENT ${component}
          EXCLUDE_FROM_ALL)
endfunction()

set(about "A what-if run steps each input of a spreadsheet model through a range while"
          "the others stay put, and records every output. Ordvane Results ranks the"
          "inputs by what they do to an output and writes Excel workbooks about it, with"
          "native charts.")
set(library libordvane${ORDVANE_SOVERSION})
ordvane_package(command ordvane math "reports on what-if runs of spreadsheet models" ${about} "."
                "This package holds the command.")
ordvane_package(library ${library} libs "reports on what-if runs, shared library" ${about} "."
                "This package holds the library that programs use.")
ordvane_package(development libordvane-dev libdevel "reports on what-if runs, for building programs" ${about} "."
                "This package holds the headers for C and C++, the static library, and what"
                "CMake and pkg-config need.")
ordvane_package(python python3-ordvane python "reports on what-if runs, for Python" ${about} "."
                "This package holds the module for Python. NumPy and pandas are welcome to it.")

foreach(component COMMAND LIBRARY)
  set(CPACK_DEBIAN_${component}_PACKAGE_SHLIBDEPS ON)
endforeach()
# What CPack makes of this by itself calls ldconfig; the trigger is the way that Debian asks for.
file(WRITE ${CMAKE_BINARY_DIR}/generated/debian/triggers "activate-noawait ldconfig\n")
file(WRITE ${CMAKE_BINARY_DIR}/generated/debian/shlibs "libordvane ${ORDVANE_SOVERSION} ${library} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
    "${CMAKE_BINARY_DIR}/generated/debian/triggers;${CMAKE_BINARY_DIR}/generated/debian/shlibs")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
# For programs that link to the static library.
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "pkg-config, libdeflate-dev, libzip-dev, zlib1g-dev, libexpat1-dev, libutf8proc-dev")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3:any (>= 3.8), ${library} (>= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-numpy, python3-pandas")
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA "${CMAKE_SOURCE_DIR}/cmake/debian/postinst;${CMAKE_SOURCE_DIR}/cmake/debian/prerm")
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/cmake/debian/finish.cmake)

include(CPack)
