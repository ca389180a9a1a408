# The user's entry points. `make run` and `make test` are all a fresh Debian 12 machine needs.
JOBS      ?= $(shell nproc)
RELEASE   := build/release
ASAN      := build/asan
BENCHDIR  := build/bench
FUZZDIR   := build/fuzz
CMAKE_GEN := -G Ninja
ARGS      ?=
FUZZ_SECONDS ?= 60
# Where `make install` puts nemu and nemu-remote (PREFIX/bin) and their data
# (PREFIX/share/nemu); DESTDIR, if given, is put before PREFIX, for packaging.
PREFIX    ?= $(HOME)/.local
DESTDIR   ?=

.PHONY: all deps build run test bench fuzz headless install uninstall clean

all: build

deps:
	@scripts/install-deps.sh

$(RELEASE)/build.ninja: | deps
	cmake -S . -B $(RELEASE) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DNEMU_TESTS=OFF

build: deps $(RELEASE)/build.ninja
	cmake --build $(RELEASE) -j $(JOBS)

run: build
	$(RELEASE)/nemu $(ARGS)

install: build
	DESTDIR="$(DESTDIR)" cmake --install $(RELEASE) --prefix "$(PREFIX)"
	@case ":$$PATH:" in *":$(PREFIX)/bin:"*) ;; \
	    *) echo "Note: $(PREFIX)/bin is not on your PATH; add it, e.g. export PATH=\"$(PREFIX)/bin:\$$PATH\"";; esac

uninstall:
	rm -f "$(DESTDIR)$(PREFIX)/bin/nemu" "$(DESTDIR)$(PREFIX)/bin/nemu-remote"
	rm -rf "$(DESTDIR)$(PREFIX)/share/nemu"

$(ASAN)/build.ninja: | deps
	cmake -S . -B $(ASAN) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DNEMU_SANITIZE=ON

# The tests run under a virtual X server so that the X11 back end is tested too;
# every other test uses the headless back end and ignores it.
test: deps $(ASAN)/build.ninja
	cmake --build $(ASAN) -j $(JOBS)
	xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp" \
	    ctest --test-dir $(ASAN) -j $(JOBS) --output-on-failure --no-tests=error

$(BENCHDIR)/build.ninja: | deps
	cmake -S . -B $(BENCHDIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DNEMU_TESTS=OFF -DNEMU_BENCH=ON

bench: deps $(BENCHDIR)/build.ninja
	cmake --build $(BENCHDIR) -j $(JOBS)
	$(BENCHDIR)/nemu_bench $(ARGS)

$(FUZZDIR)/build.ninja: | deps
	CC=clang CXX=clang++ cmake -S . -B $(FUZZDIR) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	    -DNEMU_TESTS=OFF -DNEMU_FUZZ=ON -DNEMU_X11=OFF

fuzz: deps $(FUZZDIR)/build.ninja
	cmake --build $(FUZZDIR) -j $(JOBS)
	scripts/run-fuzz.sh $(FUZZDIR) $(FUZZ_SECONDS)

clean:
	rm -rf build
