// Firing, connecting and disconnecting event chains, side by side with the peers a user would
// pick: a loop over std::vector<std::function>, Boost.Signals2 and libsigc++.
//
// Notify runs over chains of 1, 8 and 64 listeners that live in another translation unit:
// hooks with a plain function as callback (two indirect calls per listener, like
// std::function and the signal libraries) and hooks that override OnNotification (one virtual
// call per listener, the form the library's own listeners take).
// Connect plus disconnect joins and leaves a chain that already holds 8 listeners; the
// counter "allocs" gives the heap allocations per iteration, counted by the replaced
// operator new below.
#include "listeners.h"

#include <mortar/scc/SCC_Event.h>

#include "support/allocation_counter.h"

#include <benchmark/benchmark.h>
#include <boost/signals2.hpp>
#include <sigc++/sigc++.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <vector>


namespace {

using Callback = int (*)(int, int*);

Callback Listener(int i) {
    return i % 2 ? &bench::ListenXor : &bench::ListenAdd;
}

// Reports the allocations per iteration made since `start`.
void ReportAllocations(benchmark::State& state, std::uint64_t start) {
    state.counters["allocs"] =
        static_cast<double>(bench::Allocations() - start) / static_cast<double>(state.iterations());
}

// ---- Notify -----------------------------------------------------------------------------

void BM_Notify_VectorFunction(benchmark::State& state) {
    std::vector<std::function<int(int, int*)>> listeners;
    for (int i = 0; i < state.range(0); ++i)
        listeners.emplace_back(Listener(i));
    int data = 0;
    for (auto _ : state) {
        for (auto& f : listeners)
            f(1, &data);
        benchmark::DoNotOptimize(data);
    }
}

void BM_Notify_MortarCallbackHook(benchmark::State& state) {
    SCC_Notifier notifier;
    std::vector<std::unique_ptr<SCC_EventHook<int>>> hooks;
    for (int i = 0; i < state.range(0); ++i) {
        hooks.push_back(std::make_unique<SCC_EventHook<int>>(0, Listener(i)));
        notifier.Add(hooks.back().get());
    }
    int data = 0;
    std::uint64_t const start = bench::Allocations();
    for (auto _ : state) {
        notifier.Notify(1, &data);
        benchmark::DoNotOptimize(data);
    }
    ReportAllocations(state, start);
}

void BM_Notify_MortarDerivedHook(benchmark::State& state) {
    SCC_Notifier notifier;
    std::vector<std::unique_ptr<bench::DerivedHook>> hooks;
    for (int i = 0; i < state.range(0); ++i) {
        hooks.push_back(std::make_unique<bench::DerivedHook>(i % 2 == 0));
        notifier.Add(hooks.back().get());
    }
    int data = 0;
    for (auto _ : state) {
        notifier.Notify(1, &data);
        benchmark::DoNotOptimize(data);
    }
}

// The floor of any walk that makes one virtual call per listener: a plain loop over a vector
// of listener pointers, with none of a chain's bookkeeping and no protection against change.
void BM_Notify_BareVirtualLoop(benchmark::State& state) {
    std::vector<std::unique_ptr<bench::DerivedHook>> hooks;
    std::vector<bench::DerivedHook*> listeners;
    for (int i = 0; i < state.range(0); ++i) {
        hooks.push_back(std::make_unique<bench::DerivedHook>(i % 2 == 0));
        listeners.push_back(hooks.back().get());
    }
    int data = 0;
    for (auto _ : state) {
        for (bench::DerivedHook* h : listeners)
            h->OnNotification(1, &data);
        benchmark::DoNotOptimize(data);
    }
}

void BM_Notify_Sigc(benchmark::State& state) {
    sigc::signal<int(int, int*)> signal;
    for (int i = 0; i < state.range(0); ++i)
        signal.connect(sigc::ptr_fun(Listener(i)));
    int data = 0;
    for (auto _ : state) {
        signal.emit(1, &data);
        benchmark::DoNotOptimize(data);
    }
}

using BoostSignal =
    boost::signals2::signal_type<int(int, int*),
                                 boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

void BM_Notify_BoostSignals2(benchmark::State& state) {
    BoostSignal signal;
    for (int i = 0; i < state.range(0); ++i)
        signal.connect(Listener(i));
    int data = 0;
    for (auto _ : state) {
        signal(1, &data);
        benchmark::DoNotOptimize(data);
    }
}

// ---- Connect plus disconnect ----------------------------------------------------------

constexpr int kResident = 8;

void BM_ConnectDisconnect_Mortar(benchmark::State& state) {
    SCC_Notifier notifier;
    std::vector<std::unique_ptr<SCC_EventHook<int>>> resident;
    for (int i = 0; i < kResident; ++i) {
        resident.push_back(std::make_unique<SCC_EventHook<int>>(0, Listener(i)));
        resident.back()->Connect(&notifier);
    }
    SCC_EventHook<int> hook(0, &bench::ListenAdd);
    std::uint64_t const start = bench::Allocations();
    for (auto _ : state) {
        hook.Connect(&notifier);
        benchmark::ClobberMemory();
        hook.Remove();
        benchmark::ClobberMemory();
    }
    ReportAllocations(state, start);
}

void BM_ConnectDisconnect_Sigc(benchmark::State& state) {
    sigc::signal<int(int, int*)> signal;
    for (int i = 0; i < kResident; ++i)
        signal.connect(sigc::ptr_fun(Listener(i)));
    std::uint64_t const start = bench::Allocations();
    for (auto _ : state) {
        sigc::connection connection = signal.connect(sigc::ptr_fun(&bench::ListenAdd));
        benchmark::ClobberMemory();
        connection.disconnect();
        benchmark::ClobberMemory();
    }
    ReportAllocations(state, start);
}

void BM_ConnectDisconnect_BoostSignals2(benchmark::State& state) {
    BoostSignal signal;
    for (int i = 0; i < kResident; ++i)
        signal.connect(Listener(i));
    std::uint64_t const start = bench::Allocations();
    for (auto _ : state) {
        boost::signals2::connection connection = signal.connect(&bench::ListenAdd);
        benchmark::ClobberMemory();
        connection.disconnect();
        benchmark::ClobberMemory();
    }
    ReportAllocations(state, start);
}

} // namespace

BENCHMARK(BM_Notify_VectorFunction)->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(BM_Notify_MortarCallbackHook)->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(BM_Notify_MortarDerivedHook)->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(BM_Notify_BareVirtualLoop)->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(BM_Notify_Sigc)->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(BM_Notify_BoostSignals2)->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(BM_ConnectDisconnect_Mortar);
BENCHMARK(BM_ConnectDisconnect_Sigc);
BENCHMARK(BM_ConnectDisconnect_BoostSignals2);

BENCHMARK_MAIN();
