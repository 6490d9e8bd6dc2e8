# Thin wrapper around CMake. `make test` and `make demo` do all the set-up on
# a fresh Debian 12 machine (scripts/bootstrap.sh installs what is missing).

BUILD       ?= build
CHECK_BUILD ?= build-check
BENCH_BUILD ?= build-bench
FUZZ_BUILD  ?= build-fuzz
FUZZ_SECONDS ?= 60
FUZZ_JOBS   ?= 1
PREFIX      ?= /usr/local
JOBS        ?= $(shell nproc)

# g++ leaves float-cast-overflow out of "undefined": named, so that a double
# converted to an integer it does not fit fails the check too.
SANITIZE := -fsanitize=address,undefined,float-cast-overflow -fno-omit-frame-pointer -fno-sanitize-recover=all
SAN_ENV  := ASAN_OPTIONS=halt_on_error=1:abort_on_error=1:detect_leaks=1 \
            UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1

# The fuzz build: clang, the library instrumented for libFuzzer and both
# sanitizers, the targets linked with libFuzzer itself.
FUZZ_SANITIZE := -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer
FUZZ_ENGINE   := -fsanitize=fuzzer

.PHONY: all bootstrap build test check bench fuzz demo demo-cut demo-recordings demo-live demo-plot install clean

all: build

bootstrap:
	@scripts/bootstrap.sh

$(BUILD)/CMakeCache.txt: | bootstrap
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: bootstrap $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest --output-on-failure -j $(JOBS)

check: bootstrap
	cmake -S . -B $(CHECK_BUILD) -DCMAKE_BUILD_TYPE=Debug -DRKSIGNAL_BENCH=OFF -DRKSIGNAL_WERROR=ON \
	  "-DCMAKE_CXX_FLAGS=$(SANITIZE)" "-DCMAKE_EXE_LINKER_FLAGS=$(SANITIZE)" \
	  "-DCMAKE_SHARED_LINKER_FLAGS=$(SANITIZE)"
	cmake --build $(CHECK_BUILD) -j $(JOBS)
	cd $(CHECK_BUILD) && $(SAN_ENV) ctest --output-on-failure -j $(JOBS)

bench: bootstrap
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DRKSIGNAL_TESTS=OFF
	cmake --build $(BENCH_BUILD) -j $(JOBS) --target run_benchmarks
	@for b in $(BENCH_BUILD)/bench/bench_*; do \
	  [ -x "$$b" ] && [ -f "$$b" ] || continue; \
	  echo "== $$b"; "$$b" $(BENCH_ARGS) || exit 1; \
	done

fuzz:
	@scripts/bootstrap.sh fuzz
	cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_COMPILER=clang++ \
	  -DRKSIGNAL_FUZZ=ON -DRKSIGNAL_TESTS=OFF -DRKSIGNAL_BENCH=OFF -DRKSIGNAL_EXAMPLES=OFF -DRKSIGNAL_PYTHON=OFF \
	  "-DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link $(FUZZ_SANITIZE)" \
	  "-DCMAKE_EXE_LINKER_FLAGS=$(FUZZ_SANITIZE)" "-DCMAKE_SHARED_LINKER_FLAGS=$(FUZZ_SANITIZE)" \
	  "-DRKSIGNAL_FUZZ_ENGINE=$(FUZZ_ENGINE)"
	cmake --build $(FUZZ_BUILD) -j $(JOBS)
	FUZZ_BUILD=$(FUZZ_BUILD) FUZZ_JOBS=$(FUZZ_JOBS) fuzz/run_all.sh $(FUZZ_SECONDS)

DEMO_SIGNALS := --signals 'Doors.*' --signals 'Transmission.Gear*' --signals 'EngineData.EngineState'
DEMO_TRIGGERS := --trigger 'Doors.DoorFL == 1 && Doors.Locked == 0' \
                 --trigger 'VehicleDynamics.VehicleSpeed > 50' --edge

