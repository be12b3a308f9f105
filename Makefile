# Entry points: make deps | build | test | demo | bench | fuzz | install | deb.
# SANITIZE=1 builds with ASan+UBSan (build-san/), SANITIZE=thread with ThreadSanitizer (build-tsan/).
SHELL := /bin/bash
JOBS ?= $(shell nproc)
SANITIZE ?= 0
FUZZ_SECONDS ?= 60
PREFIX ?= /usr/local
SUDO := $(shell [ "$$(id -u)" = 0 ] || echo sudo)

ifeq ($(SANITIZE),1)
BUILD_DIR ?= build-san
CMAKE_EXTRA := -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSES_SANITIZE="address;undefined"
else ifeq ($(SANITIZE),thread)
BUILD_DIR ?= build-tsan
CMAKE_EXTRA := -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSES_SANITIZE=thread
else
BUILD_DIR ?= build
CMAKE_EXTRA := -DCMAKE_BUILD_TYPE=Release
endif

DEB_PACKAGES := cmake make g++ pkg-config ccache binutils python3 gcovr clang-format clang-tidy qtbase5-dev libtinyxml-dev rapidjson-dev \
	libcurl4-openssl-dev libcurl4 libisal-dev googletest libgtest-dev libbenchmark-dev clang libclang-rt-14-dev \
	openssl ca-certificates help2man dpkg-dev file

.PHONY: deps build test demo bench fuzz coverage lint install deb clean

deps:
	@missing=""; for p in $(DEB_PACKAGES); do \
		dpkg-query -W -f='$${Status}' $$p 2>/dev/null | grep -q "install ok installed" || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
		echo "Installing:$$missing"; \
		$(SUDO) apt-get update && DEBIAN_FRONTEND=noninteractive $(SUDO) apt-get install -y $$missing; \
	fi

build: deps
	cmake -S . -B $(BUILD_DIR) $(CMAKE_EXTRA)
	cmake --build $(BUILD_DIR) -j $(JOBS)

test: build
	cd $(BUILD_DIR) && QT_QPA_PLATFORM=offscreen ctest --output-on-failure -j $(JOBS)

demo: build
	@bash tools/demo.sh $(BUILD_DIR)

# make install PREFIX=/opt/ses [DESTDIR=/tmp/stage]: the module, header, pkg-config file, CMake
# package, sestool with its man page and bash completion.
install: build
	DESTDIR="$(DESTDIR)" cmake --install $(BUILD_DIR) --prefix "$(PREFIX)"

# The Debian package of the build: $(BUILD_DIR)/mod-ses_<version>_<arch>.deb.
deb: build
	cd $(BUILD_DIR) && cpack -G DEB

bench: deps
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release -DSES_BENCH=ON -DSES_TESTS=OFF
	cmake --build build-bench -j $(JOBS)
	@for b in build-bench/bin/bench_*; do echo "== $$b"; $$b; done

fuzz: deps
	CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DSES_FUZZ=ON \
		-DSES_TESTS=OFF -DSES_SANITIZE="address;undefined"
	cmake --build build-fuzz -j $(JOBS)
	@for f in build-fuzz/bin/fuzz_*; do \
		name=$$(basename $$f); name=$${name#fuzz_}; corpus=build-fuzz/corpus/$$name; \
		mkdir -p $$corpus; [ -d fuzz/corpus/$$name ] && cp -n fuzz/corpus/$$name/* $$corpus/ 2>/dev/null; \
		echo "== $$f for $(FUZZ_SECONDS)s"; \
		$$f -max_total_time=$(FUZZ_SECONDS) -print_final_stats=1 $$corpus || exit 1; \
	done

# Formatting (every C++ file) and the curated clang-tidy checks (library folders), as CI runs them.
lint: deps
	git ls-files '*.cpp' '*.h' | xargs clang-format --dry-run --Werror
	cmake -S . -B $(BUILD_DIR) $(CMAKE_EXTRA) > /dev/null
	run-clang-tidy -p $(BUILD_DIR) -j $(JOBS) -quiet '$(CURDIR)/(base|asn1|ca|config|ses|module)/.*\.cpp$$' > $(BUILD_DIR)/clang-tidy.log 2>&1 \
		|| { grep -E -A3 'error:|warning:' $(BUILD_DIR)/clang-tidy.log; exit 1; }

# Line coverage of the library folders by the whole suite (gcovr).
coverage: deps
	cmake -S . -B build-cov -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS="--coverage -fprofile-update=atomic" \
		-DCMAKE_EXE_LINKER_FLAGS=--coverage -DCMAKE_SHARED_LINKER_FLAGS=--coverage
	cmake --build build-cov -j $(JOBS)
	find build-cov -name '*.gcda' -delete
	cd build-cov && QT_QPA_PLATFORM=offscreen ctest -j $(JOBS) > /dev/null || true
	gcovr -r . build-cov -f 'base/' -f 'asn1/' -f 'ca/' -f 'config/' -f 'ses/' -f 'module/' \
		--gcov-ignore-parse-errors --print-summary -o build-cov/coverage.txt

clean:
	rm -rf build build-san build-tsan build-bench build-fuzz build-cov
