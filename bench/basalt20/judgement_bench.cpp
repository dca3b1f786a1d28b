// What a verdict costs when somebody has put a mebibyte of hostile things into the token: each bag
// of hostile_bags.h and hostile_lists.h from its bytes to the verdict, store and session included.
// Prepared certificates and keys are kept between rounds, as in a process that runs on; `cold` is
// the first round alone, in processor time.
#include <basalt/chain/hostile_lists.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include <benchmark/benchmark.h>

namespace {

using basalt::test::HostileBag;
using basalt::test::HostileVerdict;
using basalt::test::NamedBag;

double processor_seconds() {
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

void judge(benchmark::State& state, const NamedBag& named) {
    const HostileBag bag = named.make();
    const double begin = processor_seconds();
    bool good = HostileVerdict(bag).good;
    const double cold = processor_seconds() - begin;
    for (auto _ : state) {
        good = HostileVerdict(bag).good;
    }
    state.SetLabel(good ? "good" : "refused");
    state.counters["cold_ms"] = cold * 1000;
    state.counters["bytes"] = static_cast<double>(bag.size());
}

} // namespace

int main(int argc, char** argv) {
    // Neither the machine's stores nor a user's cache have a say.
    for (const char* name : {"XDG_CACHE_HOME", "BASALT_USER_STORES", "BASALT_MACHINE_STORES"}) {
        setenv(name, "/nonexistent", 1);
    }
    benchmark::Initialize(&argc, argv);
    for (const auto& bags : {basalt::test::hostile_bags(), basalt::test::hostile_lists()}) {
        for (const NamedBag& named : bags) {
            benchmark::RegisterBenchmark(named.name, judge, named)->Unit(benchmark::kMillisecond);
        }
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
