# Peers of the pools benchmark: APR pools and talloc through pkg-config (each
# optional), mimalloc loaded with dlopen at run time so that it never replaces
# malloc for the whole program.
if(PKG_CONFIG_FOUND)
  pkg_check_modules(POOLS_APR QUIET IMPORTED_TARGET apr-1)
  pkg_check_modules(POOLS_TALLOC QUIET IMPORTED_TARGET talloc)
endif()
if(POOLS_APR_FOUND)
  target_link_libraries(${bench_target} PRIVATE PkgConfig::POOLS_APR)
  target_compile_definitions(${bench_target} PRIVATE KOSHR_BENCH_APR)
endif()
if(POOLS_TALLOC_FOUND)
  target_link_libraries(${bench_target} PRIVATE PkgConfig::POOLS_TALLOC)
  target_compile_definitions(${bench_target} PRIVATE KOSHR_BENCH_TALLOC)
endif()
target_link_libraries(${bench_target} PRIVATE ${CMAKE_DL_LIBS} pthread)
