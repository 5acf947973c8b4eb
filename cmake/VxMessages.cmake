# The message catalog: foundation/messages.msg compiled with gencat into
# locale/en_US/LC_MESSAGES/<module>.mo under the build directory (where the
# tests and vxtool find it) and under the installation directory. The
# library's default module "vxlib" and the module "nvutl21" (the
# system-error format) are the same catalog under two names.
find_program(GENCAT gencat REQUIRED)
set(VX_MESSAGE_MODULES vxlib nvutl21)
set(VX_CATALOG_DIR ${PROJECT_BINARY_DIR}/locale/en_US/LC_MESSAGES)
set(VX_CATALOGS)
foreach(module IN LISTS VX_MESSAGE_MODULES)
  list(APPEND VX_CATALOGS ${VX_CATALOG_DIR}/${module}.mo)
endforeach()
list(GET VX_CATALOGS 0 vx_first_catalog)
set(vx_copy_commands)
foreach(catalog IN LISTS VX_CATALOGS)
  if(NOT catalog STREQUAL vx_first_catalog)
    list(APPEND vx_copy_commands COMMAND ${CMAKE_COMMAND} -E copy ${vx_first_catalog} ${catalog})
  endif()
endforeach()
add_custom_command(
  OUTPUT ${VX_CATALOGS}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${VX_CATALOG_DIR}
  COMMAND ${CMAKE_COMMAND} -E remove -f ${vx_first_catalog}
  COMMAND ${GENCAT} ${vx_first_catalog} ${PROJECT_SOURCE_DIR}/foundation/messages.msg
  ${vx_copy_commands}
  DEPENDS ${PROJECT_SOURCE_DIR}/foundation/messages.msg
  COMMENT "Compiling the message catalog"
  VERBATIM)
add_custom_target(vx_messages ALL DEPENDS ${VX_CATALOGS})
