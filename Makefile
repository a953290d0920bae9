# Thin wrapper over CMake and Ninja. `make test` and `make run` install what
# is missing first (scripts/install-deps), then configure and build. `make
# test` runs every test twice: in the ordinary build, and in a second build
# under AddressSanitizer and UndefinedBehaviorSanitizer.
BUILD ?= build
SANITIZED ?= build-sanitized
JOBS ?= $(shell nproc)
SANITIZERS := -fsanitize=address,undefined -fno-omit-frame-pointer -fno-sanitize-recover=undefined

.PHONY: run test build sanitized deps clean

deps:
	@scripts/install-deps

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

run: build
	@scripts/run-sample $(BUILD)

clean:
	@rm -rf $(BUILD) $(SANITIZED)
