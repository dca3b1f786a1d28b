// Times the operations and prints ratios; or, for instruction_counts.py, does some of them a few
// times over. Nothing of the machine's settings and certificates is seen: they are looked for in an
// empty folder.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <sched.h>
#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else // nobody counts then
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS
#endif

#include "authority.h"
#include "operation.h"

namespace bench {

void require(bool good, const char* what) {
    if (!good) {
        std::fprintf(stderr, "bench_client: %s failed\n", what);
        std::_Exit(2);
    }
}

namespace {

Operations operations() {
    Operations all;
    add_request_operations(all);
    add_import_operations(all);
    add_verify_operations(all);
    add_exchange_operations(all);
    return all;
}

class EmptyFolder {
public:
    EmptyFolder() {
        std::string pattern = std::filesystem::temp_directory_path() / "bench-client-XXXXXX";
        require(::mkdtemp(pattern.data()) != nullptr, "temporary folder");
        path_ = pattern;
        const auto settings = path_ + "/config.toml";
        require(bool(std::ofstream(settings)), "settings"); // none, which isn't a missing file
        ::setenv("BASALT_CONFIG", settings.c_str(), 1);
        ::setenv("BASALT_USER_STORES", (path_ + "/user").c_str(), 1);
        ::setenv("BASALT_MACHINE_STORES", (path_ + "/machine").c_str(), 1);
        ::setenv("BASALT_SYSTEM_ROOTS", (path_ + "/roots.pem").c_str(), 1);
    }
    ~EmptyFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    EmptyFolder(const EmptyFolder&) = delete;
    EmptyFolder& operator=(const EmptyFolder&) = delete;

private:
    std::string path_;
};

// Server and client share a core, so that no figure hangs on where the scheduler puts them.
void pin_to_one_core() {
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(static_cast<std::size_t>(std::max(0, ::sched_getcpu())), &set);
    static_cast<void>(::sched_setaffinity(0, sizeof(set), &set));
}

// Prints as usual and keeps the least time of each operation.
class Reporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const auto& run : runs) {
            if (run.run_type != Run::RT_Iteration || run.error_occurred) {
                continue;
            }
            const auto name = run.run_name.function_name;
            const auto time = run.GetAdjustedRealTime();
            const auto [place, fresh] = times_.emplace(name, time);
            place->second = fresh ? time : std::min(place->second, time);
        }
    }

    void print_ratios(const Operations& all) const {
        std::printf("\n%-26s %-12s %12s %10s\n", "work", "library", "least, us", "x ours");
        for (const auto& operation : all) {
            const auto time = times_.find(std::string(operation.work) + '/' + operation.library);
            const auto ours = times_.find(std::string(operation.work) + "/chronoseal");
            if (time != times_.end() && ours != times_.end()) {
                std::printf("%-26s %-12s %12.2f %10.2f\n", operation.work, operation.library,
                            time->second, time->second / ours->second);
            }
        }
    }

private:
    std::map<std::string, double> times_;
};

// What instruction_counts.py counts, in a file for each call: nothing outside this function.
void counted(void (*run)(), int times) {
    CALLGRIND_ZERO_STATS;
    CALLGRIND_TOGGLE_COLLECT;
    for (int i = 0; i < times; ++i) {
        run();
    }
    CALLGRIND_TOGGLE_COLLECT;
    CALLGRIND_DUMP_STATS;
}

// The first time, which prepares what the work needs, isn't counted. Each operation is one call of
// `counted`, in the order of the names.
int repeat(int times, const std::vector<std::string>& names) {
    const auto all = operations();
    for (const auto& name : names) {
        const auto found = std::find_if(all.begin(), all.end(), [&](const Operation& one) {
            return name == std::string(one.work) + '/' + one.library;
        });
        if (found == all.end()) {
            std::fprintf(stderr, "bench_client: no operation %s\n", name.c_str());
            return 1;
        }
        found->run();
        counted(found->run, times);
    }
    return 0;
}

int list() {
    for (const auto& operation : operations()) {
        std::printf("%s/%s\n", operation.work, operation.library);
    }
    return 0;
}

int measure(int argc, char** argv) {
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=5";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char aggregates[] = "--benchmark_report_aggregates_only=false";
    char least[] = "--benchmark_min_time=0.1";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, aggregates, least});
    auto count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    const auto all = operations();
    for (const auto& operation : all) {
        const auto name = std::string(operation.work) + '/' + operation.library;
        auto* const run = operation.run;
        benchmark::RegisterBenchmark(name.c_str(),
                                     [run](benchmark::State& state) {
                                         for (auto _ : state) {
                                             run();
                                         }
                                     })
            ->UseRealTime()
            ->Unit(benchmark::kMicrosecond);
    }
    Reporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.print_ratios(all);
    return 0;
}

int run(int argc, char** argv) {
    const EmptyFolder folder;
    pin_to_one_core();
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        return list();
    }
    // --repeat TIMES KEYS NAME...
    if (argc > 4 && std::strcmp(argv[1], "--repeat") == 0) {
        Authority::set_pool_size(10);
        Authority::keep_keys(argv[3]);
        return repeat(std::atoi(argv[2]), {argv + 4, argv + argc});
    }
    return measure(argc, argv);
}

} // namespace

} // namespace bench

int main(int argc, char** argv) {
    return bench::run(argc, argv);
}
