// Runs the benchmarks of this folder. A case is named <case>_<library>, and at the end stands, for
// each case, how many times the time of chronoseal the others take.
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

namespace {

class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            const std::string name = run.run_name.function_name;
            const std::size_t library = name.rfind('_');
            if (run.error_occurred || library == std::string::npos) {
                continue;
            }
            std::string row = name.substr(0, library);
            if (!run.run_name.args.empty()) {
                row += "/" + run.run_name.args;
            }
            times_[row][name.substr(library + 1)] = run.GetAdjustedCPUTime();
        }
        ConsoleReporter::ReportRuns(runs);
    }

    void Finalize() override {
        std::printf("\n%-36s %10s %10s\n", "time as a multiple of chronoseal's", "openssl",
                    "libtasn1");
        for (const auto& [row, times] : times_) {
            const auto ours = times.find("chronoseal");
            if (ours == times.end() || times.size() < 2) {
                continue;
            }
            std::printf("%-36s", row.c_str());
            for (const char* library : {"openssl", "libtasn1"}) {
                const auto theirs = times.find(library);
                if (theirs == times.end()) {
                    std::printf(" %10s", "-");
                } else {
                    std::printf(" %10.2f", theirs->second / ours->second);
                }
            }
            std::printf("\n");
        }
        ConsoleReporter::Finalize();
    }

private:
    std::map<std::string, std::map<std::string, double>> times_; // in the case's unit, by library
};

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
