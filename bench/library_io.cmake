# The library-file benchmark's peer: SQLite through pkg-config (required: it
# is the figure the ratios are taken against).
pkg_check_modules(LIBRARY_SQLITE REQUIRED IMPORTED_TARGET sqlite3)
target_link_libraries(${bench_target} PRIVATE PkgConfig::LIBRARY_SQLITE)
