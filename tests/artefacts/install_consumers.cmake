# Installs the build into a scratch prefix, then builds and runs the consumer
# twice: once found with find_package(koshr), once compiled with the flags
# pkg-config gives for koshr.pc. Run by CTest with -P.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "failed: ${ARGV}\n${out}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# find_package
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/cmake_consumer -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${prefix} -DCMAKE_CXX_COMPILER=${CXX_COMPILER}
    "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${LINK_FLAGS}"
    -DCMAKE_BUILD_RPATH=${prefix}/lib)
run(${CMAKE_COMMAND} --build ${WORK_DIR}/cmake_consumer)
run(${WORK_DIR}/cmake_consumer/consumer)
if(NOT last_output MATCHES "installed koshr")
  message(FATAL_ERROR "find_package consumer printed: ${last_output}")
endif()

# pkg-config
if(NOT PKG_CONFIG)
  message(STATUS "pkg-config is not installed: the pkg-config consumer is left out")
  file(REMOVE_RECURSE ${WORK_DIR})
  return()
endif()
file(GLOB_RECURSE pc_files ${prefix}/*/koshr.pc)
list(GET pc_files 0 pc_file)
get_filename_component(pc_dir ${pc_file} DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(${PKG_CONFIG} --cflags --libs koshr)
string(STRIP "${last_output}" pc_flags)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
separate_arguments(extra_flags UNIX_COMMAND "${CXX_FLAGS} ${LINK_FLAGS}")
run(${CXX_COMPILER} -std=c++17 ${extra_flags} ${CONSUMER_DIR}/consumer.cpp ${pc_flags}
    -Wl,-rpath,${pc_dir}/.. -o ${WORK_DIR}/pc_consumer)
run(${WORK_DIR}/pc_consumer)
if(NOT last_output MATCHES "installed koshr")
  message(FATAL_ERROR "pkg-config consumer printed: ${last_output}")
endif()
file(REMOVE_RECURSE ${WORK_DIR})
