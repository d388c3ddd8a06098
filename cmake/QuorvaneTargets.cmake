# What all targets of the project share: language level, warnings, sanitizers, test registration.

find_package(Threads REQUIRED)

add_library(quorvane_options INTERFACE)
target_compile_features(quorvane_options INTERFACE cxx_std_20)
target_compile_options(quorvane_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast -Wcast-qual -Wformat=2 -Wundef)
if(QV_WARNINGS_AS_ERRORS)
  target_compile_options(quorvane_options INTERFACE -Werror)
endif()
# g++ 12 takes the unused alternatives of a variant for uninitialised memory when it optimises; clang++
# and the sanitizers look for the real thing.
target_compile_options(quorvane_options INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
target_include_directories(quorvane_options INTERFACE $<BUILD_INTERFACE:${CMAKE_SOURCE_DIR}>)
target_link_libraries(quorvane_options INTERFACE Threads::Threads)

# A target whose property QV_UNSANITIZED is set does without.
if(QV_SANITIZE)
  set(sanitized "$<NOT:$<BOOL:$<TARGET_PROPERTY:QV_UNSANITIZED>>>")
  target_compile_options(quorvane_options INTERFACE
    "$<${sanitized}:-fsanitize=${QV_SANITIZE};-fno-sanitize-recover=all;-fno-omit-frame-pointer>")
  target_link_options(quorvane_options INTERFACE "$<${sanitized}:-fsanitize=${QV_SANITIZE}>")
endif()

# The programs that run beside those of users: the helper with administrator rights, and the agent
# that answers for a user whose password the caller knows. polkit knows the helper by its place.
set(QV_PROGRAMS ${CMAKE_INSTALL_FULL_LIBEXECDIR}/quorvane)

# Headers of the language that most sources include, compiled once for all libraries. The optimised
# build does without, so that no source can forget what it includes.
if(QV_PRECOMPILE_HEADERS)
  add_library(quorvane_library_headers OBJECT ${CMAKE_CURRENT_LIST_DIR}/library_headers.cpp)
  target_link_libraries(quorvane_library_headers PRIVATE quorvane_options)
  target_precompile_headers(quorvane_library_headers PRIVATE
    <algorithm> <chrono> <functional> <map> <memory> <mutex> <optional> <string> <string_view>
    <utility> <vector>)
endif()

# qv_add_library(NAME SOURCES...): a static library of this project.
function(qv_add_library name)
  add_library(${name} STATIC ${ARGN})
  if(QV_PRECOMPILE_HEADERS)
    target_precompile_headers(${name} REUSE_FROM quorvane_library_headers)
  endif()
  target_link_libraries(${name} PUBLIC $<BUILD_INTERFACE:quorvane_options>
                                       $<INSTALL_INTERFACE:Threads::Threads>)
  target_compile_features(${name} PUBLIC cxx_std_20)
endfunction()

# qv_add_tests(NAME SOURCES... [LIBRARIES ...]): a GoogleTest program. Each of its tests runs in a
# process of its own, because the kit's singletons live as long as their process.
function(qv_add_tests name)
  cmake_parse_arguments(arg "" "TIMEOUT" "LIBRARIES" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_UNPARSED_ARGUMENTS})
  target_link_libraries(${name} PRIVATE quorvane_options ${arg_LIBRARIES} GTest::gmock
                                        GTest::gtest_main)
  target_precompile_headers(${name} REUSE_FROM quorvane_test_headers)
  gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT ${arg_TIMEOUT})
endfunction()
