# Warnings and sanitizers for the project's own targets, and what the two libraries share.
function(arbor_target_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic)
  if(ARBOR_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(ARBOR_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

# Release builds compile a library as one program at link time, so that calls between its files
# (a node operation into the document's undo machinery, a node's construction into its pool, the
# loader's callbacks into the tree) are inlined like calls inside one file.
include(CheckIPOSupported)
check_ipo_supported(RESULT ARBOR_IPO_SUPPORTED LANGUAGES CXX)
function(arbor_library_options target)
  arbor_target_options(${target})
  if(ARBOR_IPO_SUPPORTED)
    set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION_RELEASE ON)
  endif()
endfunction()
