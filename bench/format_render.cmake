# ICU's DecimalFormat and SimpleDateFormat as peers of the format renderers,
# when ICU is installed.
if(PkgConfig_FOUND)
  pkg_check_modules(ICU IMPORTED_TARGET icu-i18n icu-uc)
endif()
if(ICU_FOUND)
  target_link_libraries(${bench_target} PRIVATE PkgConfig::ICU)
  target_compile_definitions(${bench_target} PRIVATE KOSHR_BENCH_ICU=1)
endif()
