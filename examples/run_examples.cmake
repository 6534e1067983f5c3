# Builds and runs every example against an installed KOSHR (cmake -P):
#   PREFIX          the installed package (make install PREFIX=...)
#   WORK_DIR        scratch folder, emptied first
#   WINDOWS_PREFIX  optional: an installed Windows package; hello.c is then
#                   cross-built with mingw-w64 against koshr.lib and run under Wine
#   REQUIRE_ALL     set: a missing pkg-config fails instead of leaving its example out
#   GENERATOR, C_COMPILER, CXX_COMPILER, C_FLAGS, CXX_FLAGS, LINK_FLAGS: optional,
#                   to build the examples the way the library was built
# Run by `make examples` and by the artefacts_install test.
cmake_minimum_required(VERSION 3.25)
get_filename_component(examples ${CMAKE_CURRENT_LIST_DIR} ABSOLUTE)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})

# run(<expected output regex> <command>...): fails unless the command succeeds
# and prints something matching.
function(run expected)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK_DIR}
                  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0 OR NOT out MATCHES "${expected}")
    message(FATAL_ERROR "failed: ${ARGN}\nstatus ${status}\n${out}${err}")
  endif()
  message(STATUS "ok: ${ARGN}")
endfunction()

# The installed tool starts from its prefix alone (no library path set), with
# its man page and completion beside it.
run("^koshr [0-9]+\\.[0-9]+\\.[0-9]+" ${PREFIX}/bin/koshr --version)
execute_process(COMMAND ${PREFIX}/bin/koshr --version OUTPUT_VARIABLE version
                OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE "koshr " "" version "${version}")
foreach(doc share/man/man1/koshr.1 share/bash-completion/completions/koshr include/koshr/version.h)
  if(NOT EXISTS ${PREFIX}/${doc})
    message(FATAL_ERROR "not installed: ${PREFIX}/${doc}")
  endif()
endforeach()

# find_package(koshr): every example in examples/CMakeLists.txt.
set(configure ${CMAKE_COMMAND} -S ${examples} -B ${WORK_DIR}/cmake -DCMAKE_PREFIX_PATH=${PREFIX})
if(GENERATOR)
  list(APPEND configure -G ${GENERATOR})
endif()
foreach(setting C_COMPILER CXX_COMPILER C_FLAGS CXX_FLAGS)
  if(${setting})
    list(APPEND configure "-DCMAKE_${setting}=${${setting}}")
  endif()
endforeach()
if(LINK_FLAGS)
  list(APPEND configure "-DCMAKE_EXE_LINKER_FLAGS=${LINK_FLAGS}")
endif()
run("Using koshr ${version} from" ${configure})  # the CMake package's version is the library's
run("" ${CMAKE_COMMAND} --build ${WORK_DIR}/cmake)
set(bin ${WORK_DIR}/cmake)
run("hello from a pool: headers [0-9.]+, library [0-9.]+" ${bin}/hello)
run("after the parse pool is released" ${bin}/pools)
run("1,234,567\\.89.*1\\.234\\.567,89.*Tuesday, March 5, 2024 13:45" ${bin}/format)
run("main_window\\.kos\t88 bytes\tthe main window.*read back 88 bytes" ${bin}/library
    ${WORK_DIR}/example.kol)
run("item,price\r?\nWidget,19\\.99\r?\n\"Gadget, large\",4\\.5" ${bin}/saveas ${WORK_DIR}/goods.csv)

# The query goes through the ODBC driver module installed beside the library,
# to SQLite through unixODBC (the driver module is built where unixODBC is).
if(EXISTS ${PREFIX}/lib/koODB.so)
  run("item +quantity *\nGadget +6 *\nSprocket +9" ${bin}/query ${WORK_DIR}/orders.db)
elseif(REQUIRE_ALL)
  message(FATAL_ERROR "the ODBC driver module is not installed in ${PREFIX}/lib")
else()
  message(STATUS "the ODBC driver module is not built: the query example is left out")
endif()

# pkg-config: the C++ example compiled with the flags koshr.pc gives.
find_program(pkg_config pkg-config)
if(NOT pkg_config AND REQUIRE_ALL)
  message(FATAL_ERROR "pkg-config is not installed")
endif()
if(NOT pkg_config)
  message(STATUS "pkg-config is not installed: its example is left out")
  return()
endif()
set(ENV{PKG_CONFIG_PATH} ${PREFIX}/lib/pkgconfig)
execute_process(COMMAND ${pkg_config} --cflags --libs koshr OUTPUT_VARIABLE pc_flags
                RESULT_VARIABLE status OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "pkg-config does not find koshr in ${PREFIX}/lib/pkgconfig")
endif()
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
# The package files carry the library's own version.
execute_process(COMMAND ${pkg_config} --modversion koshr OUTPUT_VARIABLE pc_version
                OUTPUT_STRIP_TRAILING_WHITESPACE)
if(NOT pc_version STREQUAL version)
  message(FATAL_ERROR "koshr.pc says ${pc_version}, the library ${version}")
endif()
separate_arguments(extra_flags UNIX_COMMAND "${CXX_FLAGS} ${LINK_FLAGS}")
if(NOT CXX_COMPILER)
  set(CXX_COMPILER c++)
endif()
run("" ${CXX_COMPILER} -std=c++17 ${extra_flags} ${examples}/pkg-config/hello.cpp ${pc_flags}
    -Wl,-rpath,${PREFIX}/lib -o ${WORK_DIR}/hello_cpp)
run("grüße from C\\+\\+ \\(koshr [0-9.]+, headers [0-9]+\\.[0-9]+\\.[0-9]+\\)" ${WORK_DIR}/hello_cpp)

# Windows: hello.c against koshr.lib, run under Wine beside koshr.dll.
if(WINDOWS_PREFIX)
  find_program(mingw_gcc NAMES x86_64-w64-mingw32-gcc-posix x86_64-w64-mingw32-gcc REQUIRED)
  find_program(wine NAMES wine wine64 REQUIRED)
  set(win ${WORK_DIR}/windows)
  file(MAKE_DIRECTORY ${win})
  run("" ${mingw_gcc} -std=c11 -Wall ${examples}/hello.c -I${WINDOWS_PREFIX}/include
      ${WINDOWS_PREFIX}/lib/koshr.lib -o ${win}/hello.exe)
  file(COPY ${WINDOWS_PREFIX}/bin/koshr.dll DESTINATION ${win})
  set(ENV{WINEPREFIX} ${WORK_DIR}/wineprefix)
  set(ENV{WINEDEBUG} -all)
  run("hello from a pool: headers [0-9.]+, library [0-9.]+" ${wine} ${win}/hello.exe)
endif()
message(STATUS "every example built and ran against ${PREFIX}")
