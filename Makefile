# pixelbridge: `make test` builds and tests every tree; `make demo` runs the main job.
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 600

# The trees `make test` builds and tests, in this order. A tree is build/NAME/, configured
# from cmake/toolchains/NAME.cmake where there is one (native and the run trees have none).
# win64's programs run under Wine, and win32's in Wine's WoW64 mode (32-bit code in a 64-bit
# Wine process); winarm64's (Windows on ARM64) are built and checked; macOS's plug-in and test
# probe are built and checked, its programs compiled. The run trees run the reference host's
# tests, pixelhost and the corpus replay on this machine against another tree's plug-in: macrun
# against each slice of macOS's bundles (x86_64 on this processor, arm64 emulated by Unicorn),
# winarm64run against winarm64's DLLs (on the same emulated processor).
TREES := native i386 aarch64 armhf clang win64 win32 winarm64 winarm64run macos macrun

# What each tree needs from Debian, and no more (asan: the native tree with the sanitizers;
# fuzz: clang and libFuzzer; format: the style check). libclang-rt-14-dev brings the header
# the fuzz target reads its inputs with, which every tree's corpus replay compiles too.
PACKAGES_native := cmake g++ libgd-dev libgtest-dev libyuv-dev libclang-rt-14-dev
PACKAGES_i386 := cmake g++-i686-linux-gnu libc6-i386 lib32stdc++6 qemu-user googletest libclang-rt-14-dev
PACKAGES_aarch64 := cmake g++-aarch64-linux-gnu qemu-user googletest libclang-rt-14-dev
PACKAGES_armhf := cmake g++-arm-linux-gnueabihf qemu-user googletest libclang-rt-14-dev
PACKAGES_clang := cmake clang libgd-dev libgtest-dev libyuv-dev libclang-rt-14-dev
PACKAGES_win64 := cmake g++-mingw-w64-x86-64-posix wine64 libclang-rt-14-dev
# win32: wine64 runs its programs with the i386 Windows builtins that the tree fetches (not
# installs) from the package libwine:i386; libc6-i386's loader tells whether the machine runs
# 32-bit code.
PACKAGES_win32 := cmake g++-mingw-w64-i686-posix wine64 libc6-i386 libclang-rt-14-dev
# winarm64: npm fetches the pinned zig package (compiler, linker, runtimes); llvm's archiver,
# windres (which preprocesses with clang), strip and objdump.
PACKAGES_winarm64 := cmake clang llvm npm googletest libclang-rt-14-dev
# macos: Debian's clang and Mach-O linker, llvm's lipo and objdump; npm fetches the pinned
# package the SDK folder's headers come from; Unicorn (2.0.1 in Debian 12), which runs the
# bundle's arm64 slice in macrun, the tree that runs what macos built.
PACKAGES_macos := cmake clang lld llvm npm googletest libclang-rt-14-dev libunicorn-dev
PACKAGES_macrun := $(PACKAGES_native) libunicorn-dev qemu-user
PACKAGES_winarm64run := $(PACKAGES_native) libunicorn-dev
PACKAGES_asan := $(PACKAGES_native)
PACKAGES_fuzz := cmake clang libclang-rt-14-dev libgd-dev
PACKAGES_format := clang-format
PACKAGES_dist := zip unzip llvm

# Options of trees beyond their toolchain file.
OPTIONS_asan := -DPIXELBRIDGE_SANITIZE=ON
OPTIONS_macrun := -DPIXELBRIDGE_MAC_TREE=$(CURDIR)/build/macos
OPTIONS_winarm64run := -DPIXELBRIDGE_WINARM64_TREE=$(CURDIR)/build/winarm64
OPTIONS_fuzz := -DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/clang.cmake -DPIXELBRIDGE_FUZZ=ON -DPIXELBRIDGE_TESTS=OFF

# Wine now and then ends a test program with a failing status after all its cases passed, so
# under Wine a test that fails is run once more (its first output stays in the log) and fails
# the tree only when it fails again, in both Windows trees. The Linux trees run the same cases
# once.
CTEST_win64 := --repeat until-pass:2
CTEST_win32 := $(CTEST_win64)

