# How a host links the libraries: two link features, which orva::classloader_static and orva::classloader_shared carry,
# so that a host names the library and nothing else. Used by the project and, installed, by its package.
#
# A host that binds natives by name refers to none of them. So the archive is linked whole and its symbols are exported,
# and --as-needed does not drop the shared library; what is linked after ours is linked as the host asked for.
#
# CMake looks features up where the program is defined, which may be outside the folder that found the package: only
# cache variables are visible there. Their names contain no language, so they apply to every language of a host.
if(APPLE)
  set(whole LINKER:-force_load,<LIB_ITEM>)
  set(kept <LIB_ITEM>)
else()
  set(whole LINKER:--export-dynamic,--push-state,--whole-archive <LINK_ITEM> LINKER:--pop-state)
  set(kept LINKER:--push-state,--no-as-needed <LINK_ITEM> LINKER:--pop-state)
endif()
set(CMAKE_LINK_LIBRARY_USING_ORVA_WHOLE_SUPPORTED TRUE CACHE INTERNAL "")
set(CMAKE_LINK_LIBRARY_USING_ORVA_WHOLE "${whole}" CACHE INTERNAL "")
set(CMAKE_LINK_LIBRARY_USING_ORVA_KEPT_SUPPORTED TRUE CACHE INTERNAL "")
set(CMAKE_LINK_LIBRARY_USING_ORVA_KEPT "${kept}" CACHE INTERNAL "")
