# Tests of the built artefacts: the exported symbols of the shared library,
# the public headers compiled as C, and an installed tree used by a consumer
# through find_package and through pkg-config.
set(artefacts ${CMAKE_CURRENT_SOURCE_DIR}/artefacts)
find_package(Python3 COMPONENTS Interpreter)

# (a) What the library exports is exactly the union of tests/data/exports/*.txt.
if(Python3_FOUND)
  if(WIN32)
    find_program(KOSHR_OBJDUMP NAMES x86_64-w64-mingw32-objdump objdump)
    set(export_format pe)
    set(export_tool ${KOSHR_OBJDUMP})
  else()
    find_program(KOSHR_NM NAMES nm)
    set(export_format elf)
    set(export_tool ${KOSHR_NM})
  endif()
  add_test(NAME artefacts_exports
    COMMAND ${Python3_EXECUTABLE} ${artefacts}/check_exports.py --format ${export_format}
            --tool ${export_tool} $<TARGET_FILE:koshr> ${KOSHR_TEST_DATA}/exports)
endif()

# (b) Every public header not marked "(C++ only)" in its opening comment
# compiles as C, and a C program links and runs against the library.
file(GLOB public_headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/koshr/*.h)
set(c_includes "")
foreach(header IN LISTS public_headers)
  file(STRINGS ${header} opening LIMIT_COUNT 3)
  if(NOT opening MATCHES "C\\+\\+ only")
    get_filename_component(name ${header} NAME)
    string(APPEND c_includes "#include <koshr/${name}>\n")
  endif()
endforeach()
file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/c_headers.h CONTENT "${c_includes}")
add_executable(artefacts_c_consumer ${artefacts}/c_consumer.c)
target_include_directories(artefacts_c_consumer PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
target_link_libraries(artefacts_c_consumer PRIVATE koshr::koshr)
set_target_properties(artefacts_c_consumer PROPERTIES C_STANDARD 11 C_STANDARD_REQUIRED ON
  C_EXTENSIONS OFF RUNTIME_OUTPUT_DIRECTORY $<TARGET_FILE_DIR:koshr>)
target_compile_options(artefacts_c_consumer PRIVATE -Wall -Wextra -Werror)
add_test(NAME artefacts_c_consumer COMMAND artefacts_c_consumer)

# (c) An installed tree starts its tool from the prefix alone and serves every
# program in examples/: through find_package, and through pkg-config where it
# is installed. `make examples` runs the same script, adding the Windows build.
if(NOT CMAKE_CROSSCOMPILING AND TARGET koshr_tool)
  add_test(NAME artefacts_install
    COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${CMAKE_BINARY_DIR}
            -DPREFIX=${CMAKE_CURRENT_BINARY_DIR}/artefacts_install/prefix
            -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/artefacts_install/work
            -DGENERATOR=${CMAKE_GENERATOR}
            -DC_COMPILER=${CMAKE_C_COMPILER}
            -DCXX_COMPILER=${CMAKE_CXX_COMPILER}
            "-DC_FLAGS=${CMAKE_C_FLAGS}"
            "-DCXX_FLAGS=${CMAKE_CXX_FLAGS}"
            "-DLINK_FLAGS=${CMAKE_EXE_LINKER_FLAGS}"
            -P ${artefacts}/install_examples.cmake)
endif()
