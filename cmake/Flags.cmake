# One INTERFACE target carries what every target is compiled with.
add_library(practorium_flags INTERFACE)
target_include_directories(practorium_flags INTERFACE ${PROJECT_SOURCE_DIR})
target_compile_definitions(practorium_flags INTERFACE
  QT_NO_CAST_FROM_ASCII
  QT_NO_CAST_TO_ASCII
  QT_NO_KEYWORDS
  QT_DISABLE_DEPRECATED_BEFORE=0x060400)
if(WIN32)
  target_compile_definitions(practorium_flags INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
endif()
target_compile_options(practorium_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-qual -Wimplicit-fallthrough)
if(PRACTORIUM_WERROR)
  target_compile_options(practorium_flags INTERFACE -Werror)
endif()
if(PRACTORIUM_SANITIZE)
  target_compile_options(practorium_flags INTERFACE
    -fsanitize=${PRACTORIUM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(practorium_flags INTERFACE -fsanitize=${PRACTORIUM_SANITIZE})
endif()

# Code that exists once for each system stands in NAME_unix.cpp and NAME_win.cpp.
if(WIN32)
  set(PRACTORIUM_SYSTEM win)
else()
  set(PRACTORIUM_SYSTEM unix)
endif()

# practorium_library(name SOURCES ... SYSTEM ... LINKS ...): one folder as a static library.
function(practorium_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;SYSTEM;LINKS" ${ARGN})
  set(files ${ARG_SOURCES})
  foreach(base IN LISTS ARG_SYSTEM)
    list(APPEND files ${base}_${PRACTORIUM_SYSTEM}.cpp)
  endforeach()
  add_library(practorium_${name} STATIC ${files})
  target_link_libraries(practorium_${name} PUBLIC practorium_flags ${ARG_LINKS})
endfunction()
