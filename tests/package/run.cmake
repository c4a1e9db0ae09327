# Installs the built library into a scratch prefix and builds the consumer in this directory
# against that install twice: through find_package(Arbor CONFIG), then through pkg-config.
#
# Run with cmake -P and these variables:
#   ARBOR_BUILD_DIR   the build tree to install
#   WORK_DIR          scratch directory, emptied first
#   CONFIG            build configuration to install and build
#   LIBDIR            CMAKE_INSTALL_LIBDIR of the build tree (relative)
#   CXX               C++ compiler for the consumer
#   GENERATOR         CMake generator for the consumer
#   CXX_FLAGS         compiler flags of the build tree, handed on to the consumer (optional)
#   LINKER_FLAGS      linker flags of the build tree, handed on to the consumer (optional)
#   PKG_CONFIG        pkg-config executable (empty: that half is skipped and the script says
#                     "pkg-config consumer skipped", which ctest reports as a skipped test)

cmake_minimum_required(VERSION 3.25)

foreach(var ARBOR_BUILD_DIR WORK_DIR CONFIG LIBDIR CXX GENERATOR)
  if(NOT DEFINED ${var} OR "${${var}}" STREQUAL "")
    message(FATAL_ERROR "run.cmake needs -D${var}=...")
  endif()
endforeach()

set(consumer_src ${CMAKE_CURRENT_LIST_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "failed (${result}): ${command}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

message(STATUS "installing ${ARBOR_BUILD_DIR} into ${prefix}")
run(${CMAKE_COMMAND} --install ${ARBOR_BUILD_DIR} --prefix ${prefix} --config ${CONFIG})

file(GLOB_RECURSE internal_headers ${prefix}/include/arbor/*/internal/*)
if(internal_headers)
  message(FATAL_ERROR "internal headers installed: ${internal_headers}")
endif()
foreach(file include/arbor/arbor.h ${LIBDIR}/libarbor.so ${LIBDIR}/cmake/Arbor/ArborConfig.cmake
    ${LIBDIR}/cmake/Arbor/ArborConfigVersion.cmake ${LIBDIR}/pkgconfig/arbor.pc)
  if(NOT EXISTS ${prefix}/${file})
    message(FATAL_ERROR "not installed: ${file}")
  endif()
endforeach()

message(STATUS "consumer through find_package(Arbor CONFIG)")
run(${CMAKE_CTEST_COMMAND} --build-and-test ${consumer_src} ${WORK_DIR}/cmake-consumer
  --build-generator ${GENERATOR}
  --build-config ${CONFIG}
  --build-options -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX}
    -DCMAKE_BUILD_TYPE=${CONFIG} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
    "-DCMAKE_EXE_LINKER_FLAGS=${LINKER_FLAGS}"
  --test-command ${WORK_DIR}/cmake-consumer/arbor_consumer)
set(with_xml FALSE)
if(EXISTS ${prefix}/include/arbor/xml/XmlLoader.h)
  set(with_xml TRUE)
  message(STATUS "XML loader consumer through find_package(Arbor CONFIG)")
  run(${WORK_DIR}/cmake-consumer/arbor_xml_consumer)
endif()

if(NOT PKG_CONFIG)
  message(STATUS "pkg-config consumer skipped: no pkg-config")
  return()
endif()

message(STATUS "consumer through pkg-config")
set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
execute_process(COMMAND ${PKG_CONFIG} --cflags --libs arbor
  OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "pkg-config --cflags --libs arbor failed (${result})")
endif()
message(STATUS "pkg-config --cflags --libs arbor: ${flags}")
separate_arguments(flags UNIX_COMMAND "${flags}")
separate_arguments(build_flags UNIX_COMMAND "${CXX_FLAGS} ${LINKER_FLAGS}")
set(exe ${WORK_DIR}/pc-consumer)
run(${CXX} -std=c++17 -Wall -Wextra -Wpedantic -Werror ${build_flags}
  ${consumer_src}/main.cpp ${flags} -o ${exe})
set(ENV{LD_LIBRARY_PATH} ${prefix}/${LIBDIR})
run(${exe})

if(with_xml)
  message(STATUS "XML loader consumer through pkg-config")
  execute_process(COMMAND ${PKG_CONFIG} --cflags --libs arbor-xml
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "pkg-config --cflags --libs arbor-xml failed (${result})")
  endif()
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${CXX} -std=c++17 -Wall -Wextra -Wpedantic -Werror ${build_flags}
    ${consumer_src}/xml_main.cpp ${flags} -o ${exe}-xml)
  run(${exe}-xml)
endif()
