# SPDX-License-Identifier: GPL-2.0-or-later

# tavrin_headers(TARGET PREFIX)
#
# Gives TARGET's users the headers of this folder under PREFIX, and nobody else's: each target has
# an include root of its own that holds one link. Including a layer that isn't linked fails.
function(tavrin_headers target prefix)
  string(REPLACE "/" "-" root_name ${prefix})
  set(root ${CMAKE_BINARY_DIR}/include/${root_name})
  get_filename_component(parent ${root}/${prefix} DIRECTORY)
  file(MAKE_DIRECTORY ${parent})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${root}/${prefix} SYMBOLIC)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${target} INTERFACE ${root})
  else()
    target_include_directories(${target} PUBLIC ${root})
  endif()
endfunction()

# tavrin_install_headers(PREFIX FILE...)
#
# Installs headers for whoever builds on our libraries, who includes them as we do.
function(tavrin_install_headers prefix)
  install(FILES ${ARGN}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/tavrin/${prefix} COMPONENT development)
endfunction()

# tavrin_pkg_config(LIBRARY DESCRIPTION [REQUIRES])
#
# Tells pkg-config how to build on LIBRARY, which its headers need the modules REQUIRES for.
function(tavrin_pkg_config library description)
  set(requires ${ARGV2})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/library.pc.in ${library}.pc @ONLY)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${library}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endfunction()
