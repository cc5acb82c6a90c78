# A thin front: the work is done by CMake (CMakePresets.json), CTest and pytest.
#
#   make demo        build, then run the example scripts
#   make test        build, then run the unit tests and the Python tests
#   make sanitize    all tests under the address and undefined behaviour sanitizers
#   make sanitize-threads  compressed chunks and tables under the thread sanitizer
#   make test-releases  the tests with every HDF5 release and compiler
#   make test-long   what takes minutes: the next five
#   make calls       every function with whatever it may be called with, against a record
#   make threads     two and eight threads of everything, alone and beside h5py's, SECONDS each
#   make nested      3,000 datatypes within each other, written and read back
#   make rows        every row of the benchmark, with next to nothing to do
#   make faults      tasks of which every allocation and every access to a file fails
#   make fuzz        CALLS calls of any functions, as it is and under the same sanitizers;
#                    mutated files
#   make fuzz-guided CALLS calls that coverage guides, by clang
#   make bench       build and run the benchmark: one table against bare C and h5py;
#                    ONLY="records texts" parts of it, JSON=FILE also writes it there,
#                    PLOT=1 renews table and picture in docs/
#   make docs        build, then make the site of the documents, in build/docs/html
#   make lint        check formatting, run the static checks;  make format  formats
#   make install     into PREFIX (default /usr/local);  make uninstall  takes it away
#   make deb         Debian packages, in build/deb
#
# CMAKE_ARGS goes to CMake's configuration: make build CMAKE_ARGS=-DHDF5_ROOT=/opt/hdf5

PREFIX ?= /usr/local
CMAKE_ARGS ?=
PYTHON := /usr/bin/python3
# A process for each core; what takes longest begins first.
PYTEST := $(PYTHON) -m pytest --numprocesses=auto --dist=loadfile

# For those who only build it: no tests, what another compiler warns of is no error, and many
# sources at once, which takes half the time.
CONFIGURE := cmake --preset release -DCMAKE_INSTALL_PREFIX:PATH=$(PREFIX) -DH5GATE_UNITY=ON \
  -DCMAKE_COMPILE_WARNING_AS_ERROR=OFF -DH5GATE_TESTS=OFF -DH5GATE_BENCH=OFF

.PHONY: setup build build-tests demo docs test test-long calls threads nested rows test-releases bench sanitize sanitize-threads fuzz \
  fuzz-guided faults lint format install uninstall deb clean

setup:
	@tools/setup.sh

build: setup
	$(CONFIGURE) $(CMAKE_ARGS)
	cmake --build --preset release

build-tests:
	@tools/setup.sh test
	$(CONFIGURE) -DH5GATE_TESTS=ON $(CMAKE_ARGS)
	cmake --build --preset release

demo: build
	@mkdir -p build/demo
	@PYTHONPATH=build/python $(PYTHON) examples/weather_station.py build/demo/weather.h5
	@PYTHONPATH=build/python $(PYTHON) -m zembra show build/demo/weather.h5 /stations
	@PYTHONPATH=build/python $(PYTHON) -m zembra show build/demo/weather.h5 /readings
	@PYTHONPATH=build/python $(PYTHON) examples/compressed_timeseries.py build/demo/lake.h5
	@PYTHONPATH=build/python $(PYTHON) -m zembra tree build/demo/weather.h5

test: build-tests
	ctest --preset release
	PYTHONPATH=build/python $(PYTEST) tests/scripts tests/tools

# What takes minutes.
test-long: calls threads nested rows faults

calls: build-tests
	PYTHONPATH=build/python $(PYTHON) -m pytest tests/releases

nested: build-tests
	PYTHONPATH=build/python $(PYTHON) tests/scripts/nested_types.py 3000

# Another time for each: SECONDS=60
SECONDS ?= 10
threads: build-tests
	H5GATE_THREAD_SECONDS=$(SECONDS) PYTHONPATH=build/python $(PYTHON) -m pytest -k at_work \
	  tests/scripts/test_threads.py

