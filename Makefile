# The front door: every command drives a CMake preset (CMakePresets.json).
.PHONY: run test install uninstall examples test-windows test-sanitize test-postgres bench \
	bench-postgres fuzz fuzz-smoke format format-check clean

JOBS ?= $(shell nproc)
# The test binaries that hold the thread-stress tests run under ThreadSanitizer.
TSAN_TARGETS ?= test_storage
# Wine keeps its own prefix inside the build tree: a fresh clone needs no ~/.wine.
WINE_ENV = WINEPREFIX=$(CURDIR)/build/windows/wineprefix WINEDEBUG=-all

run:
	cmake --preset default >/dev/null
	cmake --build --preset default -j $(JOBS)
	./build/default/tools/koshr/koshr demo

test:
	cmake --preset default >/dev/null
	cmake --build --preset default -j $(JOBS)
	ctest --preset default -j $(JOBS)

# The library, its headers, package files, the tool, its man page and bash
# completion, built without the test suite (preset "release").
PREFIX ?= /usr/local
install:
	cmake --preset release >/dev/null
	cmake --build --preset release -j $(JOBS)
	cmake --install build/release --prefix $(PREFIX)
	cp build/release/install_manifest.txt build/release/installed_files.txt

# Removes what the last `make install` installed (its list is kept in the build).
uninstall:
	@test -f build/release/installed_files.txt || { echo "nothing installed from this tree"; exit 1; }
	@xargs -d '\n' -r rm -fv -- < build/release/installed_files.txt
	@sed -n 's|/koshr/[^/]*$$|/koshr|p' build/release/installed_files.txt | sort -u | \
	  while read -r d; do rmdir "$$d" 2>/dev/null || true; done
	@rm -f build/release/installed_files.txt

# Every program in examples/ built and run against freshly installed packages:
# the Linux one through CMake and pkg-config, the Windows one with mingw-w64
# and Wine (see examples/README.md).
EXAMPLES = $(CURDIR)/build/examples
examples:
	cmake --preset release >/dev/null
	cmake --build --preset release -j $(JOBS)
	cmake --install build/release --prefix $(EXAMPLES)/prefix >/dev/null
	cmake --preset windows-release >/dev/null
	cmake --build --preset windows-release -j $(JOBS)
	cmake --install build/windows-release --prefix $(EXAMPLES)/windows-prefix >/dev/null
	cmake -DREQUIRE_ALL=ON -DPREFIX=$(EXAMPLES)/prefix -DWINDOWS_PREFIX=$(EXAMPLES)/windows-prefix \
	  -DWORK_DIR=$(EXAMPLES)/work -P examples/run_examples.cmake

test-windows:
	cmake --preset windows >/dev/null
	cmake --build --preset windows -j $(JOBS)
	$(WINE_ENV) wineboot --init >/dev/null 2>&1 || true
	$(WINE_ENV) ctest --preset windows -j $(JOBS)

test-sanitize:
	cmake --preset sanitize >/dev/null
	cmake --build --preset sanitize -j $(JOBS)
	ctest --preset sanitize -j $(JOBS)
	cmake --preset tsan >/dev/null
	cmake --build --preset tsan -j $(JOBS) --target $(TSAN_TARGETS)
	ctest --preset tsan

# The driver suite and `koshr query` against a throwaway PostgreSQL server in the build tree.
test-postgres:
	cmake --preset default >/dev/null
	cmake --build --preset default -j $(JOBS) --target test_drivers koshr_tool
	tests/drivers/with_postgres.sh build/default/postgres \
	  ctest --preset default -R '^OdbcDriverTest\.|^KoshrQueryTool$$'

bench:
	cmake --preset bench >/dev/null
	cmake --build --preset bench -j $(JOBS)
	@for b in build/bench/bench/bench_*; do echo "== $$b"; $$b --benchmark_min_time=0.2 || exit 1; done

# The database export rows against a throwaway PostgreSQL server.
bench-postgres:
	cmake --preset bench >/dev/null
	cmake --build --preset bench -j $(JOBS) --target bench_query_export
	tests/drivers/with_postgres.sh build/bench/postgres \
	  build/bench/bench/bench_query_export --benchmark_filter='postgres|Psql'

# Every fuzz target for FUZZ_SECONDS each, growing its corpus in build/fuzz/corpus.
FUZZ_SECONDS ?= 60
fuzz:
	cmake --preset fuzz >/dev/null
	cmake --build --preset fuzz -j $(JOBS)
	@for f in build/fuzz/fuzz/fuzz_*; do echo "== $$f"; mkdir -p build/fuzz/corpus/$$(basename $$f); \
	  $$f -max_total_time=$(FUZZ_SECONDS) -rss_limit_mb=4096 build/fuzz/corpus/$$(basename $$f) || exit 1; done

# CI's check that every fuzz target still builds and runs: the same runs, short.
FUZZ_SMOKE_SECONDS ?= 10
fuzz-smoke:
	$(MAKE) fuzz FUZZ_SECONDS=$(FUZZ_SMOKE_SECONDS)

# The house style (.clang-format), with the one clang-format release CI installs:
# another release formats some constructs differently.
CLANG_FORMAT ?= clang-format-14
FORMAT_FILES = $(shell git ls-files '*.c' '*.cpp' '*.h' 2>/dev/null || \
	find . -path ./build -prune -o \( -name '*.c' -o -name '*.cpp' -o -name '*.h' \) -print)
format:
	@$(CLANG_FORMAT) -i $(FORMAT_FILES)
format-check:
	@$(CLANG_FORMAT) --dry-run --Werror $(FORMAT_FILES) && echo "format-check: every file in the house style"

clean:
	rm -rf build
