// A key press to the end of its command: the two records of a press of "n" (the key
// number, then the character) through the main loop's dispatch, the key map and the
// binding to SwapABPen, timed beside SwapABPen called alone in the same run. The
// difference is what the key path costs outside the command itself.
#include "host/input.h"
#include "host/main_loop.h"
#include "paint/colour.h"
#include "ui/command_handlers.h"
#include "ui/commands.h"

#include <benchmark/benchmark.h>

#include <chrono>

using namespace nemu;

namespace {

double Microseconds(std::chrono::steady_clock::duration d) {
    return std::chrono::duration<double, std::micro>(d).count();
}

void KeyPressToCommand(benchmark::State& state) {
    KeyMapInit();
    InputMsg down = {}, typed = {};
    down.Type = typed.Type = IM_KEY;
    down.Code = 'N';
    typed.Code = KEY_CHARACTER;
    typed.Char = 'n';
    double pressTotal = 0, commandTotal = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        DispatchInput(&down);
        DispatchInput(&typed);
        const auto pressed = std::chrono::steady_clock::now();
        CmdSwapABPen();
        const auto end = std::chrono::steady_clock::now();
        pressTotal += Microseconds(pressed - start);
        commandTotal += Microseconds(end - pressed);
        state.SetIterationTime(std::chrono::duration<double>(pressed - start).count());
    }
    const double n = double(state.iterations());
    state.counters["press_us"] = pressTotal / n;
    state.counters["command_us"] = commandTotal / n;
    state.counters["outside_command_us"] = (pressTotal - commandTotal) / n;
    KeyMapFree();
}

} // namespace

BENCHMARK(KeyPressToCommand)->UseManualTime()->Unit(benchmark::kMicrosecond);
