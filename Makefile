# Thin wrapper around CMake + Ninja.
#   make test   install deps, build with ASan+UBSan, run every test through CTest,
#               then the thread tests under ThreadSanitizer
#   make bench  release build, run the benchmarks and the peer comparisons
#   make demo   build the demo catalogue into a server tree, serve it with nginx on
#               127.0.0.1 and run the program against it in a sandboxed HOME
#   make tsan   build with ThreadSanitizer, run the thread, task and event tests
#   make package  release build, then the .deb and the per-user setup file
#               Kestrix_<version>_setup.run in build/release/packages
JOBS ?= $(shell nproc)
TEST_DIR := build/test
BENCH_DIR := build/release
TSAN_DIR := build/tsan
# CTest names of the thread, task and event tests, of the download thread and
# of add-on extraction, which hash, write or decompress on helper threads (suite.case).
TSAN_TESTS := ^(MThread|MLock|MCriticalSection|MSemaphore|MTaskGroup|MEvent|CpuTopology|DownloadThread|ItemDownload|AddonInstall|Walk|MNodePool)Test\.

.PHONY: all deps test tsan tsan-run bench demo package fuzz-smoke clean format

all: $(TEST_DIR)/build.ninja
	cmake --build $(TEST_DIR) -j $(JOBS)

deps:
	scripts/install-deps

$(TEST_DIR)/build.ninja:
	cmake -S . -B $(TEST_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug \
	  -DKESTRIX_SANITIZE=ON -DKESTRIX_WERROR=ON -DKESTRIX_TESTS=ON

# Every test under ASan+UBSan, then the thread, task and event tests again under
# ThreadSanitizer.
test: deps $(TEST_DIR)/build.ninja
	cmake --build $(TEST_DIR) -j $(JOBS)
	cd $(TEST_DIR) && ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --output-on-failure -j $(JOBS)
	$(MAKE) --no-print-directory tsan-run

tsan: deps tsan-run

tsan-run:
	cmake -S . -B $(TSAN_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Debug \
	  -DKESTRIX_TSAN=ON -DKESTRIX_WERROR=ON -DKESTRIX_TESTS=ON
	cmake --build $(TSAN_DIR) -j $(JOBS) --target foundation_tests transfer_tests install_tests
	cd $(TSAN_DIR) && TSAN_OPTIONS=second_deadlock_stack=1 \
	  ctest --output-on-failure -j $(JOBS) -R '$(TSAN_TESTS)'

bench:
	scripts/install-deps --bench
	cmake -S . -B $(BENCH_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release \
	  -DKESTRIX_TESTS=OFF -DKESTRIX_BENCH=ON
	cmake --build $(BENCH_DIR) -j $(JOBS)
	bench/run-all $(BENCH_DIR)

demo: deps
	cmake -S . -B $(BENCH_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DKESTRIX_TESTS=OFF
	cmake --build $(BENCH_DIR) -j $(JOBS) --target kestrix kestrix-pack kestrix-tree kx_packages
	scripts/demo $(BENCH_DIR)/src/app/kestrix

package: deps
	cmake -S . -B $(BENCH_DIR) -G Ninja -DCMAKE_BUILD_TYPE=Release -DKESTRIX_TESTS=OFF
	cmake --build $(BENCH_DIR) -j $(JOBS) --target kx_packages
	@ls -l $(BENCH_DIR)/packages/*.deb $(BENCH_DIR)/packages/*_setup.run

fuzz-smoke:
	scripts/install-deps --fuzz
	CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=Debug \
	  -DKESTRIX_TESTS=OFF -DKESTRIX_FUZZ=ON
	cmake --build build/fuzz -j $(JOBS)
	fuzz/run-smoke build/fuzz

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build
