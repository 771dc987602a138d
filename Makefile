# The two commands of the README, and a few more for developers.
#   make example   set up if needed, build, run the bundled example
#   make test      set up if needed, build, run every test
#   make bench     build and run the benchmarks (Release)
#   make bench-mapreduce  serial against Spark with one and two executors
#   make sanitize  build and test with AddressSanitizer and UBSan
#   make tsan      build and run the concurrency tests with ThreadSanitizer
#   make octave-package  the GNU Octave package tarball (pkg install)
#   make package   build the Debian package (BUILD/package/ovparquet_*.deb)
#   make fuzz      libFuzzer (clang, ASan + UBSan) on every fuzz target,
#                  FUZZ_SECONDS each (default 60), FUZZ_JOBS processes at once
#                  (default: one per core); crashes kept in tests/fuzz/crashes
BUILD    ?= build
JOBS     ?= $(shell nproc)
GENERATOR = -G Ninja
FUZZ_SECONDS ?= 60
FUZZ_JOBS ?= $(JOBS)

.PHONY: setup configure build example test bench bench-mapreduce sanitize tsan package clean octave-package fuzz

setup:
	@bash scripts/setup.sh

configure: setup
	@cmake -S . -B $(BUILD) $(GENERATOR) $(CMAKE_ARGS) >/dev/null

build: configure
	@cmake --build $(BUILD) -j $(JOBS)

example: build
	@bash example/run.sh $(BUILD)

test: build
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

bench:
	@$(MAKE) --no-print-directory build BUILD=build-release CMAKE_ARGS="-DCMAKE_BUILD_TYPE=Release"
	@bash bench/run.sh build-release

# The mapreduce engines compared on a Spark cluster started on 127.0.0.1
# (about five minutes on a quiet machine; BENCH_MAPREDUCE_ARGS="--files 8
# --work 5" for a quick run).
bench-mapreduce: build
	@bash bench/mapreduce/run.sh $(BUILD) $(BENCH_MAPREDUCE_ARGS)

# Arrow's allocations go through malloc, where AddressSanitizer sees them;
# OpenSSL's process-wide state inside Arrow is no leak of ours.
sanitize:
	@ARROW_DEFAULT_MEMORY_POOL=system LSAN_OPTIONS=suppressions=$(CURDIR)/tests/support/lsan_suppressions.txt \
	  $(MAKE) --no-print-directory test BUILD=build-asan CMAKE_ARGS="-DOVPARQUET_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug"

# Only the concurrency tests: everything else runs on one thread at a time.
tsan:
	@$(MAKE) --no-print-directory configure BUILD=build-tsan CMAKE_ARGS="-DOVPARQUET_TSAN=ON -DOVPARQUET_BUILD_BENCH=OFF"
	@cmake --build build-tsan -j $(JOBS) --target tsan_tests host_tests
	@cd build-tsan && ctest -R '^tsan[.]' --output-on-failure

octave-package: configure
	@cmake --build $(BUILD) -j $(JOBS) --target octave_package
	@ls $(BUILD)/bindings/octave/ovparquet-*.tar.gz

package: build
	@cd $(BUILD) && cpack -G DEB

fuzz:
	@bash scripts/setup.sh --fuzz
	@$(MAKE) --no-print-directory configure BUILD=build-fuzz CMAKE_ARGS="-DCMAKE_CXX_COMPILER=clang++ -DOVPARQUET_FUZZ=ON -DOVPARQUET_BUILD_BENCH=OFF"
	@cmake --build build-fuzz -j $(JOBS) --target fuzz_targets
	@FUZZ_SECONDS=$(FUZZ_SECONDS) FUZZ_JOBS=$(FUZZ_JOBS) bash tests/fuzz/run.sh build-fuzz

clean:
	rm -rf build build-release build-asan build-fuzz build-tsan
