# What our own builds ask of every target of ours, and what those who embed the library never inherit.
include_guard()

# As errors only where this is the top-level project: a compiler that warns of more must not break a host's build.
function(orva_own_target target)
  target_compile_features(${target} PUBLIC cxx_std_17)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(${target} PRIVATE
      -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror)
  endif()
endfunction()