bench:
	@tools/setup.sh bench
	$(CONFIGURE) -DH5GATE_BENCH=ON $(CMAKE_ARGS)
	cmake --build --preset release
	PYTHONPATH=build/python $(PYTHON) bench/benchmark.py $(if $(ONLY),--only $(ONLY)) \
	  $(if $(JSON),--json $(JSON)) $(if $(PLOT),--plot)

docs:
	@tools/setup.sh docs
	$(CONFIGURE) $(CMAKE_ARGS)
	cmake --build --preset release
	tools/make_docs.sh

test-releases:
	@tools/test_releases.sh

# An allocation that is too large is to fail as it does elsewhere, not to be a report.
sanitize: export ASAN_OPTIONS := allocator_may_return_null=1
sanitize: export UBSAN_OPTIONS := print_stacktrace=1
# Python itself is not instrumented: the sanitizers have to be there before it
# starts, and libstdc++ with them, or they would not find what throws exceptions.
# It keeps memory until the process ends, which is not for us to report: leaks are
# looked for in the unit tests. Its own allocator would hide overruns: malloc instead.
# Reports must not vanish in a captured stream that dies with the process. Processes with a
# limit of memory are none for the sanitizers, which keep what was freed.
sanitize:
	@tools/setup.sh test
	cmake --preset sanitize $(CMAKE_ARGS)
	cmake --build --preset sanitize
	ctest --preset sanitize
	PYTHONPATH=build-sanitize/python PYTHONMALLOC=malloc \
	  ASAN_OPTIONS="$$ASAN_OPTIONS:detect_leaks=0" \
	  LD_PRELOAD="$$(for library in asan ubsan stdc++; do \
	    g++ -print-file-name=lib$$library.so; done | tr '\n' ' ')" \
	  $(PYTEST) --capture=sys --ignore-glob='*/test_inspect*.py' \
	  tests/releases tests/scripts tests/tools

# Threads have a sanitizer of their own, which nothing else can be built with.
sanitize-threads:
	@tools/setup.sh test
	cmake --preset release -DCMAKE_INSTALL_PREFIX:PATH=$(PREFIX) $(CMAKE_ARGS)
	cmake --build --preset release --target chunks_at_work tables_at_work
	TSAN_OPTIONS=halt_on_error=1 build/bin/chunks_at_work
	TSAN_OPTIONS=halt_on_error=1 build/bin/tables_at_work

# Other calls than these: build/bin/fuzz_calls SEED CALLS
CALLS ?= 1000000
MUTATIONS ?= 2000
fuzz: export ASAN_OPTIONS := allocator_may_return_null=1:max_allocation_size_mb=1024:detect_leaks=0
fuzz: build-tests
	build/bin/fuzz_calls 1 $(CALLS)
	cmake --preset sanitize $(CMAKE_ARGS)
	cmake --build --preset sanitize --target fuzz_calls h5gate
	build-sanitize/bin/fuzz_calls 2 $$(($(CALLS) / 10))
	H5GATE_MUTATIONS=$(MUTATIONS) PYTHONPATH=build/python $(PYTHON) -m pytest -k mutated \
	  tests/scripts/test_inspect.py

fuzz-guided:
	@tools/setup.sh releases
	tools/fuzz_guided.sh $(CALLS)

rows: build-tests
	PYTHONPATH=build/python $(PYTHON) -m pytest -m long tests/tools

faults: build-tests
	build/bin/faults

lint:
	@tools/setup.sh lint
	cmake --preset lint $(CMAKE_ARGS)
	cmake --build --preset lint
	tools/lint.sh build-lint

format:
	@tools/setup.sh lint
	git ls-files '*.cpp' '*.hpp' | xargs clang-format -i
	git ls-files '*.py' '*.pyi' | xargs black --quiet

install: build
	cmake --install build

uninstall:
	$(CONFIGURE) $(CMAKE_ARGS)
	cmake --build --preset release --target uninstall

deb:
	@tools/setup.sh deb
	tools/make_deb.sh

clean:
	rm -rf build build-debug build-sanitize build-lint
