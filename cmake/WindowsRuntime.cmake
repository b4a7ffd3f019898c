# SPDX-License-Identifier: Apache-2.0
# What a Windows program of this house needs beside it: Qt's libraries and plugins and
# the compiler's own, in the folder of the programs while building and when installed.
get_target_property(qt_core Qt6::Core IMPORTED_LOCATION_RELEASE)
get_filename_component(qt_libraries ${qt_core} DIRECTORY)
get_filename_component(qt_root ${qt_libraries} DIRECTORY)

set(libraries)
foreach(module Core Gui Widgets PrintSupport)
  list(APPEND libraries ${qt_libraries}/Qt6${module}.dll)
endforeach()
foreach(name libstdc++-6 libgcc_s_seh-1 libwinpthread-1)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}.dll OUTPUT_VARIABLE file
                  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  if(NOT IS_ABSOLUTE ${file})
    find_file(RUNTIME_${name} ${name}.dll PATHS /usr/x86_64-w64-mingw32/lib NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(file ${RUNTIME_${name}})
  endif()
  list(APPEND libraries ${file})
endforeach()
file(COPY ${libraries} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
install(FILES ${libraries} DESTINATION . COMPONENT program)

foreach(plugin platforms/qwindows styles/qwindowsvistastyle imageformats/qgif imageformats/qico imageformats/qjpeg
               platforms/qoffscreen platforms/qminimal)
  get_filename_component(folder ${plugin} DIRECTORY)
  file(COPY ${qt_root}/plugins/${plugin}.dll DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${folder})
  install(FILES ${qt_root}/plugins/${plugin}.dll DESTINATION ${folder} COMPONENT program)
endforeach()

# What practorium-author reads pictures with that no exhibit can be.
foreach(folder ${PRACTORIUM_QT_PICTURES})
  file(GLOB libraries ${folder}/bin/*.dll)
  file(GLOB plugins ${folder}/plugins/imageformats/*.dll)
  file(COPY ${libraries} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  file(COPY ${plugins} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/imageformats)
  install(FILES ${libraries} DESTINATION . COMPONENT author)
  install(FILES ${plugins} DESTINATION imageformats COMPONENT author)
endforeach()

# The tests' own.
if(PRACTORIUM_TESTS OR PRACTORIUM_SAMPLES)
  file(COPY ${qt_libraries}/Qt6Test.dll ${qt_libraries}/Qt6Network.dll DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  file(COPY ${qt_root}/plugins/tls/qschannelbackend.dll DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/tls)
endif()
