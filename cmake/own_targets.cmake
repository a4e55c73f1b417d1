# Settings for all of our own targets, which projects that embed the library do not inherit.
include_guard()

# Warnings are errors, so they are on only in the top-level project: a newer compiler must not break a host's build.
function(orva_own_target target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror)
  endif()
endfunction()
