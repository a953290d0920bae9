# Thin wrapper over CMake and Ninja. `make test` and `make run` install what
# is missing first (scripts/install-deps), then configure and build. `make
# test` runs every test twice: in the ordinary build, and in a second build
# under AddressSanitizer and UndefinedBehaviorSanitizer.
BUILD ?= build
SANITIZED ?= build-sanitized
JOBS ?= $(shell nproc)
SANITIZERS := -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined
FUZZED ?= build-fuzz
# Seconds each fuzz target runs for.
FUZZ_SECONDS ?= 300

.PHONY: run test build sanitized deps fuzz clean

deps:
	@scripts/install-deps
	@scripts/install-fonts

build: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@ninja -C $(BUILD) -j $(JOBS)

sanitized: deps
	@cmake -S . -B $(SANITIZED) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DBRINDLEMOOR_BENCH=OFF -DCMAKE_CXX_FLAGS="$(SANITIZERS)" \
	  -DCMAKE_EXE_LINKER_FLAGS="$(SANITIZERS)" >/dev/null
	@ninja -C $(SANITIZED) -j $(JOBS)

test: build sanitized
	@scripts/install-test-node-modules
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)
	@cd $(SANITIZED) && LSAN_OPTIONS=suppressions=$(CURDIR)/tests/leaks.supp \
	  UBSAN_OPTIONS=print_stacktrace=1 ctest --output-on-failure -j $(JOBS)

# Builds the fuzz targets with clang and runs each for FUZZ_SECONDS from its
# seeds; what they find is left in $(FUZZED)/findings.
fuzz:
	@scripts/install-deps --fuzz
	@CXX=clang++ cmake -S . -B $(FUZZED) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DBRINDLEMOOR_TESTS=OFF -DBRINDLEMOOR_BENCH=OFF -DBRINDLEMOOR_FUZZ=ON \
	  -DCMAKE_CXX_FLAGS="-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=undefined" \
	  -DCMAKE_EXE_LINKER_FLAGS="-fsanitize=address,undefined" >/dev/null
	@ninja -C $(FUZZED) -j $(JOBS) $$(ls fuzz/*.cc | sed 's|fuzz/\(.*\)\.cc|fuzz_\1|')
	@scripts/run-fuzz $(FUZZED) $(FUZZ_SECONDS)

run: build
	@scripts/run-sample $(BUILD)

clean:
	@rm -rf $(BUILD) $(SANITIZED)
