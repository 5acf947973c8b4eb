# Front door of the vxlib build. Every target installs missing packages
# first (scripts/install-deps.sh), so a fresh clone needs nothing else.
#
#   make check     build (RelWithDebInfo) and run every test
#   make sanitize  the whole suite built with ASan + UBSan (clang)
#   make tsan      the whole suite built with ThreadSanitizer (clang)
#   make tsan-threads  only the tests that run several threads at once
#                  (named "Threads...") under ThreadSanitizer
#   make bench     build and run the benchmarks (Release)
#   make fuzz      run each libFuzzer target for FUZZ_SECONDS (default 30)
#   make demo      a scripted tour of vxtool over the bundled samples

JOBS         ?= $(shell nproc)
FUZZ_SECONDS ?= 30
CMAKE        := cmake -G Ninja -Wno-dev
CTEST        := ctest --output-on-failure -j $(JOBS) --timeout 600

.PHONY: all deps build check sanitize tsan tsan-threads bench fuzz demo install clean

all: build

deps:
	@scripts/install-deps.sh

build/build.ninja: | deps
	$(CMAKE) -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps build/build.ninja
	cmake --build build -j $(JOBS)

check: build
	cd build && $(CTEST)

build-asan/build.ninja: | deps
	CC=clang CXX=clang++ $(CMAKE) -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug -DVX_SANITIZE=address,undefined

sanitize: deps build-asan/build.ninja
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 UBSAN_OPTIONS=print_stacktrace=1 $(CTEST)

build-tsan/build.ninja: | deps
	CC=clang CXX=clang++ $(CMAKE) -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug -DVX_SANITIZE=thread

tsan: deps build-tsan/build.ninja
	cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS=halt_on_error=1 $(CTEST)

tsan-threads: deps build-tsan/build.ninja
	cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS=halt_on_error=1 $(CTEST) -R Threads

build-bench/build.ninja: | deps
	$(CMAKE) -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DVX_BUILD_TESTS=OFF -DVX_BUILD_BENCH=ON

bench: deps build-bench/build.ninja
	cmake --build build-bench -j $(JOBS)
	scripts/run-benchmarks.sh build-bench

build-fuzz/build.ninja: | deps
	CC=clang CXX=clang++ CXXFLAGS=-fsanitize=fuzzer-no-link $(CMAKE) -S . -B build-fuzz \
	  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVX_BUILD_TESTS=OFF -DVX_BUILD_FUZZ=ON -DVX_SANITIZE=address,undefined

fuzz: deps build-fuzz/build.ninja
	cmake --build build-fuzz -j $(JOBS)
	scripts/run-fuzzers.sh build-fuzz $(FUZZ_SECONDS)

demo: build
	scripts/demo.sh build

install: build
	cmake --install build

clean:
	rm -rf build build-asan build-tsan build-bench build-fuzz
