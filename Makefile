# The README's commands. Every target installs what it needs first (scripts/install-deps).
BUILD      ?= build
SAN_BUILD  ?= build-sanitize
TSAN_BUILD ?= build-tsan
BENCH_BUILD?= build-bench
JOBS       ?= $(shell nproc)
FUZZ_SECONDS ?= 300
# Set to run each fuzz target for that many inputs from a fixed seed instead (what CI does).
FUZZ_RUNS  ?=
CMAKE_GEN  := -G Ninja

REL_BUILD  ?= build-release

.PHONY: all deps build run app test release sanitize tsan bench bench-vault bench-commands fuzz \
  soak format clean

all: build

deps:
	@scripts/install-deps

$(BUILD)/build.ninja: CMakeLists.txt
	cmake -S . -B $(BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DTRIVO_WERROR=ON

build: deps $(BUILD)/build.ninja
	cmake --build $(BUILD) -j $(JOBS)

run: build
	@scripts/run-sample $(BUILD)

# The desktop window on a fresh sample vault in a temporary folder (needs a display).
app: build
	@tmp=$$(mktemp -d -t trivo-app-XXXXXX); \
	export XDG_CONFIG_HOME=$$tmp/config; \
	$(BUILD)/trivo init --sample $$tmp/vault > /dev/null && $(BUILD)/trivo-app --vault $$tmp/vault; \
	rm -rf $$tmp

test: build
	ctest --test-dir $(BUILD) --output-on-failure -j $(JOBS)

# The build a packager makes: Release with the default options (warnings are not errors), of
# the programs and the library (the tests run in the other builds). `-DTRIVO_UNITY=OFF` compiles
# every file on its own, which shows a file that does not include what it uses; CI does not run
# that build, it costs as much as all the others together.
release: deps
	cmake -S . -B $(REL_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release
	cmake --build $(REL_BUILD) -j $(JOBS) --target trivo trivo-widgets trivo-app TrivoCore

sanitize: deps
	cmake -S . -B $(SAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DTRIVO_SANITIZE=ON \
	  -DTRIVO_WERROR=ON -DTRIVO_APP=OFF
	cmake --build $(SAN_BUILD) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
	  ctest --test-dir $(SAN_BUILD) --output-on-failure -j $(JOBS)

tsan: deps
	cmake -S . -B $(TSAN_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DTRIVO_TSAN=ON \
	  -DTRIVO_WERROR=ON -DTRIVO_APP=OFF
	cmake --build $(TSAN_BUILD) -j $(JOBS) --target trivo_tests
	ctest --test-dir $(TSAN_BUILD) --output-on-failure -j $(JOBS) -R 'Store|Watcher|Live|VaultService|PageCheck|SearchIndex|SearchWithCopy'

# The long soak of the store against other writers (CI runs a short one with the tests).
SOAK_SAVES ?= 10000
SYNC_SECONDS ?= 300
soak: build
	TRIVO_SOAK_SAVES=$(SOAK_SAVES) $(BUILD)/trivo_tests --gtest_filter='StoreSoak.*:StoreFaults.*'
	TRIVO_SYNC_SECONDS=$(SYNC_SECONDS) $(BUILD)/trivo_tests --gtest_filter='SyncDevices.*'

bench: deps
	cmake -S . -B $(BENCH_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DTRIVO_BENCH=ON \
	  -DTRIVO_WERROR=ON
	cmake --build $(BENCH_BUILD) -j $(JOBS) --target trivo_bench
	$(BENCH_BUILD)/trivo_bench

# Whole generated vaults of 1, 10 and 30 years in both syntaxes (made once into the bench build):
# trivo check's path beside md4c, cmark and the read floor, medians of five runs, with ratios.
VAULTS := $(BENCH_BUILD)/vaults
GENVAULT ?= ../shared/tools/genvault.py
$(VAULTS)/y%-md $(VAULTS)/y%-org:
	python3 $(GENVAULT) $(VAULTS)/y$*-md --years $* --format md --seed 42
	python3 $(GENVAULT) $(VAULTS)/y$*-org --years $* --format org --seed 42

bench-vault: deps $(foreach y,1 10 30,$(VAULTS)/y$(y)-md $(VAULTS)/y$(y)-org)
	cmake -S . -B $(BENCH_BUILD) $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Release -DTRIVO_BENCH=ON \
	  -DTRIVO_WERROR=ON
	cmake --build $(BENCH_BUILD) -j $(JOBS) --target trivo_bench trivo
	TRIVO_BENCH_VAULTS=$(VAULTS) $(BENCH_BUILD)/trivo_bench --benchmark_filter='BM_Vault' \
	  --benchmark_repetitions=5 --benchmark_report_aggregates_only=true \
	  --benchmark_out=$(BENCH_BUILD)/vault.json --benchmark_out_format=json
	python3 bench/vault_ratios.py $(BENCH_BUILD)/vault.json

# CPU time of the one-day commands on the 1- and 30-year vaults, start-up, and check's memory.
bench-commands: bench-vault
	python3 bench/commands.py $(BENCH_BUILD)/trivo $(VAULTS)

fuzz: deps
	cmake -S . -B build-fuzz $(CMAKE_GEN) -DCMAKE_BUILD_TYPE=Debug -DTRIVO_FUZZ=ON \
	  -DCMAKE_CXX_COMPILER=clang++ -DTRIVO_WERROR=ON -DTRIVO_APP=OFF
	cmake --build build-fuzz -j $(JOBS) --target fuzzers
	FUZZ_RUNS=$(FUZZ_RUNS) scripts/run-fuzz $(FUZZ_SECONDS)

format:
	find src tests fuzz bench -name '*.cpp' -o -name '*.h' | xargs clang-format -i

clean:
	rm -rf $(BUILD) $(SAN_BUILD) $(TSAN_BUILD) $(BENCH_BUILD) $(REL_BUILD) build-fuzz
