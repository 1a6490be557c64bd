# The front door. Every target installs the Debian packages that it needs and that are missing.
#
#   make demo      sweep the example's workbook, print the ranking and where the reports are
#   make test      everything CI runs: formatting, tests, tests under sanitizers, the Windows library under Wine
#   make check     after an edit, in two minutes: formatting, the release build, its tests that need no other program
#   make windows   the COM server for Excel, x86 and x64, with its acceptance kit, in a zip to hand over
#   make packages  Debian packages of the command, the library and the Python package
#   make check-packages  installs them, uses them and removes them again: as root, on a machine to be thrown away
#   make bench     speed and memory, as ratios against peers in the same run: no more than 15 % above the recorded ones
#   make gallery   the pictures of docs/gallery.md, drawn with LibreOffice
#   make reference the reference of the public headers, with Doxygen
#   make format    format the sources
#   make tidy      clang-tidy over the sources
#   make fuzz MINUTES=n  damaged input for every reader, each for so long
#   make faults    refuses every allocation of small commands, and fails every call of reports, one by one and all from one on
#   make mutants   the faults of tests/mutants put into the sources one by one: do the tests notice?
SHELL := /bin/bash
.SHELLFLAGS := -eu -o pipefail -c
.PHONY: demo test check mutants faults fuzz packages check-packages bench gallery reference format format-check tidy release sanitize windows windows-build clean

sources = $(shell git ls-files '*.cc' '*.h')
example = examples/solar-plant/solar-plant.xlsx

demo:
	@tools/install-packages build
	@cmake --preset release -DORDVANE_TESTS=OFF -DORDVANE_BENCH=OFF -B build/demo >/dev/null
	@cmake --build build/demo --target ordvane
	@mkdir -p out
	build/demo/ordvane sweep $(example) --output ProjectNPV --overwrite \
	  -o out/solar-plant.run.json --report out/solar-plant-reports.xlsx

test:
	@tools/install-packages test
	@tools/run-tests

check:
	@tools/install-packages check
	@tools/run-tests --quick

release:
	@cmake --preset release -DORDVANE_BENCH=OFF >/dev/null
	@cmake --build --preset release

# Links the test cases of the release build.
sanitize: release
	@cmake --preset sanitize >/dev/null
	@cmake --build --preset sanitize

windows:
	@tools/install-packages windows
	@cmake --preset release -DORDVANE_BENCH=OFF >/dev/null && cmake --build --preset release --target ordvane
	@cmake --preset windows-x86 >/dev/null && cmake --build --preset windows-x86 --target OrdvaneResults8 engine_stand_in accept
	@cmake --preset windows-x64 >/dev/null && cmake --build --preset windows-x64 --target OrdvaneResults8 engine_stand_in accept
	@tools/pack-windows

windows-build:
	@cmake --preset windows-x86 >/dev/null && cmake --build --preset windows-x86
	@cmake --preset windows-x64 >/dev/null && cmake --build --preset windows-x64

# As Debian builds its own: every hardening flag, no paths of this machine; without its debug symbols.
packages: export DEB_BUILD_MAINT_OPTIONS = hardening=+all
packages:
	@tools/install-packages packages
	@cmake --preset release -DORDVANE_TESTS=OFF -DORDVANE_BENCH=OFF -DCMAKE_INSTALL_PREFIX=/usr -B build/packages \
	  -DCMAKE_CXX_FLAGS="$$(dpkg-buildflags --get CXXFLAGS) $$(dpkg-buildflags --get CPPFLAGS) -g0" \
	  -DCMAKE_EXE_LINKER_FLAGS="$$(dpkg-buildflags --get LDFLAGS)" \
	  -DCMAKE_SHARED_LINKER_FLAGS="$$(dpkg-buildflags --get LDFLAGS)" >/dev/null
	@cmake --build build/packages
	@cd build/packages && rm -f *.deb && cpack >/dev/null
	@mkdir -p out && cp build/packages/*.deb out/ && ls out/*.deb

check-packages:
	@tools/check-packages

bench:
	@tools/install-packages bench
	@cmake --preset release -DORDVANE_TESTS=OFF -B build/bench >/dev/null
	@cmake --build build/bench
	/usr/bin/python3 bench/core.py build/bench
	/usr/bin/python3 bench/whole_process.py build/bench
	/usr/bin/python3 bench/full_size.py build/bench
	/usr/bin/python3 bench/growth.py build/bench
	/usr/bin/python3 bench/large_runs.py build/bench
	/usr/bin/python3 bench/sweeps.py build/bench
	/usr/bin/python3 bench/page.py build/bench

reference:
	@tools/install-packages docs
	@cmake --preset release -DORDVANE_BENCH=OFF >/dev/null
	@mkdir -p out
	@ORDVANE_GENERATED=build/release/generated/include doxygen docs/Doxyfile
	@echo out/reference/html/index.html

gallery:
	@tools/install-packages gallery
	@cmake --preset release -DORDVANE_BENCH=OFF >/dev/null
	@cmake --build --preset release --target ordvane
	@tools/make-gallery

format:
	clang-format -i $(sources)

format-check:
	@clang-format --dry-run --Werror $(sources)

tidy:
	@tools/install-packages test
	@tools/tidy

faults: release
	ORDVANE_EVERY_ALLOCATION=1 build/release/tests/test_faults --gtest_brief=1
	ORDVANE_EVERY_FAULT=1 build/release/tests/test_service --gtest_brief=1 --gtest_filter='*FaultSweep*'

mutants:
	@tools/install-packages test
	@tools/mutants

MINUTES = 10
fuzz:
	@tools/install-packages fuzz
	@tools/fuzz $$(($(MINUTES) * 60)) $$RANDOM

clean:
	rm -rf build out
