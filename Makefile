# SPDX-License-Identifier: BSD-3-Clause
# Thin doors to the presets in CMakePresets.json and the scripts in scripts/.

.DEFAULT_GOAL := build
.PHONY: build deps demo test coverage mutation memcheck bench fuzz format tidy docs install help

# SAN=address,undefined or SAN=thread picks the sanitizer preset for `make test`.
SAN ?=
PRESET := $(or $(if $(SAN),$(or $(if $(filter address%undefined undefined%address,$(SAN)),asan),\
  $(if $(filter thread,$(SAN)),tsan),$(error SAN is address,undefined or thread))),release)
PREFIX ?= /usr/local
JOBS ?= $(shell nproc)
export CMAKE_CXX_COMPILER_LAUNCHER := $(shell command -v ccache)

build: ## build the library and zrdcm
	cmake --preset $(PRESET) --log-level=WARNING
	cmake --build --preset $(PRESET) -j $(JOBS)

deps: ## install the Debian packages the project needs
	scripts/install-packages.sh

demo: deps ## make phantoms, decode them and show all on demo/index.html
	cmake --preset release -DZRDCMEXPORT_BUILD_TESTS=OFF -B build/demo --log-level=WARNING
	cmake --build build/demo -j $(JOBS)
	scripts/demo.sh build/demo/src/tools/zrdcm/zrdcm build/demo/examples/reformat_coronal demo

test: deps build ## build and run every test; SAN=address,undefined under sanitizers
	ctest --preset $(PRESET) $(CTEST_ARGUMENTS)

bench: deps ## measure against memcpy, DCMTK and other readers
	scripts/bench.sh

coverage: deps ## say which lines and branches the tests reach, and fail below the goal
	scripts/coverage.sh

mutation: deps ## say how many small slips in the library the tests notice; a quarter of an hour
	python3 tests/mutation/mutate.py --jobs $(JOBS)

memcheck: deps ## run hostile and damaged files under valgrind
	scripts/check-memcheck.sh

fuzz: deps ## run every fuzzer for SECONDS each
	scripts/fuzz.sh $(or $(SECONDS),60)

format: ## format the sources in place
	scripts/format.sh

tidy: ## run clang-tidy over the library and the platform
	scripts/tidy.sh

docs: ## build the reference documentation
	scripts/docs.sh

install: build ## install into PREFIX (default /usr/local)
	cmake --install build/$(PRESET) --prefix $(PREFIX)

help: ## list the verbs
	@grep -E '^[a-z]+:.*##' $(MAKEFILE_LIST) | sed 's/:.*##/\t/' | expand -t 12
