# Thin wrapper over CMake and Ninja. `make test` and `make run` install what
# is missing first (scripts/install-deps), then configure and build.
BUILD ?= build
JOBS ?= $(shell nproc)

.PHONY: run test build deps clean

deps:
	@scripts/install-deps

build: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
	@ninja -C $(BUILD) -j $(JOBS)

test: build
	@scripts/install-test-node-modules
	@cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

run: build
	@scripts/run-sample $(BUILD)

clean:
	@rm -rf $(BUILD)
