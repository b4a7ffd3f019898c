# SPDX-License-Identifier: Apache-2.0
# One INTERFACE target carries what every target is compiled with.
add_library(practorium_flags INTERFACE)
target_compile_definitions(practorium_flags INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_KEYWORDS
                                                      QT_DISABLE_DEPRECATED_BEFORE=0x060400)
if(WIN32)
  target_compile_definitions(practorium_flags INTERFACE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
endif()
target_compile_options(practorium_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                                                  -Wcast-qual -Wimplicit-fallthrough)
# Of a class in an unnamed namespace of a source that is compiled with others.
target_compile_options(practorium_flags INTERFACE $<$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>:-Wno-subobject-linkage>)
if(PRACTORIUM_WERROR)
  target_compile_options(practorium_flags INTERFACE -Werror)
endif()
if(PRACTORIUM_SANITIZE)
  target_compile_options(practorium_flags INTERFACE -fsanitize=${PRACTORIUM_SANITIZE} -fno-sanitize-recover=all
                                                    -fno-omit-frame-pointer)
  target_link_options(practorium_flags INTERFACE -fsanitize=${PRACTORIUM_SANITIZE})
endif()

# What tests are compiled with besides, behind the options of what they test. Of their own
# code, optimisation and the checks for undefined behaviour would be most of the build's
# time; accesses stay checked, because what the programs return may be dangling.
add_library(practorium_test_flags INTERFACE)
target_compile_options(practorium_test_flags INTERFACE -O0 -Wno-cpp) # _FORTIFY_SOURCE says that it needs -O
if(PRACTORIUM_SANITIZE)
  target_compile_options(practorium_test_flags INTERFACE -fno-sanitize=undefined)
endif()

# A target of its own: the stub of packs takes over the options of practorium_flags
# and is linked without the library that would write the counts.
add_library(practorium_coverage INTERFACE)
target_compile_options(practorium_coverage INTERFACE -fprofile-instr-generate -fcoverage-mapping)
target_link_options(practorium_coverage INTERFACE -fprofile-instr-generate)
if(PRACTORIUM_COVERAGE)
  target_link_libraries(practorium_flags INTERFACE practorium_coverage)
endif()

# Code that exists once for each system stands in NAME_unix.cpp and NAME_win.cpp.
if(WIN32)
  set(PRACTORIUM_SYSTEM win)
else()
  set(PRACTORIUM_SYSTEM unix)
endif()

# What compiler and linker have against faults being used to take a program over,
# for each system that is compiled for here. scripts/check-hardening looks for it
# in the programs.
set(control_flow)
if(CMAKE_HOST_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
  set(control_flow -fcf-protection)
elseif(CMAKE_HOST_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  set(control_flow -mbranch-protection=standard)
endif()
set(hardening_compile_options_unix -fstack-protector-strong -fstack-clash-protection ${control_flow} -U_FORTIFY_SOURCE
                                   -D_FORTIFY_SOURCE=3 -D_GLIBCXX_ASSERTIONS)
set(hardening_link_options_unix -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
set(hardening_libraries_unix)
# A large stack frame is always probed there. The library is linked statically,
# because the shared one would have to lie beside each program. The assertions of
# the standard library would bring 140 KB into each pack.
set(hardening_compile_options_win -fstack-protector-strong -fcf-protection -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
set(hardening_link_options_win -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va)
set(hardening_libraries_win -l:libssp.a)
add_library(practorium_hardening INTERFACE)
target_compile_options(practorium_hardening INTERFACE ${hardening_compile_options_${PRACTORIUM_SYSTEM}})
target_link_options(practorium_hardening INTERFACE ${hardening_link_options_${PRACTORIUM_SYSTEM}})
target_link_libraries(practorium_hardening INTERFACE ${hardening_libraries_${PRACTORIUM_SYSTEM}})
if(PRACTORIUM_HARDENED)
  target_link_libraries(practorium_flags INTERFACE practorium_hardening)
  # The stub of packs, which takes the rest of it over, is linked statically.
  target_link_options(practorium_flags INTERFACE $<$<NOT:$<BOOL:${WIN32}>>:-pie>)
endif()