demo: build
	@echo "== rksignal decode: a short drive of the example vehicle (examples/drive.log, examples/vehicle.dbc)"
	$(BUILD)/cli/rksignal decode --defs examples/vehicle.dbc --format table $(DEMO_SIGNALS) \
	  $(DEMO_TRIGGERS) examples/drive.log
	@$(MAKE) --no-print-directory demo-cut demo-recordings demo-live demo-plot

# The seconds around each opening of the front left door while unlocked,
# as candump logs of their own with an index, and the drive's quality report.
demo-cut:
	@echo "== rksignal cut: 2 s before to 1 s after each door opening, into $(BUILD)/doors"
	$(BUILD)/cli/rksignal cut --defs examples/vehicle.dbc --trigger 'Doors.DoorFL == 1 && Doors.Locked == 0' \
	  --edge --pre 2s --post 1s examples/drive.log -o $(BUILD)/doors
	cat $(BUILD)/doors/windows.csv
	@echo "== rksignal decode --stats: frames, rates and gaps per identifier, values per signal"
	$(BUILD)/cli/rksignal decode --defs examples/vehicle.dbc --format none --stats examples/drive.log

# The same drive as a capture (Ethernet, CAN, FlexRay and LIN), an NMEA log
# and trace lines of the logger's inputs, decoded together in time order.
demo-recordings:
	@echo "== rksignal decode: a capture, an NMEA log and trace lines, merged in time order"
	$(BUILD)/cli/rksignal decode --defs examples/definitions.json --defs examples/ethernet.json --format table \
	  --signals 'GPS.Speed' --signals 'Logger.*' --signals 'Input.*' --signals 'Gateway.*' \
	  --trigger 'Chassis.SteeringAngle < -10 && GPS.Speed > 50' --edge \
	  examples/drive.pcap examples/drive.nmea examples/drive.trace

# The live side: trigger checks, event descriptions, and values handed from a
# decoding process to a watching one through shared memory.
RKSIGNAL := $(BUILD)/cli/rksignal

demo-live:
	@echo "== rksignal check: which signals a trigger reads, or why it does not compile"
	$(RKSIGNAL) check --defs examples/vehicle.dbc 'VehicleDynamics.VehicleSpeed > 50' \
	  'Doors.DoorFL == 1 && Doors.Locked == 0' 'VehicleSpeed >' || echo "(exit status $$?: one does not compile)"
	@echo "== rksignal events: the signal names an event description mentions"
	$(RKSIGNAL) events 'CAN.signal3 > 5 && DI.010 == 1 || GPS.Speed > 80 && Logger.Timer > 60'
	@echo "== rksignal decode --shm: the drive replayed at 32 times its pace into shared memory, kept at the end"
	$(RKSIGNAL) decode --defs examples/vehicle.dbc --shm --keep --speed 32 --format none examples/drive.log 2>/dev/null
	@echo "== rksignal watch --once: another process reads the last values"
	$(RKSIGNAL) watch --defs examples/vehicle.dbc --once $(DEMO_SIGNALS) 2>/dev/null
	@echo "== a writer without --keep takes the segments over and removes them when it ends"
	$(RKSIGNAL) decode --defs examples/vehicle.dbc --shm --format none - </dev/null 2>/dev/null

# The Python package (built into $(BUILD)/python) draws the drive's doors,
# gears, engine state and speed, with the trigger times, into a PNG.
demo-plot:
	@echo "== python3 -m rksignal plot: the example drive into $(BUILD)/drive.png"
	PYTHONPATH=$(BUILD)/python /usr/bin/python3 -m rksignal plot --defs examples/vehicle.dbc examples/drive.log \
	  $(DEMO_SIGNALS) --signals 'VehicleDynamics.VehicleSpeed' $(DEMO_TRIGGERS) -o $(BUILD)/drive.png

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD) $(CHECK_BUILD) $(BENCH_BUILD) $(FUZZ_BUILD)
