# Compiler options shared by every target of the project.
function(vx_apply_options target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wno-unused-parameter)
  if(VX_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${VX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${VX_SANITIZE})
  endif()
endfunction()