.PHONY: all test demo bench dist deps sanitize fuzz fuzz-ci format format-check clean $(TREES) $(addprefix test-,$(TREES))

all: native

test: $(addprefix test-,$(TREES))

# Installs a tree's Debian packages (deps-NAME, not phony: make skips pattern rules for those) when run as root; otherwise names those missing.
# A package counts as present when its command is (npm may come with another nodejs than
# Debian's). One install at a time, as apt allows, however many trees make builds at once.
deps-%:
	@flock /tmp/pixelbridge-deps.lock sh -c '\
	missing=""; \
	for p in $(PACKAGES_$*); do dpkg -s $$p >/dev/null 2>&1 || command -v $$p >/dev/null || missing="$$missing $$p"; done; \
	if [ -n "$$missing" ]; then \
	  if [ "$$(id -u)" = 0 ]; then \
	    echo "installing:$$missing"; \
	    apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $$missing >/dev/null; \
	  else echo "missing packages:$$missing (run make as root to install them)"; exit 1; fi; \
	fi'

# Every tree's packages at once.
deps: $(addprefix deps-,$(TREES) asan fuzz format dist)

build/%/CMakeCache.txt: | deps-%
	cmake -S . -B build/$* -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  $(if $(wildcard cmake/toolchains/$*.cmake),-DCMAKE_TOOLCHAIN_FILE=cmake/toolchains/$*.cmake) $(OPTIONS_$*)

$(TREES): %: deps-% build/%/CMakeCache.txt
	cmake --build build/$* -j$(JOBS)

# The run trees run the DLLs and bundles other trees built.
macrun: macos
winarm64run: winarm64

$(addprefix test-,$(TREES)): test-%: %
	ctest --test-dir build/$* --output-on-failure -j$(JOBS) $(CTEST_$*)

# The x86-64 tests built with AddressSanitizer and UndefinedBehaviorSanitizer.
sanitize: deps-asan build/asan/CMakeCache.txt
	cmake --build build/asan -j$(JOBS)
	ctest --test-dir build/asan --output-on-failure -j$(JOBS)

# The fuzzer (clang and libFuzzer) for FUZZ_SECONDS, from the seed corpus in tests/fuzz/corpus;
# what it adds goes to build/fuzz/corpus, failing inputs to build/fuzz/artifacts.
fuzz: deps-fuzz build/fuzz/CMakeCache.txt
	cmake --build build/fuzz -j$(JOBS) --target pixelbridge_fuzz
	mkdir -p build/fuzz/corpus build/fuzz/artifacts
	build/fuzz/pixelbridge_fuzz build/fuzz/corpus tests/fuzz/corpus -max_total_time=$(FUZZ_SECONDS) \
	  -max_len=2048 -timeout=60 -artifact_prefix=build/fuzz/artifacts/ -print_final_stats=1

# The bounded run of CI. An input found failing stays in build/fuzz/artifacts/; the log names
# it and holds it in base64, so that it can go into the corpus with its fix.
fuzz-ci:
	$(MAKE) fuzz FUZZ_SECONDS=60 || { for input in build/fuzz/artifacts/*; do \
	  echo "fuzz-ci: failing input $$input, in base64:"; base64 "$$input"; done; exit 1; }

# The C++ sources as .clang-format has them: format rewrites them, format-check fails on a difference.
format: deps-format
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

format-check: deps-format
	git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror

demo: native
	build/native/pixelhost demo --out build/demo

# Every method against memcpy and libyuv; table on stdout, CSV and chart in build/bench/.
bench: native
	mkdir -p build/bench
	build/native/pixelbench --csv build/bench/pixelbench.csv --chart build/bench/pixelbench.png

# The release: one archive per platform in dist/ from the trees `make test` built, with
# SHA256SUMS, then their test (which makes them once more to compare).
dist: deps-dist
	release/dist.sh dist
	sh tests/dist_test.sh dist

clean:
	rm -rf build dist
