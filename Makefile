# The front door. Every target installs what it needs first, then leaves the work to CMake, CTest
# and the programs.
.DEFAULT_GOAL := help
.PHONY: help setup build configured run check test browser-test gallery sanitize lint torture
.PHONY: fuzz coverage mutate bench mac contract-apple mac-check replay install uninstall clean

PRESET ?= plain
JOBS ?= $(shell getconf _NPROCESSORS_ONLN)

help: ## Show the targets
	@grep -hE '^[a-z-]+:.*## ' $(MAKEFILE_LIST) | sed -E 's/:.*## /\t/' | expand -t 18

setup:
	@tools/install-dependencies build

build: configured ## Build everything
	@cmake --build --preset $(PRESET) -j $(JOBS)

configured: setup
	@cmake --preset $(PRESET) >/dev/null

ifeq ($(shell uname -s),Darwin)
run: configured
	@cmake --build --preset $(PRESET) -j $(JOBS) --target tolvaran_helper
	build/$(PRESET)/helper/tolvaran_helper
else
run: configured ## Run the main job: a real process is killed, and its Mac is put back
	@cmake --build --preset $(PRESET) -j $(JOBS) --target tolvaran_simulator
	build/$(PRESET)/player/tolvaran_simulator --report build/crash.html scenarios/crash.json
	@echo "What happened, with pictures: file://$(CURDIR)/build/crash.html"
endif

check: configured ## Build and run only the test programs that the changes since the last commit concern
	@tools/check --preset $(PRESET) -j $(JOBS)

# With Debian's own Python, which its packages are for.
browser-test: configured ## Open the report of every scenario in a headless browser
	@tools/install-dependencies browser
	@cmake --build --preset $(PRESET) -j $(JOBS) --target tolvaran_simulator
	/usr/bin/python3 tests/browser/report_test.py build/$(PRESET)/player/tolvaran_simulator

test: build ## Build and run every test (PRESET=sanitize: with sanitizers and leak check)
	@tools/run-tests --preset $(PRESET) -j $(JOBS)

gallery: configured ## Draw the scenarios again (scenarios/README.md and its pictures)
	@cmake --build --preset $(PRESET) -j $(JOBS) --target tolvaran_gallery
	build/$(PRESET)/player/tolvaran_gallery scenarios

sanitize: ## Build and run every test with the address, undefined-behaviour and leak sanitizers
	@tools/install-dependencies sanitize
	@$(MAKE) --no-print-directory test PRESET=sanitize

lint: configured ## Check formats, sources and scripts without running them
	@tools/install-dependencies lint
	@tools/lint -j $(JOBS)

torture: export TOLVARAN_STATISTICS = $(CURDIR)/build/torture-counts
torture: ## Try every fault, pair of faults, kill and power cut (hours; PAIRS=N: at most N pairs of a story)
	@tools/install-dependencies build bench
	@cmake --preset release >/dev/null
	@cmake --build --preset release -j $(JOBS) --target faults_tests
	@rm -f build/torture-counts
	@TOLVARAN_TORTURE_PAIRS=$(PAIRS) tools/progress torture ctest --preset torture -j $(JOBS); result=$$?; \
		$(MAKE) --no-print-directory fuzz FUZZ_SECONDS=$(or $(FUZZ_SECONDS),600) || result=1; \
		TOLVARAN_STATISTICS= $(MAKE) --no-print-directory coverage || result=1; \
		tools/torture-summary build/torture-counts; exit $$result

fuzz: ## Look for inputs that break something, until stopped (FUZZ_SECONDS=N: N seconds per target)
	@tools/install-dependencies build fuzz
	@cmake --preset fuzz >/dev/null
	@cmake --build --preset fuzz -j $(JOBS)
	@FUZZ_SECONDS=$(FUZZ_SECONDS) tools/fuzz

coverage: ## Show which lines and branches of helper/ and restore/ the tests do not reach
	@tools/install-dependencies build coverage
	@cmake --preset coverage >/dev/null
	@cmake --build --preset coverage -j $(JOBS)
	@find build/coverage -name '*.gcda' -delete
	ctest --preset coverage -j $(JOBS)
	@tools/coverage

mutate: ## Make N single changes to the product, each of which a test must notice (N=300)
	@tools/install-dependencies build
	@tools/mutate --count $(or $(N),300) -j $(JOBS)

bench: ## Measure speed, memory, system calls and instructions, and compare each with its limit
	@tools/install-dependencies build bench
	@cmake --preset release >/dev/null
	@cmake --build --preset release -j $(JOBS) --target benchmarks tolvaran_simulator
	@tools/bench build/release

export CORE_FOUNDATION_SOURCE LIBDISPATCH_SOURCE

contract-apple: ## Run contract tests on Apple's own code (CORE_FOUNDATION_SOURCE=DIR LIBDISPATCH_SOURCE=DIR)
	@tools/contract-apple

export MACOS_SDK

mac: ## Build and check the Mac product, universal (elsewhere than on a Mac: MACOS_SDK=DIR)
	@tools/build-mac

install: mac ## On a Mac: install the helper for this user and start it
	build/mac/product/install

replay: setup ## Play reports that tolvaran_describe has written (REPORTS="FILE...")
	@cmake --preset $(PRESET) >/dev/null
	@cmake --build --preset $(PRESET) -j $(JOBS) --target tolvaran_simulator
	@for report in $(or $(REPORTS),$(error REPORTS="FILE..." names the reports)); do \
		build/$(PRESET)/player/tolvaran_simulator "$$report" || exit 1; done

mac-check: ## On a Mac without Tolvaran: test, install, kill, describe and remove the helper
	@tools/mac-check

# From the source, so that nothing has to be built for it.
IDENTIFIER = $(shell sed -n 's/^set(TOLVARAN_HELPER_IDENTIFIER \(.*\))/\1/p' packaging/macos/CMakeLists.txt)

uninstall: ## On a Mac: end the helper and remove it
	@sed 's/@TOLVARAN_HELPER_IDENTIFIER@/$(IDENTIFIER)/' packaging/macos/uninstall.in | sh

clean: ## Remove everything that was built
	rm -rf build
