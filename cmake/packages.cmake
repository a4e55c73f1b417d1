# Debian packages, one for each component of the installation. Configured with the prefix /usr, as the preset
# `packages` does, the libraries go where Debian keeps those of its own.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(ORVA_REFERENCE_HOST)
  list(APPEND CPACK_COMPONENTS_ALL host)
endif()
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)

set(library liborva-classloader${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The maintainers of orva class loading")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME liborva-classloader-dev)
set(CPACK_DEBIAN_HOST_PACKAGE_NAME orva-reference-host)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_HOST_PACKAGE_SECTION devel)

# dpkg-shlibdeps finds what the binaries need, and the file `shlibs` lets it find our library for those who package a
# host. Where there is a shared library, CPack adds the scripts that run ldconfig.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_HOST_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")

# The first line of each is its summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "class loading natives of the orva language - shared library
${PROJECT_DESCRIPTION}, for hosts that are linked to it as a shared library.")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "class loading natives of the orva language - development files
${PROJECT_DESCRIPTION}: headers, the static library, what CMake and pkg-config need to build a host, the kit that
checks one, a host to start from, and the pages for host teams in /usr/share/doc/orva-classloader.")
set(CPACK_COMPONENT_HOST_DESCRIPTION "runs programs in a small dialect of the orva language
The program orva-host, which compiles them to machine code with LLVM, and the dialect's standard library.")

include(CPack)
