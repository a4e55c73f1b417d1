# What `cmake --install` writes. Each component is a Debian package: `runtime` (the shared library), `development` (what
# a host is built with), `tracing` (orva-trace) and `host` (the reference host).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/orva-classloader)
set(config ${CMAKE_INSTALL_LIBDIR}/cmake/OrvaClassLoader)
set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

set(installed_kinds ${orva_kinds})
if(TARGET orva_classloader_traced)
  list(APPEND installed_kinds traced)
endif()
foreach(kind IN LISTS installed_kinds)
  install(TARGETS orva_classloader_${kind} orva_classloader_linked_${kind} EXPORT classloader_${kind}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${headers})
  install(EXPORT classloader_${kind} FILE classloader_${kind}.cmake NAMESPACE orva::
    DESTINATION ${config} COMPONENT development)
endforeach()

# The kit, and the example host that teams start from.
if(TARGET orva_host_contract)
  install(TARGETS orva_host_contract EXPORT host_contract
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
    INCLUDES DESTINATION ${headers})
  install(EXPORT host_contract NAMESPACE orva:: DESTINATION ${config} COMPONENT development)
  install(FILES host_contract/hooks.h DESTINATION ${headers}/host_contract COMPONENT development)
  install(DIRECTORY examples/minimal_host DESTINATION ${CMAKE_INSTALL_DATADIR}/orva-classloader/examples
    COMPONENT development)
endif()

# All pages, because they link to each other. An embedding project installs its own.
if(PROJECT_IS_TOP_LEVEL)
  set(documents ${CMAKE_INSTALL_DATADIR}/doc/orva-classloader)
  install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${documents} COMPONENT development)
  install(DIRECTORY docs DESTINATION ${documents} COMPONENT development PATTERN Doxyfile EXCLUDE)
endif()

# The headers that the libraries were built with; the host's may include others beside them.
install(FILES
  classloader/native_list.inc classloader/native_table.h classloader/natives.h classloader/record_layout.h
  classloader/version.h ${PROJECT_BINARY_DIR}/record/classloader/record.h
  DESTINATION ${headers}/classloader COMPONENT development)
list(TRANSFORM orva_own_headers PREPEND runtime_api/ OUTPUT_VARIABLE own_headers)
install(FILES ${own_headers} DESTINATION ${headers}/runtime_api COMPONENT development)
if(ORVA_RUNTIME_API_DIR)
  install(DIRECTORY ${ORVA_RUNTIME_API_DIR}/runtime_api DESTINATION ${headers} COMPONENT development
    FILES_MATCHING PATTERN "*.h")
endif()

configure_package_config_file(cmake/OrvaClassLoaderConfig.cmake.in OrvaClassLoaderConfig.cmake
  INSTALL_DESTINATION ${config} PATH_VARS CMAKE_INSTALL_LIBDIR NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(OrvaClassLoaderConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/OrvaClassLoaderConfig.cmake ${PROJECT_BINARY_DIR}/OrvaClassLoaderConfigVersion.cmake
  cmake/OrvaClassLoaderLink.cmake
  DESTINATION ${config} COMPONENT development)

file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${pkgconfig} /prefix)
# The record is known only when the library is built.
set(ORVA_TYPE_RECORD "@ORVA_TYPE_RECORD@")
set(package_of_static orva-classloader-static)
set(package_of_traced orva-classloader-traced)
set(package_of_shared orva-classloader)
set(template_of_static ${package_of_static})
set(template_of_traced ${package_of_static})
set(template_of_shared ${package_of_shared})
set(archive_of_static liborva-classloader.a)
set(archive_of_traced liborva-classloader-traced.a)
foreach(kind IN LISTS installed_kinds)
  set(package ${package_of_${kind}})
  set(archive ${archive_of_${kind}})
  configure_file(cmake/${template_of_${kind}}.pc.in configured/${package}.pc @ONLY)
  add_custom_command(OUTPUT ${package}.pc
    COMMAND ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/record.cmake
      $<TARGET_OBJECTS:orva_classloader_measured> configured/${package}.pc ${package}.pc
    DEPENDS orva_classloader_measured $<TARGET_OBJECTS:orva_classloader_measured> configured/${package}.pc
    VERBATIM)
  add_custom_target(orva_pkgconfig_${kind} DEPENDS ${package}.pc)
  add_dependencies(orva_classloader_${kind} orva_pkgconfig_${kind})
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${pkgconfig} COMPONENT development)
endforeach()

# The program looks for its two modules in the folder of libraries, by a path relative to its own folder.
if(ORVA_TRACING)
  install(TARGETS orva-trace RUNTIME DESTINATION bin COMPONENT tracing)
  install(FILES tracing/program/orva-trace.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tracing)
  install(TARGETS orva_trace_recorder orva_trace_audit
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/orva-trace COMPONENT tracing)
endif()

# The program looks for its standard library in ../share/orva, relative to its own folder.
if(ORVA_REFERENCE_HOST)
  if(ORVA_SHARED)
    set_target_properties(orva-host PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  endif()
  install(TARGETS orva-host RUNTIME DESTINATION bin COMPONENT host)
  install(DIRECTORY reference_host/stdlib DESTINATION share/orva COMPONENT host)
  install(FILES reference_host/program/orva-host.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT host)
endif()
