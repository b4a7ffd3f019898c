# SPDX-License-Identifier: Apache-2.0
# With PRACTORIUM_PRECOMPILED, headers that most sources read are compiled once for all of
# them, and a build takes half the time. The builds that are released do without, and so
# they also show whether each source includes what it uses.

# practorium_precompiled_headers(name LINKS ... HEADERS ...): the headers, compiled as for a
# target that links LINKS.
function(practorium_precompiled_headers name)
  cmake_parse_arguments(ARG "" "" "LINKS;HEADERS" ${ARGN})
  set(source ${CMAKE_BINARY_DIR}/precompiled/${name}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "")
  add_library(practorium_precompiled_${name} OBJECT ${source})
  set_target_properties(practorium_precompiled_${name} PROPERTIES AUTOMOC OFF)
  target_link_libraries(practorium_precompiled_${name} PRIVATE practorium_flags ${ARG_LINKS})
  list(TRANSFORM ARG_HEADERS REPLACE "(.+)" "<\\1>")
  target_precompile_headers(practorium_precompiled_${name} PRIVATE ${ARG_HEADERS})
endfunction()

# practorium_use_precompiled(target name): every source of the target starts with them.
function(practorium_use_precompiled target name)
  if(TARGET practorium_precompiled_${name})
    target_precompile_headers(${target} REUSE_FROM practorium_precompiled_${name})
  endif()
endfunction()

# practorium_precompile(target LINKS...): those that fit what a target links.
function(practorium_precompile target)
  set(name none)
  foreach(link IN LISTS ARGN)
    set(of_link none)
    if(link STREQUAL Qt6::Widgets)
      set(of_link widgets)
    elseif(link MATCHES "^Qt6::")
      set(of_link core)
    elseif(TARGET ${link} AND link MATCHES "^Practorium::")
      get_target_property(of_link ${link} PRACTORIUM_PRECOMPILED)
    endif()
    if(of_link STREQUAL widgets OR name STREQUAL none)
      set(name ${of_link})
    endif()
  endforeach()
  set_target_properties(${target} PROPERTIES PRACTORIUM_PRECOMPILED ${name})
  practorium_use_precompiled(${target} ${name})
endfunction()

set(headers_core algorithm array chrono functional map memory optional string utility vector)
list(APPEND headers_core QByteArray QCoreApplication QDateTime QDir QFile QFileInfo QHash QLocale QObject QPointer QSet QString
     QStringList QTimer QVariant QtEndian)
set(headers_widgets ${headers_core} QApplication QDialog QLabel QPainter QPushButton QScreen QStyle)
if(PRACTORIUM_PRECOMPILED)
  practorium_precompiled_headers(core LINKS Qt6::Core HEADERS ${headers_core})
  practorium_precompiled_headers(widgets LINKS Qt6::Widgets HEADERS ${headers_widgets})
  if(PRACTORIUM_TESTS)
    find_package(GTest REQUIRED)
    set(test_headers gmock/gmock.h gtest/gtest.h)
    set(test_links GTest::gmock GTest::gtest practorium_test_flags)
    practorium_precompiled_headers(gtest LINKS Qt6::Core ${test_links} HEADERS ${headers_core} ${test_headers})
    practorium_precompiled_headers(qtest LINKS Qt6::Widgets ${test_links} HEADERS ${headers_widgets} ${test_headers})
  endif()
endif()
