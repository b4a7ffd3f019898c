# SPDX-License-Identifier: Apache-2.0
# How a folder becomes a library. The stub's own project uses it too.
get_filename_component(practorium_root ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)

# practorium_include_root(target): the headers of this folder are found as
# "FOLDER/NAME.h" by the target and by what links it. The root holds nothing
# else, so a file can include only what its library links.
function(practorium_include_root target)
  file(RELATIVE_PATH folder ${practorium_root} ${CMAKE_CURRENT_SOURCE_DIR})
  set(root ${PROJECT_BINARY_DIR}/include/${target})
  file(REMOVE_RECURSE ${root})
  file(MAKE_DIRECTORY ${root}/${folder})
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
  foreach(header IN LISTS headers)
    get_filename_component(name ${header} NAME)
    file(CREATE_LINK ${header} ${root}/${folder}/${name} SYMBOLIC)
  endforeach()
  get_target_property(type ${target} TYPE)
  if(type STREQUAL INTERFACE_LIBRARY)
    target_include_directories(${target} INTERFACE ${root})
  else()
    target_include_directories(${target} PUBLIC ${root})
  endif()
endfunction()

# practorium_alone(SOURCE...): sources of this folder that are never compiled as one with
# others: both have a name of their own in common, or a test puts its own in their place.
function(practorium_alone)
  set_source_files_properties(${ARGN} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON)
endfunction()

# practorium_library(name SOURCES ... SYSTEM ... PUBLIC ... PRIVATE ...): this
# folder as a static library, Practorium::name. SYSTEM files exist once for each
# system. PUBLIC is what its headers include, PRIVATE what its sources include.
# A library without sources is its headers.
function(practorium_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;SYSTEM;PUBLIC;PRIVATE" ${ARGN})
  list(TRANSFORM ARG_SYSTEM APPEND _${PRACTORIUM_SYSTEM}.cpp)
  if(ARG_SOURCES)
    add_library(practorium_${name} STATIC ${ARG_SOURCES} ${ARG_SYSTEM})
    target_link_libraries(practorium_${name} PUBLIC practorium_flags ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE})
    if(COMMAND practorium_precompile)
      practorium_precompile(practorium_${name} ${ARG_PUBLIC} ${ARG_PRIVATE})
    endif()
  else()
    add_library(practorium_${name} INTERFACE)
    target_link_libraries(practorium_${name} INTERFACE ${ARG_PUBLIC})
    set_target_properties(practorium_${name} PROPERTIES PRACTORIUM_PRECOMPILED none)
  endif()
  add_library(Practorium::${name} ALIAS practorium_${name})
  practorium_include_root(practorium_${name})
endfunction()
