# Warnings and sanitizers for the project's own targets.
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
