# pixelbridge: `make test` builds and tests all four ABIs; `make demo` runs the main job.
PACKAGES := cmake g++ g++-i686-linux-gnu libc6-i386 lib32stdc++6 g++-aarch64-linux-gnu g++-arm-linux-gnueabihf \
            qemu-user libgd-dev googletest libgtest-dev libyuv-dev clang libclang-rt-14-dev
JOBS ?= $(shell nproc)
NATIVE := build/native
I386 := build/i386
AARCH64 := build/aarch64
ARMHF := build/armhf
ASAN := build/asan
FUZZ := build/fuzz
FUZZ_SECONDS ?= 600

.PHONY: all test demo bench deps native i386 aarch64 armhf test-native test-i386 test-aarch64 test-armhf \
        sanitize fuzz fuzz-ci clean

all: native

test: deps
	$(MAKE) test-native
	$(MAKE) test-i386
	$(MAKE) test-aarch64
	$(MAKE) test-armhf

# Installs the Debian packages the build needs when run as root; otherwise names them.
deps:
	@missing=""; \
	for p in $(PACKAGES); do dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" = 0 ]; then \
	    echo "installing:$$missing"; \
	    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing >/dev/null; \
	  else echo "missing packages:$$missing (run make as root to install them)"; exit 1; fi; \
	fi

# The emulated trees keep line tables only: full debug information costs a third of their
# build time, and their failures are read from the tests' output and backtraces.
CROSS_CONFIG := -DCMAKE_BUILD_TYPE=RelWithDebInfo "-DCMAKE_CXX_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG" \
                "-DCMAKE_C_FLAGS_RELWITHDEBINFO=-O2 -g1 -DNDEBUG"

$(NATIVE)/CMakeCache.txt:
	cmake -S . -B $(NATIVE) -DCMAKE_BUILD_TYPE=RelWithDebInfo

$(I386)/CMakeCache.txt:
	cmake -S . -B $(I386) $(CROSS_CONFIG) -DCMAKE_TOOLCHAIN_FILE=cmake/i386-linux.cmake

$(AARCH64)/CMakeCache.txt:
	cmake -S . -B $(AARCH64) $(CROSS_CONFIG) -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux.cmake

$(ARMHF)/CMakeCache.txt:
	cmake -S . -B $(ARMHF) $(CROSS_CONFIG) -DCMAKE_TOOLCHAIN_FILE=cmake/armhf-linux.cmake

native: $(NATIVE)/CMakeCache.txt
	cmake --build $(NATIVE) -j$(JOBS)

i386: $(I386)/CMakeCache.txt
	cmake --build $(I386) -j$(JOBS)

aarch64: $(AARCH64)/CMakeCache.txt
	cmake --build $(AARCH64) -j$(JOBS)

armhf: $(ARMHF)/CMakeCache.txt
	cmake --build $(ARMHF) -j$(JOBS)

test-native: native
	ctest --test-dir $(NATIVE) --output-on-failure -j$(JOBS)

test-i386: i386
	ctest --test-dir $(I386) --output-on-failure -j$(JOBS)

test-aarch64: aarch64
	ctest --test-dir $(AARCH64) --output-on-failure -j$(JOBS)

test-armhf: armhf
	ctest --test-dir $(ARMHF) --output-on-failure -j$(JOBS)

# The x86-64 tests built with AddressSanitizer and UndefinedBehaviorSanitizer.
$(ASAN)/CMakeCache.txt:
	cmake -S . -B $(ASAN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPIXELBRIDGE_SANITIZE=ON

sanitize: deps $(ASAN)/CMakeCache.txt
	cmake --build $(ASAN) -j$(JOBS)
	ctest --test-dir $(ASAN) --output-on-failure -j$(JOBS)

# The fuzzer (clang and libFuzzer) for FUZZ_SECONDS, from the seed corpus in tests/fuzz/corpus;
# what it adds goes to build/fuzz/corpus, failing inputs to build/fuzz/artifacts.
$(FUZZ)/CMakeCache.txt:
	cmake -S . -B $(FUZZ) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	  -DCMAKE_CXX_COMPILER=clang++ -DPIXELBRIDGE_FUZZ=ON -DPIXELBRIDGE_TESTS=OFF

fuzz: deps $(FUZZ)/CMakeCache.txt
	cmake --build $(FUZZ) -j$(JOBS) --target pixelbridge_fuzz
	mkdir -p $(FUZZ)/corpus $(FUZZ)/artifacts
	$(FUZZ)/pixelbridge_fuzz $(FUZZ)/corpus tests/fuzz/corpus -max_total_time=$(FUZZ_SECONDS) \
	  -max_len=2048 -timeout=60 -artifact_prefix=$(FUZZ)/artifacts/ -print_final_stats=1

# The bounded run of CI.
fuzz-ci:
	$(MAKE) fuzz FUZZ_SECONDS=60

demo: deps native
	$(NATIVE)/pixelhost demo --out build/demo

# Every method against memcpy and libyuv; table on stdout, CSV and chart in build/bench/.
bench: deps native
	mkdir -p build/bench
	$(NATIVE)/pixelbench --csv build/bench/pixelbench.csv --chart build/bench/pixelbench.png

clean:
	rm -rf build
